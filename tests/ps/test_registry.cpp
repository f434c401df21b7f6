// The test registry: sort order, built-in tests first, the run loop with -F and the
// result counters, and the selection of the common parameters.
#include "cache.h"
#include "conditions.h"
#include "parameter.h"
#include "registry.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// A test that measures nothing: run() returns a fixed code and leaves a fixed
// stored result; beginTest() registers parameters with the given names.
class FakeTest : public psTest {
public:
    FakeTest(const char* func, psResult code = OK, psResult stored = OK, std::vector<std::string> parms = {})
        : psTest(static_cast<psLoopFunc>(nullptr), static_cast<psStatFunc>(nullptr), func, "fake.cpp", "Fake//"),
          m_code(code), m_stored(stored), m_parmNames(std::move(parms))
    {
    }
    psResult run() override
    {
        ++runs;
        m_result = m_stored;
        return m_code;
    }
    void beginTest() override
    {
        for (const std::string& n : m_parmNames) {
            m_owned.emplace_back(new psDefault<int>(0, n.c_str()));
            addParameter(m_owned.back().get());
        }
    }
    int runs = 0;

private:
    psResult m_code;
    psResult m_stored;
    std::vector<std::string> m_parmNames;
    std::vector<std::unique_ptr<psParameter>> m_owned;
};

// Owns the tests of a local list.
class Registry : public ::testing::Test {
protected:
    ~Registry() override { list.deleteTests(); }
    FakeTest* add(FakeTest* t)
    {
        list.add(t);
        return t;
    }
    std::vector<std::string> names()
    {
        std::vector<std::string> out;
        for (psTest* t : list) out.push_back(t->getFuncName().str());
        return out;
    }
    psTestList list;
};

TEST_F(Registry, SortIsByteOrderAndStable)
{
    add(new FakeTest("lumsCRC32_8u"));
    add(new FakeTest("lumsCRC32C_8u"));
    FakeTest* first = add(new FakeTest("same"));
    add(new FakeTest("Zeta"));
    FakeTest* second = add(new FakeTest("same"));
    add(new FakeTest("__psOrvexCpuTest"));
    add(new FakeTest("_x"));
    list.sortFunc();
    EXPECT_EQ(names(), (std::vector<std::string>{"Zeta", "__psOrvexCpuTest", "_x", "lumsCRC32C_8u", "lumsCRC32_8u",
                                                 "same", "same"}));
    EXPECT_EQ(list.at(5), first);
    EXPECT_EQ(list.at(6), second);
    list.startWithCpuTest();
    EXPECT_EQ(names(), (std::vector<std::string>{"__psOrvexCpuTest", "_x", "Zeta", "lumsCRC32C_8u", "lumsCRC32_8u",
                                                 "same", "same"}));
}

TEST_F(Registry, BuiltInTestsFirstWithoutSorting)
{
    add(new FakeTest("b"));
    add(new FakeTest("__psOrvexCpuTest"));
    add(new FakeTest("a"));
    add(new FakeTest("_x"));
    list.startWithCpuTest();
    EXPECT_EQ(names(), (std::vector<std::string>{"__psOrvexCpuTest", "_x", "b", "a"}));

    list.deleteTests();
    add(new FakeTest("_first"));
    add(new FakeTest("c"));
    add(new FakeTest("_second"));
    list.startWithCpuTest();
    EXPECT_EQ(names(), (std::vector<std::string>{"_first", "_second", "c"}));
}

TEST_F(Registry, ShortListsAndNullsAreLeftAlone)
{
    list.sortFunc();
    list.startWithCpuTest();
    EXPECT_TRUE(list.isEmpty());
    add(new FakeTest("only"));
    list.sortFunc();
    EXPECT_EQ(names(), std::vector<std::string>{"only"});
    psTest* a = list.front();
    psTest* none = nullptr;
    EXPECT_FALSE(aless(a, none));
    EXPECT_FALSE(aless(none, a));
    EXPECT_FALSE(aless(a, a));
}

TEST_F(Registry, CountersAggregateClasses)
{
    const struct {
        psResult code;
        int own, warnings, failures;
    } cases[] = {
        {UNDEFINED, 1, 0, 0}, {OK, 1, 0, 0},        {ACCURWRN, 1, 1, 0}, {BADSTSWRN, 1, 1, 0},
        {DATAWRN, 1, 1, 0},   {FUNCWRN, 1, 1, 0},   {WARNING, 1, 1, 0},  {ACCURFAIL, 1, 0, 1},
        {DATAFAIL, 1, 0, 1},  {FUNCFAIL, 1, 0, 1},  {EXCPTFAIL, 1, 0, 1}, {FAIL, 1, 0, 1},
    };
    for (const auto& c : cases) {
        psTestList counts;
        counts.plus(c.code);
        EXPECT_EQ(counts.m_total, 1);
        EXPECT_EQ(counts.m_counts[c.code], c.own) << c.code;
        // The class totals live in the WARNING and FAIL slots themselves.
        const int warnings = c.code == WARNING ? 1 : c.warnings;
        const int failures = c.code == FAIL ? 1 : c.failures;
        EXPECT_EQ(counts.m_counts[WARNING], warnings) << c.code;
        EXPECT_EQ(counts.m_counts[FAIL], failures) << c.code;
    }
    psTestList odd;
    odd.plus(static_cast<psResult>(12));
    EXPECT_EQ(odd.m_total, 1);
}

TEST_F(Registry, RunLoopCountsWhatWasMeasured)
{
    FakeTest* ok = add(new FakeTest("a_ok", OK));
    add(new FakeTest("b_warn", ACCURWRN, ACCURWRN));
    add(new FakeTest("c_nothing", UNDEFINED, OK));      // had nothing to measure: not counted
    add(new FakeTest("d_undef", UNDEFINED, DATAFAIL));  // counted as UNDEFINED
    psConditions all;
    EXPECT_FALSE(list.runTests(all));
    EXPECT_EQ(ok->runs, 1);
    EXPECT_EQ(list.m_total, 3);
    EXPECT_EQ(list.m_counts[OK], 1);
    EXPECT_EQ(list.m_counts[ACCURWRN], 1);
    EXPECT_EQ(list.m_counts[WARNING], 1);
    EXPECT_EQ(list.m_counts[UNDEFINED], 1);
    EXPECT_EQ(psTestList::m_pCurrentTest, nullptr);

    add(new FakeTest("e_fail", FAIL, FAIL));
    EXPECT_TRUE(list.runTests(all));
    EXPECT_EQ(list.m_counts[FAIL], 1);
}

TEST_F(Registry, RunLoopHonoursSelection)
{
    FakeTest* crc = add(new FakeTest("lumsCRC32_8u"));
    FakeTest* lzo = add(new FakeTest("lumsEncodeLZO_8u"));
    psConditions cond;
    psString pattern("CRC");
    cond.add(makeCondition(COND_FUNC, getCondition(pattern), pattern));
    list.runTests(cond);
    EXPECT_EQ(crc->runs, 1);
    EXPECT_EQ(lzo->runs, 0);
    EXPECT_EQ(list.m_total, 1);
}

TEST_F(Registry, StartFunctionSkipsTestsBeforeTheFirstMatch)
{
    const struct {
        const char* start;
        std::vector<int> runs;
    } cases[] = {
        {"", {1, 1, 1, 1}},
        {"LZO", {0, 1, 1, 1}},
        {"CRC", {1, 1, 1, 1}},
        {"Decode", {0, 0, 1, 1}},
        {"nothing", {0, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        list.deleteTests();
        std::vector<FakeTest*> tests = {add(new FakeTest("lumsCRC32_8u")), add(new FakeTest("lumsEncodeLZO_8u")),
                                        add(new FakeTest("lumsDecodeLZO_8u")), add(new FakeTest("lumsCRC32C_8u"))};
        psTestList::m_startFunc = c.start;
        psConditions all;
        list.runTests(all);
        for (size_t i = 0; i < tests.size(); ++i) EXPECT_EQ(tests[i]->runs, c.runs[i]) << c.start << " test " << i;
        const bool anyRun = c.runs != std::vector<int>(tests.size(), 0);
        EXPECT_EQ(psTestList::m_startFunc.empty(), anyRun) << c.start;
    }
    psTestList::m_startFunc = psString();
}

TEST_F(Registry, CommonParametersAreThoseOfSelectedTests)
{
    psDefault<int> len(0, "Len"), method(0, "Method"), unused(0, "Unused"), other(0, "Other");
    psList<psParameter*> parms;
    for (psParameter* p : {static_cast<psParameter*>(&len), static_cast<psParameter*>(&method),
                           static_cast<psParameter*>(&unused), static_cast<psParameter*>(&other)})
        parms.add(p);
    FakeTest* a = add(new FakeTest("lumsA", OK, OK, {"Len"}));
    add(new FakeTest("skipped", OK, OK, {"Unused"}));
    add(new FakeTest("lumsB", OK, OK, {"Method", "Len"}));
    psConditions cond;
    psString pattern("lums");
    cond.add(makeCondition(COND_FUNC, getCondition(pattern), pattern));
    list.selectCommonParms(cond, parms);
    std::vector<std::string> kept;
    for (psParameter* p : parms) kept.push_back(p->getName().str());
    EXPECT_EQ(kept, (std::vector<std::string>{"Len", "Method"}));
    EXPECT_TRUE(a->parameters().isEmpty());
    EXPECT_EQ(a->runs, 0);
}

TEST(RegistryGlobal, RegistrationCreatesTheList)
{
    psTestList* saved = pTestList;
    pTestList = nullptr;
    FakeTest* t = new FakeTest("x");
    EXPECT_EQ(psRegTest(t), 1);
    ASSERT_NE(pTestList, nullptr);
    EXPECT_EQ(pTestList->count(), 1);
    EXPECT_EQ(pTestList->front(), t);
    pTestList->deleteTests();
    delete pTestList;
    pTestList = saved;
}

}  // namespace
