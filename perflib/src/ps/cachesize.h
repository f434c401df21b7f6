// The framework's own detection of the largest data cache, the fallback of the
// library's cache-size query. It reads the host source of host.h and answers from the
// first of: the deterministic cache leaves (0x8000001D when the topology extensions
// are announced, else leaf 4), the legacy extended leaves 0x80000005/0x80000006, the
// leaf-2 descriptors, the operating system.
#ifndef PS_CACHESIZE_H
#define PS_CACHESIZE_H

#include "host.h"
#include "lumtypes.h"

// Statuses of ps_lumGetMaxCacheSizeB besides 0: the processor answers no CPUID leaf
// and the operating system names no cache; or it does answer but nothing names one.
enum { PS_CACHE_NO_CPU_SUPPORT = 36, PS_CACHE_NOT_FOUND = 37 };

// Largest data or unified cache in bytes from the CPUID leaves alone; 0: none named.
long long psCpuidCacheBytes();

// The whole detection with the library query's signature: the size in bytes (capped
// at the largest int) and 0, or 0 and one of the statuses above.
LumStatus ps_lumGetMaxCacheSizeB(int* size);

#endif
