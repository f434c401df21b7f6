#include "loadprobe.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <linux/perf_event.h>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

bool psParseProcStat(const std::string& text, psCpuTimes& times)
{
    times = psCpuTimes();
    bool total = false;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (line.compare(0, 3, "cpu") != 0) continue;
        if (line.size() > 3 && line[3] >= '0' && line[3] <= '9') {
            ++times.cpus;
            continue;
        }
        // cpu user nice system idle iowait irq softirq steal guest guest_nice
        std::istringstream fields(line.substr(3));
        unsigned long long v[8] = {};
        int n = 0;
        while (n < 8 && fields >> v[n]) ++n;
        if (n < 4) return false;
        times.busy = v[0] + v[1] + v[2] + v[5] + v[6];
        times.steal = v[7];
        total = true;
    }
    return total && times.cpus > 0;
}

namespace {

double monotonicSeconds()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec + ts.tv_nsec * 1e-9;
}

double seconds(const timeval& t) { return t.tv_sec + t.tv_usec * 1e-6; }

// A share of `capacity` seconds (more than 0), judged only above two kernel ticks.
void share(psFact<double>& fact, double used, double capacity, double tick, double limit, bool& disturbed)
{
    double s = used / capacity;
    s = s < 0 ? 0 : s > 1 ? 1 : s;
    fact.set(s);
    if (s > limit && used > 2 * tick) disturbed = true;
}

// The scheduler's own count of the main thread's migrations, where the kernel shows
// its statistics; -1 otherwise.
long long schedMigrations(const psOsSource& os)
{
    std::string text;
    if (!os.readFile("/proc/self/sched", text)) return -1;
    const size_t at = text.find("se.nr_migrations");
    const size_t colon = at == std::string::npos ? at : text.find(':', at);
    if (colon == std::string::npos) return -1;
    return std::strtoll(text.c_str() + colon + 1, nullptr, 10);
}

}  // namespace

psTestLoad psCompareLoad(const psLoadSample& before, const psLoadSample& after, long ticksPerSecond,
                         const psString& migrationsReason)
{
    psTestLoad load;
    load.seconds = after.wall - before.wall;
    load.involuntarySwitches = after.involuntarySwitches - before.involuntarySwitches;
    if (after.migrations >= 0 && before.migrations >= 0)
        load.migrations.set(after.migrations - before.migrations);
    else
        load.migrations.missing(migrationsReason);

    const char* unknown = !before.statRead || !after.statRead || ticksPerSecond <= 0 ? "/proc/stat could not be read"
                          : load.seconds <= 0                                       ? "the test took no measurable time"
                                                                                    : nullptr;
    if (unknown) {
        load.otherCpusBusy.missing(unknown);
        load.steal.missing(unknown);
        return load;
    }
    const double tick = 1.0 / ticksPerSecond;
    if (load.seconds + 1e-9 < 2 * tick) {
        // /proc/stat counts in kernel ticks: a shorter span gives 0 or 100%, not a share.
        const psString why = "the test was shorter than two ticks of /proc/stat (" +
                             psString(std::to_string(static_cast<int>(2000 * tick)).c_str()) + " ms)";
        load.otherCpusBusy.missing(why);
        load.steal.missing(why);
        return load;
    }
    const int cpus = after.times.cpus;
    const double busy = (after.times.busy - before.times.busy) * tick;
    const double stolen = (after.times.steal - before.times.steal) * tick;
    if (cpus < 2)
        load.otherCpusBusy.missing("the machine has one logical CPU");
    else
        share(load.otherCpusBusy, busy - (after.ownCpuSeconds - before.ownCpuSeconds), load.seconds * (cpus - 1), tick,
              PS_OTHER_BUSY_LIMIT, load.disturbed);
    share(load.steal, stolen, load.seconds * cpus, tick, PS_STEAL_LIMIT, load.disturbed);
    return load;
}

// Inherited, because the library's worker threads move too; kernel included, because
// migrations happen in the kernel.
psLoadProbe::psLoadProbe() : m_migrations(PERF_TYPE_SOFTWARE, PERF_COUNT_SW_CPU_MIGRATIONS, true, false) {}

psLoadSample psLoadProbe::sample(const psOsSource& os) const
{
    psLoadSample s;
    std::string stat;
    s.statRead = os.readFile("/proc/stat", stat) && psParseProcStat(stat, s.times);
    rusage ru;
    if (getrusage(RUSAGE_SELF, &ru) == 0) {
        s.ownCpuSeconds = seconds(ru.ru_utime) + seconds(ru.ru_stime);
        s.involuntarySwitches = ru.ru_nivcsw;
    }
    unsigned long long count = 0;
    if (m_migrations.read(count))
        s.migrations = static_cast<long long>(count);
    else
        s.migrations = schedMigrations(os);
    s.wall = monotonicSeconds();
    return s;
}

psString psLoadProbe::migrationsReason(const psOsSource& os) const
{
    if (m_migrations.available() || schedMigrations(os) >= 0) return psString();
    return psString("the kernel counts no migrations for this process (perf_event_open: ") +
           std::strerror(m_migrations.openError()) +
           "; no /proc/self/sched)";
}
