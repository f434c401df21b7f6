// Largest data cache of the processor. The processor describes its caches in one of
// several ways, or not at all (some hypervisors leave every cache leaf empty), so the
// answer comes from the first source that gives one:
//   1. the deterministic cache-parameter leaves: 0x8000001D when the processor announces
//      the topology extensions, else leaf 4 (the same register layout);
//   2. the legacy extended leaves: 0x80000005 (L1 data) and 0x80000006 (L2, L3);
//   3. the operating system (sysconf and the sysfs cache entries).
#ifndef LUM_CORE_CACHE_SIZE_H
#define LUM_CORE_CACHE_SIZE_H

#include "core/cpu_features.h"
#include "core/export.h"
#include "lumcore.h"

namespace lum {

// Where the facts come from; tests replace both to simulate a processor and its system.
struct CacheSources {
    CpuidRegs (*cpuid)(Lum32u leaf, Lum32u subleaf);  // CPUID answers
    Lum64u (*osLargest)();                            // largest data cache the OS names, 0: none
};

// Largest data or unified cache in bytes from the sources, in the order above; 0 when
// none of them describes a cache.
LUM_INTERNAL Lum64u largestDataCache(const CacheSources& sources);

// The sources lumGetMaxCacheSizeB asks from now on; nullptr restores the host's own.
// The sources must outlive their use.
LUM_INTERNAL void simulateCacheSources(const CacheSources* sources);

// lumGetMaxCacheSizeB's answer in bytes: from the sources in force (the host's are
// read once and remembered).
LUM_INTERNAL Lum64u currentAnswer();

// The operating system's answer: the largest of the sysconf cache sizes and of the
// sysfs entries of the first processor.
LUM_INTERNAL Lum64u osLargestCache();

// Largest data or unified cache among the index* entries of a sysfs cache folder
// (files "type": Data, Instruction or Unified; "size": a count with an optional K, M or
// G suffix); 0 when the folder is missing or names none.
LUM_INTERNAL Lum64u sysfsLargestCache(const char* cacheDir);

}  // namespace lum

#endif
