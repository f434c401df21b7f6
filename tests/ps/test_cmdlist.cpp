// The command key list: which words are keys, how keys and arguments pair up, and
// how texts and option files are cut into keys.
#include "cmdlist.h"

#include "helpers.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

// The list as "k:arg" strings.
std::vector<std::string> keys(const psCommandList& list) {
    std::vector<std::string> out;
    for (const psCommandKey& k : list) out.push_back(std::string(1, k.key) + ":" + k.arg.str());
    return out;
}

psCommandList fromWords(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& w : words) argv.push_back(&w[0]);
    psCommandList list;
    list.setArgs(static_cast<int>(argv.size()), argv.data());
    return list;
}

// A file in the test's temporary folder, removed at the end.
struct TempFile {
    TempFile(const std::string& name, const std::string& content) : path(psTestTempPath(name)) { psTestWriteFile(path, content); }
    ~TempFile() { std::remove(path.c_str()); }
    const std::string path;
};

TEST(CommandList, KeyStrings) {
    const struct { const char* text; bool key; } cases[] = {
        {"-o", true}, {"/tmp/out.txt", true}, {"-", false}, {"/", false}, {"abc", false}, {"", false}, {"--", true}, {"+x", false}};
    for (const auto& c : cases) EXPECT_EQ(isKeyString(c.text), c.key) << c.text;
}

TEST(CommandList, PairsKeysWithArguments) {
    const struct { std::vector<std::string> words; std::vector<std::string> expected; } cases[] = {
        // A path beginning with "/" is a key of its own.
        {{"-o", "/tmp/out.txt"}, {"o:", "t:mp/out.txt"}},
        {{"-o/tmp/out.txt"}, {"o:/tmp/out.txt"}},
        // A following word is used only when the key carries nothing itself.
        {{"-fabc", "xyz"}, {"f:abc"}},
        {{"-f+", "abc"}, {"f:+abc"}},
        {{"-f", "abc"}, {"f:abc"}},
        {{"-f=", "name", "-t-", "x"}, {"f:=name", "t:-x"}},
        {{"-f-a"}, {"f:-a"}},
        // Words that are no keys vanish, with the word after them.
        {{"-", "word", "-B"}, {"B:"}},
        {{"plain", "-e+"}, {"e:+"}},
        {{"-s-", "-e"}, {"s:-", "e:"}},
        {{"/h"}, {"h:"}},
        {{"-o", "-"}, {"o:-"}},
    };
    for (const auto& c : cases) EXPECT_EQ(keys(fromWords(c.words)), c.expected) << c.words[0];
}

TEST(CommandList, SplitsTextsAtBlanksQuotesAndLineEnds) {
    psCommandList list;
    list.setArgs("-fa \"-tb c\";-e\r\n-L PERF\t-nrun7\n-o\"my file.txt\"");
    EXPECT_EQ(keys(list), (std::vector<std::string>{"f:a", "t:b c", "e:", "L:PERF", "n:run7", "o:my file.txt"}));
}

TEST(CommandList, LastArgumentWins) {
    psCommandList list = fromWords({"-pfirst", "-B", "-psecond", "-p"});
    psString arg;
    EXPECT_TRUE(list.getArg('p', arg));
    EXPECT_EQ(arg.str(), "");
    EXPECT_TRUE(list.isKey('B'));
    EXPECT_FALSE(list.isKey('b'));
    EXPECT_FALSE(list.getArg('x', arg));
    EXPECT_TRUE(list.setArg('Z', "zz"));
    EXPECT_FALSE(list.setArg("word", "zz"));
    EXPECT_EQ(keys(list).back(), "Z:zz");
}

// Splicing in place and the refusal of nested option files are seen in the
// black-box echo; line ends and missing files here.
TEST(CommandList, OptionFilesAreSplicedWithLineEndsAsBlanks) {
    // "-f" on one line takes the word on the next line as its argument.
    TempFile opt("opt_lines.txt", "-f\nabc\n\n-L\"PERF\" -q+\r\n");
    psCommandList list = fromWords({"-@/nonexistent/dir/opts", "-@" + opt.path, "-B"});
    EXPECT_FALSE(list.expandOptionFiles()) << "a missing file fails the expansion";
    EXPECT_EQ(keys(list), (std::vector<std::string>{"f:abc", "L:PERF", "q:+", "B:"}));
}

// The first line of a .cfg file (its use is seen in the black-box tests): edge cases.
TEST(CommandList, FirstLineOfAnEmptyOrLongFile) {
    TempFile empty("cfg_empty.cfg", "");
    psString line = "stale";
    EXPECT_TRUE(psReadFirstLine(empty.path.c_str(), line));
    EXPECT_EQ(line.str(), "");

    TempFile longLine("cfg_long.cfg", std::string(1500, 'x') + "\n");
    EXPECT_TRUE(psReadFirstLine(longLine.path.c_str(), line));
    EXPECT_EQ(line.length(), 1023);

    EXPECT_FALSE(psReadFirstLine("/nonexistent/dir/x.cfg", line));
}

}  // namespace
