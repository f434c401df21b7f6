// Processor information: the always-present CPU information test, the one-line
// processor description of the title report and the CPU feature names of -T.
#ifndef PS_CPUINFO_H
#define PS_CPUINFO_H

#include "libenv.h"
#include "test.h"

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
    // The lines the test prints: vendor, brand, features and frequency.
    static psString report();
};

#endif
