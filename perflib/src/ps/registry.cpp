#include "registry.h"

#include "cache.h"
#include "conditions.h"
#include "parameter.h"
#include "progress.h"
#include "recorder.h"

#include <set>

psTestList* pTestList = nullptr;
psString psTestList::m_startFunc;
psTest* psTestList::m_pCurrentTest = nullptr;

psTestList::psTestList() { m_startTime = m_endTime = time(nullptr); }

namespace {

// Set&Use: the engine restores the running test's vectors before every timed call.
int resetCurrentTestVectors()
{
    return psTestList::m_pCurrentTest ? psTestList::m_pCurrentTest->resetAllVectors() : 0;
}
const int s_regReset = (psTool::m_pResetVectors = resetCurrentTestVectors, 1);

}  // namespace

int psRegTest(psTest* test)
{
    if (!pTestList) pTestList = new psTestList;
    pTestList->add(test);
    return 1;
}

bool aless(psTest*& a, psTest*& b)
{
    if (!a || !b) return false;
    return a->compareFunc(b) < 0;
}

void psTestList::sortFunc()
{
    if (count() < 2) return;
    // std::list::sort is a stable merge sort: tests that compare equal keep their
    // registration order.
    items().sort([](psTest* a, psTest* b) { return aless(a, b); });
}

void psTestList::startWithCpuTest()
{
    auto isBuiltIn = [](psTest* t) { return t && t->getFuncName()[0] == '_'; };
    // Everything moves in front of the first test that is not built in, so the
    // built-in tests keep their order among themselves and so do the others.
    auto anchor = begin();
    while (anchor != end() && isBuiltIn(*anchor)) ++anchor;
    for (auto it = anchor; it != end();) {
        auto next = std::next(it);
        if (isBuiltIn(*it)) items().splice(anchor, items(), it);
        it = next;
    }
}

// Whether the test's parameter list holds a parameter of that name; the test's
// cache-placement parameter stands for the cache iterator's own size parameter.
static bool usesParameter(psTest* test, const psParameter* p)
{
    for (psParameter* q : test->parameters()) {
        if (q == p || q->getName() == p->getName()) return true;
    }
    psCacheIterator* cache = test->cacheParameter();
    if (cache) {
        psParameter* size = cache->sizeParameter();
        if (size && (size == p || size->getName() == p->getName())) return true;
    }
    return false;
}

void psTestList::selectCommonParms(psConditions& cond, psList<psParameter*>& parms)
{
    std::set<const psParameter*> used;
    for (psTest* test : *this) {
        if (used.size() == static_cast<size_t>(parms.count())) break;
        if (!test || !test->tobeRun(cond)) continue;
        test->startAndStop();
        for (psParameter* p : parms)
            if (!used.count(p) && usesParameter(test, p)) used.insert(p);
        if (test->cacheParameter()) test->cacheParameter()->release();
        test->parameters().clear();
    }
    for (auto it = parms.end(); it != parms.begin();) {
        --it;
        if (!used.count(*it)) it = parms.erase(it);
    }
}

bool psTestList::runTests(psConditions& cond)
{
    int selected = 0;
    for (psTest* test : *this)
        if (test && test->tobeRun(cond)) ++selected;
    g_progress.start(selected);
    for (psTest* test : *this) {
        if (!test || !test->tobeRun(cond)) continue;
        if (!m_startFunc.empty()) {
            if (!test->getFuncName().contains(m_startFunc)) {
                g_progress.testSkipped();
                continue;
            }
            m_startFunc = psString();
        }
        m_pCurrentTest = test;
        g_progress.testStarted();
        g_runRecorder.testStarted();
        psResult code = test->run();
        g_runRecorder.testDone(test->getFuncName());
        g_progress.testDone();
        // UNDEFINED with the result still OK means the test had nothing to measure.
        if (!(code == UNDEFINED && test->getResult() == OK)) plus(code);
        m_pCurrentTest = nullptr;
    }
    g_progress.finish();
    return m_counts[FAIL] != 0;
}

void psTestList::plus(psResult code)
{
    ++m_total;
    if (code < UNDEFINED || code > FAIL) return;
    ++m_counts[code];
    if (code >= ACCURWRN && code <= FUNCWRN) ++m_counts[WARNING];
    if (code >= ACCURFAIL && code <= EXCPTFAIL) ++m_counts[FAIL];
}

void psTestList::deleteTests()
{
    for (psTest* test : *this) delete test;
    clear();
}
