// Value iterators: parameters whose text defines a list of values or an
// arithmetic or geometric progression, stepped through while a test walks its
// parameter combinations.
#ifndef PS_ITERATORS_H
#define PS_ITERATORS_H

#include "parameter.h"

#include <list>

// Splits a list text at ";" into trimmed, non-empty items.
psStringList psListItems(const psString& text);

// ---------------------------------------------------------------- list

// A list of values, given as "v1; v2; ..." and stepped through in the order written.
template <class T>
class psIterator_NSC : public psDefault_NSC<T>, public psList<T> {
public:
    explicit psIterator_NSC(T def = T(), const psString& name = psString(), const psString& prompt = psString())
        : psDefault_NSC<T>(def, name, prompt)
    {}
    ~psIterator_NSC() override {}

    virtual void add(T v) { psList<T>::add(v); }

    // Back to the default value with an empty list.
    void reset() override
    {
        this->m_value = this->m_default;
        this->clear();
        this->resetIterator();
    }
    psString defaultString() override
    {
        psString s;
        for (const T& v : this->items()) {
            if (!s.empty()) s += "; ";
            s += this->valueToString(v);
        }
        return s;
    }
    // The run flag tells whether the walk has begun; the list's own cursor is the position.
    bool nextValue() override
    {
        T* cur;
        if (!this->m_run) {
            this->m_run = true;
            cur = this->first();
        } else {
            cur = this->next();
        }
        this->m_value = cur ? *cur : T();
        return cur != nullptr;
    }
    void translate(psString text) override { translateList(text); }

protected:
    // Replaces the list by the items of the text; on a refusal the old list stays.
    void translateList(const psString& text)
    {
        psStringList items = psListItems(text);
        if (items.isEmpty()) throw psException(psString("Empty iterator definition"));
        std::list<T> saved = this->items();
        try {
            this->clear();
            for (const psString& item : items) add(this->validItem(item));
        } catch (...) {
            this->items() = saved;
            this->resetIterator();
            throw;
        }
        this->m_value = this->front();
        this->resetIterator();
    }
};

// A list whose items must be values as a whole.
template <class T>
class psIterator : public psIterator_NSC<T> {
public:
    explicit psIterator(T def = T(), const psString& name = psString(), const psString& prompt = psString())
        : psIterator_NSC<T>(def, name, prompt)
    {}

    psString valueToString(T v) override { return psValueText(v); }
    T stringToValue(psString& text) override
    {
        T v = this->m_default;
        text.setNotConverted(!psTextValue(text.trimmed(), v, true));
        return v;
    }
};

// ---------------------------------------------------------------- progression

template <class T>
class psStepIterator;

// A list, or a progression "first; last; <op>step" (blanks may separate the parts
// too) with op '+', '-' or '*', walked from first towards last; the last value is
// included when it is met exactly and never passed.
template <>
class psStepIterator<int> : public psIterator<int> {
public:
    enum { LIST = '?' };

    explicit psStepIterator(int def = 0, const psString& name = psString(), const psString& prompt = psString());

    void reset() override;
    psString defaultString() override;
    psString description() override;
    psString prompt() override;
    void resetIterator() override;
    bool nextValue() override;
    void translate(psString text) override;

    // Takes the text as a progression when it is one; false (and nothing changed) otherwise.
    bool translateStep(psString text);
    // Refuses a progression that would not move towards its last value, with
    // "Conflict between iterator limits and operation". A negative step is turned
    // into the opposite operation, so that the step shown is always positive.
    static void validate(int first, int last, int& step, char& operation, bool& descending);

    // Setting a progression from code: bounds, step and operation, then validate().
    void setLower(int v) { m_first = v; }
    void setUpper(int v) { m_last = v; }
    void setStep(int v) { m_step = v; }
    void setOperation(char op) { m_operation = op; }
    void validate();

    int getLower() const { return m_first; }
    int getUpper() const { return m_last; }
    int getStep() const { return m_step; }
    char getOperation() const { return m_operation; }
    bool isDescending() const { return m_descending; }
    bool isProgression() const { return m_operation == '+' || m_operation == '-' || m_operation == '*'; }

private:
    int m_first;
    int m_last;
    int m_step;
    char m_operation;
    bool m_descending;
    bool m_started;
};

// ---------------------------------------------------------------- enumeration and map

// A list whose values may be restricted to a validation list.
template <class T>
class psEnumIterator_NCS : public psIterator_NSC<T> {
public:
    explicit psEnumIterator_NCS(T def = T(), const psString& name = psString(), const psString& prompt = psString())
        : psIterator_NSC<T>(def, name, prompt), m_hasValidation(false)
    {}

    // Refuses a value outside the validation list, when there is one.
    void add(T v) override
    {
        if (m_hasValidation && !m_validation.contains(v))
            throw psException(psString("Invalid value of ") + this->m_name + " = " + this->valueToString(v));
        psIterator_NSC<T>::add(v);
    }
    psString validString() override
    {
        psString s;
        if (!m_hasValidation) return s;
        for (const T& v : m_validation) {
            if (!s.empty()) s += "|";
            s += this->valueToString(v);
        }
        return s;
    }

    // Starts an empty validation list (nothing allowed until values are added).
    virtual void initValidation()
    {
        m_hasValidation = true;
        m_validation.clear();
    }
    // Removes the restriction: every value is allowed.
    virtual void resetValidation()
    {
        m_hasValidation = false;
        m_validation.clear();
    }
    void addValidation(T v)
    {
        m_hasValidation = true;
        if (!m_validation.contains(v)) m_validation.add(v);
    }
    void addValidation(const psList<T>* values)
    {
        m_hasValidation = true;
        if (values)
            for (const T& v : *values) addValidation(v);
    }
    bool hasValidation() const { return m_hasValidation; }
    const psList<T>& validation() const { return m_validation; }

protected:
    psList<T> m_validation;
    bool m_hasValidation;
};

// Values chosen by their words in a table; the words are compared exactly, so a
// word written with a leading blank must be entered with it.
template <class T>
class psMapIterator : public psEnumIterator_NCS<T> {
public:
    explicit psMapIterator(T def = T(), const psString& name = psString(), const psString& prompt = psString())
        : psEnumIterator_NCS<T>(def, name, prompt)
    {}

    psString valueToString(T v) override
    {
        psString w;
        return m_map.word(v, w) ? w : psValueText(v);
    }
    T stringToValue(psString& text) override
    {
        T v = this->m_default;
        text.setNotConverted(!m_map.value(text, v));
        return v;
    }
    // Without a validation list every word of the table is allowed.
    psString validString() override
    {
        return this->m_hasValidation ? psEnumIterator_NCS<T>::validString() : m_map.words("|");
    }
    // Also allows every value of the table again.
    void reset() override
    {
        psEnumIterator_NCS<T>::reset();
        resetValidation();
    }
    // The validation list becomes every value of the table (none when it is empty).
    void resetValidation() override
    {
        psEnumIterator_NCS<T>::resetValidation();
        for (const auto& p : m_map.pairs()) this->addValidation(p.second);
    }

    // The word of a value.
    psString operator[](T v) { return valueToString(v); }
    void addWord(const psString& word, T value) { m_map.add(word, value); }
    template <size_t N>
    void addWords(const char* const (&words)[N], const T (&values)[N])
    {
        for (size_t i = 0; i < N; ++i) m_map.add(words[i], values[i]);
    }
    void resetMap() { m_map.clear(); }
    const psWordMap<T>& wordMap() const { return m_map; }

private:
    psWordMap<T> m_map;
};

// ---------------------------------------------------------------- data files

// The names of data files, stepped through in order; the files are looked up in
// the input directory by whoever loads them.
class psFileIterator : public psIterator_NSC<psString> {
public:
    explicit psFileIterator(const psString& name = psString(), const psString& prompt = psString())
        : psIterator_NSC<psString>(psString(), name, prompt)
    {}
    psString prompt() override;
};

#endif
