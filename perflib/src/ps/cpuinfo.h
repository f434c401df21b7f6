// Host detection: the facts of the processor (through the host source of host.h),
// the one-line processor description of the run title and the CPU feature names of
// -T. It answers questions and prints nothing.
#ifndef PS_CPUINFO_H
#define PS_CPUINFO_H

#include "host.h"
#include "lumtypes.h"
#include "psstring.h"

// Facts of the host, each of which may be missing on an odd (virtual) processor.
struct psHostFacts {
    psString vendor;      // empty: not reported
    psString brand;       // empty: not reported
    long processors = 0;  // less than 1: unknown
    Lum64u features = 0;
    int cacheBytes = 0;   // 0: not found
    unsigned freqMHz = 0; // 0: could not be estimated

    // What the source in force tells. The cache is the library's answer when it gave
    // one (libraryCacheBytes > 0), else the framework's own detection; the frequency
    // is estimated by the ticker (the first time it takes 2 to 3 s).
    static psHostFacts gather(int libraryCacheBytes = 0);
};

// The processor's brand string, else its vendor string; empty when it gives neither.
psString psCpuName();

// One-line processor description: brand string and the highest code-path level the
// processor supports.
psString cpuInfo();

// CPU feature masks of the library by name: the single features and the named
// code-path levels (cumulative masks).
class psCpuFeatures {
public:
    // Mask of a level name or of feature names joined by "|" or "+" (names are not
    // case-sensitive; a number is taken as a mask). 0 when any part is unknown.
    static Lum64u cpuFeatures(const psString& text);
    // The level name of a mask equal to a level, else its feature names joined by "|".
    static psString cpuLabel(Lum64u mask);
    // Lines that list the levels and the features, for the help of -T.
    static psString optimizedList();
    // Features of this processor that the operating system lets programs use.
    static Lum64u detected();
    // Name of the highest level whose features are all in mask (empty: none).
    static psString levelOf(Lum64u mask);
    // The feature names of a mask joined by sep, in table order.
    static psString featureNames(Lum64u mask, const char* sep);
};

// Wraps words (separated by blanks) into lines of at most width columns; the first
// line begins with first, the others with indent.
psString psWrapWords(const psString& words, const psString& first, const psString& indent, int width);

#endif
