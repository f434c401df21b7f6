// Host facts on simulated processors: the framework's own cache-size detection, the
// features the register state allows, vendor and brand texts, and the CPU report when
// facts are missing.
#include "cachesize.h"
#include "cpuinfo.h"
#include "cputest.h"
#include "helpers.h"
#include "libenv.h"
#include "simhost.h"
#include "ticker.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace {

// Leaf 0: the highest basic leaf and a vendor text of 12 characters (b, d, c).
SimLeaf vendorLeaf(unsigned maxLeaf, const char* vendor)
{
    unsigned v[3] = {0, 0, 0};
    std::memcpy(v, vendor, std::min<size_t>(std::strlen(vendor), 12));
    return {0, 0, regs(maxLeaf, v[0], v[2], v[1])};
}
// An entry of leaf 4 or 0x8000001D: type 1 data, 2 instruction, 3 unified; line * ways * sets bytes.
psCpuidRegs cacheEntry(unsigned type, unsigned line, unsigned ways, unsigned sets)
{
    return regs(type, (line - 1) | (ways - 1) << 22, sets - 1);
}

const long long KB = 1024, MB = 1024 * KB;
const unsigned kExt = 0x80000000u;

// The frequency is preset so that no test waits for its estimate.
class HostFacts : public ::testing::Test {
protected:
    void SetUp() override { psCpuTicker::m_freqMHz = 2400; }
    void TearDown() override
    {
        psCpuTicker::m_freqMHz = m_savedFreq;
        lum_GetMaxCacheSizeB = m_savedSlot;
    }
    unsigned m_savedFreq = psCpuTicker::m_freqMHz;
    psLumGetMaxCacheSizeBFunc m_savedSlot = lum_GetMaxCacheSizeB;
};

TEST_F(HostFacts, FallbackCacheDetectionTakesTheFirstSourceThatAnswers)
{
    const struct { const char* machine; SimHost m; LumStatus status; long long size; } cases[] = {
        {"Intel: leaf 4, ahead of the legacy L2",
         {{vendorLeaf(0x1F, "GenuineIntel"), {kExt, 0, regs(0x80000008u)}, {0x80000006u, 0, regs(0, 0, 1280u << 16)},
           {4, 0, cacheEntry(1, 64, 12, 64)}, {4, 1, cacheEntry(2, 64, 8, 1 << 20)}, {4, 2, cacheEntry(3, 64, 16, 32768)}},
          0, 64 * MB},
         0, 32 * MB},
        {"AMD: 0x8000001D",
         {{vendorLeaf(0x10, "AuthenticAMD"), {kExt, 0, regs(0x80000028u)}, {0x80000001u, 0, regs(0, 0, 1u << 22)},
           {0x8000001Du, 0, cacheEntry(1, 64, 12, 64)}, {0x8000001Du, 1, cacheEntry(3, 64, 8, 2048)}}},
         0, 1 * MB},
        {"AMD VM: 0x8000001D empty, legacy leaves",
         {{vendorLeaf(0x10, "AuthenticAMD"), {kExt, 0, regs(0x80000028u)}, {0x80000001u, 0, regs(0, 0, 1u << 22)},
           {0x80000005u, 0, regs(0, 0, 48u << 24)}, {0x80000006u, 0, regs(0, 0, 1024u << 16, 1016u << 18)}}},
         0, 508 * MB},
        {"another vendor with only leaf-2 descriptors",
         {{vendorLeaf(2, "CentaurHauls"), {2, 0, regs(0x00452C01u)}}}, 0, 2 * MB},
        {"every leaf empty: the OS answers", {{vendorLeaf(0xD, "AuthenticAMD"), {kExt, 0, regs(0x80000008u)}}, 0, 8 * MB},
         0, 8 * MB},
        {"highest leaves out of range: the OS answers",
         {{vendorLeaf(0xFFFFFFFFu, "GenuineIntel"), {kExt, 0, regs(0xD)}, {4, 0, cacheEntry(3, 64, 8, 2048)},
           {0x80000006u, 0, regs(0, 0, 1024u << 16)}}, 0, 6 * MB},
         0, 6 * MB},
        {"every leaf and the OS empty", {{vendorLeaf(0xD, "GenuineIntel")}}, PS_CACHE_NOT_FOUND, 0},
        {"no CPUID answer and no OS answer", {}, PS_CACHE_NO_CPU_SUPPORT, 0},
    };
    for (const auto& c : cases) {
        Simulated host(c.m);
        int size = -1;
        EXPECT_EQ(ps_lumGetMaxCacheSizeB(&size), c.status) << c.machine;
        EXPECT_EQ(size, c.size) << c.machine;
    }
}

// Leaf 1 ECX of an SSE4.2 processor (SSE3, CLMUL, SSSE3, SSE4.1, SSE4.2, POPCNT), with
// OSXSAVE and AVX as asked; leaf 7 EBX with BMI1, AVX2, BMI2, and AVX512F, AVX512BW,
// AVX512VL with VPCLMUL in ECX when asked; LZCNT in 0x80000001.
SimHost avx2Machine(bool osxsave, unsigned long long xcr0, bool avx512 = false)
{
    const unsigned sse42 = 1u << 0 | 1u << 1 | 1u << 9 | 1u << 19 | 1u << 20 | 1u << 23;
    const unsigned avx512b = avx512 ? 1u << 16 | 1u << 30 | 1u << 31 : 0;
    SimHost m;
    m.leaves = {vendorLeaf(0xD, "AuthenticAMD"), {1, 0, regs(0, 0, sse42 | (osxsave ? 1u << 27 : 0) | 1u << 28, 1u << 26)},
                {7, 0, regs(0, 1u << 3 | 1u << 5 | 1u << 8 | avx512b, avx512 ? 1u << 10 : 0)}, {kExt, 0, regs(0x80000004u)},
                {0x80000001u, 0, regs(0, 0, 1u << 5)}, {0x80000002u, 0, text16("  Simulated Pro")},
                {0x80000003u, 0, text16("cessor\x01 8 cores")}, {0x80000004u, 0, text16("")}};
    m.xcr0 = xcr0;
    m.processors = 8;
    return m;
}

TEST_F(HostFacts, VectorExtensionsNeedTheRegisterStateTheOsSaves)
{
    const Lum64u avx512 = lumCpuFeatureAVX512F | lumCpuFeatureAVX512BW | lumCpuFeatureAVX512VL;
    const struct { const char* label; bool osxsave, avx512; unsigned long long xcr0; const char* level; bool xgetbv; } cases[] = {
        {"AVX2 with the YMM state saved", true, false, 0x7, "AVX2", true},
        {"the OS does not save the YMM registers", true, false, 0x3, "SSE42", true},
        {"XGETBV itself is not allowed", false, false, 0x7, "SSE42", false},
        {"the OS saves the opmask and ZMM registers", true, true, 0xE7, "AVX512", true},
        {"XGETBV bits 5-7 clear: AVX-512 in CPUID only", true, true, 0x7, "AVX2", true},
        {"only the upper ZMM halves missing (bit 6)", true, true, 0xA7, "AVX2", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        const SimHost m = avx2Machine(c.osxsave, c.xcr0, c.avx512);
        Simulated host(m);
        const Lum64u features = psCpuFeatures::detected();
        EXPECT_EQ(psCpuFeatures::levelOf(features).str(), c.level);
        EXPECT_EQ((features & lumCpuFeatureAVX2) != 0, std::string(c.level) != "SSE42");
        EXPECT_EQ(features & avx512, std::string(c.level) == "AVX512" ? avx512 : 0) << "all three or none";
        EXPECT_EQ(g_xgetbvCalled, c.xgetbv);
    }
}

TEST_F(HostFacts, GatheredFactsAndTheOneLineDescription)
{
    SimHost m = avx2Machine(true, 0x7);
    m.leaves.push_back({2, 0, regs(0x00440001u)});  // a 1 MB cache among the leaf-2 descriptors
    std::optional<Simulated> host;
    host.emplace(m);
    // A library that does not answer leaves the cache to the framework's own detection.
    lum_GetMaxCacheSizeB = [](int* size) { *size = 0; return LumStatus(-8); };
    psHostFacts f = psHostFacts::gather();
    EXPECT_EQ(f.vendor.str(), "AuthenticAMD");
    EXPECT_EQ(f.brand.str(), "Simulated Processor 8 cores");
    EXPECT_EQ(f.processors, 8);
    EXPECT_EQ(f.cacheBytes, 1024 * 1024);
    EXPECT_EQ(f.freqMHz, 2400u);
    EXPECT_EQ(cpuInfo().str(), "Simulated Processor 8 cores, 8 logical processors, features up to AVX2");

    // Nothing answers: no brand, no vendor, no processor count.
    SimHost empty;
    empty.processors = -1;
    host.emplace(empty);  // ends the first simulation before this one begins
    f = psHostFacts::gather();
    EXPECT_TRUE(f.vendor.empty() && f.brand.empty());
    EXPECT_EQ(f.features, 0u);
    EXPECT_EQ(cpuInfo().str(), "Unidentified processor");
}

TEST(CpuReport, MissingFactsReadAsSuch)
{
    psHostFacts known;
    known.vendor = "GenuineIntel";
    known.brand = "Simulated";
    known.processors = 4;
    known.features = lumCpuLevelSSE42;
    known.cacheBytes = 32 * 1024 * 1024;
    known.freqMHz = 3000;
    const std::string full = psCpuTest::report(known).str();
    for (const char* line : {" Vendor    : GenuineIntel\n", " Brand     : Simulated\n", " Processors: 4\n",
                             " Level     : SSE42\n", " Features  : SSE2 ", " Max cache : 32768 KB\n",
                             " Frequency : 3000 MHz (estimated)\n"})
        EXPECT_NE(full.find(line), std::string::npos) << line << full;

    const std::string missing = psCpuTest::report(psHostFacts()).str();
    for (const char* line : {" Vendor    : not reported by the processor\n", " Brand     : not reported by the processor\n",
                             " Processors: unknown (the operating system does not tell)\n",
                             " Level     : none of the named levels\n", " Features  : none detected\n",
                             " Max cache : unknown (neither the processor nor the operating system describes its caches)\n",
                             " Frequency : unknown (the time-stamp counter gave no estimate)\n"})
        EXPECT_NE(missing.find(line), std::string::npos) << line << missing;
}

TEST(CacheSizeSysfs, LargestDataOrUnifiedEntryOfAFolder)
{
    const std::string root = psTestTempPath("sysfs_cache");
    const struct { const char* entry; const char* type; const char* size; } entries[] = {
        {"index0", "Data", "48K"}, {"index1", "Instruction", "512M"}, {"index2", "Unified", "1024K"},
        {"index3", "Unified", "junk"}, {"index9", "Unified\r", "32M"}, {"other", "Unified", "1G"},
    };
    for (const auto& e : entries) {
        std::filesystem::create_directories(std::filesystem::path(root) / e.entry);
        psTestWriteFile(root + "/" + e.entry + "/type", std::string(e.type) + "\n");
        psTestWriteFile(root + "/" + e.entry + "/size", std::string(e.size) + "\n");
    }
    EXPECT_EQ(psSysfsCacheBytes(root.c_str()), 32 * MB);
    std::filesystem::remove_all(root);
    EXPECT_EQ(psSysfsCacheBytes(root.c_str()), 0);
}

}  // namespace
