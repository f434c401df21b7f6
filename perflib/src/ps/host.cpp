#include "host.h"

#include <algorithm>
#include <cpuid.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string>
#include <unistd.h>

namespace {

const long long KB = 1024;
const long long kMaxBytes = 1LL << 50;  // beyond any cache; keeps the products in range

psCpuidRegs hostCpuid(unsigned leaf, unsigned sub)
{
    psCpuidRegs r;
    __cpuid_count(leaf, sub, r.a, r.b, r.c, r.d);
    return r;
}

unsigned long long hostXgetbv()
{
    unsigned lo, hi;
    __asm__ __volatile__("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<unsigned long long>(hi) << 32) | lo;
}

long hostProcessors() { return sysconf(_SC_NPROCESSORS_ONLN); }

const psHostSource kHost = {hostCpuid, hostXgetbv, psOsCacheBytes, hostProcessors};
const psHostSource* g_source = &kHost;

// First line of a small text file without its line end; empty when unreadable.
std::string firstLine(const std::string& path)
{
    std::string line;
    if (FILE* f = std::fopen(path.c_str(), "r")) {
        char buf[64];
        if (std::fgets(buf, sizeof buf, f)) line = buf;
        std::fclose(f);
    }
    while (!line.empty() && std::strchr("\r\n ", line.back())) line.pop_back();
    return line;
}

// "48K", "32M", "1G" or a plain count; 0 for anything else.
long long parseSize(const std::string& text)
{
    if (text.empty() || text[0] < '0' || text[0] > '9') return 0;
    char* end = nullptr;
    long long n = std::strtoll(text.c_str(), &end, 10);
    const std::string unit(end);
    long long scale = unit.empty() ? 1 : unit == "K" ? KB : unit == "M" ? KB * KB : unit == "G" ? KB * KB * KB : 0;
    return n > kMaxBytes / std::max(scale, 1LL) ? kMaxBytes : n * scale;
}

}  // namespace

void psSimulateHost(const psHostSource* source) { g_source = source ? source : &kHost; }

const psHostSource& psHost() { return *g_source; }

psCpuidRegs psCpuid(unsigned leaf, unsigned sub)
{
    const unsigned base = leaf & 0x80000000u;
    unsigned max = g_source->cpuid(base, 0).a;
    if (base && (max & 0xFFFF0000u) != base) max = 0;  // no extended leaves
    if (leaf > max) return psCpuidRegs();
    return g_source->cpuid(leaf, sub);
}

long long psSysfsCacheBytes(const char* cacheDir)
{
    DIR* dir = opendir(cacheDir);
    if (!dir) return 0;
    long long best = 0;
    while (const dirent* e = readdir(dir)) {
        if (std::strncmp(e->d_name, "index", 5) != 0) continue;
        const std::string base = std::string(cacheDir) + "/" + e->d_name + "/";
        const std::string type = firstLine(base + "type");
        if (type == "Data" || type == "Unified") best = std::max(best, parseSize(firstLine(base + "size")));
    }
    closedir(dir);
    return best;
}

long long psOsCacheBytes()
{
    long long best = psSysfsCacheBytes("/sys/devices/system/cpu/cpu0/cache");
#ifdef _SC_LEVEL1_DCACHE_SIZE
    for (int name : {_SC_LEVEL1_DCACHE_SIZE, _SC_LEVEL2_CACHE_SIZE, _SC_LEVEL3_CACHE_SIZE, _SC_LEVEL4_CACHE_SIZE})
        best = std::max(best, static_cast<long long>(sysconf(name)));
#endif
    return best;
}
