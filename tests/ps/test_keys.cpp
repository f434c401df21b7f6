// The key table as the session applies it: the settings each key leaves behind that
// neither the echo lines nor a black-box run show. Echo lines, help texts and the
// stop points are checked by the black-box tests.
#include "fpguard.h"
#include "helpers.h"
#include "keys.h"
#include "libenv.h"
#include "registry.h"
#include "session.h"
#include "timing.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

// Resets every setting the keys write, so each case starts from the defaults.
class SessionKeys : public ::testing::Test {
protected:
    void SetUp() override { m_savedPriority = psTool::m_priority; m_savedExe = psPaths::m_exePath; }
    void TearDown() override {
        psResetKeySettings();
        psTest::m_hot = 0;
        psTest::m_cache = false;
        psTest::m_pressing = false;
        psTool::m_priority = m_savedPriority;
        g_tool.setSetAndUse(false);
        g_istrm.data().clear();
        psSession::m_exitLevel = 0;
        psSession::m_nameMode = 0;
        psSession::m_nameExit = false;
        // -W unmasks floating-point exceptions for every later run: mask them again.
        ps87::setExceptionValue(59);
        psSSX::setExceptionValue(8064);
        psPaths::m_exePath = m_savedExe;
        psPaths::setInDir("");
        psPaths::setOutDir("");
        psPaths::setDefName("");
    }
    // Parses the words as the command line of a program in the temporary folder,
    // keeping the echo out of the test's output.
    void parse(psSession& session, const std::vector<std::string>& args) {
        session.initSession();
        std::vector<std::string> words = {psTestTempPath("keys_perf")};
        words.insert(words.end(), args.begin(), args.end());
        std::vector<char*> argv;
        for (std::string& w : words) argv.push_back(&w[0]);
        Capture echo;
        parsed = session.parseCommandLine(static_cast<int>(argv.size()), argv.data());
    }

    bool parsed = false;

private:
    int m_savedPriority = 0;
    psString m_savedExe;
};

TEST_F(SessionKeys, SettingsLeftByKeys) {
    const struct { std::vector<std::string> args; std::function<void(psSession&)> check; } cases[] = {
        {{"-Axyz"}, [](psSession& s) { EXPECT_EQ(s.askMode, 15); }},
        {{"-Lxyz"}, [](psSession& s) { EXPECT_EQ(s.levelMode, 1); }},
        {{"-HONLY"}, [](psSession&) { EXPECT_EQ(psTest::m_hot, 2); }},
        {{"-HOx", "-H"}, [](psSession&) { EXPECT_EQ(psTest::m_hot, 1); }},
        {{"-YHIGH", "-Yx"}, [](psSession&) { EXPECT_EQ(psTool::m_priority, 1); }},
        {{"-fa", "-f", "-t=b", "-m-"}, [](psSession& s) { EXPECT_EQ(s.conditions.count(), 2); }},
        {{"-e+"}, [](psSession& s) { EXPECT_EQ(s.enumMode, 1); }},
        {{"-e-"}, [](psSession& s) { EXPECT_EQ(s.enumMode, -1); }},
        {{"-ex"}, [](psSession& s) { EXPECT_EQ(s.enumMode, 0); }},
        {{"-Q"}, [](psSession&) { EXPECT_FALSE(psSession::m_nameExit); }},
        {{"-q+", "-Q"}, [](psSession&) { EXPECT_TRUE(psSession::m_nameExit && psSession::m_nameMode == 1); }},
        {{"-dLen=5", "-dbad", "-dLen=7"},
         [](psSession&) {
             psString v;
             EXPECT_TRUE(g_istrm.data().get("Len", v) && v.str() == "7" && g_istrm.data().count() == 1);
         }},
        {{"-P", "-C", "-SU"},
         [](psSession&) { EXPECT_TRUE(psTest::m_pressing && psTest::m_cache && g_tool.getSetAndUse()); }},
        {{"-lout", "-nrun7", "-grun"},
         [](psSession& s) { EXPECT_EQ(s.sglName.str(), ::testing::TempDir() + "out/run.end"); }},
        {{"-e", "-v"}, [](psSession&) { EXPECT_TRUE(psSession::m_exitLevel == 1 && s_version); }},
        {{"-?x"}, [](psSession&) { EXPECT_TRUE(psSession::m_exitLevel == 2 && s_hintArg == 'x' && !s_hintHide); }},
        {{"-?", "-h"}, [](psSession&) { EXPECT_TRUE(s_hintArg == 1 && s_hintHide); }},
        {{"-W"}, [](psSession&) { EXPECT_TRUE(is_W_flagUsed); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.empty() ? std::string("(no keys)") : c.args[0]);
        psSession session;
        parse(session, c.args);
        EXPECT_TRUE(parsed);
        c.check(session);
        TearDown();
    }
}

// A program may compile in a command line; it is used when there are no arguments
// and no .cfg file. (It stays registered for the rest of this test program.)
TEST_F(SessionKeys, ForcedCommandLine) {
    psRegCmdLine("-kor");
    psRegCmdLine("-s-");
    EXPECT_EQ(psForcedCmdLine().str(), " -kor -s-");
    psSession session;
    parse(session, {});
    EXPECT_EQ(session.conditions.logic, COND_OR);
    EXPECT_TRUE(session.quickMode);
    psSession withArgs;
    parse(withArgs, {"-B"});
    EXPECT_EQ(withArgs.conditions.logic, COND_AND);
}

}  // namespace
