// The framework's own detection of the largest data cache, the fallback of the
// library's cache-size query (ps_lumGetMaxCacheSizeB in libenv.h). It reads the host
// source of cpuinfo.h and answers from the first of: the deterministic cache leaves
// (0x8000001D when the topology extensions are announced, else leaf 4), the legacy
// extended leaves 0x80000005/0x80000006, the leaf-2 descriptors, the operating system.
#ifndef PS_CACHESIZE_H
#define PS_CACHESIZE_H

// Statuses of ps_lumGetMaxCacheSizeB besides 0: the processor answers no CPUID leaf
// and the operating system names no cache; or it does answer but nothing names one.
enum { PS_CACHE_NO_CPU_SUPPORT = 36, PS_CACHE_NOT_FOUND = 37 };

// Largest data or unified cache in bytes from the CPUID leaves alone; 0: none named.
long long psCpuidCacheBytes();

// What the operating system names: the largest of the sysconf cache sizes and of the
// sysfs entries of the first processor; 0: none.
long long psOsCacheBytes();

// Largest data or unified cache among the index* entries of a sysfs cache folder
// ("type" Data, Instruction or Unified; "size" a count with an optional K, M or G).
long long psSysfsCacheBytes(const char* cacheDir);

#endif
