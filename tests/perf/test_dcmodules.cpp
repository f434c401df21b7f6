// The shared pieces of the data-compression modules: the two measurement kernels
// (driven by a scripted fake library call) and the corpus loading rule (on files
// made in a temporary folder).
#include "dckernels.h"
#include "dcparams.h"
#include "paths.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// The fake library call returns the scripted statuses in turn (0 after the script).
std::vector<int> script;
int calls = 0;
int resets = 0;

int fakeCall()
{
    int s = calls < static_cast<int>(script.size()) ? script[calls] : 0;
    ++calls;
    return s;
}
void fakeReset() { ++resets; }

const char* statusText(LumStatus s) { return s < 0 ? "Error" : "Warning"; }

class KernelTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        script.clear();
        calls = resets = 0;
        savedText = lum_GetStatusString;
        lum_GetStatusString = statusText;
        savedMask = g_ostrm.getOutLevel();
        g_ostrm.setOutLevel(0);  // keep the status lines off the test's output
        psTest::m_currentResult = UNDEFINED;
    }
    void TearDown() override
    {
        lum_GetStatusString = savedText;
        g_ostrm.setOutLevel(savedMask);
    }
    psLumGetStatusStringFunc savedText = nullptr;
    OutputLevel savedMask = 0;
};

}  // namespace

TEST_F(KernelTest, StatisticKernelCountsTimedCallsAfterTheWarmUp)
{
    struct Case {
        std::vector<int> statuses;
        int minCalls;
        long long minClocks;
        int calls;        // *count on return
        int madeCalls;    // library calls made, the warm-up included
        psResult result;
    };
    const Case cases[] = {
        {{}, 0, 0, 0, 1, OK},                  // only the warm-up, nothing timed
        {{}, 5, 0, 5, 6, OK},                  // warm-up + 5 timed calls
        {{-3}, 5, 0, -1, 1, FUNCFAIL},         // a failing warm-up stops at once
        {{0, 0, -1}, 5, 0, 1, 3, FUNCFAIL},    // an error stops without counting its call
        {{0, 0, 4, 0, 0}, 4, 0, 4, 5, FUNCWRN}, // a warning survives later clean calls
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.calls);
        SetUp();
        script = c.statuses;
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

TEST_F(KernelTest, StatisticKernelGoesOnUntilTheClockMinimumIsMet)
{
    int count = 1;
    long long clocks = 1000000;  // far more than one call of the fake takes
    EXPECT_EQ(OK, (dcStatKernel<fakeCall, fakeReset>(&count, &clocks, "lumsFake_8u")));
    EXPECT_GE(clocks, 1000000);
    EXPECT_GT(count, 1);
    EXPECT_EQ(count + 1, calls);
    EXPECT_EQ(calls, resets);  // one argument reset before every call
}

TEST_F(KernelTest, LoopKernelMakesEveryCallAndChecksTheLastStatus)
{
    struct Case {
        std::vector<int> statuses;
        int loops;
        psResult result;
    };
    const Case cases[] = {
        {{}, 0, OK},
        {{-1}, 0, FUNCFAIL},        // with no loops the warm-up's status is checked
        {{0, -1, 0}, 3, OK},        // an error in the middle does not stop the loop
        {{0, 0, 0, -5}, 3, FUNCFAIL},
        {{0, 2}, 1, FUNCWRN},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.loops);
        SetUp();
        script = c.statuses;
        long long clocks = -1;
        EXPECT_EQ(c.result, (dcLoopKernel<fakeCall, fakeReset>(c.loops, &clocks, "lumsFake_8u")));
        EXPECT_EQ(c.loops + 1, calls);
        EXPECT_EQ(c.loops + 1, resets);
        EXPECT_GE(clocks, 0);
    }
}

// ---------------------------------------------------------------- loading rule

namespace {

class LoadRuleTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir = std::string(::testing::TempDir()) + "dcload_" + std::to_string(getpid()) + "/";
        std::string cmd = "mkdir -p " + dir;
        ASSERT_EQ(0, std::system(cmd.c_str()));
        savedIn = psPaths::m_inDir;
        psPaths::m_inDir = dir.c_str();
        savedMask = g_ostrm.getOutLevel();
        g_ostrm.setOutLevel(0);
        regTestParameters();
    }
    void TearDown() override
    {
        psPaths::m_inDir = savedIn;
        g_ostrm.setOutLevel(savedMask);
        std::string cmd = "rm -rf " + dir;
        if (std::system(cmd.c_str()) != 0) ADD_FAILURE() << "cannot remove " << dir;
    }
    void makeFile(const std::string& name, int size)
    {
        std::ofstream f(dir + name, std::ios::binary);
        f << std::string(static_cast<size_t>(size), 'x');
    }
    // Loads `file` with CodeLength at `len` under the repeated-length rule.
    int load(const std::string& file, int len)
    {
        g_codeFile.translate(file.c_str());
        g_codeFile.firstValue();
        std::vector<char> buf(static_cast<size_t>(len));
        return dcLoadDataFile(buf.data(), len, &g_codeLen);
    }
    std::string dir;
    psString savedIn;
    OutputLevel savedMask = 0;
};

}  // namespace

TEST_F(LoadRuleTest, RepeatedLengthRulePassesOverShortFiles)
{
    makeFile("f20000", 20000);
    makeFile("f32768", 32768);
    makeFile("empty", 0);
    struct Case {
        const char* file;
        int len;
        int got;
    };
    const Case cases[] = {
        {"f20000", 16384, 16384},  // the lower bound is never passed over
        {"f20000", 32768, 20000},  // more than 32768 / 2 bytes were read
        {"f20000", 65536, 0},      // 65536 / 2 >= 20000
        {"f32768", 32768, 32768},
        {"f32768", 65536, 0},      // 32768 >= 32768
        {"empty", 16384, 0},
        {"missing", 16384, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.file) + " " + std::to_string(c.len));
        EXPECT_EQ(c.got, load(c.file, c.len));
    }
}

TEST_F(LoadRuleTest, WithoutTheRuleAnyNonEmptyReadIsUsed)
{
    makeFile("small", 100);
    g_codeFile.translate("small");
    g_codeFile.firstValue();
    std::vector<char> buf(65536);
    EXPECT_EQ(100, dcLoadDataFile(buf.data(), 65536));
}

TEST(SharedParameters, RegisteredValues)
{
    regTestParameters();
    std::vector<int> lens;
    for (bool more = g_codeLen.firstValue(); more; more = g_codeLen.nextValue()) lens.push_back(g_codeLen.value());
    EXPECT_EQ((std::vector<int>{16384, 32768, 65536, 131072, 262144}), lens);
    std::vector<int> huff;
    for (bool more = g_huffLen.firstValue(); more; more = g_huffLen.nextValue()) huff.push_back(g_huffLen.value());
    EXPECT_EQ((std::vector<int>{1024, 2048, 4096, 8192, 16384, 32768}), huff);
    EXPECT_EQ(14, g_codeFile.count());
    EXPECT_STREQ("bib", g_codeFile.front().c_str());
    EXPECT_STREQ("trans", g_codeFile.back().c_str());
}
