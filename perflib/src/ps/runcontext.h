// psRunContext: the facts of one run that the reports print, gathered by the
// session and handed down, so that a report never looks for them itself.
#ifndef PS_RUNCONTEXT_H
#define PS_RUNCONTEXT_H

#include "psstring.h"

#include <ctime>

struct psRunContext {
    psString processor;     // one line: brand, logical processors, highest code-path level
    psStringList libraries; // "name, version, build date" of each measured library; empty: none registered
    time_t start = 0;       // when the run started
    psString timing;        // the timing method and its settings
    psString selection;     // which tests the selection keeps
};

#endif
