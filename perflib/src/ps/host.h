// Where the framework's host facts come from: CPUID, the register state the
// operating system saves, and what the operating system tells about caches and
// processors. Tests put a simulated host in place of the real one.
#ifndef PS_HOST_H
#define PS_HOST_H

// One CPUID answer.
struct psCpuidRegs {
    unsigned a = 0, b = 0, c = 0, d = 0;
};

// The host as the framework reads it.
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

// What the operating system names: the largest of the sysconf cache sizes and of the
// sysfs entries of the first processor; 0: none.
long long psOsCacheBytes();

// Largest data or unified cache among the index* entries of a sysfs cache folder
// ("type" Data, Instruction or Unified; "size" a count with an optional K, M or G).
long long psSysfsCacheBytes(const char* cacheDir);

#endif
