#include "recorder.h"

#include "cpuinfo.h"
#include "libenv.h"
#include "progress.h"
#include "ticker.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <unistd.h>

#ifndef PERFDC_BUILD_TYPE
#define PERFDC_BUILD_TYPE "unknown"
#endif

psRunRecorder g_runRecorder;

namespace {

double monotonicSeconds()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec + ts.tv_nsec * 1e-9;
}

bool switchedOff()
{
    const char* v = std::getenv("PERFDC_RUN_RECORD");
    return v && std::strcmp(v, "0") == 0;
}

psString compilerText()
{
#if defined(__clang__)
    return psString("clang ") + __clang_version__;
#elif defined(__GNUC__)
    return psString("gcc ") + __VERSION__;
#else
    return "unknown compiler";
#endif
}

double cpuSeconds()
{
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return ts.tv_sec + ts.tv_nsec * 1e-9;
}

// Adds the processor time of its scope to a total: the record accounts for its own
// cost. Processor time, not wall time: on a loaded machine the waits for a CPU that
// fall into the scope are not the probes' doing.
class CostOf {
public:
    explicit CostOf(double& total) : m_total(total), m_start(cpuSeconds()) {}
    ~CostOf() { m_total += cpuSeconds() - m_start; }

private:
    double& m_total;
    double m_start;
};

}  // namespace

psRunRecorder::~psRunRecorder() = default;

psBuildFacts psRunRecorder::thisBuild()
{
    psBuildFacts b;
    b.compiler = compilerText();
    b.buildType = PERFDC_BUILD_TYPE;
#ifndef __OPTIMIZE__
    b.debug = true;  // the library is built in the same tree with the same flags
#endif
    // The level of the features the library has enabled (-T may have narrowed them).
    const Lum64u enabled = lum_GetEnabledCpuFeatures ? lum_GetEnabledCpuFeatures() : 0;
    const psString level = psCpuFeatures::levelOf(enabled);
    if (!enabled)
        b.lumPath.missing("the library reports no enabled CPU features (no library environment, or none enabled)");
    else
        b.lumPath.set(level.empty() ? psCpuFeatures::cpuLabel(enabled) : level);
    const char* preload = std::getenv("LD_PRELOAD");
    if (preload && *preload)
        b.preload.set(preload);
    else
        b.preload.missing("LD_PRELOAD is not set");
    return b;
}

void psRunRecorder::tableOpened(const psString& tablePath, bool append) { m_tables.add(Table{tablePath, append}); }

void psRunRecorder::warn(const psString& line) const
{
    if (line.empty() || isatty(m_fd) != 1) return;
    // While the tests run, the status line owns the terminal's last line.
    if (m_fd == 2 && g_progress.active()) {
        g_progress.note(line.str());
        return;
    }
    std::fflush(stdout);  // the console's text so far comes first
    if (write(m_fd, line.c_str(), line.length()) < 0) return;  // a warning is not worth an error
}

void psRunRecorder::begin(int argc, char** argv, const psString& startText)
{
    if (switchedOff()) return;
    m_active = true;
    m_run = psRunRecord();
    CostOf cost(m_run.probeSeconds);
    m_run.start = startText;
    for (int i = 0; i < argc; ++i) m_run.command.add(argv[i] ? argv[i] : "");
    m_run.host = psGatherRunHost(psRealOs());
    m_run.build = thisBuild();
    m_counter.reset(new psCycleCounter);
    m_probe.reset(new psLoadProbe);
    m_migrationsReason = m_probe->migrationsReason(psRealOs());
    m_run.clock.cycleCounter = m_counter->description();
    m_run.clock.start = psMeasureCoreClock(*m_counter);
    m_startSeconds = monotonicSeconds();
    m_startTicks = lum_get_vantor_counter();
    warn(psSpoilingConditions(m_run.host, m_run.build));
}

void psRunRecorder::testStarted()
{
    if (!m_active) return;
    CostOf cost(m_run.probeSeconds);
    m_before = m_probe->sample(psRealOs());
}

void psRunRecorder::testDone(const psString& function)
{
    if (!m_active) return;
    CostOf cost(m_run.probeSeconds);
    psLoadSample after = m_probe->sample(psRealOs());
    psTestRecord t{function, psCompareLoad(m_before, after, sysconf(_SC_CLK_TCK), m_migrationsReason)};
    m_run.tests.add(t);
    warn(psDisturbedWarning(t));
}

void psRunRecorder::finish()
{
    if (!m_active) return;
    m_active = false;
    {
        CostOf cost(m_run.probeSeconds);  // the writing itself is not counted
        const unsigned long long ticks = lum_get_vantor_counter() - m_startTicks;
        psSetMeasuredTscHz(m_run.host, ticks, monotonicSeconds() - m_startSeconds);
        m_run.clock.end = psMeasureCoreClock(*m_counter);
    }
    const psString line = psRunRecordLine(m_run);
    for (const Table& t : m_tables) {
        const psString path = psRunRecordPath(t.path);
        // A run that measured nothing has no line to add; a fresh table still
        // leaves no old record beside it.
        if (m_run.tests.isEmpty()) {
            FILE* stale = !t.append && access(path.c_str(), F_OK) == 0 ? std::fopen(path.c_str(), "w") : nullptr;
            if (stale) std::fclose(stale);
            continue;
        }
        psString error;
        if (psWriteRunRecord(path, line, t.append, error)) continue;
        std::fflush(stdout);
        std::fprintf(stderr, "-- Can't write the run record %s: %s; the table is written without it\n", path.c_str(),
                     error.c_str());
    }
    m_tables.clear();
    m_counter.reset();
    m_probe.reset();
}
