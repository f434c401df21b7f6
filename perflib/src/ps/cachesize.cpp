#include "cachesize.h"

#include "host.h"

#include <algorithm>

namespace {

const long long KB = 1024;
const long long kMaxBytes = 1LL << 50;  // beyond any cache; keeps the products in range

// Walks a cache-parameter leaf (4 or 0x8000001D, the same layout) and returns the largest
// data or unified cache; 0 when it lists none. Bounded: some virtual processors never
// report the end of the list.
long long walkCacheLeaf(unsigned leaf)
{
    long long best = 0;
    for (unsigned sub = 0; sub < 32; ++sub) {
        psCpuidRegs r = psCpuid(leaf, sub);
        unsigned type = r.a & 0x1F;
        if (type == 0) break;
        if (type == 2) continue;  // instruction cache
        long long lineWaysParts = ((r.b & 0xFFF) + 1LL) * (((r.b >> 12) & 0x3FF) + 1) * (((r.b >> 22) & 0x3FF) + 1);
        long long sets = r.c + 1LL;
        best = std::max(best, sets > kMaxBytes / lineWaysParts ? kMaxBytes : lineWaysParts * sets);
    }
    return best;
}

// Cache sizes in KB of the leaf-2 descriptors that name a data or unified cache.
int leaf2CacheKB(unsigned char d)
{
    static const struct {
        unsigned char code;
        int kb;
    } table[] = {
        {0x0A, 8},     {0x0C, 16},    {0x0D, 16},    {0x0E, 24},    {0x21, 256},   {0x22, 512},   {0x23, 1024},
        {0x25, 2048},  {0x29, 4096},  {0x2C, 32},    {0x41, 128},   {0x42, 256},   {0x43, 512},   {0x44, 1024},
        {0x45, 2048},  {0x46, 4096},  {0x47, 8192},  {0x48, 3072},  {0x49, 4096},  {0x4A, 6144},  {0x4B, 8192},
        {0x4C, 12288}, {0x4D, 16384}, {0x4E, 6144},  {0x60, 16},    {0x66, 8},     {0x67, 16},    {0x68, 32},
        {0x78, 1024},  {0x79, 128},   {0x7A, 256},   {0x7B, 512},   {0x7C, 1024},  {0x7D, 2048},  {0x7F, 512},
        {0x80, 512},   {0x82, 256},   {0x83, 512},   {0x84, 1024},  {0x85, 2048},  {0x86, 512},   {0x87, 1024},
        {0xD0, 512},   {0xD1, 1024},  {0xD2, 2048},  {0xD6, 1024},  {0xD7, 2048},  {0xD8, 4096},  {0xDC, 1536},
        {0xDD, 3072},  {0xDE, 6144},  {0xE2, 2048},  {0xE3, 4096},  {0xE4, 8192},  {0xEA, 12288}, {0xEB, 18432},
        {0xEC, 24576},
    };
    for (const auto& e : table)
        if (e.code == d) return e.kb;
    return 0;
}

// Largest cache named by the leaf-2 descriptors (the low byte of EAX is a count, not
// one); 0 when none is named.
long long leaf2Cache()
{
    psCpuidRegs r = psCpuid(2);
    const unsigned regs[] = {r.a, r.b, r.c, r.d};
    long long best = 0;
    for (int i = 0; i < 4; ++i) {
        if (regs[i] & 0x80000000u) continue;  // register holds no descriptors
        for (int b = (i == 0 ? 1 : 0); b < 4; ++b)
            best = std::max(best, leaf2CacheKB(static_cast<unsigned char>(regs[i] >> (8 * b))) * KB);
    }
    return best;
}

// L1 data in KB in ECX[31:24] of 0x80000005; L2 in KB in ECX[31:16] and L3 in 512 KB
// units in EDX[31:18] of 0x80000006. Unlisted leaves read as zero.
long long legacyLeavesCache()
{
    psCpuidRegs l1 = psCpuid(0x80000005u), l2 = psCpuid(0x80000006u);
    return std::max({(l1.c >> 24) * KB, (l2.c >> 16) * KB, (l2.d >> 18) * 512 * KB});
}

}  // namespace

long long psCpuidCacheBytes()
{
    const bool topologyExtensions = psCpuid(0x80000001u).c & (1u << 22);
    long long size = topologyExtensions ? walkCacheLeaf(0x8000001Du) : 0;
    // Basic leaves lie below the hypervisor range: a larger maximum is no count of them.
    const unsigned maxLeaf = psCpuid(0).a;
    if (!size && maxLeaf < 0x40000000u) size = walkCacheLeaf(4);
    if (!size) size = legacyLeavesCache();
    if (!size && maxLeaf < 0x40000000u) size = leaf2Cache();
    return size;
}

LumStatus ps_lumGetMaxCacheSizeB(int* size)
{
    long long bytes = psCpuidCacheBytes();
    if (!bytes) bytes = psHost().osCacheBytes();
    if (size) *size = static_cast<int>(std::min(bytes, 0x7FFFFFFFLL));
    if (bytes) return 0;
    return psCpuid(0).a == 0 ? PS_CACHE_NO_CPU_SUPPORT : PS_CACHE_NOT_FOUND;
}
