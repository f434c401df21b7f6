// The test registry: sort order, built-in tests first, the run loop with its
// selection, -F and the result counters, and the selection of the common parameters.
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
          m_code(code), m_stored(stored), m_parmNames(std::move(parms)) {}
    psResult run() override {
        ++runs;
        m_result = m_stored;
        return m_code;
    }
    void beginTest() override {
        for (const std::string& n : m_parmNames) {
            m_owned.emplace_back(new psDefault<int>(0, n.c_str()));
            addParameter(m_owned.back().get());
        }
    }
    int runs = 0;

private:
    psResult m_code, m_stored;
    std::vector<std::string> m_parmNames;
    std::vector<std::unique_ptr<psParameter>> m_owned;
};

// The selection of a -f argument.
struct FunctionsWith : psConditions {
    explicit FunctionsWith(const char* text) {
        psString pattern(text);
        add(makeCondition(COND_FUNC, getCondition(pattern), pattern));
    }
};

// Owns the tests of a local list.
class Registry : public ::testing::Test {
protected:
    ~Registry() override { list.deleteTests(); }
    FakeTest* add(FakeTest* t) { list.add(t); return t; }
    std::vector<std::string> names() {
        std::vector<std::string> out;
        for (psTest* t : list) out.push_back(t->getFuncName().str());
        return out;
    }
    psTestList list;
};

TEST_F(Registry, SortIsByteOrderAndStableAndBuiltInTestsComeFirst) {
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
    // Without sorting (-s-) the built-in tests still come first, each part in its order.
    list.deleteTests();
    for (const char* name : {"_first", "c", "__psOrvexCpuTest", "b", "_second"}) add(new FakeTest(name));
    list.startWithCpuTest();
    EXPECT_EQ(names(), (std::vector<std::string>{"_first", "__psOrvexCpuTest", "_second", "c", "b"}));
}

TEST_F(Registry, RunLoopCountsWhatWasMeasured) {
    FakeTest* ok = add(new FakeTest("a_ok", OK));
    add(new FakeTest("b_warn", ACCURWRN, ACCURWRN));
    add(new FakeTest("c_nothing", UNDEFINED, OK));      // had nothing to measure: not counted
    add(new FakeTest("d_undef", UNDEFINED, DATAFAIL));  // counted as UNDEFINED
    FakeTest* skipped = add(new FakeTest("e_skipped", FAIL, FAIL));
    FunctionsWith notSkipped("-skipped");
    EXPECT_FALSE(list.runTests(notSkipped));
    EXPECT_EQ(ok->runs, 1);
    EXPECT_EQ(skipped->runs, 0);
    EXPECT_EQ(list.m_total, 3);
    EXPECT_EQ(list.m_counts[OK], 1);
    EXPECT_EQ(list.m_counts[ACCURWRN], 1);
    EXPECT_EQ(list.m_counts[WARNING], 1);
    EXPECT_EQ(list.m_counts[UNDEFINED], 1);
    EXPECT_EQ(psTestList::m_pCurrentTest, nullptr);

    psConditions all;
    EXPECT_TRUE(list.runTests(all)) << "a failure is reported";
    EXPECT_EQ(list.m_counts[FAIL], 1);
}

TEST_F(Registry, StartFunctionSkipsTestsBeforeTheFirstMatch) {
    const struct { const char* start; std::vector<int> runs; } cases[] = {
        {"", {1, 1, 1, 1}}, {"LZO", {0, 1, 1, 1}}, {"CRC", {1, 1, 1, 1}}, {"Decode", {0, 0, 1, 1}}, {"nothing", {0, 0, 0, 0}},
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

TEST_F(Registry, CommonParametersAreThoseOfSelectedTests) {
    psDefault<int> len(0, "Len"), method(0, "Method"), unused(0, "Unused"), other(0, "Other");
    psList<psParameter*> parms;
    for (psParameter* p : std::vector<psParameter*>{&len, &method, &unused, &other}) parms.add(p);
    FakeTest* a = add(new FakeTest("lumsA", OK, OK, {"Len"}));
    add(new FakeTest("skipped", OK, OK, {"Unused"}));
    add(new FakeTest("lumsB", OK, OK, {"Method", "Len"}));
    FunctionsWith lums("lums");
    list.selectCommonParms(lums, parms);
    std::vector<std::string> kept;
    for (psParameter* p : parms) kept.push_back(p->getName().str());
    EXPECT_EQ(kept, (std::vector<std::string>{"Len", "Method"}));
    EXPECT_TRUE(a->parameters().isEmpty());
    EXPECT_EQ(a->runs, 0);
}

}  // namespace
