// The library environment: fallbacks of the slots, the -T/-N start-up messages
// through a fake library, the version lines, and the CPU feature names of -T.
#include "helpers.h"
#include "cpuinfo.h"
#include "libenv.h"
#include "simhost.h"

#include <gtest/gtest.h>

namespace {

// A fake library: every entry records what it was asked and returns a set status.
struct FakeLum {
    static inline LumStatus setStatus, initStatus, threadStatus;
    static inline int initCalls, threads;
    static inline Lum64u mask;
    static void environment() {
        lum_Init = [] { ++initCalls; return initStatus; };
        lum_SetCpuFeatures = [](Lum64u m) { mask = m; return setStatus; };
        lum_SetNumThreads = [](int n) { threads = n; return threadStatus; };
        lum_GetNumThreads = [](int* n) { *n = 4; return LumStatus(0); };
        lum_GetStatusString = [](LumStatus s) { return s < 0 ? "fake error" : s > 0 ? "fake warning" : "fake ok"; };
    }
};

class LibEnv : public ::testing::Test {
protected:
    void SetUp() override { psResetLumEnvironment(); }
    void TearDown() override { psResetLumEnvironment(); }
};

TEST_F(LibEnv, FallbacksFillEmptySlots) {
    EXPECT_FALSE(psLumEnvironmentRegistered());
    setLumEnvironment();
    EXPECT_EQ(lum_Init(), PS_LUM_NO_LIBRARY);
    EXPECT_EQ(lum_SetCpuFeatures(1), PS_LUM_NO_LIBRARY);
    EXPECT_EQ(lum_GetEnabledCpuFeatures(), 0u);
    EXPECT_STREQ(lum_GetStatusString(-5), "Error");
    EXPECT_STREQ(lum_GetStatusString(3), "Warning");
    EXPECT_STREQ(lum_GetStatusString(0), "OK");
    // The cache size comes from the framework's own detection: here a 2 MB cache among
    // the leaf-2 descriptors of a simulated processor.
    const SimHost machine = {{{0, 0, regs(2)}, {2, 0, regs(0x00452C01u)}}};
    Simulated host(machine);
    int size = -1;
    EXPECT_EQ(lum_GetMaxCacheSizeB(&size), 0);
    EXPECT_EQ(size, 2 * 1024 * 1024);
}

// (-T and -N accepted by the library: the black-box key test.)
TEST_F(LibEnv, StartUpMessagesThroughTheLibrary) {
    struct Case { Lum64u cpu; int threads; LumStatus setStatus, initStatus, threadStatus; std::string expected; };
    const Case cases[] = {
        {0, 0, 0, 0, 0, "\n--calling lumGetNumThreads: numThreads = 4\n"},
        {lumCpuFeatureSSE2, 0, -8, -1, 0,
         "\n--calling lumSetCpuFeatures( lumCpuFeaturesSSE2=1 )\n--LUM ERROR. status = -8: fake error\n"
         "--calling lumInit()\n--LUM ERROR. status = -1: fake error\n"
         "\n--calling lumGetNumThreads: numThreads = 4\n"},
        {lumCpuFeatureSSE2, 3, 2, 0, -3,
         "\n--calling lumSetCpuFeatures( lumCpuFeaturesSSE2=1 )\n--LUM WARNING. status = 2: fake warning\n"
         "\n--calling lumGetNumThreads: numThreads = 4\n--calling lumSetNumThreads( 3 )\n"
         "--LUM ERROR. status = -3: fake error\n"},
    };
    for (const auto& c : cases) {
        psResetLumEnvironment();
        psRegLumEnvironment(FakeLum::environment);
        FakeLum::setStatus = c.setStatus;
        FakeLum::initStatus = c.initStatus;
        FakeLum::threadStatus = c.threadStatus;
        FakeLum::initCalls = FakeLum::threads = 0;
        FakeLum::mask = 0;
        setLumEnvironment();
        Capture cap;
        g_ostrm.setOutLevel(ERR | WARN | PERF);
        psApplyLumSettings(c.cpu, c.threads);
        const std::string integrated = "\nLUM Core library functions have been integrated into PS\n";
        EXPECT_EQ(cap.text(), c.expected + integrated);
        // lumInit runs silently without -T, and after a refused mask.
        EXPECT_EQ(FakeLum::initCalls, (c.cpu == 0 || c.setStatus < 0) ? 1 : 0);
        EXPECT_EQ(FakeLum::mask, c.cpu);
        EXPECT_EQ(FakeLum::threads, c.threads);
    }
}

TEST_F(LibEnv, RepeatedVersionsGiveOneLine) {
    static const LumLibraryVersion version = {9, 0, 0, 1, "px", "lumdc", "9.0.0", "Jan 01 2026"};
    auto fn = []() -> const LumLibraryVersion* { return &version; };
    for (int i = 0; i < 7; ++i) psRegLumVersion(fn);
    Capture cap;
    g_ostrm.setOutLevel(ERR | WARN | PERF);
    setLumLibInfo();
    ASSERT_NE(g_pLibInfoList, nullptr);
    ASSERT_EQ(g_pLibInfoList->count(), 1);
    EXPECT_EQ(g_pLibInfoList->front().str(), "lumdc, 9.0.0, Jan 01 2026");
    EXPECT_FALSE(psRegLibInfo("lumdc, 9.0.0, Jan 01 2026"));
    EXPECT_TRUE(psRegLibInfo("other"));
    EXPECT_EQ(cap.text(), "LUM libraries information has been set into PS\n");
}

TEST(CpuFeatures, NamesAndLabels) {
    const Lum64u avx2Level = psCpuFeatures::cpuFeatures("AVX2");
    ASSERT_NE(avx2Level, 0u);
    EXPECT_NE(avx2Level, lumCpuFeatureAVX2);  // a level is a cumulative mask
    const struct { const char* text; Lum64u mask; } cases[] = {
        {"SSE2", lumCpuFeatureSSE2},
        {"sse2", lumCpuFeatureSSE2},
        {"SSE2|AVX", lumCpuFeatureSSE2 | lumCpuFeatureAVX},
        {"SSE2+AVX2", lumCpuFeatureSSE2 | lumCpuFeatureAVX2},
        {"avx2", avx2Level},
        {"0x3", 3},
        {"SSE2|bogus", 0},
        {"", 0},
        {"0", 0},
    };
    for (const auto& c : cases) EXPECT_EQ(psCpuFeatures::cpuFeatures(c.text), c.mask) << c.text;

    EXPECT_EQ(psCpuFeatures::cpuLabel(avx2Level).str(), "AVX2");
    EXPECT_EQ(psCpuFeatures::cpuLabel(lumCpuFeatureSSE2 | lumCpuFeatureAVX).str(), "SSE2|AVX");
    EXPECT_EQ(psCpuFeatures::cpuLabel(lumCpuFeatureSSE2 | (Lum64u(1) << 40)).str(), "SSE2|0x10000000000");
    EXPECT_EQ(psCpuFeatures::levelOf(avx2Level | lumCpuFeatureAVX512F).str(), "AVX2");
    EXPECT_EQ(psCpuFeatures::levelOf(0).str(), "");
    // Every level appears in the list that -hT shows.
    psString list = psCpuFeatures::optimizedList();
    for (const char* level : {"SSE2", "SSE42", "AVX2"}) EXPECT_TRUE(list.contains(level)) << level;
}

}  // namespace
