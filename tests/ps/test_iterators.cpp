// Value iterators: list and progression texts with their refusals, and the
// word-table iterator. The walk over several parameters is checked with the lifecycle.
#include "iterators.h"

#include "helpers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<int> walk(psStepIterator<int>& p) {
    std::vector<int> values;
    for (bool more = p.firstValue(); more && values.size() < 100; more = p.nextValue()) values.push_back(p.value());
    return values;
}

enum SortHint { LimSort, UnlimSort, SuffixSort, AutoSort };

}  // namespace

TEST(StepIterator, TextsValuesAndDescriptions) {
    struct Case { const char* text; std::vector<int> values; const char* defaultText; const char* description; };
    const Case cases[] = {
        {"16 1024 *2", {16, 32, 64, 128, 256, 512, 1024}, "16; 1024; *2", "for (len = 16; len <= 1024; len *= 2)"},
        {"16;1024;*2", {16, 32, 64, 128, 256, 512, 1024}, "16; 1024; *2", "for (len = 16; len <= 1024; len *= 2)"},
        {"1;2;4", {1, 2, 4}, "1; 2; 4", "len = 1; 2; 4"},
        {" 8 ; 3 ;", {8, 3}, "8; 3", "len = 8; 3"},
        {"100 10 -10", {100, 90, 80, 70, 60, 50, 40, 30, 20, 10}, "100; 10; -10", "for (len = 100; len >= 10; len -= 10)"},
        {"100 10 +-30", {100, 70, 40, 10}, "100; 10; -30", "for (len = 100; len >= 10; len -= 30)"},
        {"5 17 +5", {5, 10, 15}, "5; 17; +5", "for (len = 5; len <= 17; len += 5)"},
        {"7 7 +1", {7}, "7; 7; +1", "for (len = 7; len <= 7; len += 1)"},
        {"-1 -8 *2", {-1, -2, -4, -8}, "-1; -8; *2", "for (len = -1; len >= -8; len *= 2)"},
        {"1 2000000000 *1024", {1, 1024, 1048576, 1073741824}, "1; 2000000000; *1024",
         "for (len = 1; len <= 2000000000; len *= 1024)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        psStepIterator<int> len(0, "len");
        ASSERT_EQ("", psTestRefusal(len, c.text));
        EXPECT_EQ(c.values, walk(len));
        EXPECT_EQ(c.values, walk(len)) << "a second walk repeats the first";
        EXPECT_FALSE(len.nextValue()) << "an ended walk stays ended";
        EXPECT_EQ(c.defaultText, std::string(len.defaultString()));
        EXPECT_EQ(c.description, std::string(len.description()));
    }
}

TEST(StepIterator, RefusalsKeepThePreviousDefinition) {
    const char* conflict = "Conflict between iterator limits and operation";
    const struct { const char* text; const char* message; } cases[] = {
        {"10 100 -10", conflict}, {"1 100 *1", conflict}, {"0 100 *2", conflict}, {"100 1 *2", conflict},
        {"1 100 +0", conflict},   {"", "Empty iterator definition"},             {" ; ;", "Empty iterator definition"},
        {"x 10 +1", "Invalid first value = x"},   {"1 y +1", "Invalid last value = y"},
        {"1 10 +z", "Invalid step = z"},          {"1 10 *", "Invalid step = "},
        {"1;x;3", "Invalid value of len = x"},    {"1 2 4", "Invalid value of len = 1 2 4"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        psStepIterator<int> len(0, "len");
        len.translate("2 8 *2");
        EXPECT_EQ(c.message, psTestRefusal(len, c.text));
        EXPECT_EQ((std::vector<int>{2, 4, 8}), walk(len));
        len.translate("3;5");
        EXPECT_EQ(c.message, psTestRefusal(len, c.text));
        EXPECT_EQ((std::vector<int>{3, 5}), walk(len));
    }
}

TEST(Iterators, MapWordsAreExactAndValidated) {
    psMapIterator<SortHint> hint(LimSort, "SortHint");
    const char* const words[] = {"lumBWTItohTanakaLimSort", "lumBWTItohTanakaUnlimSort", "lumBWTSuffixSort",
                                 " lumBWTAutoSort"};
    const SortHint values[] = {LimSort, UnlimSort, SuffixSort, AutoSort};
    hint.addWords(words, values);
    EXPECT_EQ("SortHint {lumBWTItohTanakaLimSort|lumBWTItohTanakaUnlimSort|lumBWTSuffixSort| lumBWTAutoSort}",
              std::string(hint.prompt()));
    ASSERT_EQ("", psTestRefusal(hint, "lumBWTSuffixSort; lumBWTItohTanakaLimSort"));
    EXPECT_EQ("SortHint = lumBWTSuffixSort; lumBWTItohTanakaLimSort", std::string(hint.description()));
    EXPECT_EQ("Invalid value of SortHint = lumBWTAutoSort", psTestRefusal(hint, "lumBWTAutoSort"));
    EXPECT_EQ("Invalid value of SortHint = lumbwtsuffixsort", psTestRefusal(hint, "lumbwtsuffixsort"));

    hint.initValidation();
    hint.addValidation(SuffixSort);
    EXPECT_EQ("lumBWTSuffixSort", std::string(hint.validString()));
    EXPECT_EQ("Invalid value of SortHint = lumBWTItohTanakaUnlimSort", psTestRefusal(hint, "lumBWTItohTanakaUnlimSort"));
    EXPECT_EQ(2, hint.count()) << "the refused text left the list as it was";
    hint.resetValidation();
    EXPECT_EQ("", psTestRefusal(hint, "lumBWTItohTanakaUnlimSort"));
    EXPECT_EQ(UnlimSort, hint.value());
}
