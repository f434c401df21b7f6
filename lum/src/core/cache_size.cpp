// Largest data cache, from the CPUID cache leaves or the operating system.
#include "core/cache_size.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace lum {

namespace {

constexpr Lum64u kKiB = 1024;
constexpr Lum32u kExtBase = 0x80000000u;

// a * b, held at the largest value instead of wrapping.
Lum64u saturatingMul(Lum64u a, Lum64u b) {
    if (a != 0 && b > ~Lum64u{0} / a) return ~Lum64u{0};
    return a * b;
}

// Walks a cache-parameter leaf (4 or 0x8000001D) and returns the size of the largest
// data or unified cache; 0 when the leaf lists none. The walk is bounded, as a leaf
// that never reports its end has been seen on virtual processors.
Lum64u walkCacheLeaf(const CacheSources& src, Lum32u leaf) {
    Lum64u largest = 0;
    for (Lum32u sub = 0; sub < 32; ++sub) {
        const CpuidRegs r = src.cpuid(leaf, sub);
        const Lum32u type = r.eax & 0x1F;
        if (type == 0) break;     // no more caches
        if (type == 2) continue;  // instruction cache
        const Lum64u lineSize = (r.ebx & 0xFFF) + 1;
        const Lum64u partitions = ((r.ebx >> 12) & 0x3FF) + 1;
        const Lum64u ways = ((r.ebx >> 22) & 0x3FF) + 1;
        const Lum64u sets = static_cast<Lum64u>(r.ecx) + 1;
        largest = std::max(largest, saturatingMul(lineSize * partitions * ways, sets));
    }
    return largest;
}

// Highest extended leaf, or 0 when the answer is no extended leaf number (processors
// without extended leaves may echo another leaf's data).
Lum32u maxExtendedLeaf(const CacheSources& src) {
    const Lum32u max = src.cpuid(kExtBase, 0).eax;
    return (max & 0xFFFF0000u) == kExtBase ? max : 0;
}

Lum64u fromDeterministicLeaves(const CacheSources& src, Lum32u maxLeaf, Lum32u maxExt) {
    const bool topologyExtensions =
        maxExt >= 0x8000001Du && ((src.cpuid(0x80000001u, 0).ecx >> 22) & 1u) != 0;
    Lum64u size = topologyExtensions ? walkCacheLeaf(src, 0x8000001Du) : 0;
    // Basic leaves lie below the hypervisor range; a larger maximum is no count.
    if (size == 0 && maxLeaf >= 4 && maxLeaf < 0x40000000u) size = walkCacheLeaf(src, 4);
    return size;
}

// L1 data size in KiB in ECX[31:24] of 0x80000005; L2 in KiB in ECX[31:16] and L3 in
// 512 KiB units in EDX[31:18] of 0x80000006.
Lum64u fromLegacyLeaves(const CacheSources& src, Lum32u maxExt) {
    Lum64u size = 0;
    if (maxExt >= 0x80000005u) size = (src.cpuid(0x80000005u, 0).ecx >> 24) * kKiB;
    if (maxExt >= 0x80000006u) {
        const CpuidRegs r = src.cpuid(0x80000006u, 0);
        size = std::max(size, static_cast<Lum64u>(r.ecx >> 16) * kKiB);
        size = std::max(size, static_cast<Lum64u>(r.edx >> 18) * 512 * kKiB);
    }
    return size;
}

// First line of a small text file, without its line end; empty when it cannot be read.
std::string firstLine(const std::string& path) {
    std::string line;
    if (FILE* f = std::fopen(path.c_str(), "r")) {
        char buf[64];
        if (std::fgets(buf, sizeof buf, f)) line = buf;
        std::fclose(f);
    }
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r' || line.back() == ' ')) line.pop_back();
    return line;
}

// "48K", "1024K", "32M", "1G" or a plain count of bytes; 0 for anything else.
Lum64u parseSize(const std::string& text) {
    if (text.empty() || text[0] < '0' || text[0] > '9') return 0;
    char* end = nullptr;
    const unsigned long long n = std::strtoull(text.c_str(), &end, 10);
    const std::string unit(end);
    if (unit.empty()) return n;
    if (unit == "K") return saturatingMul(n, kKiB);
    if (unit == "M") return saturatingMul(n, kKiB * kKiB);
    if (unit == "G") return saturatingMul(n, kKiB * kKiB * kKiB);
    return 0;
}

CpuidRegs hostCpuid(Lum32u leaf, Lum32u subleaf) { return cpuid(leaf, subleaf); }

const CacheSources kHostSources = {hostCpuid, osLargestCache};
std::atomic<const CacheSources*> g_sources{&kHostSources};

}  // namespace

Lum64u largestDataCache(const CacheSources& src) {
    const Lum32u maxLeaf = src.cpuid(0, 0).eax;
    const Lum32u maxExt = maxExtendedLeaf(src);
    Lum64u size = fromDeterministicLeaves(src, maxLeaf, maxExt);
    if (size == 0) size = fromLegacyLeaves(src, maxExt);
    if (size == 0) size = src.osLargest();
    return size;
}

// The host's answer is read once; a simulated one on every call.
Lum64u currentAnswer() {
    const CacheSources* sources = g_sources.load(std::memory_order_acquire);
    if (sources != &kHostSources) return largestDataCache(*sources);
    static const Lum64u hostSize = largestDataCache(kHostSources);
    return hostSize;
}

void simulateCacheSources(const CacheSources* sources) {
    g_sources.store(sources != nullptr ? sources : &kHostSources, std::memory_order_release);
}

Lum64u sysfsLargestCache(const char* cacheDir) {
    DIR* dir = opendir(cacheDir);
    if (dir == nullptr) return 0;
    Lum64u largest = 0;
    while (const dirent* entry = readdir(dir)) {
        if (std::strncmp(entry->d_name, "index", 5) != 0) continue;
        const std::string base = std::string(cacheDir) + "/" + entry->d_name + "/";
        const std::string type = firstLine(base + "type");
        if (type != "Data" && type != "Unified") continue;
        largest = std::max(largest, parseSize(firstLine(base + "size")));
    }
    closedir(dir);
    return largest;
}

Lum64u osLargestCache() {
    Lum64u largest = sysfsLargestCache("/sys/devices/system/cpu/cpu0/cache");
#ifdef _SC_LEVEL1_DCACHE_SIZE
    for (int name : {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE, _SC_LEVEL4_CACHE_SIZE}) {
        const long size = sysconf(name);
        if (size > 0) largest = std::max(largest, static_cast<Lum64u>(size));
    }
#endif
    return largest;
}

}  // namespace lum

extern "C" LumStatus lumGetMaxCacheSizeB(int* pSizeBytes) {
    if (pSizeBytes == nullptr) return lumStsNullPtrErr;
    const Lum64u size = lum::currentAnswer();
    constexpr Lum64u kIntMax = 0x7FFFFFFF;
    *pSizeBytes = static_cast<int>(std::min(size, kIntMax));
    return size == 0 ? lumStsCpuNotSupportedErr : lumStsNoErr;
}
