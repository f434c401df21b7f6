// Test selection: the verdict of -f, -t and -m patterns within one kind and across
// kinds under -k and|or. The modifiers' readings show in the black-box key echo.
#include "conditions.h"
#include "test.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

psTest* makeTest(const char* func, const char* testName, const char* src) {
    return new psTest(static_cast<psLoopFunc>(nullptr), static_cast<psStatFunc>(nullptr), func, src,
                      psString("Cls/") + testName + "/PP_REG");
}

// Adds conditions written like key arguments: "f=name", "t-x", "mabc", ...
void addConditions(psConditions& c, const std::vector<std::string>& keys) {
    for (const std::string& k : keys) {
        int field = k[0] == 'f' ? COND_FUNC : k[0] == 't' ? COND_TEST : COND_FILE;
        psString pattern(k.substr(1));
        int code = getCondition(pattern);
        c.add(makeCondition(field, code, pattern));
    }
}

TEST(Conditions, VerdictTable) {
    psTest* crc = makeTest("lumsCRC32_8u", "crc", "/src/perf/p_dcchecksum_ia.cpp");
    psTest* crcc = makeTest("lumsCRC32C_8u", "crcc", "/src/perf/p_dcchecksum_ia.cpp");
    psTest* lzo = makeTest("lumsEncodeLZO_8u", "lzo", "/src/perf/p_dclzo_ia.cpp");
    psTest* cpu = makeTest("__psOrvexCpuTest", "__psOrvexCpu", "ps");
    const std::vector<psTest*> tests = {crc, crcc, lzo, cpu};

    // selected: crc, crcc, lzo, cpu
    struct Case { std::vector<std::string> keys; int logic; std::vector<bool> selected; };
    const Case cases[] = {
        {{}, COND_AND, {true, true, true, true}},
        {{"fCRC"}, COND_AND, {true, true, false, false}},
        {{"fCRC", "fLZO"}, COND_AND, {true, true, true, false}},
        // An exact match wins over a not-pattern of the same field.
        {{"f=lumsCRC32_8u", "f-CRC"}, COND_AND, {true, false, true, true}},
        {{"f-CRC"}, COND_AND, {false, false, true, true}},
        {{"f=lumsCRC32_8u"}, COND_AND, {true, false, false, false}},
        {{"f+CRC", "f32C"}, COND_AND, {false, true, false, false}},
        {{"f+_8u", "f-C_"}, COND_AND, {true, false, true, false}},
        // Patterns are case-sensitive.
        {{"fcrc"}, COND_AND, {false, false, false, false}},
        {{"fCRC", "tlzo"}, COND_AND, {false, false, false, false}},
        {{"fCRC", "tlzo"}, COND_OR, {true, true, true, false}},
        // With one field only, OR behaves like AND.
        {{"fCRC", "f-C_"}, COND_OR, {true, false, false, false}},
        // Source-file patterns see the whole registered path.
        {{"mperf/"}, COND_AND, {true, true, true, false}},
        {{"m=ps"}, COND_AND, {false, false, false, true}},
        {{"mlzo", "t=crc"}, COND_AND, {false, false, false, false}},
        {{"mlzo", "t=crc"}, COND_OR, {true, false, true, false}},
        {{"t-crc"}, COND_AND, {false, false, true, true}},
        {{"f", "f=", "f-"}, COND_AND, {true, true, true, true}},  // empty patterns select nothing away
    };
    for (const auto& c : cases) {
        psConditions cond;
        addConditions(cond, c.keys);
        cond.logic = c.logic;
        for (size_t i = 0; i < tests.size(); ++i) {
            EXPECT_EQ(cond.tobeRun(tests[i]->names()), c.selected[i])
                << (c.keys.empty() ? "" : c.keys[0]) << " ... (" << c.keys.size() << " keys, logic " << c.logic
                << ") on " << tests[i]->getFuncName().c_str();
        }
    }
    for (psTest* t : tests) delete t;
}

}  // namespace
