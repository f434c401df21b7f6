#include "iterators.h"

#include <climits>

psStringList psListItems(const psString& text)
{
    psStringList words, items;
    text.parse(words, ";");
    for (const psString& w : words) {
        psString item = w.trimmed();
        if (!item.empty()) items.add(item);
    }
    return items;
}

// ---------------------------------------------------------------- psStepIterator<int>

namespace {

const char* const kConflict = "Conflict between iterator limits and operation";

int stepPart(const psString& text, const char* refusal)
{
    long long v = 0;
    if (!psStrictInt(text, v, INT_MIN, INT_MAX)) throw psException(psString(refusal) + text);
    return static_cast<int>(v);
}

}  // namespace

psStepIterator<int>::psStepIterator(int def, const psString& name, const psString& prompt)
    : psIterator<int>(def, name, prompt), m_first(def), m_last(def), m_step(1), m_operation(LIST), m_descending(false),
      m_started(false)
{}

void psStepIterator<int>::reset()
{
    psIterator<int>::reset();
    m_first = m_last = m_default;
    m_step = 1;
    m_operation = LIST;
    m_descending = false;
}

psString psStepIterator<int>::defaultString()
{
    if (!isProgression()) return psIterator<int>::defaultString();
    psString s;
    return s << m_first << "; " << m_last << "; " << m_operation << m_step;
}

psString psStepIterator<int>::description()
{
    if (!isProgression()) return psIterator<int>::description();
    psString s;
    return s << "for (" << m_name << " = " << m_first << "; " << m_name << (m_descending ? " >= " : " <= ") << m_last
             << "; " << m_name << " " << m_operation << "= " << m_step << ")";
}

psString psStepIterator<int>::prompt()
{
    return psIterator<int>::prompt() + " (list v1; v2; ... or progression first; last; +step|-step|*step)";
}

void psStepIterator<int>::resetIterator()
{
    psIterator<int>::resetIterator();
    m_started = false;
}

bool psStepIterator<int>::nextValue()
{
    if (!isProgression()) return psIterator<int>::nextValue();
    if (!m_started) {
        m_started = true;
        m_value = m_first;
    } else {
        if (!m_run) return false;  // already past the last value
        long long v = m_value;
        switch (m_operation) {
        case '+': v += m_step; break;
        case '-': v -= m_step; break;
        default: v *= m_step; break;
        }
        // A step beyond the range of int has passed the last value too.
        if (v < INT_MIN || v > INT_MAX) {
            m_run = false;
            return false;
        }
        m_value = static_cast<int>(v);
    }
    m_run = m_descending ? m_value >= m_last : m_value <= m_last;
    return m_run;
}

void psStepIterator<int>::translate(psString text)
{
    if (translateStep(text)) return;
    translateList(text);
    m_operation = LIST;
}

bool psStepIterator<int>::translateStep(psString text)
{
    psStringList parts;
    if (text.parse(parts, "; \t") != 3) return false;
    const psString& third = parts.at(2);
    char op = third[0];
    if (op != '+' && op != '-' && op != '*') return false;
    int first = stepPart(parts.at(0), "Invalid first value = ");
    int last = stepPart(parts.at(1), "Invalid last value = ");
    int step = stepPart(third.substr(1), "Invalid step = ");
    bool descending = false;
    validate(first, last, step, op, descending);
    clear();
    m_first = first;
    m_last = last;
    m_step = step;
    m_operation = op;
    m_descending = descending;
    m_value = first;
    resetIterator();
    return true;
}

void psStepIterator<int>::validate(int first, int last, int& step, char& operation, bool& descending)
{
    descending = first > last;
    switch (operation) {
    case '+':
    case '-':
        // A step of 0 would never reach the last value.
        if (step == 0) throw psException(psString(kConflict));
        if (step < 0) {
            if (step == INT_MIN) throw psException(psString(kConflict));
            step = -step;
            operation = (operation == '+') ? '-' : '+';
        }
        if ((operation == '+') == descending) throw psException(psString(kConflict));
        break;
    case '*': {
        bool upward = first >= 1 && last >= 1 && first <= last;
        bool downward = first < 0 && last < 0 && first > last;
        if (!(upward || downward) || step < 2) throw psException(psString(kConflict));
        break;
    }
    default: break;
    }
}

void psStepIterator<int>::validate()
{
    validate(m_first, m_last, m_step, m_operation, m_descending);
    m_value = m_first;
    resetIterator();
}

// ---------------------------------------------------------------- psFileIterator

psString psFileIterator::prompt() { return psIterator_NSC<psString>::prompt() + " (file names separated by ;)"; }
