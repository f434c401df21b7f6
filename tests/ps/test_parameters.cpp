// Single-value parameters: conversions and refusals, and the deprecated text in the
// table. Where a value comes from (-d, ini file, console, default) is checked by the
// black-box dialogue runs.
#include "parameter.h"

#include "helpers.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

TEST(Parameter, IntegerConversionsLenientAndStrict) {
    const int R = INT_MIN;  // refused
    const int U = INT_MAX;  // not looked at: the framework's lenient reading leaves it undefined
    // lenient: psDefault_NSC<int>; strict: psDefault<int>
    struct Case { const char* text; int lenient; int strict; };
    const Case cases[] = {
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
