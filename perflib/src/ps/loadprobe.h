// What else the machine did while one test was measured: how busy the other logical
// CPUs were, how much time the hypervisor stole, how often the process moved to
// another CPU or was switched out against its will. A sample is taken before and
// after each test (never inside a timed span); the difference judges the test.
#ifndef PS_LOADPROBE_H
#define PS_LOADPROBE_H

#include "hostfacts.h"
#include "perfcounter.h"

#include <string>

// Totals of the "cpu" line of /proc/stat, in clock ticks of the kernel (USER_HZ).
struct psCpuTimes {
    unsigned long long busy = 0;   // user, nice, system, irq, softirq (guest time is in user)
    unsigned long long steal = 0;
    int cpus = 0;                  // number of cpuN lines
};

// Reads the text of /proc/stat; false when it has no "cpu" total line or no cpuN line.
bool psParseProcStat(const std::string& text, psCpuTimes& times);

struct psLoadSample {
    double wall = 0;               // monotonic seconds
    bool statRead = false;
    psCpuTimes times;
    double ownCpuSeconds = 0;      // user + system time of this process, all threads
    long involuntarySwitches = 0;
    long long migrations = -1;     // -1: not counted
};

// How one test went, from a sample before and one after it.
struct psTestLoad {
    double seconds = 0;
    psFact<double> otherCpusBusy;  // mean busy share of the other logical CPUs
    psFact<double> steal;          // stolen share of all CPUs' time
    psFact<long long> migrations;
    long involuntarySwitches = 0;
    bool disturbed = false;
};

// Busy shares above these mark a test disturbed.
const double PS_OTHER_BUSY_LIMIT = 0.10;
const double PS_STEAL_LIMIT = 0.01;

// `ticksPerSecond` is the kernel's USER_HZ. A share is judged only when the counts
// behind it exceed the counters' own resolution (two kernel ticks), so that a test
// of a few milliseconds is not marked for one tick that fell into it.
psTestLoad psCompareLoad(const psLoadSample& before, const psLoadSample& after, long ticksPerSecond,
                         const psString& migrationsReason);

// Takes samples; owns the kernel's migration counter for this process
// (else the scheduler statistics of /proc/self/sched give the count).
class psLoadProbe {
public:
    psLoadProbe();

    psLoadSample sample(const psOsSource& os) const;
    // Why migrations are not counted; empty when they are.
    psString migrationsReason(const psOsSource& os) const;

private:
    psPerfCounter m_migrations;
};

#endif
