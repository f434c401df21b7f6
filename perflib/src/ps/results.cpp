// The result words.
#include "results.h"

// ---------------------------------------------------------------- words

namespace {

// The short words as they are stored; the code-to-word map below picks from them.
const char* const shortWords[] = {"UNKNOWN",   "UNDEFINED", "OK",        "ACCURWRN", "BADSTSWRN", "DATAWRN",
                                  "FUNCWRN",   "WARNING",   "EXCPTFAIL", "ACCURFAIL", "FUNCFAIL", "DATAFAIL"};
// Index into shortWords for codes 0..10; FAIL (11) is the tail of "DATAFAIL".
const int shortIndex[] = {1, 2, 3, 4, 5, 6, 7, 9, 11, 10, 8};

const char* const longWords[] = {"was not run",          "successfully", "wrong measure accuracy",
                                 "modified control status", "test data warning", "lib function warning",
                                 "warning",              "accuracy error", "test data error",
                                 "lib function error",   "exception",    "error"};

}  // namespace

const char* psResultWord(int code)
{
    if (code == FAIL) return shortWords[11] + 4;
    if (code < UNDEFINED || code > FAIL) return shortWords[0];
    return shortWords[shortIndex[code]];
}

const char* psResultLongWord(int code)
{
    if (code < UNDEFINED || code > FAIL) return "unknown result";
    return longWords[code];
}
