// Core services: status texts, feature detection and selection, thread budget and the
// level named in the version records (the cache size has its own file).
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "checksums/checksum_paths.h"
#include "core/dispatch.h"
#include "lumdc.h"

namespace {

const LumCpuFeatureName kLevels[] = LUM_CPU_LEVELS;

Lum64u detectedFeatures() {
    Lum64u mask = 0;
    EXPECT_EQ(lumGetCpuFeatures(&mask, nullptr), lumStsNoErr);
    return mask;
}

// Every test leaves the features and the thread budget as it found them.
class CoreState : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(lumGetNumThreads(&savedThreads), lumStsNoErr); }
    void TearDown() override {
        lum::limitDetectedFeatures(lumCpuFeatureAll);
        lumSetNumThreads(savedThreads);
    }
    int savedThreads = 1;
};

TEST(StatusString, EveryCodeHasItsOwnTextAndOthersAreUnknown) {
    const LumStatus known[] = {lumStsNoErr,          lumStsNoOperation,       lumStsSrcEndWrn,
                               lumStsDstFullWrn,     lumStsErr,               lumStsNullPtrErr,
                               lumStsBadArgErr,      lumStsSizeErr,           lumStsMemAllocErr,
                               lumStsCorruptDataErr, lumStsUnsupportedModeErr, lumStsCpuNotSupportedErr,
                               lumStsContextMatchErr, lumStsThreadErr};
    std::set<std::string> texts;
    for (LumStatus s : known) {
        const std::string text = lumGetStatusString(s);
        EXPECT_NE(text, "Unknown status") << s;
        EXPECT_TRUE(texts.insert(text).second) << "duplicate text for " << s;
    }
    EXPECT_STREQ(lumGetStatusString(lumStsCpuNotSupportedErr), "Error: CPU feature not available");
    for (LumStatus s : {4, 100, -11, -1000, 0x7FFFFFFF}) EXPECT_STREQ(lumGetStatusString(s), "Unknown status") << s;
}

// ---- Detection on simulated processors -----------------------------------------------

// CPUID bits the detection reads: leaf 1 ECX/EDX, leaf 7 EBX/ECX, leaf 0x80000001 ECX.
constexpr Lum32u kL1Ecx = 1u << 0 | 1u << 1 | 1u << 9 | 1u << 19 | 1u << 20 | 1u << 23 | 1u << 28;  // SSE3..AVX
constexpr Lum32u kOsxsave = 1u << 27, kSse2 = 1u << 26;
constexpr Lum32u kL7Avx2 = 1u << 3 | 1u << 5 | 1u << 8, kL7Avx512 = 1u << 16 | 1u << 30 | 1u << 31;
constexpr Lum32u kVpclmul = 1u << 10, kLzcnt = 1u << 5;
constexpr Lum64u kXcr0Ymm = 0x7, kXcr0Zmm = 0xE7;
constexpr Lum64u kAvx512Features = lumCpuLevelAVX512 | lumCpuFeatureVPCLMUL;
constexpr Lum64u kAvx2Features = lumCpuLevelAVX2 | lumCpuFeatureVPCLMUL;
constexpr Lum64u kNoYmmFeatures = lumCpuLevelSSE42 | lumCpuFeatureBMI1 | lumCpuFeatureBMI2 | lumCpuFeatureLZCNT;

struct Processor {
    Lum32u maxLeaf, maxExt, l1Ecx, l1Edx, l7Ebx, l7Ecx, e1Ecx;
    Lum64u xcr0;  // ~0: XGETBV must not be executed (no OSXSAVE)
};
const Processor* g_cpu = nullptr;
bool g_xgetbvRead = false;

lum::CpuidRegs simulatedCpuid(Lum32u leaf, Lum32u) {
    const Processor& p = *g_cpu;
    if (leaf == 0) return {p.maxLeaf, 0, 0, 0};
    if (leaf == 0x80000000u) return {p.maxExt, 0, 0, 0};
    // Leaves beyond the highest announced one answer as the processor likes: here with
    // every bit, so that reading them shows.
    if (leaf == 1) return {0x906EA, 0, p.l1Ecx, p.l1Edx};
    if (leaf == 7) return {0, p.l7Ebx, p.l7Ecx, 0};
    if (leaf == 0x80000001u) return {0, 0, p.e1Ecx, 0};
    return {};
}
Lum64u simulatedXcr0() {
    g_xgetbvRead = true;
    return g_cpu->xcr0;
}
const lum::CpuSources kSimulatedCpu = {simulatedCpuid, simulatedXcr0};

class CpuDetection : public CoreState {
protected:
    void TearDown() override {
        lum::simulateCpu(nullptr);
        CoreState::TearDown();
    }
    // The library's view of the simulated processor: lumGetCpuFeatures' mask.
    static Lum64u detectOn(const Processor& p) {
        g_cpu = &p;
        g_xgetbvRead = false;
        lum::simulateCpu(&kSimulatedCpu);
        return detectedFeatures();
    }
};

TEST_F(CpuDetection, FeaturesCountOnlyWithTheirLeafAndTheRegisterStateTheOsSaves) {
    const Lum32u l1 = kL1Ecx | kOsxsave;
    // crc32cPath: the CRC-32C code path chosen there, where a row names one.
    const struct {
        const char* machine;
        Processor cpu;
        Lum64u features;
        bool readsXcr0;
        const char* crc32cPath = nullptr;
    } cases[] = {
        {"AVX-512 with ZMM state saved", {0xD, 0x80000008u, l1, kSse2, kL7Avx2 | kL7Avx512, kVpclmul, kLzcnt, kXcr0Zmm},
         kAvx512Features, true, "vpclmul512+crc32"},
        {"AVX-512 and VPCLMULQDQ in a VM that hides SSE4.2: folding without the crc32 instruction",
         {0xD, 0x80000008u, l1 & ~(1u << 20), kSse2, kL7Avx2 | kL7Avx512, kVpclmul, kLzcnt, kXcr0Zmm},
         kAvx512Features & ~lumCpuFeatureSSE42, true, "vpclmul512"},
        {"AVX-512 reported, but the OS does not save the ZMM state (XCR0 bits 5-7 clear)",
         {0xD, 0x80000008u, l1, kSse2, kL7Avx2 | kL7Avx512, kVpclmul, kLzcnt, kXcr0Ymm}, kAvx2Features, true},
        {"opmask and upper ZMM saved, the high 16 ZMM not (XCR0 bit 7 clear)",
         {0xD, 0x80000008u, l1, kSse2, kL7Avx2 | kL7Avx512, kVpclmul, kLzcnt, 0x67}, kAvx2Features, true},
        {"AVX reported, but the OS does not save the YMM state",
         {0xD, 0x80000008u, l1, kSse2, kL7Avx2 | kL7Avx512, kVpclmul, kLzcnt, 0x3}, kNoYmmFeatures, true},
        {"no OSXSAVE: XGETBV is never executed",
         {0xD, 0x80000008u, kL1Ecx, kSse2, kL7Avx2 | kL7Avx512, kVpclmul, kLzcnt, ~Lum64u{0}}, kNoYmmFeatures, false},
        {"highest basic leaf 6: leaf 7 is not read",
         {6, 0x80000008u, l1, kSse2, kL7Avx2 | kL7Avx512, kVpclmul, kLzcnt, kXcr0Zmm},
         lumCpuLevelSSE42 | lumCpuFeatureAVX | lumCpuFeatureLZCNT, true},
        {"no extended leaves: no LZCNT",
         {0xD, 0x80000000u, l1, kSse2, kL7Avx2, 0, kLzcnt, kXcr0Ymm}, lumCpuLevelAVX2 & ~lumCpuFeatureLZCNT, true},
        {"SSE2 only", {1, 0x80000001u, 0, kSse2, 0, 0, 0, 0}, lumCpuFeatureSSE2, false},
        {"a VM whose CPUID answers nothing", {0, 0, ~0u, ~0u, ~0u, ~0u, ~0u, kXcr0Zmm}, 0, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(detectOn(c.cpu), c.features) << c.machine;
        EXPECT_EQ(g_xgetbvRead, c.readsXcr0) << c.machine;
        EXPECT_EQ(lumGetEnabledCpuFeatures(), c.features) << c.machine;
        if (c.crc32cPath) {
            EXPECT_STREQ(lum::checksums::crc32cSlot().current().name, c.crc32cPath) << c.machine;
        }
    }
}

// On a processor whose OS does not save the ZMM state the library neither offers
// AVX-512 nor runs a path that needs it, and lumInit keeps to the simulated processor.
TEST_F(CpuDetection, NoZmmStateMeansNoAvx512Path) {
    const Processor noZmm = {0xD, 0x80000008u, kL1Ecx | kOsxsave, kSse2, kL7Avx2 | kL7Avx512, kVpclmul, kLzcnt, kXcr0Ymm};
    ASSERT_EQ(detectOn(noZmm), kAvx2Features);
    Lum64u mask = 0;
    Lum32u regs[4] = {};
    ASSERT_EQ(lumGetCpuFeatures(&mask, regs), lumStsNoErr);
    EXPECT_EQ(regs[2], noZmm.l1Ecx) << "the registers are the simulated leaf 1's";
    EXPECT_EQ(regs[3], noZmm.l1Edx);
    for (const auto& f : lum::checksums::kChecksumFamilies) {
        EXPECT_EQ(f.slot().current().required & ~kAvx2Features, 0u) << f.name << ": " << f.slot().current().name;
    }
    EXPECT_EQ(lumSetCpuFeatures(lumCpuLevelAVX512), lumStsCpuNotSupportedErr);
    ASSERT_EQ(lumSetCpuFeatures(lumCpuLevelSSE42), lumStsNoErr);
    ASSERT_EQ(lumInit(), lumStsNoErr);
    EXPECT_EQ(lumGetEnabledCpuFeatures(), kAvx2Features);
}

TEST_F(CoreState, SetCpuFeaturesRestrictsAndInitRestores) {
    const Lum64u detected = detectedFeatures();
    ASSERT_EQ(lumSetCpuFeatures(lumCpuLevelSSE2), lumStsNoErr);
    EXPECT_EQ(lumGetEnabledCpuFeatures(), lumCpuFeatureSSE2);
    for (const LumCpuFeatureName& level : kLevels) {
        if ((level.mask & ~detected) != 0) continue;
        ASSERT_EQ(lumSetCpuFeatures(level.mask), lumStsNoErr) << level.name;
        EXPECT_EQ(lumGetEnabledCpuFeatures(), level.mask) << level.name;
    }
    // SSE2 is implied: a mask without it still keeps it.
    if (detected & lumCpuFeatureSSSE3) {
        ASSERT_EQ(lumSetCpuFeatures(lumCpuFeatureSSSE3), lumStsNoErr);
        EXPECT_EQ(lumGetEnabledCpuFeatures(), lumCpuFeatureSSSE3 | lumCpuFeatureSSE2);
    }
    ASSERT_EQ(lumInit(), lumStsNoErr);
    EXPECT_EQ(lumGetEnabledCpuFeatures(), detected);
}

TEST_F(CoreState, SetCpuFeaturesRefusesBadMasksAndKeepsTheSelection) {
    ASSERT_EQ(lumSetCpuFeatures(lumCpuLevelSSE2), lumStsNoErr);
    EXPECT_EQ(lumSetCpuFeatures(0), lumStsBadArgErr);
    EXPECT_EQ(lumSetCpuFeatures(lumCpuFeatureAll + 1), lumStsBadArgErr);
    EXPECT_EQ(lumSetCpuFeatures(~Lum64u{0}), lumStsBadArgErr);
    EXPECT_EQ(lumGetEnabledCpuFeatures(), lumCpuFeatureSSE2);
}

// The budget starts within 1..1024 whatever the machine, and follows every accepted call;
// a refused value leaves it as it was.
TEST_F(CoreState, ThreadBudget) {
    EXPECT_GE(savedThreads, 1);
    EXPECT_LE(savedThreads, 1024);
    EXPECT_EQ(lumGetNumThreads(nullptr), lumStsNullPtrErr);
    int n = 0;
    for (int budget : {1, 3, 1024, 2}) {
        ASSERT_EQ(lumSetNumThreads(budget), lumStsNoErr) << budget;
        for (int bad : {0, -1, 1025, -2147483647 - 1}) EXPECT_EQ(lumSetNumThreads(bad), lumStsBadArgErr) << bad;
        ASSERT_EQ(lumGetNumThreads(&n), lumStsNoErr);
        EXPECT_EQ(n, budget);
    }
}

TEST_F(CoreState, VersionRecordsNameTheLibraryAndTheLevelInForce) {
    using VersionFn = const LumLibraryVersion* (*)();
    const std::pair<const char*, VersionFn> libraries[] = {
        {"lumcore", lumGetLibVersion}, {"lums", lumsGetLibVersion}, {"lumdc", lumdcGetLibVersion}};
    for (const auto& [name, get] : libraries) {
        ASSERT_EQ(lumSetCpuFeatures(lumCpuLevelSSE2), lumStsNoErr);
        ASSERT_NE(get(), nullptr);
        EXPECT_EQ(std::string(get()->Name).rfind(std::string(name) + " SSE2", 0), 0u) << get()->Name;

        ASSERT_EQ(lumInit(), lumStsNoErr);
        const char* highest = kLevels[0].name;
        for (const LumCpuFeatureName& level : kLevels) {
            if ((level.mask & ~detectedFeatures()) == 0) highest = level.name;
        }
        EXPECT_EQ(std::string(get()->Name).rfind(std::string(name) + " " + highest + " ", 0), 0u)
            << get()->Name;
    }
}

}  // namespace
