#include "coreclock.h"

#include "ticker.h"

#include <cerrno>
#include <cstring>
#include <linux/perf_event.h>

namespace {

// Additions that each wait for the one before: a chain of `n` takes n core cycles
// on every x86-64 core (one cycle of latency per addition); the loop's own counter
// and branch run beside it. Eight per round keep the loop overhead hidden.
void additionChain(int n)
{
    unsigned long long x = 0;
    for (int i = 0; i < n; i += 8)
        __asm__ __volatile__(
            "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\t"
            "add $1, %0\n\tadd $1, %0\n\tadd $1, %0\n\tadd $1, %0"
            : "+r"(x));
}

std::string counterRefusal(int err)
{
    std::string why;
    switch (err) {
    case ENOENT:
    case EOPNOTSUPP:
        why = "the kernel offers no hardware cycle counter here";
        break;
    case EACCES:
    case EPERM:
        why = "the kernel refuses this process a cycle counter (kernel.perf_event_paranoid)";
        break;
    case ENOSYS:
        why = "the kernel has no performance events";
        break;
    default:
        why = "perf_event_open failed";
        break;
    }
    return "unavailable: " + why + " (" + std::strerror(err) + ")";
}

}  // namespace

// User mode only: allowed at the usual paranoia level, and the chains run in user mode.
psCycleCounter::psCycleCounter()
    : m_counter(PERF_TYPE_HARDWARE, PERF_COUNT_HW_CPU_CYCLES, false, true),
      m_description(m_counter.available() ? "perf_event" : counterRefusal(m_counter.openError()))
{
}

unsigned long long psCycleCounter::read() const
{
    unsigned long long cycles = 0;
    return m_counter.read(cycles) ? cycles : 0;
}

psCoreClock psMeasureCoreClock(const psCycleCounter& counter, int chains, int adds)
{
    psCoreClock best;
    additionChain(adds);  // wakes the core and brings the code into the cache
    for (int i = 0; i < chains; ++i) {
        const unsigned long long c0 = counter.read();
        const unsigned long long t0 = lum_get_vantor_counter();
        additionChain(adds);
        const unsigned long long t1 = lum_get_vantor_counter();
        const unsigned long long c1 = counter.read();
        if (t1 <= t0) continue;
        const double ticks = static_cast<double>(t1 - t0);
        // An interrupted chain only looks slower, so the highest ratio is the truest.
        if (adds / ticks > best.chainPerTick) best.chainPerTick = adds / ticks;
        if (counter.available() && c1 > c0 && (c1 - c0) / ticks > best.counterPerTick)
            best.counterPerTick = (c1 - c0) / ticks;
    }
    return best;
}
