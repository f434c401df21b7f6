// Core services: status texts, feature detection and selection, thread budget and the
// level named in the version records (the cache size has its own file).
#include <gtest/gtest.h>
#include <unistd.h>

#include <set>
#include <string>

#include "core/dispatch.h"
#include "lumdc.h"

namespace {

const LumCpuFeatureName kLevels[] = LUM_CPU_LEVELS;

Lum64u detectedFeatures() {
    Lum64u mask = 0;
    EXPECT_EQ(lumGetCpuFeatures(&mask, nullptr), lumStsNoErr);
    return mask;
}

// The default thread budget: the processors online, 1 when the system does not tell,
// at most 1024.
int defaultThreads() {
    const long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n < 1 ? 1 : n > 1024 ? 1024 : static_cast<int>(n);
}

class CoreState : public testing::Test {
protected:
    void TearDown() override {
        lum::limitDetectedFeatures(lumCpuFeatureAll);
        lumSetNumThreads(defaultThreads());
    }
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

TEST(CpuFeatures, DetectionIsConsistent) {
    Lum64u mask = 0;
    Lum32u regs[4] = {0, 0, 0, 0};
    EXPECT_EQ(lumGetCpuFeatures(nullptr, regs), lumStsNullPtrErr);
    ASSERT_EQ(lumGetCpuFeatures(&mask, regs), lumStsNoErr);
#if defined(__x86_64__)
    EXPECT_NE(mask & lumCpuFeatureSSE2, 0u);
    EXPECT_NE(regs[3] & (1u << 26), 0u) << "the registers are leaf 1's: EDX reports SSE2";
#endif
    EXPECT_EQ(mask & ~lumCpuFeatureAll, 0u);
    // Features that need another one (its instructions or its register state).
    const std::pair<Lum64u, Lum64u> implies[] = {
        {lumCpuFeatureAVX2, lumCpuFeatureAVX},       {lumCpuFeatureVPCLMUL, lumCpuFeatureAVX},
        {lumCpuFeatureAVX512F, lumCpuFeatureAVX2},   {lumCpuFeatureAVX512BW, lumCpuFeatureAVX512F},
        {lumCpuFeatureAVX512VL, lumCpuFeatureAVX512F},
    };
    for (const auto& [feature, needs] : implies) {
        if (mask & feature) {
            EXPECT_NE(mask & needs, 0u) << std::hex << feature;
        }
    }
    EXPECT_EQ(lumGetEnabledCpuFeatures(), mask);
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
    const Lum64u detected = detectedFeatures();
    ASSERT_EQ(lumSetCpuFeatures(lumCpuLevelSSE2), lumStsNoErr);
    EXPECT_EQ(lumSetCpuFeatures(0), lumStsBadArgErr);
    EXPECT_EQ(lumSetCpuFeatures(lumCpuFeatureAll + 1), lumStsBadArgErr);
    EXPECT_EQ(lumSetCpuFeatures(~Lum64u{0}), lumStsBadArgErr);
    EXPECT_EQ(lumGetEnabledCpuFeatures(), lumCpuFeatureSSE2);

    // A processor without AVX-512 (simulated on one that has it).
    lum::limitDetectedFeatures(lumCpuLevelAVX2);
    const Lum64u limited = detectedFeatures();
    EXPECT_EQ(limited, detected & lumCpuLevelAVX2);
    EXPECT_EQ(lumGetEnabledCpuFeatures(), limited);
    EXPECT_EQ(lumSetCpuFeatures(lumCpuFeatureAVX512F | lumCpuFeatureSSE2), lumStsCpuNotSupportedErr);
    EXPECT_EQ(lumSetCpuFeatures(lumCpuLevelAVX512), lumStsCpuNotSupportedErr);
    EXPECT_EQ(lumGetEnabledCpuFeatures(), limited);
    ASSERT_EQ(lumInit(), lumStsNoErr);
    EXPECT_EQ(lumGetEnabledCpuFeatures(), limited);
}

TEST_F(CoreState, ThreadBudget) {
    int n = 0;
    ASSERT_EQ(lumGetNumThreads(&n), lumStsNoErr);
    EXPECT_EQ(n, defaultThreads());
    EXPECT_EQ(lumGetNumThreads(nullptr), lumStsNullPtrErr);

    ASSERT_EQ(lumSetNumThreads(3), lumStsNoErr);
    for (int bad : {0, -1, 1025}) EXPECT_EQ(lumSetNumThreads(bad), lumStsBadArgErr) << bad;
    ASSERT_EQ(lumGetNumThreads(&n), lumStsNoErr);
    EXPECT_EQ(n, 3);
    ASSERT_EQ(lumSetNumThreads(1024), lumStsNoErr);
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
