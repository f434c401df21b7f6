// A command line compiled into the program: the session uses it when there are no
// arguments and no .cfg file. What each key does is checked from outside by the
// black-box key tests (echo lines, help texts, stop points and the runs they shape).
#include "helpers.h"
#include "keys.h"
#include "registry.h"
#include "session.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Parses the words as the command line of a program in the temporary folder, keeping
// the echo out of the test's output.
bool parse(psSession& session, const std::vector<std::string>& args) {
    session.initSession();
    std::vector<std::string> words = {psTestTempPath("keys_perf")};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& w : words) argv.push_back(&w[0]);
    Capture echo;
    return session.parseCommandLine(static_cast<int>(argv.size()), argv.data());
}

// (The registered line stays for the rest of this test program.)
TEST(SessionKeys, ForcedCommandLine) {
    const psString savedExe = psPaths::m_exePath;
    psRegCmdLine("-kor");
    psRegCmdLine("-s-");
    EXPECT_EQ(psForcedCmdLine().str(), " -kor -s-");
    psSession session;
    EXPECT_TRUE(parse(session, {}));
    EXPECT_EQ(session.conditions.logic, COND_OR);
    EXPECT_TRUE(session.quickMode);
    psSession withArgs;
    EXPECT_TRUE(parse(withArgs, {"-B"}));
    EXPECT_EQ(withArgs.conditions.logic, COND_AND);
    psResetKeySettings();
    psPaths::m_exePath = savedExe;
    psPaths::setInDir("");
    psPaths::setOutDir("");
    psPaths::setDefName("");
}

}  // namespace
