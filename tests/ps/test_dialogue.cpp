// The set-up dialogue in batch mode: what the settings leave on the timing engine.
// The questions, their framed titles and the answers on standard input are checked by
// the black-box tests.
#include "session.h"

#include "helpers.h"
#include "memory.h"
#include "timing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

TEST(Dialogue, BatchValuesFromSettings) {
    // number: NumLoops, NumCalls or StartNumLoops; clocks: TotalCpuClocks or MinCpuClocks
    struct Case { std::vector<const char*> settings; int method; int number; long long clocks; double accuracy; };
    const double kept = 0.3;  // the accuracy before the dialogue
    const Case cases[] = {
        {{}, psTool::AUTO, 0, 0, 0.05},
        {{"Accuracy=0"}, psTool::AUTO, 0, 0, 500.0},
        {{"Accuracy=60"}, psTool::AUTO, 0, 0, 500.0},
        {{"Accuracy=1"}, psTool::AUTO, 0, 0, 0.01},
        {{"Accuracy=50"}, psTool::AUTO, 0, 0, 0.5},
        {{"Method=Manual", "NumLoops=100", "Accuracy=20"}, psTool::MANUAL, 100, 0, kept},
        {{"Method=Manual", "NumLoops=0"}, psTool::MANUAL, 10, 0, kept},
        {{"Method=Statistic", "NumCalls=7", "TotalCpuClocks=123456789012"}, psTool::STATISTIC, 7, 123456789012LL, kept},
        {{"Method=Iterative", "StartNumLoops=2", "StopNumLoops=64", "MinCpuClocks=5000", "Accuracy=10"},
         psTool::ITERATIVE, 2, 5000, 0.1},
        {{"Method=manual"}, psTool::AUTO, 0, 0, 0.05},
    };
    const psTool savedTool = g_tool;
    psList<psParameter*>* savedParms = g_pCommonParms;
    const bool byByte = psGetAlignByByte(), src = psGetAlignSrc();
    const int align = psGetVectorAlign(), shift = psGetVectorShift();
    g_pCommonParms = nullptr;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.settings.empty() ? "defaults" : c.settings.back());
        Capture out;
        g_ostrm.setOutLevel(ERR | WARN | PERF);
        g_tool = psTool();
        g_tool.setAccuracy(kept);
        for (const char* s : c.settings) g_istrm.data().set(psString(s));
        psSession().readCommonData();
        g_istrm.data().clear();
        EXPECT_EQ(c.method, g_tool.getMethod());
        EXPECT_DOUBLE_EQ(c.accuracy, g_tool.getAccuracy());
        int n = 0, stop = 0;
        long long clocks = 0;
        switch (c.method) {
        case psTool::MANUAL: EXPECT_TRUE(g_tool.getMethodLoop(n)); break;
        case psTool::STATISTIC: EXPECT_TRUE(g_tool.getMethodStat(n, clocks)); break;
        case psTool::ITERATIVE: EXPECT_TRUE(g_tool.getMethodBest(n, stop, clocks)); break;
        default: break;
        }
        EXPECT_EQ(c.number, n);
        EXPECT_EQ(c.clocks, clocks);
        const std::string text = out.text();
        EXPECT_EQ(std::string::npos, text.find("*****")) << "nothing asked, no titles";
        EXPECT_EQ(c.number == 10, text.find("Invalid value of NumLoops = 0") != std::string::npos);
    }
    g_tool = savedTool;
    delete g_pCommonParms;
    g_pCommonParms = savedParms;
    psSetAlignByByte(byByte);
    psSetVectorAlign(align);
    psSetAlignSrc(src);
    psSetVectorShift(shift);
}
