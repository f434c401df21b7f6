#include "cputest.h"

namespace {

// " <label padded>: " of the CPU report lines.
psString reportLabel(const char* label) { return sFormat(psString(" ") + label, -11) + ": "; }

}  // namespace

// The registration info's class field is what the test title shows as description.
psCpuTest::psCpuTest(FactsFunc facts)
    : psTest(static_cast<psCustomFunc>(nullptr), "__psOrvexCpuTest", "ps", "Orvex CPU information/__psOrvexCpu/"),
      m_facts(facts)
{
}

psString psCpuTest::report(const psHostFacts& f)
{
    const char* const notReported = "not reported by the processor";
    psString s;
    s << reportLabel("Vendor") << (f.vendor.empty() ? psString(notReported) : f.vendor) << "\n";
    s << reportLabel("Brand") << (f.brand.empty() ? psString(notReported) : f.brand) << "\n";
    s << reportLabel("Processors");
    if (f.processors > 0)
        s << f.processors << "\n";
    else
        s << "unknown (the operating system does not tell)\n";
    psString level = psCpuFeatures::levelOf(f.features);
    s << reportLabel("Level") << (level.empty() ? psString("none of the named levels") : level) << "\n";
    psString first = reportLabel("Features");
    psString names = psCpuFeatures::featureNames(f.features, " ");
    if (names.empty()) names = "none detected";
    s << psWrapWords(names, first, sFormat(psString(), first.length()), 78);
    s << reportLabel("Max cache");
    if (f.cacheBytes > 0)
        s << f.cacheBytes / 1024 << " KB\n";
    else
        s << "unknown (neither the processor nor the operating system describes its caches)\n";
    s << reportLabel("Frequency");
    if (f.freqMHz > 0)
        s << f.freqMHz << " MHz (estimated)\n";
    else
        s << "unknown (the time-stamp counter gave no estimate)\n";
    return s;
}

psResult psCpuTest::run()
{
    m_startTime = time(nullptr);
    m_result = OK;
    m_currentResult = OK;
    const psReportTestTitle title(facts());
    g_ostrm << title;
    g_ustrm << title;
    g_ostrm << ERR << report(m_facts ? m_facts() : psHostFacts::gather()) << END_MSG_FLUSH;
    m_endTime = time(nullptr);
    const psReportTestResult result(facts());
    g_ostrm << result;
    g_ustrm << result;
    return m_result;
}
