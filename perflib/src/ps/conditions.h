// Test selection: name patterns given by -f (function name), -t (test name) and
// -m (source file), each with an optional modifier, composed within one kind by
// fixed rules and across kinds by -k and|or.
#ifndef PS_CONDITIONS_H
#define PS_CONDITIONS_H

#include "psstring.h"

// The names of a test that the conditions look at.
struct psTestNames {
    const psString& func;  // the library function
    const psString& test;  // the test name of the registration
    const psString& file;  // the registered source path
};

// Which name of a test a condition looks at.
enum psConditionField { COND_FUNC = 0, COND_TEST = 1, COND_FILE = 2 };
// How a condition takes part in the verdict of its field.
enum psConditionGroup { COND_MUST = 0, COND_ANY = 1, COND_EXACT = 2 };
// Composition of the fields (-k).
enum psConditionLogic { COND_AND = 0, COND_OR = 1 };

// Modifier codes returned by getCondition.
enum psConditionCode { COND_CONTAINS = 0, COND_AND_CONTAINS = 1, COND_NOT_CONTAINS = 2, COND_EQUALS = 3, COND_EMPTY = 4 };

class RunCondition {
public:
    RunCondition(int grp, int fld, const psString& pat) : group(grp), field(fld), pattern(pat) {}
    virtual ~RunCondition() {}
    virtual bool tobeRun(const psTestNames& test) const = 0;

    int group;
    int field;
    psString pattern;

protected:
    // The name of the test this condition compares.
    const psString& nameOf(const psTestNames& test) const;
};

// One condition class per field and modifier; Code is a psConditionCode.
template <int Field, int Code>
class RunConditionOf : public RunCondition {
public:
    explicit RunConditionOf(const psString& pat)
        : RunCondition(Code == COND_CONTAINS ? COND_ANY : Code == COND_EQUALS ? COND_EXACT : COND_MUST, Field, pat)
    {
    }
    bool tobeRun(const psTestNames& test) const override
    {
        const psString& name = nameOf(test);
        switch (Code) {
        case COND_EQUALS: return name == pattern;
        case COND_NOT_CONTAINS: return !name.contains(pattern);
        default: return name.contains(pattern);
        }
    }
};

typedef RunConditionOf<COND_FUNC, COND_CONTAINS> RunCondition_f;
typedef RunConditionOf<COND_FUNC, COND_AND_CONTAINS> RunCondition_fAnd;
typedef RunConditionOf<COND_FUNC, COND_NOT_CONTAINS> RunCondition_fNot;
typedef RunConditionOf<COND_FUNC, COND_EQUALS> RunCondition_fEqual;
typedef RunConditionOf<COND_TEST, COND_CONTAINS> RunCondition_t;
typedef RunConditionOf<COND_TEST, COND_AND_CONTAINS> RunCondition_tAnd;
typedef RunConditionOf<COND_TEST, COND_NOT_CONTAINS> RunCondition_tNot;
typedef RunConditionOf<COND_TEST, COND_EQUALS> RunCondition_tEqual;
typedef RunConditionOf<COND_FILE, COND_CONTAINS> RunCondition_s;
typedef RunConditionOf<COND_FILE, COND_AND_CONTAINS> RunCondition_sAnd;
typedef RunConditionOf<COND_FILE, COND_NOT_CONTAINS> RunCondition_sNot;
typedef RunConditionOf<COND_FILE, COND_EQUALS> RunCondition_sEqual;

// Strips a leading "=", "+" or "-" from text and returns its psConditionCode;
// COND_EMPTY when no pattern remains.
int getCondition(psString& text);
// The condition for a field and a code 0..3, or null for COND_EMPTY.
RunCondition* makeCondition(int field, int code, const psString& pattern);

// All selection conditions of the session, in the order the keys were applied.
class psConditions {
public:
    psConditions() : logic(COND_AND) {}
    ~psConditions() { clear(); }
    psConditions(const psConditions&) = delete;
    psConditions& operator=(const psConditions&) = delete;

    void add(RunCondition* c);
    void clear();
    int count() const { return m_list.count(); }
    int count(int field) const;
    int count(int field, int group) const;

    bool tobeRun_or(const psTestNames& test, int field, int group) const;
    bool tobeRun_and(const psTestNames& test, int field) const;
    bool tobeRun(const psTestNames& test, int field) const;
    bool tobeRun(const psTestNames& test) const;

    int logic;

private:
    psList<RunCondition*> m_list;
};

#endif
