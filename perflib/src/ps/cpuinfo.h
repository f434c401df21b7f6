// Processor information: where the framework's host facts come from (the processor
// and the operating system, or a simulated host in tests), the always-present CPU
// information test, the one-line processor description of the title report and the
// CPU feature names of -T.
#ifndef PS_CPUINFO_H
#define PS_CPUINFO_H

#include "libenv.h"
#include "test.h"

// One CPUID answer.
struct psCpuidRegs {
    unsigned a = 0, b = 0, c = 0, d = 0;
};

// The host as the framework reads it. Tests put a simulated host in its place.
struct psHostSource {
    psCpuidRegs (*cpuid)(unsigned leaf, unsigned sub);
    unsigned long long (*xgetbv)();   // register state the OS saves; only asked when leaf 1 announces OSXSAVE
    long long (*osCacheBytes)();      // largest data cache the OS names, 0: none
    long (*onlineProcessors)();       // less than 1: unknown
};

// The source the framework reads from now on; nullptr restores the real host.
// The source must outlive its use.
void psSimulateHost(const psHostSource* source);
const psHostSource& psHost();

// CPUID through the source in force: all zero for a leaf above the processor's highest
// basic or extended leaf (an extended maximum that is no extended leaf number means none).
psCpuidRegs psCpuid(unsigned leaf, unsigned sub = 0);

// Facts of the host, each of which may be missing on an odd (virtual) processor.
struct psHostFacts {
    psString vendor;      // empty: not reported
    psString brand;       // empty: not reported
    long processors = 0;  // less than 1: unknown
    Lum64u features = 0;
    int cacheBytes = 0;   // 0: not found
    unsigned freqMHz = 0; // 0: could not be estimated

    // What the source in force tells, with the cache through the library slot and the
    // frequency estimated by the ticker (the first time it takes 2 to 3 s).
    static psHostFacts gather();
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
};

// Registered by the session before the keys are read; counted like any test.
class psCpuTest : public psTest {
public:
    psCpuTest();
    psResult run() override;
    // The lines the test prints: vendor, brand, processors, features, cache and
    // frequency; a fact the host does not give reads as such instead of a number.
    static psString report(const psHostFacts& facts);
    static psString report() { return report(psHostFacts::gather()); }
};

#endif
