// psString edge cases that the tests of its users do not reach: appending a string
// to itself, trimming, file names with both separators, quoting in the tokenizer,
// and the number <-> text conversions of the listings and parameters.
#include "psstring.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> words(const psString& text, const char* seps) {
    psStringList list;
    int n = text.parse(list, seps);
    std::vector<std::string> out;
    for (const psString& w : list) out.push_back(w.str());
    EXPECT_EQ(n, static_cast<int>(out.size()));
    return out;
}

TEST(PsString, AppendTrimAndFileNames) {
    psString self("abcdefghijkl");
    self += self;  // grows past its storage while reading from it
    EXPECT_EQ(self.str(), "abcdefghijklabcdefghijkl");

    const struct { const char* in; const char* out; } trims[] = {
        {" \tvalue\r", "value\r"}, {"\r\n", "\n"}, {"  a b  ", "a b"}, {"\t\r ", ""}, {"", ""}};
    for (const auto& c : trims) {
        psString s(c.in);
        s.trim();
        EXPECT_EQ(s.str(), c.out) << "input [" << c.in << "]";
    }

    const struct { const char* path; const char* name; const char* title; const char* dir; } paths[] = {
        {"dir/name.ext.csv", "name.ext.csv", "name.ext", "dir/"},
        {"a\\b/c.txt", "c.txt", "c", "a\\b/"},
        {"a/b\\c", "c", "c", "a/b\\"},
        {"/", "", "", "/"},
    };
    for (const auto& c : paths) {
        psString p(c.path);
        EXPECT_EQ(p.getFileName().str(), c.name) << c.path;
        EXPECT_EQ(p.getFileTitle().str(), c.title) << c.path;
        EXPECT_EQ(p.getFileDir().str(), c.dir) << c.path;
    }
    EXPECT_EQ(psString("abcabc").substr(-3, 2).str(), "ab");
    EXPECT_EQ(psString("abc").rfind("abcabc"), -1);
}

TEST(PsParse, CutsAtSeparatorsAndQuotes) {
    const char* cmdSeps = " \";\t\r\n";
    EXPECT_TRUE(words("\"\"", cmdSeps).empty());
    EXPECT_EQ(words("\"say \"\"hi\"\"\" x", cmdSeps), (std::vector<std::string>{"say \"hi\"", "x"}));
    EXPECT_EQ(words("ab\"cd\"", cmdSeps), (std::vector<std::string>{"ab", "cd"}));
    // Without a quote in the separator set, quotes are ordinary characters.
    EXPECT_EQ(words("\"a b\"", " "), (std::vector<std::string>{"\"a", "b\""}));
    EXPECT_EQ(words("a||b|", "|"), (std::vector<std::string>{"a", "b"}));
}

TEST(PsString, TextToNumbersAndTruth) {
    const struct { const char* text; bool value; bool converted; } truth[] = {
        {"Yes", true, true}, {"TRUE", true, true},   {"1", true, true}, {" t ", true, true},  {"no", false, true},
        {"false", false, true}, {"0", false, true}, {"2", true, false}, {"", true, false}, {"maybe", true, false},
    };
    for (const auto& c : truth) {
        psString t(c.text);
        bool v = true;
        v << t;
        EXPECT_EQ(v, c.value) << c.text;
        EXPECT_EQ(!t.notConverted(), c.converted) << c.text;
    }
    psString hex("0X10"), bad("x"), real("2.5e3");
    int i = 0;
    i << hex;
    EXPECT_EQ(i, 16);
    double d = 0;
    d << real;
    EXPECT_DOUBLE_EQ(d, 2500.0);
    d << bad;
    EXPECT_TRUE(bad.notConverted());
    EXPECT_DOUBLE_EQ(d, 2500.0) << "a refused text leaves the value";

    psString s;
    s << 42 << "|" << 1.0 / 3 << "|" << 123456.0 << "|" << static_cast<long long>(-5000000000LL) << "|"
      << static_cast<unsigned long long>(18446744073709551615ULL) << "|" << static_cast<const void*>(nullptr) << "|"
      << reinterpret_cast<const void*>(0xABCDEFULL);
    EXPECT_EQ(s.str(), "42|0.333|1.23e+05|-5000000000|18446744073709551615|NULL|ABCDEF");
}

}  // namespace
