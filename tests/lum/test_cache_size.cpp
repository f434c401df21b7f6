// Cache size on simulated processors: which CPUID leaves are read and in what order,
// the operating system's answer as the last resort, and the sysfs cache entries.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/cache_size.h"

namespace {

constexpr Lum32u kAnySub = ~0u;

struct Leaf {
    Lum32u leaf, sub;
    lum::CpuidRegs regs;
};

// One entry of a cache-parameter leaf (4 or 0x8000001D): type 1 data, 2 instruction,
// 3 unified. Its size is line * ways * sets.
lum::CpuidRegs cacheEntry(Lum32u type, Lum32u level, Lum32u line, Lum32u ways, Lum32u sets) {
    return {type | level << 5, (line - 1) | (ways - 1) << 22, sets - 1, 0};
}

const lum::CpuidRegs kNoCache = {};
const lum::CpuidRegs kL1d48K = cacheEntry(1, 1, 64, 12, 64);
const lum::CpuidRegs kL1iHuge = cacheEntry(2, 1, 64, 8, 1 << 20);  // 512 MiB, never counted
const lum::CpuidRegs kL2Intel = cacheEntry(3, 2, 64, 10, 2048);    // 1.25 MiB
const lum::CpuidRegs kL3Intel = cacheEntry(3, 3, 64, 12, 40960);   // 30 MiB
const lum::CpuidRegs kL2Amd = cacheEntry(3, 2, 64, 8, 2048);       // 1 MiB
const lum::CpuidRegs kL3Amd = cacheEntry(3, 3, 64, 16, 32768);     // 32 MiB
const lum::CpuidRegs kEveryField = {3, 0xFFFFFFFFu, 0xFFFFFFFFu, 0};

lum::CpuidRegs maxLeaf(Lum32u max) { return {max, 0, 0, 0}; }
lum::CpuidRegs topologyExtensions() { return {0, 0, 1u << 22, 0}; }
// 0x80000005: L1 data size in KiB in ECX[31:24].
lum::CpuidRegs legacyL1(Lum32u kib) { return {0, 0, kib << 24, 0}; }
// 0x80000006: L2 in KiB in ECX[31:16], L3 in 512 KiB units in EDX[31:18].
lum::CpuidRegs legacyL2L3(Lum32u l2Kib, Lum32u l3Units) { return {0, 0, l2Kib << 16, l3Units << 18}; }

constexpr Lum64u KiB = 1024, MiB = 1024 * KiB;

// The processor and operating system the sources answer for.
struct Simulation {
    std::vector<Leaf> leaves;  // unlisted leaves answer all zero
    Lum64u osBytes = 0;
};
const Simulation* g_sim = nullptr;

lum::CpuidRegs simulatedCpuid(Lum32u leaf, Lum32u sub) {
    for (const Leaf& l : g_sim->leaves)
        if (l.leaf == leaf && (l.sub == sub || l.sub == kAnySub)) return l.regs;
    return kNoCache;
}
Lum64u simulatedOs() { return g_sim->osBytes; }

const lum::CacheSources kSimulated = {simulatedCpuid, simulatedOs};

class CacheSize : public testing::Test {
protected:
    void TearDown() override {
        lum::simulateCacheSources(nullptr);
        g_sim = nullptr;
    }
    // lumGetMaxCacheSizeB's answer on the simulated machine.
    static std::pair<LumStatus, int> query(const Simulation& sim) {
        g_sim = &sim;
        lum::simulateCacheSources(&kSimulated);
        int size = -1;
        const LumStatus st = lumGetMaxCacheSizeB(&size);
        return {st, size};
    }
};

TEST_F(CacheSize, FirstSourceThatDescribesACacheAnswers) {
    const Lum32u ext = 0x80000000u;
    const struct { const char* machine; Simulation sim; LumStatus status; Lum64u size; } cases[] = {
        {"Intel: leaf 4, ahead of the legacy L2 and the OS",
         {{{0, 0, maxLeaf(0x1F)}, {ext, 0, maxLeaf(0x80000008u)}, {0x80000006u, 0, legacyL2L3(1280, 0)},
           {4, 0, kL1d48K}, {4, 1, kL1iHuge}, {4, 2, kL2Intel}, {4, 3, kL3Intel}}, 1024 * MiB},
         lumStsNoErr, 30 * MiB},
        {"AMD: 0x8000001D, ahead of the legacy L3",
         {{{0, 0, maxLeaf(0x10)}, {ext, 0, maxLeaf(0x80000028u)}, {0x80000001u, 0, topologyExtensions()},
           {0x8000001Du, 0, kL1d48K}, {0x8000001Du, 1, kL1iHuge}, {0x8000001Du, 2, kL2Amd}, {0x8000001Du, 3, kL3Amd},
           {0x80000006u, 0, legacyL2L3(1024, 32)}}, 0},
         lumStsNoErr, 32 * MiB},
        {"AMD VM: 0x8000001D empty, legacy leaves answer",
         {{{0, 0, maxLeaf(0x10)}, {ext, 0, maxLeaf(0x80000028u)}, {0x80000001u, 0, topologyExtensions()},
           {0x80000005u, 0, legacyL1(48)}, {0x80000006u, 0, legacyL2L3(1024, 1016)}}, 4 * MiB},
         lumStsNoErr, 508 * MiB},
        {"Intel VM: leaf 4 empty, legacy L2 answers",
         {{{0, 0, maxLeaf(0x16)}, {ext, 0, maxLeaf(0x80000008u)}, {0x80000006u, 0, legacyL2L3(2048, 0)}}, 0},
         lumStsNoErr, 2 * MiB},
        {"0x8000001D present but not announced: legacy leaves",
         {{{0, 0, maxLeaf(0x10)}, {ext, 0, maxLeaf(0x80000028u)}, {0x8000001Du, 3, kL3Amd},
           {0x80000006u, 0, legacyL2L3(512, 0)}}, 0},
         lumStsNoErr, 512 * KiB},
        {"highest extended leaf 0x80000005: 0x80000006 is not read",
         {{{0, 0, maxLeaf(1)}, {ext, 0, maxLeaf(0x80000005u)}, {0x80000005u, 0, legacyL1(64)},
           {0x80000006u, 0, legacyL2L3(1024, 64)}}, 0},
         lumStsNoErr, 64 * KiB},
        {"every leaf empty: the OS answers",
         {{{0, 0, maxLeaf(0xD)}, {ext, 0, maxLeaf(0x80000008u)}}, 8 * MiB}, lumStsNoErr, 8 * MiB},
        {"no CPUID answer at all: the OS answers", {{}, 3 * MiB}, lumStsNoErr, 3 * MiB},
        {"every leaf and the OS empty", {{{0, 0, maxLeaf(0xD)}, {ext, 0, maxLeaf(0x80000008u)}}, 0},
         lumStsCpuNotSupportedErr, 0},
        {"highest basic leaf 3 hides leaf 4",
         {{{0, 0, maxLeaf(3)}, {4, 0, kL2Intel}}, 6 * MiB}, lumStsNoErr, 6 * MiB},
        {"highest basic leaf beyond the basic range",
         {{{0, 0, maxLeaf(0xFFFFFFFFu)}, {4, 0, kL2Intel}}, 6 * MiB}, lumStsNoErr, 6 * MiB},
        {"highest extended leaf echoes a basic leaf",
         {{{0, 0, maxLeaf(0xD)}, {ext, 0, maxLeaf(0xD)}, {0x80000006u, 0, legacyL2L3(1024, 64)}}, 5 * MiB},
         lumStsNoErr, 5 * MiB},
        {"leaf 4 that never reports its end", {{{0, 0, maxLeaf(0xD)}, {4, kAnySub, kL2Intel}}, 0},
         lumStsNoErr, 1280 * KiB},
        {"a cache beyond 2 GiB is held at INT_MAX", {{{0, 0, maxLeaf(0xD)}, {4, 0, kEveryField}}, 0},
         lumStsNoErr, 0x7FFFFFFF},
    };
    for (const auto& c : cases) {
        const auto [st, size] = query(c.sim);
        EXPECT_EQ(st, c.status) << c.machine;
        EXPECT_EQ(static_cast<Lum64u>(size), c.size) << c.machine;
    }
}

TEST_F(CacheSize, NullPointerIsRefused) { EXPECT_EQ(lumGetMaxCacheSizeB(nullptr), lumStsNullPtrErr); }

TEST(CacheSizeSysfs, LargestDataOrUnifiedEntry) {
    struct Entry { const char* name; const char* type; const char* size; };
    const struct { const char* what; std::vector<Entry> entries; Lum64u size; } cases[] = {
        {"usual entries", {{"index0", "Data", "48K"}, {"index1", "Instruction", "64M"}, {"index2", "Unified", "1024K"},
                           {"index3", "Unified", "32M"}}, 32 * MiB},
        {"unreadable sizes, types and other names are skipped",
         {{"index0", "Data", "32K"}, {"index1", "Unified", "junk"}, {"index2", "Unified", "8X"},
          {"index3", "", "64M"}, {"index4", "Unified", ""}, {"power", "Unified", "128M"}}, 32 * KiB},
        {"a gap in the numbering, bytes and G", {{"index0", "Data", "4096"}, {"index7", "Unified", "2G"}}, 2048 * MiB},
        {"no entries", {}, 0},
    };
    // A sysfs-like cache folder per case; an empty type or size leaves that file out.
    const std::filesystem::path root = testing::TempDir() + "lumcache_" + std::to_string(getpid());
    for (const auto& c : cases) {
        std::filesystem::remove_all(root);
        std::filesystem::create_directories(root);
        for (const Entry& e : c.entries) {
            std::filesystem::create_directory(root / e.name);
            if (*e.type) std::ofstream(root / e.name / "type") << e.type << "\n";
            if (*e.size) std::ofstream(root / e.name / "size") << e.size << "\n";
        }
        EXPECT_EQ(lum::sysfsLargestCache(root.c_str()), c.size) << c.what;
    }
    std::filesystem::remove_all(root);
    EXPECT_EQ(lum::sysfsLargestCache("/nonexistent/cache/folder"), 0u);
}

}  // namespace
