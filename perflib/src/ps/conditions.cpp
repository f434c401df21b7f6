#include "conditions.h"

const psString& RunCondition::nameOf(const psTestNames& test) const
{
    switch (field) {
    case COND_TEST: return test.test;
    case COND_FILE: return test.file;
    default: return test.func;
    }
}

int getCondition(psString& text)
{
    int code = COND_CONTAINS;
    switch (text[0]) {
    case '=': code = COND_EQUALS; break;
    case '+': code = COND_AND_CONTAINS; break;
    case '-': code = COND_NOT_CONTAINS; break;
    default: break;
    }
    if (code != COND_CONTAINS) text = text.substr(1);
    return text.empty() ? COND_EMPTY : code;
}

template <int Field>
static RunCondition* makeFieldCondition(int code, const psString& pattern)
{
    switch (code) {
    case COND_CONTAINS: return new RunConditionOf<Field, COND_CONTAINS>(pattern);
    case COND_AND_CONTAINS: return new RunConditionOf<Field, COND_AND_CONTAINS>(pattern);
    case COND_NOT_CONTAINS: return new RunConditionOf<Field, COND_NOT_CONTAINS>(pattern);
    case COND_EQUALS: return new RunConditionOf<Field, COND_EQUALS>(pattern);
    default: return nullptr;
    }
}

RunCondition* makeCondition(int field, int code, const psString& pattern)
{
    switch (field) {
    case COND_FUNC: return makeFieldCondition<COND_FUNC>(code, pattern);
    case COND_TEST: return makeFieldCondition<COND_TEST>(code, pattern);
    case COND_FILE: return makeFieldCondition<COND_FILE>(code, pattern);
    default: return nullptr;
    }
}

void psConditions::add(RunCondition* c)
{
    if (c) m_list.add(c);
}

void psConditions::clear()
{
    for (RunCondition* c : m_list) delete c;
    m_list.clear();
    logic = COND_AND;
}

int psConditions::count(int field) const
{
    int n = 0;
    for (const RunCondition* c : m_list)
        if (c->field == field) ++n;
    return n;
}

int psConditions::count(int field, int group) const
{
    int n = 0;
    for (const RunCondition* c : m_list)
        if (c->field == field && c->group == group) ++n;
    return n;
}

bool psConditions::tobeRun_or(const psTestNames& test, int field, int group) const
{
    for (const RunCondition* c : m_list)
        if (c->field == field && c->group == group && c->tobeRun(test)) return true;
    return false;
}

bool psConditions::tobeRun_and(const psTestNames& test, int field) const
{
    for (const RunCondition* c : m_list)
        if (c->field == field && c->group == COND_MUST && !c->tobeRun(test)) return false;
    return true;
}

// Within a field: equal to one of the exact patterns, or else (contains one of the
// plain patterns, when there are any, and holds every must condition).
bool psConditions::tobeRun(const psTestNames& test, int field) const
{
    if (tobeRun_or(test, field, COND_EXACT)) return true;
    if (count(field, COND_EXACT) == count(field)) return false;
    if (count(field, COND_ANY) > 0 && !tobeRun_or(test, field, COND_ANY)) return false;
    return tobeRun_and(test, field);
}

bool psConditions::tobeRun(const psTestNames& test) const
{
    if (m_list.isEmpty()) return true;
    for (int field = COND_FUNC; field <= COND_FILE; ++field) {
        if (count(field) == 0) continue;
        bool verdict = tobeRun(test, field);
        if (logic == COND_OR && verdict) return true;
        if (logic == COND_AND && !verdict) return false;
    }
    return logic == COND_AND;
}
