// Value iterators: list and progression texts with their refusals, the walk
// through the values as a test's parameter loop drives it, and the word-table
// and file-name iterators.
#include "iterators.h"

#include "test.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Every value of one walk: firstValue, then nextValue until it fails.
template <class T>
std::vector<T> walk(psParameter& p, T (*get)(psParameter&), int limit = 100)
{
    std::vector<T> values;
    for (bool more = p.firstValue(); more && limit-- > 0; more = p.nextValue()) values.push_back(get(p));
    return values;
}

int intValue(psParameter& p) { return static_cast<psDefault_NSC<int>&>(p).value(); }
std::string textValue(psParameter& p) { return static_cast<psDefault_NSC<psString>&>(p).value().str(); }

std::string refusal(psParameter& p, const char* text)
{
    try {
        p.translate(text);
    } catch (psException& e) {
        return e.info();
    }
    return "";
}

enum SortHint { LimSort = 0, UnlimSort = 1, SuffixSort = 2, AutoSort = 3 };

}  // namespace

TEST(StepIterator, TextsValuesAndDescriptions)
{
    struct Case {
        const char* text;
        std::vector<int> values;
        const char* defaultText;
        const char* description;
    };
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
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        psStepIterator<int> len(0, "len");
        ASSERT_EQ("", refusal(len, c.text));
        EXPECT_EQ(c.values, walk(len, intValue));
        EXPECT_EQ(c.values, walk(len, intValue)) << "a second walk repeats the first";
        EXPECT_EQ(c.defaultText, std::string(len.defaultString()));
        EXPECT_EQ(c.description, std::string(len.description()));
    }
}

TEST(StepIterator, RefusalsKeepThePreviousDefinition)
{
    const char* conflict = "Conflict between iterator limits and operation";
    struct Case {
        const char* text;
        const char* message;
    };
    const Case cases[] = {
        {"10 100 -10", conflict},
        {"1 100 *1", conflict},
        {"0 100 *2", conflict},
        {"100 1 *2", conflict},
        {"1 100 +0", conflict},
        {"", "Empty iterator definition"},
        {" ; ;", "Empty iterator definition"},
        {"x 10 +1", "Invalid first value = x"},
        {"1 y +1", "Invalid last value = y"},
        {"1 10 +z", "Invalid step = z"},
        {"1 10 *", "Invalid step = "},
        {"1;x;3", "Invalid value of len = x"},
        {"1 2 4", "Invalid value of len = 1 2 4"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        psStepIterator<int> len(0, "len");
        len.translate("2 8 *2");
        EXPECT_EQ(c.message, refusal(len, c.text));
        EXPECT_EQ((std::vector<int>{2, 4, 8}), walk(len, intValue));
        len.translate("3;5");
        EXPECT_EQ(c.message, refusal(len, c.text));
        EXPECT_EQ((std::vector<int>{3, 5}), walk(len, intValue));
    }
}

TEST(StepIterator, SetFromCodeAndRebounded)
{
    psStepIterator<int> len;
    len.reset();
    len.setName("CodeLength");
    len.setLower(16384);
    len.setUpper(262144);
    len.setStep(2);
    len.setOperation('*');
    len.validate();
    EXPECT_EQ((std::vector<int>{16384, 32768, 65536, 131072, 262144}), walk(len, intValue));
    EXPECT_EQ("CodeLength (list v1; v2; ... or progression first; last; +step|-step|*step)", std::string(len.prompt()));

    len.setLower(64);
    len.setUpper(1024);
    len.validate();
    EXPECT_EQ((std::vector<int>{64, 128, 256, 512, 1024}), walk(len, intValue));
    len.setLower(0);
    EXPECT_THROW(len.validate(), psException);
}

TEST(ListIterator, WalkAndEndValue)
{
    psIterator<int> len(0, "len");
    EXPECT_FALSE(len.firstValue()) << "an empty list has no value";
    len.add(3);
    len.add(1);
    EXPECT_TRUE(len.firstValue());
    EXPECT_EQ(3, len.value());
    EXPECT_TRUE(len.nextValue());
    EXPECT_EQ(1, len.value());
    EXPECT_FALSE(len.nextValue());
    EXPECT_EQ(0, len.value());
    EXPECT_FALSE(len.nextValue()) << "stays at the end until reset";
    len.reset();
    EXPECT_EQ(0, len.count());
}

TEST(ListIterator, TestLoopVariesTheLastParameterFastest)
{
    // A test whose parameter loop is driven exactly as a run drives it.
    struct Walker : psTest {
        Walker() : psTest(nullptr, nullptr, "f", "w.cpp", "W") {}
        std::vector<std::string> combos()
        {
            std::vector<std::string> out;
            for (m_first = true; canContinue(); m_first = false) {
                std::string s;
                for (psParameter* p : m_parms) s += std::string(p->valueString()) + ",";
                out.push_back(s);
            }
            return out;
        }
    } test;
    psFileIterator file("CodeFile");
    file.add("bib");
    file.add("geo");
    psDefault<int> single(9, "once");
    psStepIterator<int> len(0, "len");
    len.translate("1 4 *2");
    test.addParameter(&file);
    test.addParameter(&single);
    test.addParameter(&len);
    EXPECT_EQ((std::vector<std::string>{"bib,9,1,", "bib,9,2,", "bib,9,4,", "geo,9,1,", "geo,9,2,", "geo,9,4,"}),
              test.combos());
    test.parameters().clear();
}

TEST(MapIterator, ExactWordsAndValidation)
{
    psMapIterator<SortHint> hint(LimSort, "SortHint");
    const char* const words[] = {"lumBWTItohTanakaLimSort", "lumBWTItohTanakaUnlimSort", "lumBWTSuffixSort",
                                 " lumBWTAutoSort"};
    const SortHint values[] = {LimSort, UnlimSort, SuffixSort, AutoSort};
    hint.addWords(words, values);
    EXPECT_EQ(" lumBWTAutoSort", std::string(hint[AutoSort]));
    EXPECT_EQ("SortHint {lumBWTItohTanakaLimSort|lumBWTItohTanakaUnlimSort|lumBWTSuffixSort| lumBWTAutoSort}",
              std::string(hint.prompt()));

    ASSERT_EQ("", refusal(hint, "lumBWTSuffixSort; lumBWTItohTanakaLimSort"));
    EXPECT_EQ("SortHint = lumBWTSuffixSort; lumBWTItohTanakaLimSort", std::string(hint.description()));
    EXPECT_EQ("Invalid value of SortHint = lumBWTAutoSort", refusal(hint, "lumBWTAutoSort"));
    EXPECT_EQ("Invalid value of SortHint = lumbwtsuffixsort", refusal(hint, "lumbwtsuffixsort"));

    hint.initValidation();
    hint.addValidation(SuffixSort);
    EXPECT_EQ("lumBWTSuffixSort", std::string(hint.validString()));
    EXPECT_EQ("Invalid value of SortHint = lumBWTItohTanakaUnlimSort", refusal(hint, "lumBWTItohTanakaUnlimSort"));
    EXPECT_EQ(2, hint.count()) << "the refused text left the list as it was";
    hint.resetValidation();
    EXPECT_EQ("", refusal(hint, "lumBWTItohTanakaUnlimSort"));
    EXPECT_EQ(UnlimSort, hint.value());
}

TEST(FileIterator, NamesInOrder)
{
    psFileIterator file("CodeFile");
    file.reset();
    for (const char* n : {"bib", "book1", "paper1"}) file.add(n);
    EXPECT_EQ("", std::string(file.value()));
    EXPECT_EQ((std::vector<std::string>{"bib", "book1", "paper1"}), walk(file, textValue));
    EXPECT_EQ("CodeFile = bib; book1; paper1", std::string(file.description()));
    ASSERT_EQ("", refusal(file, "geo ;news"));
    EXPECT_EQ((std::vector<std::string>{"geo", "news"}), walk(file, textValue));
}
