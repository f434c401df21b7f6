// The console set-up dialogue, answered through standard input redirected from a
// file: which groups are asked, what the answers set on the timing engine and the
// vector placement, and that a run without answers never waits.
#include "session.h"

#include "console_capture.h"
#include "iterators.h"
#include "memory.h"
#include "parameter.h"
#include "timing.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace {

// Standard input read from a file holding the given answers, and standard output
// sent to a file, while the object lives.
class Terminal {
public:
    explicit Terminal(const std::string& answers)
        : m_in(psTestTempPath("dialogue_in.txt")), m_out(psTestTempPath("dialogue_out.txt"))
    {
        FILE* f = std::fopen(m_in.c_str(), "wb");
        std::fputs(answers.c_str(), f);
        std::fclose(f);
        EXPECT_NE(nullptr, std::freopen(m_in.c_str(), "r", stdin));
        std::fflush(stdout);
        m_savedOut = dup(1);
        int fd = open(m_out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(fd, 1);
        close(fd);
    }
    ~Terminal()
    {
        std::fflush(stdout);
        dup2(m_savedOut, 1);
        close(m_savedOut);
        std::freopen("/dev/null", "r", stdin);
        std::remove(m_in.c_str());
        std::remove(m_out.c_str());
    }
    // What was written to standard output so far: the questions.
    std::string questions()
    {
        std::fflush(stdout);
        return psTestReadFile(m_out);
    }

private:
    std::string m_in, m_out;
    int m_savedOut;
};

class DialogueTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        savedTool = g_tool;
        savedParms = g_pCommonParms;
        g_pCommonParms = nullptr;
        byByte = psGetAlignByByte();
        align = psGetVectorAlign();
        src = psGetAlignSrc();
        shift = psGetVectorShift();
        g_tool = psTool();
        g_istrm.data().clear();
        out = new ConsoleCapture("dialogue_console.txt");
        g_ostrm.setOutLevel(ERR | WARN | PERF);
    }
    void TearDown() override
    {
        delete out;
        g_istrm.setIStream(nullptr);
        g_istrm.data().clear();
        g_istrm.setIniSection("Perf System");
        g_tool = savedTool;
        delete g_pCommonParms;
        g_pCommonParms = savedParms;
        psSetAlignByByte(byByte);
        psSetVectorAlign(align);
        psSetAlignSrc(src);
        psSetVectorShift(shift);
    }
    // Runs the dialogue with the -d settings and the ask mode; returns the console text.
    std::string run(int askMode, const std::vector<const char*>& settings = {})
    {
        for (const char* s : settings) g_istrm.data().set(psString(s));
        psSession session;
        session.askMode = askMode;
        session.readCommonData();
        return out->text();
    }
    static bool framed(const std::string& text, const char* title)
    {
        return text.find(std::string(psSession::getEnterTitle(title))) != std::string::npos;
    }

    psTool savedTool;
    psList<psParameter*>* savedParms = nullptr;
    bool byByte = true, src = true;
    int align = 0, shift = 0;
    ConsoleCapture* out = nullptr;
};

}  // namespace

TEST(DialogueTitle, FramedWithinSeventyEightColumns)
{
    const std::string longTitle(100, 'x');
    for (const std::string& title : {std::string("Specify timing method, please"), longTitle}) {
        std::string t = psSession::getEnterTitle(title.c_str()).str();
        EXPECT_EQ(80u, t.size()) << "a line feed, 78 columns, a line feed";
        EXPECT_EQ("\n*", t.substr(0, 2));
        EXPECT_EQ("*\n", t.substr(78));
        EXPECT_NE(std::string::npos, t.find(" " + title.substr(0, 60)));
    }
}

TEST_F(DialogueTest, BatchValuesFromSettings)
{
    struct Case {
        std::vector<const char*> settings;
        int method;
        int number;         // NumLoops, NumCalls or StartNumLoops
        long long clocks;   // TotalCpuClocks or MinCpuClocks
        double accuracy;
    };
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
    for (const Case& c : cases) {
        SCOPED_TRACE(c.settings.empty() ? "defaults" : c.settings.back());
        g_tool = psTool();
        g_tool.setAccuracy(kept);
        std::string text = run(0, c.settings);
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
        EXPECT_EQ(std::string::npos, text.find("*****")) << "nothing asked, no titles";
        g_istrm.data().clear();
    }
    EXPECT_NE(std::string::npos, run(0, {"Method=Manual", "NumLoops=0"}).find("Invalid value of NumLoops = 0"));
}

TEST_F(DialogueTest, TimingAnsweredManualAsksLoopsButNoAccuracy)
{
    Terminal term("Manual\n0\n100\n");
    std::string text = run(ASK_TIMING);
    int loops = 0;
    EXPECT_TRUE(g_tool.getMethodLoop(loops));
    EXPECT_EQ(100, loops);
    EXPECT_NE(std::string::npos, text.find("Invalid value of NumLoops = 0")) << "a refused answer is asked again";
    std::string asked = term.questions();
    EXPECT_NE(std::string::npos, asked.find("\n Method {Auto|Manual|Statistic|Iterative} [Auto] = "));
    EXPECT_NE(std::string::npos, asked.find("\n NumLoops [10] = "));
    EXPECT_EQ(std::string::npos, asked.find("Accuracy"));
    EXPECT_TRUE(framed(text, "Specify timing method, please"));
    EXPECT_FALSE(framed(text, "Specify vectors alignment, please"));
    EXPECT_TRUE(framed(text, "End of common specifications"));
    EXPECT_NE(std::string::npos, text.find(" MutualVectorShift = 512\n")) << "the other groups are still read";
}

TEST_F(DialogueTest, MisalignAsksOnlyThePlacement)
{
    Terminal term("element\n3\nno\n128\n");
    std::string text = run(ASK_MISALIGN);
    EXPECT_FALSE(psGetAlignByByte());
    EXPECT_EQ(3, psGetVectorAlign());
    EXPECT_FALSE(psGetAlignSrc());
    EXPECT_EQ(128, psGetVectorShift());
    std::string asked = term.questions();
    EXPECT_EQ(std::string::npos, asked.find("Method"));
    EXPECT_NE(std::string::npos, asked.find("\n AlignVectorsBy {byte|element} [byte] = "));
    EXPECT_NE(std::string::npos, asked.find("\n VectorAlign by Element, 0..63 [0] = "));
    EXPECT_NE(std::string::npos, asked.find("\n MutualVectorShift in Bytes, divisible by 64 [512] = "));
    EXPECT_TRUE(framed(text, "Specify vectors alignment, please"));
    EXPECT_FALSE(framed(text, "Specify timing method, please"));
}

TEST_F(DialogueTest, NothingToAnswerNeverWaits)
{
    Terminal term("");
    std::string text = run(ASK_TIMING | ASK_PARAMS | ASK_MISALIGN | ASK_EACH_TEST);
    EXPECT_EQ("", term.questions());
    EXPECT_EQ(std::string::npos, text.find("*****"));
    EXPECT_EQ(nullptr, g_istrm.getIStream());
}

TEST_F(DialogueTest, CommonParametersAreAskedOnce)
{
    psStepIterator<int> codeLen(0, "CodeLength");
    codeLen.setLower(16);
    codeLen.setUpper(64);
    codeLen.setStep(2);
    codeLen.setOperation('*');
    codeLen.validate();
    psRegParm(&codeLen);
    Terminal term("32 128 *2\n");
    std::string text = run(ASK_PARAMS);
    EXPECT_NE(std::string::npos, term.questions().find("\n CodeLength (list"));
    EXPECT_TRUE(framed(text, "Specify common test parameters, please"));
    EXPECT_NE(std::string::npos, text.find(" for (CodeLength = 32; CodeLength <= 128; CodeLength *= 2)\n"));
    EXPECT_FALSE(codeLen.getAsk()) << "the tests take the value as it stands";

    psStepIterator<int> huffLen(0, "HuffLength");
    huffLen.translate("1;2");
    psRegParm(&huffLen);
    codeLen.setAsk(true);
    text = run(0, {"HuffLength=abc"});
    EXPECT_NE(std::string::npos, text.find("Invalid value of HuffLength = abc"));
    EXPECT_TRUE(huffLen.getAsk()) << "each test meets the refusal again and does not measure";
    EXPECT_EQ("1; 2", std::string(huffLen.defaultString()));
}
