// psResult: the ordered result code of a measurement, a test and a session.
// Larger is worse; results combine by maximum.
#ifndef PS_RESULTS_H
#define PS_RESULTS_H

#include <ctime>

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

// The result counters of a run and its start and end, as the closing summary shows
// them: every counted test, one counter per code, and the WARNING and FAIL counters
// holding the totals of their classes.
struct psRunCounts {
    time_t m_startTime = 0;
    time_t m_endTime = 0;
    int m_total = 0;
    int m_counts[12] = {};
};

inline psResult psMaxResult(psResult a, psResult b) { return a > b ? a : b; }
inline bool psIsWarning(int code) { return code >= ACCURWRN && code <= WARNING; }
inline bool psIsFailure(int code) { return code >= ACCURFAIL && code <= FAIL; }

#endif
