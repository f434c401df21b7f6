// The shared pieces of the data-compression modules: the two measurement kernels
// (driven by a scripted fake library call), the corpus loading rule (on files
// made in a temporary folder), the Huffman tests' symbol stream and the output
// check with its reference of the inverse BWT.
#include "dccheck.h"
#include "dckernels.h"
#include "dcmodule.h"
#include "dcparams.h"
#include "paths.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// The fake library call returns the scripted statuses in turn (0 after the script).
std::vector<int> script;
int calls = 0;
int resets = 0;

int fakeCall() {
    int s = calls < static_cast<int>(script.size()) ? script[calls] : 0;
    ++calls;
    return s;
}
void fakeReset() { ++resets; }

const char* statusText(LumStatus s) { return s < 0 ? "Error" : "Warning"; }

class KernelTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedText = lum_GetStatusString;
        lum_GetStatusString = statusText;
        savedMask = g_ostrm.getOutLevel();
        g_ostrm.setOutLevel(0);  // keep the status lines off the test's output
        restart({});
    }
    static void restart(const std::vector<int>& statuses) {
        script = statuses;
        calls = resets = 0;
        psTest::m_currentResult = UNDEFINED;
    }
    void TearDown() override { lum_GetStatusString = savedText; g_ostrm.setOutLevel(savedMask); }
    psLumGetStatusStringFunc savedText = nullptr;
    OutputLevel savedMask = 0;
};

}  // namespace

TEST_F(KernelTest, StatisticKernelCountsTimedCallsAfterTheWarmUp) {
    // calls: *count on return; madeCalls: library calls made, the warm-up included
    struct Case { std::vector<int> statuses; int minCalls; long long minClocks; int calls, madeCalls; psResult result; };
    const Case cases[] = {
        {{}, 0, 0, 0, 1, OK},                  // only the warm-up, nothing timed
        {{}, 5, 0, 5, 6, OK},                  // warm-up + 5 timed calls
        {{-3}, 5, 0, -1, 1, FUNCFAIL},         // a failing warm-up stops at once
        {{0, 0, -1}, 5, 0, 1, 3, FUNCFAIL},    // an error stops without counting its call
        {{0, 0, 4, 0, 0}, 4, 0, 4, 5, FUNCWRN}, // a warning survives later clean calls
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.calls);
        restart(c.statuses);
        int count = c.minCalls;
        long long clocks = c.minClocks;
        EXPECT_EQ(c.result, (dcStatKernel<fakeCall>(&count, &clocks, "lumsFake_8u")));
        EXPECT_EQ(c.calls, count);
        EXPECT_EQ(c.madeCalls, calls);
        if (c.calls <= 0 && c.statuses.empty()) {
            EXPECT_EQ(0, clocks);
        }
    }
}

TEST_F(KernelTest, StatisticKernelGoesOnUntilTheClockMinimumIsMet) {
    int count = 1;
    long long clocks = 1000000;  // far more than one call of the fake takes
    EXPECT_EQ(OK, (dcStatKernel<fakeCall, fakeReset>(&count, &clocks, "lumsFake_8u")));
    EXPECT_GE(clocks, 1000000);
    EXPECT_GT(count, 1);
    EXPECT_EQ(count + 1, calls);
    EXPECT_EQ(calls, resets);  // one argument reset before every call
}

TEST_F(KernelTest, LoopKernelMakesEveryCallAndChecksTheLastStatus) {
    struct Case { std::vector<int> statuses; int loops; psResult result; };
    const Case cases[] = {
        {{}, 0, OK},
        {{-1}, 0, FUNCFAIL},        // with no loops the warm-up's status is checked
        {{0, -1, 0}, 3, OK},        // an error in the middle does not stop the loop
        {{0, 0, 0, -5}, 3, FUNCFAIL},
        {{0, 2}, 1, FUNCWRN},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.loops);
        restart(c.statuses);
        long long clocks = -1;
        EXPECT_EQ(c.result, (dcLoopKernel<fakeCall, fakeReset>(c.loops, &clocks, "lumsFake_8u")));
        EXPECT_EQ(c.loops + 1, calls);
        EXPECT_EQ(c.loops + 1, resets);
        EXPECT_GE(clocks, 0);
    }
}

// ---------------------------------------------------------------- loading rule

TEST(LoadRule, RepeatedLengthRulePassesOverShortFiles) {
    const std::string dir = std::string(::testing::TempDir()) + "dcload_" + std::to_string(getpid()) + "/";
    std::filesystem::create_directories(dir);
    const psString savedIn = psPaths::m_inDir;
    psPaths::m_inDir = dir.c_str();
    const OutputLevel savedMask = g_ostrm.getOutLevel();
    g_ostrm.setOutLevel(0);
    regTestParameters();
    for (const auto& [name, size] : {std::pair<const char*, int>{"f20000", 20000}, {"empty", 0}})
        std::ofstream(dir + name, std::ios::binary) << std::string(static_cast<size_t>(size), 'x');

    // (Files shorter than the length, of exactly half of it and missing ones, under the rule:
    // the black-box compression test on a made-up corpus.)
    struct Case { const char* file; int len; bool rule; int got; };
    const Case cases[] = {
        {"empty", 16384, true, 0},
        {"f20000", 262144, false, 20000},  // without the rule any non-empty read is used
        {"empty", 16384, false, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.file) + " " + std::to_string(c.len));
        g_codeFile.translate(c.file);
        g_codeFile.firstValue();
        std::vector<char> buf(static_cast<size_t>(c.len));
        EXPECT_EQ(c.got, dcLoadDataFile(buf.data(), c.len, c.rule ? &g_codeLen : nullptr));
    }
    psPaths::m_inDir = savedIn;
    g_ostrm.setOutLevel(savedMask);
    std::filesystem::remove_all(dir);
}

// ---------------------------------------------------------------- Huffman symbols

TEST(HuffSymbols, NewMaximaAreLoweredAndTheMaximumEndsTheStream) {
    struct Case { std::vector<Lum8u> bytes; std::vector<Lum16u> symbols; int max; };
    const Case cases[] = {
        {{3, 5, 5, 9, 2}, {2, 4, 5, 8, 9}, 9},
        {{7, 7, 7}, {6, 7, 7}, 7},
        {{0, 0}, {0, 0}, 0},     // 0 is never a new maximum
        {{9, 1, 2}, {8, 1, 9}, 9},
        {{4}, {4}, 4},           // the only byte is lowered, then replaced by the maximum
        {{}, {}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bytes.size());
        std::vector<Lum16u> out(c.bytes.size(), 0xFFFF);
        EXPECT_EQ(c.max, dcHuffSymbols(c.bytes.data(), static_cast<int>(c.bytes.size()), out.data()));
        EXPECT_EQ(c.symbols, out);
    }
}

// ---------------------------------------------------------------- output check

TEST(OutputCompare, SmallestRotationIsWhatInverseBwtGivesForIndexZero) {
    struct Case { std::string in, out; };
    const Case cases[] = {
        {"banana", "abanan"}, {"cabcab", "abcabc"}, {"aaaa", "aaaa"}, {"baaab", "aaabb"},
        {"x", "x"}, {"", ""}, {"acabababab", "ababababac"},
    };
    for (const Case& c : cases) {
        std::string s = c.in;
        dcSmallestRotation(reinterpret_cast<unsigned char*>(&s[0]), static_cast<int>(s.size()));
        EXPECT_EQ(c.out, s) << c.in;
    }
}

TEST(OutputCompare, MismatchesAreReportedAsDataFailures) {
    const OutputLevel savedMask = g_ostrm.getOutLevel();
    g_ostrm.setOutLevel(0);
    dcExpected expected;
    const std::string ref = "reference bytes";
    EXPECT_EQ(UNDEFINED, expected.compare(ref.data(), 3, "lumsFake_8u"));  // nothing kept: nothing checked
    expected.set(ref.data(), static_cast<int>(ref.size()));
    struct Case { std::string out; psResult result; };
    const Case cases[] = {
        {"reference bytes", UNDEFINED}, {"reference byteS", DATAFAIL}, {"Reference bytes", DATAFAIL},
        {"reference byte", DATAFAIL}, {"reference bytes!", DATAFAIL},
    };
    for (const Case& c : cases) {
        psTest::m_currentResult = OK;
        EXPECT_EQ(c.result, expected.compare(c.out.data(), static_cast<int>(c.out.size()), "lumsFake_8u")) << c.out;
        EXPECT_EQ(c.result == UNDEFINED ? OK : DATAFAIL, psTest::m_currentResult) << c.out;
    }
    g_ostrm.setOutLevel(savedMask);
}
