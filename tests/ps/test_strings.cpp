// psString: trimming, file-name helpers, the tokenizer and the number <-> text
// conversions that every listing and parameter relies on.
#include "psstring.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> words(const psString& text, const char* seps)
{
    psStringList list;
    int n = text.parse(list, seps);
    std::vector<std::string> out;
    for (const psString& w : list) out.push_back(w.str());
    EXPECT_EQ(n, static_cast<int>(out.size()));
    return out;
}

TEST(PsString, GrowingKeepsContentEvenWhenAppendedToItself)
{
    psString s("abc");
    for (int i = 0; i < 40; ++i) s += 'x';
    EXPECT_EQ(s.str(), "abc" + std::string(40, 'x'));
    psString self("ab");
    self += self;
    EXPECT_EQ(self.str(), "abab");
}

TEST(PsString, TrimRemovesLeadingCrButKeepsTrailingCr)
{
    const struct {
        const char* in;
        const char* out;
    } cases[] = {
        {" \tvalue\r", "value\r"}, {"\r\n", "\n"}, {"  a b  ", "a b"}, {"\t\r ", ""}, {"", ""}, {"x", "x"},
    };
    for (const auto& c : cases) {
        psString s(c.in);
        s.trim();
        EXPECT_EQ(s.str(), c.out) << "input [" << c.in << "]";
    }
}

TEST(PsString, FileNameHelpers)
{
    const struct {
        const char* path;
        const char* name;
        const char* title;
        const char* dir;
    } cases[] = {
        {"dir/name.ext.csv", "name.ext.csv", "name.ext", "dir/"},
        {"name", "name", "name", ""},
        {"a\\b/c.txt", "c.txt", "c", "a\\b/"},
        {"a/b\\c", "c", "c", "a/b\\"},
        {"./bin/perf", "perf", "perf", "./bin/"},
        {"/", "", "", "/"},
    };
    for (const auto& c : cases) {
        psString p(c.path);
        EXPECT_EQ(p.getFileName().str(), c.name) << c.path;
        EXPECT_EQ(p.getFileTitle().str(), c.title) << c.path;
        EXPECT_EQ(p.getFileDir().str(), c.dir) << c.path;
    }
}

TEST(PsString, FindAndPieces)
{
    psString s("abcabc");
    EXPECT_EQ(s.find("bc"), 1);
    EXPECT_EQ(s.find("bc", 2), 4);
    EXPECT_EQ(s.find("zz"), -1);
    EXPECT_EQ(s.rfind("abc"), 3);
    EXPECT_EQ(s.rfind("abcabcabc"), -1);
    EXPECT_EQ(s.substr(4).str(), "bc");
    EXPECT_EQ(s.substr(4, 10).str(), "bc");
    EXPECT_EQ(s.substr(6).str(), "");
    EXPECT_EQ(s.substr(-3, 2).str(), "ab");
    EXPECT_LT(psString("lumsCRC32C_8u").compare("lumsCRC32_8u"), 0);
    EXPECT_GT(psString("b").compare("B"), 0);
    EXPECT_LT(psString("ab").compare("abc"), 0);
}

TEST(PsParse, CutsAtSeparatorsAndQuotes)
{
    const char* cmdSeps = " \";\t\r\n";
    EXPECT_EQ(words("-fa \"b c\" -t", cmdSeps), (std::vector<std::string>{"-fa", "b c", "-t"}));
    EXPECT_TRUE(words("\"\"", cmdSeps).empty());
    EXPECT_EQ(words("a;b\tc\r\nd", cmdSeps), (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_EQ(words("\"say \"\"hi\"\"\" x", cmdSeps), (std::vector<std::string>{"say \"hi\"", "x"}));
    EXPECT_EQ(words("ab\"cd\"", cmdSeps), (std::vector<std::string>{"ab", "cd"}));
    // Without a quote in the separator set, quotes are ordinary characters.
    EXPECT_EQ(words("\"a b\"", " "), (std::vector<std::string>{"\"a", "b\""}));
    EXPECT_EQ(words("a||b|", "|"), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(words("   ", " ").empty());
}

TEST(PsString, TextToNumbersAndTruth)
{
    const struct {
        const char* text;
        bool value;
        bool converted;
    } truth[] = {
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
    psString hex("0X10"), bad("x"), big("0x100000000"), real("2.5e3");
    int i = 0;
    i << hex;
    EXPECT_EQ(i, 16);
    double d = 0;
    d << real;
    EXPECT_DOUBLE_EQ(d, 2500.0);
    d << bad;
    EXPECT_TRUE(bad.notConverted());
    EXPECT_DOUBLE_EQ(d, 2500.0) << "a refused text leaves the value";
    long long ll = 0;
    ll << big;
    EXPECT_EQ(ll, 1LL << 32);
}

TEST(PsString, NumberToText)
{
    psString s;
    s << 42 << "|" << 1.0 / 3 << "|" << 123456.0 << "|" << static_cast<long long>(-5000000000LL) << "|"
      << static_cast<unsigned long long>(18446744073709551615ULL) << "|" << static_cast<const void*>(nullptr);
    EXPECT_EQ(s.str(), "42|0.333|1.23e+05|-5000000000|18446744073709551615|NULL");
    psString p;
    p << reinterpret_cast<const void*>(0xABCDEFULL);
    EXPECT_EQ(p.str(), "ABCDEF");
}

TEST(PsString, FormattingHelpers)
{
    EXPECT_EQ(sFormat(psString("ab"), 5).str(), "   ab");
    EXPECT_EQ(sFormat(psString("ab"), -5).str(), "ab   ");
    EXPECT_EQ(sFormat(psString("abcdef"), 3).str(), "abcdef");
    EXPECT_EQ(sFormat(2.5, 6).str(), "   2.5");
    EXPECT_TRUE(fitString("all", "ALL"));
    EXPECT_TRUE(fitString("all", "xxAllyy", 2));
    EXPECT_TRUE(fitString("ti", "Timing", 3));  // falls back to the whole text
    EXPECT_FALSE(fitString("par", "Timing"));
}

TEST(PsString, EnumAndFlagNames)
{
    const int codes[] = {1, 2, 4};
    const psString names[] = {"one", "two", "four"};
    EXPECT_EQ(psString::enumString(2, codes, names, 3).str(), "two");
    EXPECT_EQ(psString::enumString(3, codes, names, 3).str(), "3");
    EXPECT_EQ(psString::flagString(5, codes, names, 3).str(), "one|four");
    EXPECT_EQ(psString::flagString(8, codes, names, 3).str(), "8");
    int v = 0;
    EXPECT_TRUE(psString::flagValue("one|four", codes, names, 3, v));
    EXPECT_EQ(v, 5);
    EXPECT_TRUE(psString::enumValue("four", codes, names, 3, v));
    EXPECT_EQ(v, 4);
    EXPECT_FALSE(psString::enumValue("five", codes, names, 3, v));
}

}  // namespace
