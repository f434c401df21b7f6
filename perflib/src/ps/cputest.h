// psCpuTest: the always-present processor information test. It prints the CPU
// report of the host facts it is handed; the session registers it before the keys
// are read and it is counted like any test.
#ifndef PS_CPUTEST_H
#define PS_CPUTEST_H

#include "cpuinfo.h"
#include "test.h"

class psCpuTest : public psTest {
public:
    // Where the facts come from when the test runs (gathering them may take
    // seconds, so it is left until then); null: the host source alone.
    typedef psHostFacts (*FactsFunc)();
    explicit psCpuTest(FactsFunc facts = nullptr);
    psResult run() override;
    // The lines the test prints: vendor, brand, processors, features, cache and
    // frequency; a fact the host does not give reads as such instead of a number.
    static psString report(const psHostFacts& facts);

private:
    FactsFunc m_facts;
};

#endif
