#include "timing.h"

#include "fpguard.h"
#include "ticker.h"

#include "../ps/streams.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <vector>

psTimingMethodFunc g_timingMethodFunc = nullptr;

int psRegTimingMethod(psTimingMethodFunc f)
{
    g_timingMethodFunc = f;
    return 1;
}

int psTool::m_priority = 0;
psCheckStatusFunc psTool::m_pCheckStatus = nullptr;
psResetVectorsFunc psTool::m_pResetVectors = nullptr;

namespace {

// Log text handed to the console by writeError after a failed Auto timing.
psString info;

// Trampoline state of a custom (self-timing) function; one custom timing at a time.
psCustomFunc _funcOld = nullptr;
psTool* _pTool = nullptr;

psResult _funcLoop(int n, long long* clocks)
{
    psResult r = _funcOld(*_pTool, n);
    *clocks = _pTool->getNumClocks() * psCpuTicker::getClockFactor();
    return r;
}

// The folder of this source file, named in internal error messages.
psString engineSourcePath()
{
    psString f = __FILE__;
    return f.getFileDir().empty() ? f : f.substr(0, f.length() - f.getFileName().length() - 1);
}

psString& logLine(psString& s, const char* label, const psString& value) { return s << label << value << "\n"; }

template <class T>
psString& logLine(psString& s, const char* label, T value)
{
    psString v;
    v << value;
    return logLine(s, label, v);
}

double perCall(long long clocks, int n) { return n > 0 ? static_cast<double>(clocks) / n : 0.0; }

}  // namespace

// ---------------------------------------------------------------- set-up

psTool::psTool()
    : m_result(UNDEFINED), m_funcClocks(0), m_curLoops(0), m_accuracy(0.05), m_method(AUTO), m_numLoops(10),
      m_startNumLoops(1), m_stopNumLoops(2048), m_preferCalls(false), m_setAndUse(false), m_minCpuClocks(100),
      m_numCalls(12), m_totalCpuClocks(10000), m_callInit(false), m_avoidBadStatus(false), m_numClocks(0),
      m_achievedAccuracy(1.0), m_autoStartLoops(0), m_autoStopLoops(0), m_startTime(time(nullptr)),
      m_endTime(m_startTime), m_loop(nullptr), m_stat(nullptr), m_call(nullptr), m_init(nullptr)
{
}

void psTool::setMethodAuto() { m_method = AUTO; }

void psTool::setMethodLoop(int numLoops)
{
    m_method = MANUAL;
    m_numLoops = numLoops > 0 ? numLoops : 1;
}

void psTool::setMethodStat(int numCalls, long long totalClocks)
{
    m_method = STATISTIC;
    m_numCalls = numCalls;
    m_totalCpuClocks = totalClocks;
}

void psTool::setMethodBest(int start, int stop, long long minClocks)
{
    m_method = ITERATIVE;
    m_startNumLoops = start > 0 ? start : 1;
    m_stopNumLoops = m_startNumLoops * 8 > stop ? m_startNumLoops * 8 : stop;
    m_minCpuClocks = minClocks;
}

bool psTool::getMethodAuto() const { return m_method == AUTO; }

bool psTool::getMethodLoop(int& numLoops) const
{
    if (m_method != MANUAL) return false;
    numLoops = m_numLoops;
    return true;
}

bool psTool::getMethodStat(int& numCalls, long long& totalClocks) const
{
    if (m_method != STATISTIC) return false;
    numCalls = m_numCalls;
    totalClocks = m_totalCpuClocks;
    return true;
}

bool psTool::getMethodBest(int& start, int& stop, long long& minClocks) const
{
    if (m_method != ITERATIVE) return false;
    start = m_startNumLoops;
    stop = m_stopNumLoops;
    minClocks = m_minCpuClocks;
    return true;
}

void psTool::getAutoParameters(int& start, int& stop, long long& minClocks) const
{
    start = 1;
    stop = 2048;
    minClocks = 10000;
}

void psTool::setLoopFactor(int k)
{
    if (k == 0) {
        m_autoStartLoops = m_autoStopLoops = 0;
    } else if (k > 0) {
        m_autoStartLoops = k < 31 ? 1 >> k : 0;
        m_autoStopLoops = k < 31 ? 2048 >> k : 0;
    } else {
        m_autoStartLoops = -k < 31 ? 1 << -k : 0;
        m_autoStopLoops = -k < 20 ? 2048 << -k : 0;
    }
}

void psTool::reset()
{
    m_result = UNDEFINED;
    m_funcClocks = 0;
    m_curLoops = 0;
    m_status.free();
    m_comment.free();
    m_loop = nullptr;
    m_stat = nullptr;
    m_call = nullptr;
    m_init = nullptr;
    m_startTime = time(nullptr);
    m_numClocks = 0;
    m_achievedAccuracy = 1.0;
}

void psTool::updateResult(psResult r)
{
    if (r <= m_result) return;
    m_result = r;
    m_status = psResultLongWord(r);
}

void psTool::ctrlStart()
{
    g_ctrl87.start();
    g_ssx.start();
    g_ssx.destroy();
}

void psTool::ctrlStop()
{
    g_ctrl87.stop();
    g_ssx.stop();
}

bool psTool::badCtrlStatus()
{
    bool x87, sse;
    return psBadCtrlStatus(x87, sse);
}

void psTool::printBadCtrlStatus(bool print)
{
    bool x87, sse;
    if (print && psBadCtrlStatus(x87, sse)) psPrintCtrlStatus(x87, sse);
}

// ---------------------------------------------------------------- texts and log

psString psTool::getAccuracyStr(double a)
{
    double p = a * 100;
    char buf[64];
    std::snprintf(buf, sizeof buf, p < 0.1 ? "%.2f%c" : "%.1f%c", p, '%');
    return buf;
}

psString psTool::clockStr(long long c)
{
    psString zeros;
    while (static_cast<double>(c) > 2147483647.0) {
        c /= 10;
        zeros += "0";
    }
    psString s;
    s << c << zeros;
    return s;
}

void psTool::writeInfo(psString& s)
{
    if (g_ostrm.accepts(INFO)) g_ostrm << INFO << s << END_MSG;
    s.free();
}

void psTool::writeError()
{
    if (g_ostrm.getOutLevel() < INFO) g_ostrm << ERR << info << END_MSG_FLUSH;
    info.free();
}

void psTool::internalError(int line)
{
    g_ostrm << ERR << "PS internal error: file " << engineSourcePath() << ", line " << line << "\n" << END_MSG;
}

// ---------------------------------------------------------------- entry

psResult psTool::timing(psLoopFunc loop, psStatFunc stat, psCallFunc call, psInitFunc init)
{
    for (;;) {
        reset();
        if (!loop && !stat && !call) {
            g_ostrm << ERR
                    << " Internal test problem: The test cannot execute standard timing.\n"
                       " No one of funcLoop, funcStat or funcCall is registered in the test.\n"
                    << END_MSG_FLUSH;
            updateResult(FAIL);
            return FAIL;
        }
        m_loop = loop;
        m_stat = stat;
        m_call = call;
        m_init = init;
        switch (m_method) {
        case AUTO: {
            psTraceScope t("autoTiming");
            autoLoopTiming();
            break;
        }
        case MANUAL:
            if (!loop && !call) {
                g_ostrm << ERR
                        << " ATTENTION! The test cannot execute Manual loop timing.\n"
                           " Statistic timing will be run instead.\n"
                        << END_MSG;
                m_method = STATISTIC;
                m_numCalls = m_numLoops;
                m_totalCpuClocks = 0;
                continue;
            }
            {
                psTraceScope t("customLoopTiming");
                customLoopTiming();
            }
            break;
        case STATISTIC:
            if (!stat && !call) {
                g_ostrm << ERR
                        << " ATTENTION! The test cannot execute Statistic timing.\n"
                           " Manual loop timing will be run instead.\n"
                        << END_MSG;
                m_method = MANUAL;
                m_numLoops = m_numCalls;
                continue;
            }
            {
                psTraceScope t("statisticTiming");
                statisticTiming();
            }
            break;
        case ITERATIVE: {
            psTraceScope t("iterativeTiming");
            bestTiming(m_startNumLoops, m_stopNumLoops, m_minCpuClocks);
            break;
        }
        default:
            internalError(811);
            updateResult(FAIL);
            break;
        }
        m_endTime = time(nullptr);
        return m_result;
    }
}

psResult psTool::timing(psCustomFunc custom)
{
    _funcOld = custom;
    _pTool = this;
    return timing(custom ? _funcLoop : nullptr, nullptr, nullptr, nullptr);
}

// ---------------------------------------------------------------- one measurement

// One call of the loop entry (n loops) or of the per-call entry (at least *calls
// calls, which it may change), with the status watch and the raised priority around
// it. With Set&Use the built-in entries reset the vectors before every call and
// nothing else is done. Returns false, leaving the result UNDEFINED, when Set&Use
// has no call function to measure.
bool psTool::measureEntry(bool useLoop, int n, int* calls, psResult* r)
{
    if (m_setAndUse) {
        if (!m_call) {
            m_result = UNDEFINED;
            return false;
        }
        psTraceScope t("lumFunctionCalls");
        *r = useLoop ? timCall_Loop(n, &m_numClocks, true) : timCall_Stat(calls, &m_numClocks, true);
        return true;
    }
    if (m_callInit && m_init) {
        psTraceScope t("initFunc call");
        m_init();
    }
    ctrlStart();
    g_trace.traceIn("lumFunctionCalls");
    psSetPriority(m_priority);
    if (useLoop) {
        if (m_loop)
            *r = m_loop(n, &m_numClocks);
        else if (m_call)
            *r = timCall_Loop(n, &m_numClocks, false);
        else {
            internalError(269);
            *r = FAIL;
        }
    } else {
        if (m_stat)
            *r = m_stat(calls, &m_numClocks);
        else if (m_call)
            *r = timCall_Stat(calls, &m_numClocks, false);
        else {
            internalError(278);
            *r = FAIL;
        }
    }
    psResetPriority();
    g_trace.traceOut("lumFunctionCalls");
    ctrlStop();
    return true;
}

void psTool::runTimFunc(int n, double* perLoop, bool forceLoop)
{
    const bool useLoop = forceLoop || !m_preferCalls;
    for (int attempt = 0; attempt < 2; ++attempt) {
        m_numClocks = 0;
        int calls = n;
        psResult r;
        if (!measureEntry(useLoop, n, &calls, &r)) return;
        updateResult(r);
        if (m_result > WARNING || m_numClocks > 0 || attempt == 1) {
            *perLoop = perCall(m_numClocks, calls);
            return;
        }
    }
}

void psTool::runTimFuncStat(long long minClocks, int* calls, double* perCallClocks)
{
    psResult r;
    m_numClocks = minClocks;
    if (!measureEntry(false, *calls, calls, &r)) return;
    *perCallClocks = perCall(m_numClocks, *calls);
    updateResult(r);
}

// Only the init call, the vector reset and the measured call lie between the two
// counter reads; the status bookkeeping is a register compare.
psResult psTool::timCall_Loop(int n, long long* clocks, bool resetVectors)
{
    if (!m_call) {
        internalError(823);
        return FAIL;
    }
    const psCallFunc call = m_call;
    const psInitFunc init = m_init;
    const psResetVectorsFunc reset = resetVectors ? m_pResetVectors : nullptr;
    if (init) init();
    int status = call();
    if (m_pCheckStatus && status < 0) return m_pCheckStatus(status);
    int kept = 0;
    const unsigned long long t0 = lum_get_vantor_counter();
    for (int i = 0; i < n; ++i) {
        if (init) init();
        if (reset) reset();
        status = call();
        if (status < 0) {
            kept = status;
            break;
        }
        if (status) kept = status;
    }
    const unsigned long long t1 = lum_get_vantor_counter();
    *clocks = static_cast<long long>(t1 - t0) * psCpuTicker::getClockFactor();
    return m_pCheckStatus ? m_pCheckStatus(kept) : OK;
}

psResult psTool::timCall_Stat(int* n, long long* clocks, bool resetVectors)
{
    if (!m_call) {
        internalError(860);
        return FAIL;
    }
    const psCallFunc call = m_call;
    const psInitFunc init = m_init;
    const psResetVectorsFunc reset = resetVectors ? m_pResetVectors : nullptr;
    const long long minTotal = *clocks;
    const long long factor = psCpuTicker::getClockFactor();
    if (init) init();
    int status = call();
    if (m_pCheckStatus && status < 0) return m_pCheckStatus(status);
    int kept = 0;
    long long sum = 0;
    int i = 0;
    while (i < *n || factor * sum < minTotal) {
        if (init) init();
        const unsigned long long t0 = lum_get_vantor_counter();
        if (reset) reset();
        const int first = call();
        const unsigned long long t1 = lum_get_vantor_counter();
        sum += static_cast<long long>(t1 - t0);
        ++i;
        const int second = call();
        if (second < 0) {
            kept = second;
            break;
        }
        kept = second ? second : first;
    }
    *n = i;
    *clocks = factor * sum;
    return m_pCheckStatus ? m_pCheckStatus(kept) : OK;
}

// ---------------------------------------------------------------- Manual and Statistic

psResult psTool::customLoopTiming()
{
    psString s;
    s << "    Manual method: \n";
    logLine(s, "        numLoops   = ", m_numLoops);
    writeInfo(s);
    {
        psTraceScope t("runTimFunc");
        runTimFunc(m_numLoops, &m_funcClocks, true);
    }
    m_achievedAccuracy = 0;
    m_comment << "nLps=" << m_numLoops;
    logLine(s, "        funcClocks = ", m_funcClocks);
    logLine(s, "        result     = ", psResultLongWord(m_result));
    writeInfo(s);
    return m_result;
}

psResult psTool::statisticTiming()
{
    psString s;
    s << "    Statistical method:\n";
    logLine(s, "        minCalls   = ", m_numCalls);
    logLine(s, "        maxClocks  = ", clockStr(m_totalCpuClocks));
    writeInfo(s);
    int calls = m_numCalls;
    {
        psTraceScope t("runTimFuncStat");
        runTimFuncStat(m_totalCpuClocks, &calls, &m_funcClocks);
    }
    m_achievedAccuracy = 0;
    m_comment << "nCalls=" << calls;
    logLine(s, "        numCalls   = ", calls);
    logLine(s, "        funcClocks = ", m_funcClocks);
    logLine(s, "        result     = ", psResultLongWord(m_result));
    writeInfo(s);
    return m_result;
}

// ---------------------------------------------------------------- Auto and Iterative

psResult psTool::autoLoopTiming()
{
    return bestTiming(m_autoStartLoops ? m_autoStartLoops : 1, m_autoStopLoops ? m_autoStopLoops : 2048, 10000);
}

int psTool::startIterations(int n, long long minClocks)
{
    m_curLoops = n;
    runTimFunc(n, &m_funcClocks, false);
    if (m_result > WARNING) return m_result;
    if (m_funcClocks <= 0) return ACCURFAIL;
    return static_cast<double>(minClocks) > m_funcClocks * n ? ACCURWRN : OK;
}

int psTool::continueIterations(int start, int max)
{
    long long j = start < max ? start : max;
    double prev = m_funcClocks;
    m_curLoops = static_cast<int>(j);
    while (j <= max) {
        runTimFunc(static_cast<int>(j), &m_funcClocks, false);
        if (m_funcClocks <= 0) return ACCURFAIL;
        m_achievedAccuracy = 2 * std::fabs(m_funcClocks - prev) / (m_funcClocks + prev);
        if (m_avoidBadStatus && badCtrlStatus()) {
            m_curLoops /= 2;
            m_funcClocks = prev;
            return BADSTSWRN;
        }
        if (m_accuracy >= m_achievedAccuracy) return OK;
        prev = m_funcClocks;
        j *= 2;
        m_curLoops = j > INT_MAX ? INT_MAX : static_cast<int>(j);
    }
    m_curLoops = static_cast<int>(j / 2);
    return ACCURWRN;
}

int psTool::repeatTiming(int loops, int samples)
{
    const char* unit = m_preferCalls ? "numCalls" : "numLoops";
    std::vector<double> x;
    if (m_curLoops == loops) x.push_back(m_funcClocks);
    m_curLoops = loops;
    psString s;
    while (static_cast<int>(x.size()) < samples) {
        double sample = 0;
        {
            psTraceScope t("runTimFunc");
            runTimFunc(loops, &sample, false);
        }
        x.push_back(sample);
        s << "        " << unit << "   = " << loops << "\n";
        logLine(s, "        numClocks  = ", m_numClocks);
        logLine(s, "        funcClocks = ", sample);
        writeInfo(s);
    }
    double mean = 0, best = x[0];
    for (double v : x) {
        mean += v;
        if (v < best) best = v;
    }
    mean /= x.size();
    double spread = 0;
    for (double v : x) {
        double d = mean > 0 ? std::fabs(v - mean) / mean : 0;
        if (d > spread) spread = d;
    }
    m_achievedAccuracy = spread;
    m_funcClocks = best;
    int r = spread > m_accuracy ? ACCURWRN : OK;
    if (m_avoidBadStatus && badCtrlStatus()) r = BADSTSWRN;
    logLine(s, "        accuracy   = ", getAccuracyStr(spread));
    logLine(s, "        bestClocks = ", m_funcClocks);
    logLine(s, "        result     = ", psResultLongWord(r));
    printBadCtrlStatus(m_avoidBadStatus);
    writeInfo(s);
    return r;
}

// Smallest power of two not below k (k itself when it is one); 0 when only bit 31 is set.
static unsigned loopScale(unsigned k)
{
    for (int bit = 30; bit >= 0; --bit) {
        unsigned b = 1u << bit;
        if (k & b) return k == b ? k : b << 1;
    }
    return 0;
}

psResult psTool::bestTiming(int n, int m, long long minClocks)
{
    m_avoidBadStatus = m_callInit;
    info.free();
    if (m_preferCalls && !m_stat && !m_call) m_preferCalls = false;
    const char* unit = m_preferCalls ? "numCalls" : "numLoops";
    psString s;
    s << "    Auto method: start\n";
    logLine(s, "        minClocks  = ", clockStr(minClocks));
    writeInfo(s);

    // Prior measurement: find a loop count whose total reaches the minimum clocks.
    for (int phase = 0;;) {
        s << "    Prior Measurement: \n" << "        " << unit << "   = " << n << "\n";
        int r = startIterations(n, minClocks);
        logLine(s, "        numClocks  = ", m_numClocks);
        logLine(s, "        funcClocks = ", m_funcClocks);
        logLine(s, "        result     = ", psResultLongWord(r));
        writeInfo(s);
        if (r == ACCURFAIL) {
            if (phase != 0) return failTiming();
            n *= 10;
            m *= 10;
            phase = 1;
            continue;
        }
        if (r > WARNING) {
            updateResult(static_cast<psResult>(r));
            s << "    Auto method: exit\n";
            writeInfo(s);
            return m_result;
        }
        if (r == OK || phase == 1) break;
        unsigned k = m_numClocks > 0 ? static_cast<unsigned>(2 * minClocks / m_numClocks) : 0;
        unsigned f = k ? loopScale(k) : 0;
        n = static_cast<int>(n * f);
        m = static_cast<int>(m * f);
        phase = 1;
    }

    // Iteration: double the loops until two successive results agree.
    int start = m_curLoops * 4;
    while (m_curLoops < m) {
        s << "    Iteration Measurement: \n";
        logLine(s, "        startLoops = ", start);
        logLine(s, "        maxLoops   = ", m);
        writeInfo(s);
        int r = continueIterations(start, m);
        logLine(s, "        stopLoops  = ", m_curLoops);
        logLine(s, "        stopClocks = ", m_numClocks);
        logLine(s, "        accuracy   = ", getAccuracyStr(m_achievedAccuracy));
        logLine(s, "        funcClocks = ", m_funcClocks);
        logLine(s, "        result     = ", psResultLongWord(r));
        writeInfo(s);
        if (r == BADSTSWRN) {
            avoidBadStatus();
            break;
        }
        if (r == ACCURFAIL) {
            if (!(psCpuTicker::getClockFactor() > start)) return failTiming();
            start *= 10;
            m *= 10;
            if (m <= m_curLoops) break;
            continue;
        }
        if (m_achievedAccuracy <= 0.01) break;
        s << "    Simple Measurements: \n";
        writeInfo(s);
        if (repeatTiming(m_curLoops, 3) != ACCURWRN) break;
        start = m_curLoops * 4;
    }

    m_comment << (m_preferCalls ? "nCalls=" : "nLps=") << m_curLoops;
    if (m_achievedAccuracy > m_accuracy) {
        psString acc = getAccuracyStr(m_achievedAccuracy);
        m_comment << " acc=" << acc;
        if (m_result < ACCURWRN) {
            m_result = ACCURWRN;
            m_status = psString("actual accuracy = ") + acc;
        }
    }
    s << "    Auto method: stop\n";
    writeInfo(s);
    return m_result;
}

// A bad floating-point status appeared while the loops grew: measure again at half
// the loops, where the data that raised it may not be reached.
void psTool::avoidBadStatus()
{
    const double target = m_accuracy;
    printBadCtrlStatus(true);
    g_ostrm << WARN << "-- Attempting to avoid bad control status\n" << END_MSG;
    psString s;
    s << "    Reduce loops to avoid bad ctrl status.\n"
      << "    Simple Measurements: \n";
    writeInfo(s);
    psClearCtrlStatus();
    int r = repeatTiming(m_curLoops, 6);
    if (r == BADSTSWRN || m_achievedAccuracy > 2 * target) {
        s << "    Cannot avoid bad ctrl status\n";
        writeInfo(s);
        g_ostrm << WARN << "-- Attempt fails: "
                << (r == BADSTSWRN ? "Bad control status repeats.\n" : "Accuracy is unsatisfactory.\n") << END_MSG;
    } else {
        g_ostrm << WARN << "-- Attempt is successful\n" << END_MSG;
    }
}

psResult psTool::failTiming()
{
    m_result = m_result > ACCURFAIL ? m_result : ACCURFAIL;
    psString s = "    Auto method: exit\n";
    writeInfo(s);
    writeError();
    return m_result;
}
