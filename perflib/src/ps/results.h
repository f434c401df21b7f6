// psResult: the ordered result code of a measurement, a test and a session.
// Larger is worse; results combine by maximum.
#ifndef PS_RESULTS_H
#define PS_RESULTS_H

enum psResult {
    UNDEFINED = 0,
    OK = 1,
    ACCURWRN = 2,
    BADSTSWRN = 3,
    DATAWRN = 4,
    FUNCWRN = 5,
    WARNING = 6,
    ACCURFAIL = 7,
    DATAFAIL = 8,
    FUNCFAIL = 9,
    EXCPTFAIL = 10,
    FAIL = 11
};

// Short word for tables and summaries ("OK", "ACCURWRN", ..., "UNKNOWN").
const char* psResultWord(int code);
// Long word for messages and the measurement log ("successfully", ..., "unknown result").
const char* psResultLongWord(int code);

inline psResult psMaxResult(psResult a, psResult b) { return a > b ? a : b; }
inline bool psIsWarning(int code) { return code >= ACCURWRN && code <= WARNING; }
inline bool psIsFailure(int code) { return code >= ACCURFAIL && code <= FAIL; }

#endif
