// What a test reports for one combination: the clock texts, the console lines at
// their levels, the performance-table cells and the registration text.
#include "results.h"

#include "helpers.h"
#include "test.h"
#include "ticker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace {

psResult unusedLoop(int, long long*) { return OK; }
psResult unusedStat(int*, long long*) { return OK; }
int unusedCall() { return 0; }
psResult unusedCustom(psTool&, int) { return OK; }

// A test whose figures the tests set directly.
class ReportingTest : public psTest {
public:
    ReportingTest() : psTest(unusedLoop, nullptr, "lumsDemo_8u", "/src/p_demo.cpp", "TimDemo//PP_REG") {}
    double getDivisor() override { return divisor; }
    psString getUnit() override { return "e"; }
    double getFlops() override { return flops; }
    bool isFloatFunction() override { return floating; }

    double divisor = 100.0;
    double flops = 0.0;
    bool floating = false;
};

class ResultsTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedFreq = psCpuTicker::m_freqMHz;
        psCpuTicker::m_freqMHz = 1000;
        psTest::m_numParmsColm = 9;
        psTest::m_numResultColm = 5;
        test.tool().setMethodLoop(10);
        test.tool().setFuncTicks(12345.0);
        test.tool().setComment("nLps=10");
        g_cstrm.tableFlush();
    }
    void TearDown() override { psCpuTicker::m_freqMHz = savedFreq; }

    unsigned savedFreq = 0;
    ReportingTest test;
};

}  // namespace

TEST(FormatClocks, DecimalsFollowTheMagnitude) {
    ReportingTest t;
    const std::pair<double, const char*> cases[] = {
        {123.456, "123"},        {1.23456, "1.23"},         {0.00012345, "0.000123"}, {0.00001, "1.000e-05"},
        {0, ""},                 {-5, ""},                  {10000000, "10000000"},   {10000001, "1.000e+07"},
        {99.99, "100.0"},        {12.345, "12.3"},          {0.5, "0.500"},           {0.05, "0.0500"},
        {0.005, "0.00500"},      {0.0001, "0.000100"},
    };
    for (const auto& c : cases) EXPECT_STREQ(c.second, t.formatClocks(c.first)) << c.first;
    EXPECT_STREQ("nan", t.formatClocks(std::numeric_limits<double>::quiet_NaN()));
}

TEST_F(ResultsTest, ResultLineAndPerformance) {
    EXPECT_STREQ("nLps=10   perf= 1.23e+04/      100=      123 clocks", test.testResultString());
    // Auto and Iterative add the achieved accuracy; a long comment is not cut.
    test.tool().setMethodAuto();
    test.tool().setComment("nLps=2048 acc=7.3%");
    EXPECT_STREQ("acc=100.0%nLps=2048 acc=7.3%perf= 1.23e+04/      100=      123 clocks", test.testResultString());
    // Performance: clocks per unit of the divisor, or MFlops for a floating-point function.
    EXPECT_DOUBLE_EQ(123.45, test.performance(false));
    EXPECT_EQ(0.0, test.performance(true)) << "not a floating-point function";
    test.floating = true;
    test.flops = 2469.0;
    EXPECT_DOUBLE_EQ(2469.0 * 1000 / 12345.0, test.performance(true));
    EXPECT_STREQ("200", test.perfString(true));
}

TEST_F(ResultsTest, OutputResultWritesAtTheLevelOfItsCode) {
    psDefault_NSC<int> len(64, "len", "");
    test.addParameter(&len);
    struct Case { psResult code; OutputLevel mask; const char* console; int tableLines; };
    const Case cases[] = {
        {UNDEFINED, 0x7F, "", 0},
        {OK, ERR | WARN | PERF, "nLps=10   perf= 1.23e+04/      100=      123 clocks\n", 1},
        {OK, ERR | WARN, "", 1},
        {BADSTSWRN, ERR | WARN,
         "-- modified control status on test parameters:\nlen=64 \n"
         "-- performance:\nnLps=10   perf= 1.23e+04/      100=      123 clocks\n",
         1},
        {BADSTSWRN, ERR, "", 1},
        {ACCURFAIL, ERR, "-- accuracy error on test parameters:\nlen=64 \n", 0},
        {EXCPTFAIL, ERR | WARN | PERF, "-- exception on test parameters:\nlen=64 \n", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.code);
        Capture out;
        Capture table(g_cstrm);
        g_ostrm.setOutLevel(c.mask);
        test.outputResult(c.code);
        EXPECT_EQ(c.console, out.text());
        std::string lines = table.text();
        EXPECT_EQ(c.tableLines, static_cast<int>(std::count(lines.begin(), lines.end(), '\n')));
    }
}

TEST_F(ResultsTest, TableLinesOfResultsAndNamesAndTheHotMark) {
    psDefault_NSC<int> len(64, "len", "");
    psDefault_NSC<psString> file(psString("book1"), "file", "");
    test.addParameter(&len);
    test.addParameter(&file);
    Capture table(g_cstrm);
    // Time (usec) is the clocks of one call over the frequency in MHz.
    test.putTableResult(OK);
    test.putTableNameLine();
    const std::string lines = "lumsDemo_8u,64,book1,-,-,-,-,-,-,nLps=10,123,e,12.3,-\n"
                              "lumsDemo_8u,len,file,-,-,-,-,-,-,parmNames,-,-,-,-\n";
    EXPECT_EQ(lines, table.text());
    // A hot function is marked only when the title has the Interest column.
    psStringList* saved = g_pHotList;
    psStringList hot;
    hot.add("lumsDemo_8u");
    g_pHotList = &hot;
    test.putTableResult(OK);
    psTest::m_numResultColm = 6;
    test.putTableResult(OK);
    g_pHotList = saved;
    EXPECT_EQ(lines + "lumsDemo_8u,64,book1,-,-,-,-,-,-,nLps=10,123,e,12.3,-\n"
                      "lumsDemo_8u,64,book1,-,-,-,-,-,-,nLps=10,123,e,12.3,-,Hot\n",
              table.text());
}

TEST_F(ResultsTest, DeprecatedValuesGiveAPostponedSecondLine) {
    psDefault_NSC<int> len(64, "len", "");
    len.addDeprecated(64, "L64");
    test.addParameter(&len);
    Capture table(g_cstrm);
    Capture out;
    g_ostrm.setOutLevel(ERR);
    test.outputResult(OK);
    EXPECT_EQ("lumsDemo_8u,64,-,-,-,-,-,-,-,nLps=10,123,e,12.3,-\n", table.text());
    g_cstrm.linePostponeOut(14);
    EXPECT_EQ("lumsDemo_8u,64,-,-,-,-,-,-,-,nLps=10,123,e,12.3,-\n"
              "lumsDemo_8u,L64,-,-,-,-,-,-,-,deprecated,123,e,12.3,-\n",
              table.text());
    EXPECT_STREQ("nLps=10", test.getComment()) << "the flag is cleared after the line";
}

TEST(RegInfo, NamesTheEntryPointsAndTheOneUsedForMeasuring) {
    struct Case { psLoopFunc loop; psStatFunc stat; psCallFunc call; int method; bool preferCalls, setAndUse;
                  const char* text; };
    const char* head = "   Test has been registered by PP_REG macro";
    const Case cases[] = {
        {unusedLoop, unusedStat, unusedCall, psTool::AUTO, false, false,
         " with loopMethod, statMethod, funcCall, funcInit.\n   loopMethod is called for measuring."},
        {unusedLoop, unusedStat, unusedCall, psTool::AUTO, true, false,
         " with loopMethod, statMethod, funcCall, funcInit.\n   statMethod is called for measuring."},
        {unusedLoop, unusedStat, unusedCall, psTool::STATISTIC, false, true,
         " with loopMethod, statMethod, funcCall, funcInit.\n   funcCall with Set&Use is called for measuring."},
        {nullptr, nullptr, unusedCall, psTool::MANUAL, false, false,
         " with funcCall, funcInit.\n   funcCall is called for measuring."},
        {nullptr, unusedStat, nullptr, psTool::MANUAL, false, false,
         " with statMethod, funcInit.\n   statMethod is called for measuring."},
    };
    for (const Case& c : cases) {
        psTest t(c.call, unusedCall, c.loop, c.stat, "f", "s.cpp", "T//PP_REG");
        t.tool().setMethod(c.method);
        t.tool().setPreferCalls(c.preferCalls);
        t.tool().setSetAndUse(c.setAndUse);
        EXPECT_EQ(std::string(head) + c.text, t.regInfo().str());
    }
    psTest custom(unusedCustom, "f", "s.cpp", "T");
    EXPECT_STREQ("   Test has been registered with oldMethod.\n   oldMethod is called for measuring.", custom.regInfo());
    psTest none(nullptr, nullptr, "f", "s.cpp", "T//PP_REG_I");
    EXPECT_STREQ("   Test has been registered by PP_REG_I macro without any function to call.\n"
                 " No standard timing method is available",
                 none.regInfo());
}
