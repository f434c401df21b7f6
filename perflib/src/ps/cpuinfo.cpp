#include "cpuinfo.h"

#include "cachesize.h"
#include "ticker.h"

#include <cstdio>
#include <cstring>

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

// The register state the operating system saves (XCR0), 0 when it cannot be read.
unsigned long long xcr0()
{
    if (!(psCpuid(1).c & (1u << 27))) return 0;  // OSXSAVE
    return psHost().xgetbv();
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

long onlineProcessors() { return psHost().onlineProcessors(); }

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

}  // namespace

psString psCpuFeatures::featureNames(Lum64u mask, const char* sep)
{
    psString s;
    for (const FeatureName& f : kFeatures) {
        if ((mask & f.mask) != f.mask) continue;
        if (!s.empty()) s += sep;
        s += f.name;
    }
    return s;
}

psString psWrapWords(const psString& words, const psString& first, const psString& indent, int width)
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
    s << psWrapWords(featureNames(~Lum64u(0), " "), "        ", "        ", 78);
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

psHostFacts psHostFacts::gather(int libraryCacheBytes)
{
    psHostFacts f;
    f.vendor = vendorString();
    f.brand = brandString();
    f.processors = onlineProcessors();
    f.features = psCpuFeatures::detected();
    int cache = libraryCacheBytes;
    if (cache <= 0 && ps_lumGetMaxCacheSizeB(&cache) != 0) cache = 0;
    f.cacheBytes = cache;
    const int freq = psCpuTicker::getFreq();
    f.freqMHz = freq > 0 ? static_cast<unsigned>(freq) : 0;
    return f;
}
