// What a test reports for one measured parameter combination: the console result
// line, the error block, the performance-table cells and the registration text.
#include "test.h"

#include "cache.h"
#include "parameter.h"
#include "table.h"
#include "ticker.h"

#include <cmath>
#include <cstdio>

// ---------------------------------------------------------------- table columns

int psTest::m_numParmsColm = 0;
int psTest::m_numResultColm = 0;

// ---------------------------------------------------------------- console

void psTest::outputResult(psResult code)
{
    if (code == UNDEFINED) return;
    putTextError(code);
    putTextResult(code);
    if (code < ACCURFAIL) {
        putTableResult(code);
        putTableResult_Deprecated(code);
    }
}

void psTest::putTextError(psResult code)
{
    if (code < ACCURWRN) return;
    g_ostrm << (code <= WARNING ? WARN : ERR) << "-- " << psResultLongWord(code) << " on test parameters:\n";
    putTextParms();
    g_ostrm << END_MSG;
}

void psTest::putTextResult(psResult code)
{
    if (code < OK || code > WARNING) return;
    if (!g_ostrm.beginMessage(code == OK ? PERF : WARN)) return;
    if (code != OK) g_ostrm << "-- performance:\n";
    g_ostrm << testResultString() << "\n" << END_MSG;
}

psString psTest::testResultString()
{
    psString s;
    const int method = m_tool.getMethod();
    if (method == psTool::AUTO || method == psTool::ITERATIVE)
        s << "acc=" << sFormat(psTool::getAccuracyStr(m_tool.getAchievedAccuracy()), -5);
    s << sFormat(m_tool.getComment(), -10);
    s << "perf=" << sFormat(m_tool.getFuncClocks(), 9) << "/" << sFormat(getDivisor(), 9) << "="
      << sFormat(perfString(false), 9) << " clocks";
    return s;
}

void psTest::putTextParms()
{
    if (m_parms.isEmpty()) return;
    parmsToOstrm();
    g_ostrm << "\n";
}

void psTest::putTextParms(MessageLevel level)
{
    g_ostrm << level;
    putTextParms();
    g_ostrm << END_MSG;
}

void psTest::parmsToOstrm()
{
    for (psParameter* p : m_parms) p->toOStream(g_ostrm);
}

void psTest::outputConst()
{
    g_ostrm << PERF;
    constToOstrm();
    g_ostrm << END_MSG;
}

void psTest::outputRegInfo() { g_ostrm << INFO << regInfo() << "\n" << END_MSG; }

// ---------------------------------------------------------------- figures

double psTest::performance(bool flops)
{
    const double clocks = m_tool.getFuncClocks();
    if (!flops) return clocks / getDivisor();
    if (!isFloatFunction() || clocks <= 0) return 0.0;
    return getFlops() * psCpuTicker::getFreq() / clocks;
}

psString psTest::perfString(bool flops) { return formatClocks(performance(flops)); }

psString psTest::formatClocks(double x)
{
    if (x <= 0) return psString();
    char buf[64];
    if (std::isnan(x) || x < 0.0001 || x > 10000000) {
        std::snprintf(buf, sizeof buf, "%.3e", x);
        return buf;
    }
    int decimals = x >= 100 ? 0 : x >= 10 ? 1 : x >= 1 ? 2 : x >= 0.1 ? 3 : x >= 0.01 ? 4 : x >= 0.001 ? 5 : 6;
    char format[16];
    std::snprintf(format, sizeof format, "%c.%df", '%', decimals);
    std::snprintf(buf, sizeof buf, format, x);
    return buf;
}

psString psTest::getComment()
{
    if (m_deprecated) return "deprecated";
    psString s;
    if (m_cacheParm) s << m_cacheParm->comment() << " ";
    return s << m_tool.getComment();
}

// ---------------------------------------------------------------- table

void psTest::funcToCstrm() { g_cstrm.setNextColm(m_funcName); }

void psTest::parmsToCstrm()
{
    for (psParameter* p : m_parms) p->toCStream(g_cstrm);
}

void psTest::parmsNameToCstrm()
{
    for (psParameter* p : m_parms) p->nameToCStream(g_cstrm);
}

void psTest::putTableParms()
{
    funcToCstrm();
    parmsToCstrm();
    g_cstrm.setCursor(m_numParmsColm);
}

void psTest::resultToCstrm(psResult code)
{
    (void)code;
    psTraceScope trace("resultToCstrm");
    g_cstrm.setNextColm(getComment());
    g_cstrm.setNextColm(perfString(false));
    g_cstrm.setNextColm(getUnit());
    psString usec;
    usec << m_tool.getFuncClocks() / psCpuTicker::getFreq();
    g_cstrm.setNextColm(usec);
    g_cstrm.setNextColm(perfString(true));
    g_cstrm.setNextColm(isHotLine() ? "Hot" : "");
}

void psTest::putTableResult(psResult code)
{
    putTableParms();
    resultToCstrm(code);
    g_cstrm.lineOut(m_numResultColm + m_numParmsColm);
}

// A combination whose parameters have deprecated values gets a second line with
// their table texts; it is held back and written after the test's last combination.
void psTest::putTableResult_Deprecated(psResult code)
{
    if (setDeprecatedFlag(true)) {
        putTableParms();
        resultToCstrm(code);
        g_cstrm.linePostpone();
    }
    setDeprecatedFlag(false);
}

bool psTest::setDeprecatedFlag(bool on)
{
    m_deprecated = on;
    bool any = false;
    for (psParameter* p : m_parms) any = p->setDeprecatedFlag(on) || any;
    return on && any;
}

void psTest::putTableNameLine()
{
    funcToCstrm();
    parmsNameToCstrm();
    g_cstrm.setCursor(m_numParmsColm);
    g_cstrm.setNextColm("parmNames");
    g_cstrm.lineOut(m_numResultColm + m_numParmsColm);
}

// ---------------------------------------------------------------- registration text

psString psTest::regInfo()
{
    psString s = "   Test has been registered";
    if (!m_info.regMacro.empty()) s << " by " << m_info.regMacro << " macro";
    psStringList present;
    if (m_loop) present.add("loopMethod");
    if (m_stat) present.add("statMethod");
    if (m_custom) present.add("oldMethod");
    if (m_call) present.add("funcCall");
    if (!present.isEmpty() && m_init) present.add("funcInit");
    if (present.isEmpty()) return s << " without any function to call.\n No standard timing method is available";
    psString list;
    for (const psString& p : present) list << (list.empty() ? "" : ", ") << p;
    s << " with " << list << ".";

    const int method = m_tool.getMethod();
    const char* used;
    if (m_custom)
        used = "oldMethod";
    else if (m_call && m_tool.getSetAndUse())
        used = "funcCall with Set&Use";
    else if (m_call && !m_loop && !m_stat)
        used = "funcCall";
    else if (method == psTool::STATISTIC ||
             ((method == psTool::AUTO || method == psTool::ITERATIVE) && m_tool.getPreferCalls()))
        used = m_stat ? "statMethod" : "loopMethod";
    else
        used = m_loop ? "loopMethod" : "statMethod";
    return s << "\n   " << used << " is called for measuring.";
}
