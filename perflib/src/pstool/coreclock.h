// Core clock cycles per time-stamp counter tick. The counter runs at a fixed rate
// that need not be the core's: on many machines (and most virtual ones) one tick is
// more or less than one core cycle, so figures in ticks from two machines compare
// only once this ratio is known. Measured between timings, never inside one.
#ifndef PS_CORECLOCK_H
#define PS_CORECLOCK_H

#include "perfcounter.h"

#include <string>

// One measurement of the ratio.
struct psCoreClock {
    // From a chain of dependent additions (one core cycle each) timed by the
    // counter: the best of several short chains. 0 when no chain gave a figure.
    double chainPerTick = 0;
    // From the kernel's hardware cycle counter over the same chains; 0 when the
    // counter is unavailable.
    double counterPerTick = 0;
};

// The kernel's hardware cycle counter for this process, opened once.
class psCycleCounter {
public:
    psCycleCounter();

    bool available() const { return m_counter.available(); }
    // "perf_event", or "unavailable: <reason>".
    const std::string& description() const { return m_description; }
    // Cycles counted so far; 0 when unavailable.
    unsigned long long read() const;

private:
    psPerfCounter m_counter;
    std::string m_description;
};

// Times `chains` chains of `adds` dependent additions each and keeps the best ratio
// of each kind. About adds / 1e9 seconds per chain on a 1 GHz core.
psCoreClock psMeasureCoreClock(const psCycleCounter& counter, int chains = 12, int adds = 200000);

#endif
