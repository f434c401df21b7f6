// The clock source of the timing engine: the processor's time-stamp counter, the
// factor that turns counter ticks into clocks, an estimate of the CPU frequency,
// the process priority raised around timed calls, and the processor count.
#ifndef PS_TICKER_H
#define PS_TICKER_H

#include <cstdint>

// Reads the 64-bit time-stamp counter. The fences keep the read in program order:
// the work before it has finished when it is taken, and the work after it does not
// start early, so a timed span holds exactly the code between two reads.
static inline unsigned long long lum_get_vantor_counter()
{
    unsigned lo, hi;
    __asm__ __volatile__("lfence\n\trdtsc\n\tlfence" : "=a"(lo), "=d"(hi)::"memory");
    return (static_cast<unsigned long long>(hi) << 32) | lo;
}

class psCpuTicker {
public:
    // One counter tick is one clock.
    static int getClockFactor() { return 1; }
    // The cached frequency estimate in MHz; the first call measures it (2 to 3 s).
    static int getFreq();
    // Counts counter ticks over two whole wall-clock seconds and snaps the result
    // to a nominal frequency when it lies within 3 % of one.
    static unsigned estimateCpuFreqMHz();
    // The nominal frequency nearest to an estimate, or the estimate itself when
    // no nominal value lies within 3 % of it.
    static unsigned nominalFreqMHz(unsigned estimate);

    static unsigned m_freqMHz;  // 0 until first asked
};

// Priority levels: 0 forget a saved priority, 1 high (-20), 2 normal (0), 3 low (10).
// Only the superuser's priority is actually changed.
void psSetPriority(int level);
void psResetPriority();
int psGetNumOfProcessors();

#endif
