#include "cpuinfo.h"

#include "cachesize.h"
#include "reports.h"
#include "ticker.h"

#include <cpuid.h>
#include <cstring>
#include <unistd.h>

// Without the library's feature tables the framework still names the baseline.
#ifndef LUM_CPU_FEATURE_NAMES
#define LUM_CPU_FEATURE_NAMES { { "SSE2", 1 } }
#define LUM_CPU_LEVELS { { "SSE2", 1 } }
#endif

namespace {

struct FeatureName {
    const char* name;
    Lum64u mask;
};

const FeatureName kFeatures[] = LUM_CPU_FEATURE_NAMES;
const FeatureName kLevels[] = LUM_CPU_LEVELS;

// ---------------------------------------------------------------- host source

psCpuidRegs hostCpuid(unsigned leaf, unsigned sub)
{
    psCpuidRegs r;
    __cpuid_count(leaf, sub, r.a, r.b, r.c, r.d);
    return r;
}

unsigned long long hostXgetbv()
{
    unsigned lo, hi;
    __asm__ __volatile__("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<unsigned long long>(hi) << 32) | lo;
}

long hostProcessors() { return sysconf(_SC_NPROCESSORS_ONLN); }

const psHostSource kHost = {hostCpuid, hostXgetbv, psOsCacheBytes, hostProcessors};
const psHostSource* g_source = &kHost;

// The register state the operating system saves (XCR0), 0 when it cannot be read.
unsigned long long xcr0()
{
    if (!(psCpuid(1).c & (1u << 27))) return 0;  // OSXSAVE
    return g_source->xgetbv();
}

// How one feature name is detected: a CPUID bit and the register state it needs.
struct FeatureProbe {
    const char* name;
    unsigned leaf;
    char reg;   // 'b', 'c' or 'd'
    int bit;
    unsigned long long xstate;  // XCR0 bits that must be set
};

const unsigned long long YMM_STATE = 0x6, ZMM_STATE = 0xE6;

const FeatureProbe kProbes[] = {
    {"SSE2", 1, 'd', 26, 0},
    {"SSE3", 1, 'c', 0, 0},
    {"SSSE3", 1, 'c', 9, 0},
    {"SSE41", 1, 'c', 19, 0},
    {"SSE42", 1, 'c', 20, 0},
    {"POPCNT", 1, 'c', 23, 0},
    {"CLMUL", 1, 'c', 1, 0},
    {"AVX", 1, 'c', 28, YMM_STATE},
    {"AVX2", 7, 'b', 5, YMM_STATE},
    {"BMI1", 7, 'b', 3, 0},
    {"BMI2", 7, 'b', 8, 0},
    {"LZCNT", 0x80000001u, 'c', 5, 0},
    {"AVX512F", 7, 'b', 16, ZMM_STATE},
    {"AVX512BW", 7, 'b', 30, ZMM_STATE},
    {"AVX512VL", 7, 'b', 31, ZMM_STATE},
    {"VPCLMUL", 7, 'c', 10, YMM_STATE},
    {"AVX512VNNI", 7, 'c', 11, ZMM_STATE},
};

bool probe(const FeatureProbe& p, unsigned long long state)
{
    psCpuidRegs r = psCpuid(p.leaf);
    unsigned reg = p.reg == 'b' ? r.b : p.reg == 'c' ? r.c : r.d;
    return (reg >> p.bit & 1u) && (state & p.xstate) == p.xstate;
}

// The printable characters of CPUID register bytes, trimmed; virtual processors may
// leave them zero or fill them with anything.
psString registerText(const unsigned* regs, int count)
{
    psString s;
    for (int i = 0; i < count; ++i)
        for (int byte = 0; byte < 4; ++byte) {
            char ch = static_cast<char>(regs[i] >> (8 * byte));
            if (ch >= 0x20 && ch < 0x7F) s += ch;
        }
    return s.trimmed();
}

psString vendorString()
{
    psCpuidRegs r = psCpuid(0);
    const unsigned regs[] = {r.b, r.d, r.c};
    return registerText(regs, 3);
}

psString brandString()
{
    unsigned regs[12];
    for (unsigned i = 0; i < 3; ++i) {
        psCpuidRegs r = psCpuid(0x80000002u + i);
        const unsigned part[] = {r.a, r.b, r.c, r.d};
        std::memcpy(regs + 4 * i, part, sizeof part);
    }
    return registerText(regs, 12);
}

long onlineProcessors() { return g_source->onlineProcessors(); }

// ---------------------------------------------------------------- names

bool sameName(const psString& a, const char* b) { return a.toLower() == psString(b).toLower(); }

// A whole text read as a number (decimal or 0x hexadecimal); false otherwise.
bool readMask(const psString& text, Lum64u& mask)
{
    if (text.empty()) return false;
    const char* s = text.c_str();
    int base = 10;
    if (text.length() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
        s += 2;
        base = 16;
    }
    Lum64u v = 0;
    for (; *s; ++s) {
        int digit;
        if (*s >= '0' && *s <= '9')
            digit = *s - '0';
        else if (base == 16 && *s >= 'a' && *s <= 'f')
            digit = *s - 'a' + 10;
        else if (base == 16 && *s >= 'A' && *s <= 'F')
            digit = *s - 'A' + 10;
        else
            return false;
        v = v * base + digit;
    }
    mask = v;
    return true;
}

// Joins the names of the features in mask, in table order.
psString featureNames(Lum64u mask, const char* sep)
{
    psString s;
    for (const FeatureName& f : kFeatures) {
        if ((mask & f.mask) != f.mask) continue;
        if (!s.empty()) s += sep;
        s += f.name;
    }
    return s;
}

// Wraps words (separated by blanks) into lines of at most width columns; the
// first line begins with first, the others with indent.
psString wrapWords(const psString& words, const psString& first, const psString& indent, int width)
{
    psStringList list;
    words.parse(list, " ");
    psString out, line = first;
    bool lineEmpty = true;
    for (const psString& w : list) {
        if (!lineEmpty && line.length() + 1 + w.length() > width) {
            out << line << "\n";
            line = indent;
            lineEmpty = true;
        }
        line << (lineEmpty ? "" : " ") << w;
        lineEmpty = false;
    }
    if (!lineEmpty) out << line << "\n";
    return out;
}

// " <label padded>: " of the CPU report lines.
psString reportLabel(const char* label) { return sFormat(psString(" ") + label, -11) + ": "; }

}  // namespace

// ---------------------------------------------------------------- psCpuFeatures

// A name alone is first taken as a level; in a list of several names each is first
// taken as a single feature (several names share the spelling of a level).
Lum64u psCpuFeatures::cpuFeatures(const psString& text)
{
    psStringList parts;
    if (text.trimmed().parse(parts, "|+ ") == 0) return 0;
    const bool alone = parts.count() == 1;
    Lum64u mask = 0;
    for (const psString& part : parts) {
        Lum64u level = 0, feature = 0;
        for (const FeatureName& l : kLevels)
            if (sameName(part, l.name)) level = l.mask;
        for (const FeatureName& f : kFeatures)
            if (sameName(part, f.name)) feature = f.mask;
        Lum64u m = alone ? (level ? level : feature) : (feature ? feature : level);
        if (!m) readMask(part, m);
        if (!m) return 0;
        mask |= m;
    }
    return mask;
}

psString psCpuFeatures::cpuLabel(Lum64u mask)
{
    for (const FeatureName& l : kLevels)
        if (l.mask == mask) return l.name;
    psString s = featureNames(mask, "|");
    Lum64u known = 0;
    for (const FeatureName& f : kFeatures) known |= f.mask;
    if (mask & ~known) {
        char hex[32];
        std::snprintf(hex, sizeof hex, "0x%llX", static_cast<unsigned long long>(mask & ~known));
        if (!s.empty()) s += "|";
        s += hex;
    }
    return s;
}

psString psCpuFeatures::levelOf(Lum64u mask)
{
    psString best;
    for (const FeatureName& l : kLevels)
        if ((mask & l.mask) == l.mask) best = l.name;
    return best;
}

psString psCpuFeatures::optimizedList()
{
    psString s("    a code-path level, each one adding features to the one before:\n");
    Lum64u previous = 0;
    for (const FeatureName& l : kLevels) {
        psString line = psString("        ") + sFormat(psString(l.name), -8) + ": ";
        if (previous) line << cpuLabel(previous) << " + ";
        line << featureNames(l.mask & ~previous, "|");
        s << line << "\n";
        previous = l.mask;
    }
    s << "    or single features joined by '|' or '+':\n";
    s << wrapWords(featureNames(~Lum64u(0), " "), "        ", "        ", 78);
    psString here = levelOf(detected());
    if (!here.empty()) s << "    The highest level of this processor is " << here << "\n";
    return s;
}

Lum64u psCpuFeatures::detected()
{
    unsigned long long state = xcr0();
    Lum64u mask = 0;
    for (const FeatureName& f : kFeatures) {
        for (const FeatureProbe& p : kProbes)
            if (sameName(f.name, p.name) && probe(p, state)) mask |= f.mask;
    }
    return mask;
}

psString psCpuName()
{
    psString brand = brandString();
    return !brand.empty() ? brand : vendorString();
}

psString cpuInfo()
{
    psString s = psCpuName();
    if (s.empty()) s = "Unidentified processor";
    long processors = onlineProcessors();
    if (processors > 0) s << ", " << processors << " logical processors";
    psString level = psCpuFeatures::levelOf(psCpuFeatures::detected());
    if (!level.empty()) s << ", features up to " << level;
    return s;
}

// ---------------------------------------------------------------- host facts

void psSimulateHost(const psHostSource* source) { g_source = source ? source : &kHost; }

const psHostSource& psHost() { return *g_source; }

psCpuidRegs psCpuid(unsigned leaf, unsigned sub)
{
    const unsigned base = leaf & 0x80000000u;
    unsigned max = g_source->cpuid(base, 0).a;
    if (base && (max & 0xFFFF0000u) != base) max = 0;  // no extended leaves
    if (leaf > max) return psCpuidRegs();
    return g_source->cpuid(leaf, sub);
}

psHostFacts psHostFacts::gather()
{
    psHostFacts f;
    f.vendor = vendorString();
    f.brand = brandString();
    f.processors = onlineProcessors();
    f.features = psCpuFeatures::detected();
    // The library's answer, else the framework's own detection.
    int cache = 0;
    const bool answered = lum_GetMaxCacheSizeB && lum_GetMaxCacheSizeB(&cache) == 0 && cache > 0;
    if (!answered && ps_lumGetMaxCacheSizeB(&cache) != 0) cache = 0;
    f.cacheBytes = cache;
    const int freq = psCpuTicker::getFreq();
    f.freqMHz = freq > 0 ? static_cast<unsigned>(freq) : 0;
    return f;
}

// ---------------------------------------------------------------- the test

// The registration info's class field is what the test title shows as description.
psCpuTest::psCpuTest()
    : psTest(static_cast<psCustomFunc>(nullptr), "__psOrvexCpuTest", "ps", "Orvex CPU information/__psOrvexCpu/")
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
    psString names = featureNames(f.features, " ");
    if (names.empty()) names = "none detected";
    s << wrapWords(names, first, sFormat(psString(), first.length()), 78);
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
    g_ostrm << psReportTestTitle(this);
    g_ustrm << psReportTestTitle(this);
    g_ostrm << ERR << report() << END_MSG_FLUSH;
    m_endTime = time(nullptr);
    g_ostrm << psReportTestResult(this);
    g_ustrm << psReportTestResult(this);
    return m_result;
}
