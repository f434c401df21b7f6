// Single-value parameters: conversions and refusals, where a value comes from
// (-d, ini file, console, default), and the deprecated text in the table.
#include "parameter.h"

#include "helpers.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>

TEST(Parameter, IntegerConversionsLenientAndStrict) {
    const int R = INT_MIN;  // refused
    const int U = INT_MAX;  // not looked at: the framework's lenient reading leaves it undefined
    const struct {
        const char* text;
        int lenient;  // psDefault_NSC<int>
        int strict;   // psDefault<int>
    } cases[] = {
        {"42", 42, 42}, {" 7 ", 7, 7}, {"-5", -5, -5}, {"0x1F", 31, 31}, {"0xFFFFFFFF", -1, -1},
        {"12abc", 12, R}, {"abc", R, R}, {"", R, R},   {"- 5", R, R},   {"99999999999", U, R},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        psDefault_NSC<int> nsc(3, "len");
        psDefault<int> strict(3, "len");
        const std::string msg = std::string("Invalid value of len = ") + c.text;
        if (c.lenient != U) {
            EXPECT_EQ(c.lenient == R ? msg : "", psTestRefusal(nsc, c.text));
            EXPECT_EQ(c.lenient == R ? 3 : c.lenient, nsc.value()) << "a refusal keeps the value";
        }
        EXPECT_EQ(c.strict == R ? msg : "", psTestRefusal(strict, c.text));
        EXPECT_EQ(c.strict == R ? 3 : c.strict, strict.value());
    }
}

TEST(Parameter, CheckedValuesTruthAndLongNumbers) {
    psDefault<int> align(0, "VectorAlign");
    align.setRange(0, 63);
    EXPECT_EQ("", psTestRefusal(align, "63"));
    EXPECT_EQ("Invalid value of VectorAlign = 64", psTestRefusal(align, "64"));

    psDefault<bool> flag(true, "Flag");
    EXPECT_EQ("", psTestRefusal(flag, "No"));
    EXPECT_EQ("false", std::string(flag.valueString()));
    EXPECT_EQ("Invalid value of Flag = tomato", psTestRefusal(flag, "tomato"));

    psDefault<long long> clocks(0, "TotalCpuClocks");
    EXPECT_EQ("", psTestRefusal(clocks, "99999999999"));
    EXPECT_EQ(99999999999LL, clocks.value());
}

TEST(Parameter, SourcesInPriorityOrder) {
    const std::string ini = psTestTempPath("params_sources.ini");
    const std::string answers = psTestTempPath("params_answers.txt");
    const struct {
        const char* data;     // -d value, or null
        const char* iniText;  // value in the ini file, or null
        const char* console;  // what the console holds, or null for no console
        int expected;
        const char* unread;   // the console's next line afterwards
    } cases[] = {
        {"100", "50", "77\nrest\n", 100, "77"}, {nullptr, "50", "77\nrest\n", 50, "77"},
        {nullptr, nullptr, "77\nrest\n", 77, "rest"}, {nullptr, nullptr, "\nrest\n", 64, "rest"},
        {nullptr, nullptr, "", 64, ""}, {nullptr, nullptr, nullptr, 64, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << (c.data ? c.data : "-") << "/" << (c.iniText ? c.iniText : "-") << "/"
                                        << (c.console ? c.console : "-"));
        psIStream in;
        if (c.data) in.data().set("len", c.data);
        if (c.iniText) {
            psTestWriteFile(ini, std::string("[Perf System]\nlen = ") + c.iniText + "\n");
            ASSERT_TRUE(in.setIniFile(ini.c_str(), false));
        }
        psTestWriteFile(answers, c.console ? c.console : "");
        psString path = answers.c_str();
        i_stream console(path, IO_READ | IO_EXACT_NAME);
        if (c.console) in.setIStream(&console);

        psDefault<int> len(64, "len");
        Capture out;
        g_ostrm.setOutLevel(ERR | WARN | PERF);
        len.fromIStream(in);
        EXPECT_EQ(c.expected, len.value());
        EXPECT_EQ(" len = " + std::to_string(c.expected) + "\n", out.text());
        psString next;
        console.getline(next);
        EXPECT_EQ(c.unread, std::string(next)) << "the console is asked only when nothing else defines the value";
        EXPECT_EQ(!c.console || !*c.console, in.getIStream() == nullptr) << "a console at its end is detached";
        in.setIStream(nullptr);
        in.deleteIniFile();
    }
    std::remove(ini.c_str());
    std::remove(answers.c_str());
}

TEST(Parameter, DeprecatedTextOnlyWhileFlagged) {
    psDefault_NSC<int> level(0, "level");
    level.addDeprecated(0, "none");
    const struct { int value; bool flag; int format; const char* cell; } cases[] = {
        {0, true, 0, "none"}, {0, false, 0, "0"}, {5, true, 0, "5"}, {5, false, psParameter::FMT_QUOTED, " \"5\""},
    };
    for (const auto& c : cases) {
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
}
