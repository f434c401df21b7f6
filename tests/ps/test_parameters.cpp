// Single-value parameters: conversions and refusals, where a value comes from
// (-d, ini file, console, default), the one-value iteration protocol, and what a
// parameter writes into the console and the table.
#include "parameter.h"

#include "console_capture.h"
#include "inifile.h"
#include "table.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>

namespace {

// The text of a refusal, or "" when the text was taken.
template <class P>
std::string refusal(P& p, const char* text)
{
    try {
        p.translate(text);
    } catch (psException& e) {
        return e.info();
    }
    return "";
}

void writeFile(const std::string& path, const std::string& text)
{
    FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(nullptr, f);
    std::fputs(text.c_str(), f);
    std::fclose(f);
}

}  // namespace

TEST(Parameter, IntegerConversionsLenientAndStrict)
{
    const int R = INT_MIN;  // refused
    const int U = INT_MAX;  // not looked at: the framework's lenient reading does not define it
    struct Case {
        const char* text;
        int lenient;  // psDefault_NSC<int>
        int strict;   // psDefault<int>
    };
    const Case cases[] = {
        {"42", 42, 42}, {" 7 ", 7, 7}, {"-5", -5, -5},   {"0x1F", 31, 31}, {"0xFFFFFFFF", -1, -1},
        {"12abc", 12, R}, {"abc", R, R}, {"", R, R},     {"- 5", R, R},    {"99999999999", U, R},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const std::string msg = std::string("Invalid value of len = ") + c.text;
        psDefault_NSC<int> nsc(3, "len");
        psDefault<int> strict(3, "len");
        if (c.lenient == R) {
            EXPECT_EQ(msg, refusal(nsc, c.text));
            EXPECT_EQ(3, nsc.value()) << "a refused text leaves the value";
        } else if (c.lenient != U) {
            EXPECT_EQ("", refusal(nsc, c.text));
            EXPECT_EQ(c.lenient, nsc.value());
        }
        if (c.strict == R) {
            EXPECT_EQ(msg, refusal(strict, c.text));
            EXPECT_EQ(3, strict.value());
        } else {
            EXPECT_EQ("", refusal(strict, c.text));
            EXPECT_EQ(c.strict, strict.value());
        }
    }
    psDefault<long long> clocks(0, "TotalCpuClocks");
    EXPECT_EQ("", refusal(clocks, "99999999999"));
    EXPECT_EQ(99999999999LL, clocks.value());
}

TEST(Parameter, CheckedValuesWordsAndTruth)
{
    psDefault<int> align(0, "VectorAlign");
    align.setRange(0, 63);
    EXPECT_EQ("", refusal(align, "63"));
    EXPECT_EQ("Invalid value of VectorAlign = 64", refusal(align, "64"));
    EXPECT_EQ(63, align.value());

    psDefault<bool> flag(true, "Flag");
    EXPECT_EQ("", refusal(flag, "No"));
    EXPECT_FALSE(flag.value());
    EXPECT_EQ("false", std::string(flag.valueString()));
    EXPECT_EQ("Invalid value of Flag = tomato", refusal(flag, "tomato"));

    psMapDefault<int> method(0, "Method");
    method.addWord("Auto", 0);
    method.addWord("Manual", 1);
    EXPECT_EQ("Method {Auto|Manual}", std::string(method.prompt()));
    EXPECT_EQ("", refusal(method, "Manual"));
    EXPECT_EQ(1, method.value());
    EXPECT_EQ("Method = Manual", std::string(method.description()));
    EXPECT_EQ("Invalid value of Method = manual", refusal(method, "manual")) << "words are exact";

    psDefault_NSC<psString> text(psString("x"), "Name", "Your name");
    EXPECT_EQ("", refusal(text, " two words "));
    EXPECT_EQ(" two words ", std::string(text.value()));
    EXPECT_EQ("Your name", std::string(text.prompt()));
}

TEST(Parameter, SingleValueYieldsOncePerLoop)
{
    psDefault<int> p(5, "len");
    for (int round = 0; round < 2; ++round) {
        EXPECT_TRUE(p.firstValue());
        EXPECT_FALSE(p.nextValue());
    }
}

TEST(Parameter, SourcesInPriorityOrder)
{
    const std::string ini = psTestTempPath("params_sources.ini");
    const std::string answers = psTestTempPath("params_answers.txt");
    struct Case {
        const char* data;     // -d value, or null
        const char* iniText;  // value in the ini file, or null
        const char* answer;   // console line, or null for no console
        int expected;
        bool consoleRead;
    };
    const Case cases[] = {
        {"100", "50", "77", 100, false}, {nullptr, "50", "77", 50, false}, {nullptr, nullptr, "77", 77, true},
        {nullptr, nullptr, "", 64, true}, {nullptr, nullptr, nullptr, 64, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << (c.data ? c.data : "-") << "/" << (c.iniText ? c.iniText : "-") << "/"
                                        << (c.answer ? c.answer : "-"));
        psIStream in;
        if (c.data) in.data().set("len", c.data);
        if (c.iniText) {
            writeFile(ini, std::string("[Perf System]\nlen = ") + c.iniText + "\n");
            ASSERT_TRUE(in.setIniFile(ini.c_str(), false));
        }
        writeFile(answers, std::string(c.answer ? c.answer : "") + "\nrest\n");
        psString path = answers.c_str();
        i_stream console(path, IO_READ | IO_EXACT_NAME);
        if (c.answer) in.setIStream(&console);

        psDefault<int> len(64, "len");
        ConsoleCapture out("params_sources_out.txt");
        g_ostrm.setOutLevel(ERR | WARN | PERF);
        len.fromIStream(in);
        EXPECT_EQ(c.expected, len.value());
        EXPECT_NE(std::string::npos, out.text().find(" len = " + std::to_string(c.expected) + "\n"));
        psString next;
        console.getline(next);
        EXPECT_EQ(c.consoleRead ? "rest" : (c.answer ? c.answer : ""), std::string(next)) << "asked only when needed";
        in.setIStream(nullptr);
        in.deleteIniFile();
    }
    std::remove(ini.c_str());
    std::remove(answers.c_str());
}

TEST(Parameter, ConsoleAtItsEndIsDetachedUnasked)
{
    const std::string empty = psTestTempPath("params_empty.txt");
    writeFile(empty, "");
    psString path = empty.c_str();
    i_stream console(path, IO_READ | IO_EXACT_NAME);
    psIStream in;
    in.setIStream(&console);
    psDefault<int> len(64, "len");
    len.fromIStream(in);
    EXPECT_EQ(64, len.value());
    EXPECT_EQ(psIStream::SRC_DEFAULT, in.source());
    EXPECT_EQ(nullptr, in.getIStream());
    std::remove(empty.c_str());
}

TEST(Parameter, NotAskedWithoutNameOrAskFlag)
{
    psIStream in;
    in.data().set("len", "9");
    psDefault<int> unnamed(1, "");
    unnamed.fromIStream(in);
    EXPECT_EQ(1, unnamed.value());
    psDefault<int> settled(1, "len");
    settled.setAsk(false);
    settled.fromIStream(in);
    EXPECT_EQ(1, settled.value());
    settled.setAsk(true);
    settled.fromIStream(in);
    EXPECT_EQ(9, settled.value());
}

TEST(Parameter, ConsoleAndTableForms)
{
    psDefault_NSC<int> level(0, "level");
    level.addDeprecated(0, "none");
    EXPECT_TRUE(level.isDeprecatedParm());

    struct Case {
        int value;
        bool flag;
        int format;
        const char* cell;
    };
    const Case cases[] = {
        {0, true, 0, "none"}, {0, false, 0, "0"}, {5, true, 0, "5"}, {5, false, psParameter::FMT_QUOTED, " \"5\""},
    };
    for (const Case& c : cases) {
        level.setValue(c.value);
        level.setFormat(c.format);
        EXPECT_EQ(c.flag && c.value == 0, level.setDeprecatedFlag(c.flag));
        psCStream table;
        level.nameToCStream(table);
        level.toCStream(table);
        psString name, cell;
        table.getColm(0, name);
        table.getColm(1, cell);
        EXPECT_EQ("level", std::string(name));
        EXPECT_EQ(c.cell, std::string(cell)) << c.value << " " << c.flag;
    }

    psDefault<int> unnamed(3, "");
    psCStream table;
    unnamed.toCStream(table);
    psString cell;
    table.getColm(0, cell);
    EXPECT_EQ("", std::string(cell));
    EXPECT_EQ(1, table.cursor()) << "an unnamed parameter still takes its cell";

    ConsoleCapture out("params_line.txt");
    g_ostrm.setOutLevel(ERR | WARN | PERF);
    g_ostrm << PERF;
    level.toOStream(g_ostrm);
    unnamed.toOStream(g_ostrm);
    g_ostrm << END_MSG;
    EXPECT_EQ("level=5 ", out.text());
}

TEST(Parameter, CommonRegistrationKeepsOrderOnce)
{
    psList<psParameter*>* saved = g_pCommonParms;
    g_pCommonParms = nullptr;
    psDefault<int> a(1, "a"), b(2, "b");
    EXPECT_EQ(1, psRegParm(&a));
    EXPECT_EQ(1, psRegParm(&b));
    EXPECT_EQ(1, psRegParm(&a));
    ASSERT_NE(nullptr, g_pCommonParms);
    ASSERT_EQ(2, g_pCommonParms->count());
    EXPECT_EQ(&a, g_pCommonParms->front());
    delete g_pCommonParms;
    g_pCommonParms = saved;
}
