// psTestList: the registry of tests. Modules register one test per measured
// function from static initialisers; the session sorts the list, moves the
// built-in tests to the front, runs the selected tests and counts their results.
#ifndef PS_REGISTRY_H
#define PS_REGISTRY_H

#include "test.h"

#include <ctime>

class psParameter;
class psConditions;

class psTestList : public psList<psTest*>, public psRunCounts {
public:
    psTestList();

    void sortFunc();
    void startWithCpuTest();
    void selectCommonParms(psConditions& cond, psList<psParameter*>& parms);
    bool runTests(psConditions& cond);
    void plus(psResult code);
    void deleteTests();

    static psString m_startFunc;      // -F
    static psTest* m_pCurrentTest;    // the test being run, null outside a run
};

// Strictly-less predicate of the sort.
bool aless(psTest*& a, psTest*& b);

// The registry, null until the first registration.
extern psTestList* pTestList;
int psRegTest(psTest* test);

#endif
