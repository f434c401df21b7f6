// Largest data cache, from the deterministic cache parameter leaves of CPUID.
#include <algorithm>

#include "core/cpu_features.h"

namespace {

// Walks a cache-parameter leaf (4, or 0x8000001D: same register layout) and returns the
// size of the largest data or unified cache; 0 when the leaf lists none.
Lum64u largestDataCache(Lum32u leaf) {
    Lum64u largest = 0;
    for (Lum32u sub = 0; sub < 32; ++sub) {
        const lum::CpuidRegs r = lum::cpuid(leaf, sub);
        const Lum32u type = r.eax & 0x1F;
        if (type == 0) break;     // no more caches
        if (type == 2) continue;  // instruction cache
        const Lum64u lineSize = (r.ebx & 0xFFF) + 1;
        const Lum64u partitions = ((r.ebx >> 12) & 0x3FF) + 1;
        const Lum64u ways = ((r.ebx >> 22) & 0x3FF) + 1;
        const Lum64u sets = static_cast<Lum64u>(r.ecx) + 1;
        largest = std::max(largest, lineSize * partitions * ways * sets);
    }
    return largest;
}

}  // namespace

extern "C" LumStatus lumGetMaxCacheSizeB(int* pSizeBytes) {
    if (pSizeBytes == nullptr) return lumStsNullPtrErr;
    const lum::CpuInfo& info = lum::cpuInfo();
    Lum64u size = 0;
    if (info.topologyExtensions) {
        size = largestDataCache(0x8000001Du);
    } else if (info.maxLeaf >= 4) {
        size = largestDataCache(4);
    }
    constexpr Lum64u kIntMax = 0x7FFFFFFF;
    *pSizeBytes = static_cast<int>(std::min(size, kIntMax));
    return size == 0 ? lumStsCpuNotSupportedErr : lumStsNoErr;
}
