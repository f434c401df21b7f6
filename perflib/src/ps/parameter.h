// Named test parameters: a typed current value with a default, obtained from the
// -d settings, the ini file, a console question or the default; shown on the
// console and written into the performance table.
#ifndef PS_PARAMETER_H
#define PS_PARAMETER_H

#include "exceptions.h"
#include "instream.h"
#include "psstring.h"
#include "streams.h"

#include <functional>
#include <limits>
#include <type_traits>
#include <utility>

class psCStream;

// ---------------------------------------------------------------- text <-> value

// Text-to-value conversions of the parameter classes. The lenient form takes the
// framework's number conversions as they are (a number followed by anything is
// read as that number); the strict form wants the whole trimmed text to be the
// value and refuses numbers that do not fit the type.
bool psStrictInt(const psString& text, long long& v, long long lo, long long hi);
bool psStrictDouble(const psString& text, double& v);
bool psStrictBool(const psString& text, bool& v);
psString psDoubleText(double v);

// The number type behind T (its underlying type for an enumeration).
template <class T, bool = std::is_enum<T>::value>
struct psNumberOf {
    typedef T type;
};
template <class T>
struct psNumberOf<T, true> {
    typedef typename std::underlying_type<T>::type type;
};

template <class T>
psString psValueText(const T& v)
{
    if constexpr (std::is_same<T, psString>::value) {
        return v;
    } else if constexpr (std::is_same<T, bool>::value) {
        return v ? "true" : "false";
    } else if constexpr (std::is_floating_point<T>::value) {
        return psDoubleText(static_cast<double>(v));
    } else if constexpr (std::is_enum<T>::value) {
        psString s;
        return s << static_cast<long long>(v);
    } else {
        psString s;
        return s << v;
    }
}

template <class T>
bool psTextValue(const psString& text, T& v, bool strict)
{
    if constexpr (std::is_same<T, psString>::value) {
        v = text;
        return true;
    } else if constexpr (std::is_same<T, bool>::value) {
        if (strict) return psStrictBool(text, v);
        bool b = v;
        b << text;
        if (text.notConverted()) return false;
        v = b;
        return true;
    } else if constexpr (std::is_floating_point<T>::value) {
        double d = 0;
        if (strict) {
            if (!psStrictDouble(text, d)) return false;
        } else {
            d << text;
            if (text.notConverted()) return false;
        }
        v = static_cast<T>(d);
        return true;
    } else if constexpr (std::is_integral<T>::value || std::is_enum<T>::value) {
        typedef typename psNumberOf<T>::type Num;
        long long n = 0;
        if (strict) {
            if (!psStrictInt(text, n, static_cast<long long>(std::numeric_limits<Num>::min()),
                             static_cast<long long>(std::numeric_limits<Num>::max())))
                return false;
        } else {
            n << text;
            if (text.notConverted()) return false;
        }
        v = static_cast<T>(static_cast<Num>(n));
        return true;
    } else {
        static_assert(std::is_same<T, psString>::value, "no text conversion for this parameter type");
        return false;
    }
}

// ---------------------------------------------------------------- word table

// Pairs of (word, value) for parameters whose values are chosen by name. Words
// are compared exactly: case and blanks count.
template <class T>
class psWordMap {
public:
    void add(const psString& word, T value) { m_pairs.add(std::make_pair(word, value)); }
    void clear() { m_pairs.clear(); }
    bool isEmpty() const { return m_pairs.isEmpty(); }
    int count() const { return m_pairs.count(); }

    // The value of a word; false when the word is not in the table.
    bool value(const psString& word, T& v) const
    {
        for (const auto& p : m_pairs)
            if (p.first == word) {
                v = p.second;
                return true;
            }
        return false;
    }
    // The word of a value; false when the value has none.
    bool word(const T& v, psString& w) const
    {
        for (const auto& p : m_pairs)
            if (p.second == v) {
                w = p.first;
                return true;
            }
        return false;
    }
    // All words in table order, joined by the separator.
    psString words(const char* sep) const
    {
        psString s;
        for (const auto& p : m_pairs) {
            if (!s.empty()) s += sep;
            s += p.first;
        }
        return s;
    }
    const psList<std::pair<psString, T>>& pairs() const { return m_pairs; }

private:
    psList<std::pair<psString, T>> m_pairs;
};

// ---------------------------------------------------------------- base

class psParameter {
public:
    // Format flags.
    enum { FMT_QUOTED = 2 };  // the table cell holds the value between double quotes

    explicit psParameter(const psString& name = psString(), const psString& prompt = psString());

    // ---- virtual operations, in slot order
    virtual void reset() {}
    virtual psString valueString() { return psString(); }
    virtual psString defaultString() { return valueString(); }
    virtual psString validString() { return psString(); }
    virtual psString description();
    virtual psString prompt();
    virtual void resetIterator() { m_run = false; }
    virtual bool firstValue();
    virtual bool nextValue();
    virtual bool isDeprecatedParm() { return false; }
    virtual bool isDeprecatedValue() { return false; }
    virtual bool setDeprecatedFlag(bool on);
    virtual void toOStream(psOStream& out);
    virtual int colmIndex() { return -1; }
    virtual void toCStream(psCStream& table);
    virtual void nameToCStream(psCStream& table);
    virtual void fromIStream(psIStream& in);
    virtual void translate(psString text) { (void)text; }
    virtual ~psParameter() {}

    const psString& getName() const { return m_name; }
    void setName(const psString& name) { m_name = name; }
    const psString& getPrompt() const { return m_prompt; }
    // An empty prompt text asks with the name.
    void setPrompt(const psString& prompt) { m_prompt = prompt.empty() ? m_name : prompt; }
    bool getAsk() const { return m_ask; }
    void setAsk(bool ask) { m_ask = ask; }
    int getFormat() const { return m_format; }
    void setFormat(int flags) { m_format = flags; }
    bool getDeprecatedTextFlag() const { return m_deprecated; }
    const psString& getDeprecatedText() const { return m_deprecatedText; }

protected:
    // The text of the table cell for the current value.
    psString cellText();
    void putCell(psCStream& table, const psString& text);

    psString m_name;
    psString m_prompt;
    bool m_run;
    bool m_ask;
    int m_format;
    bool m_deprecated;
    psString m_deprecatedText;
};

// ---------------------------------------------------------------- single values

// A parameter with a current value of type T and a default. The conversions are
// the lenient ones; the derived classes tighten them.
template <class T>
class psDefault_NSC : public psParameter {
public:
    explicit psDefault_NSC(T def = T(), const psString& name = psString(), const psString& prompt = psString())
        : psParameter(name, prompt), m_value(def), m_default(def)
    {}

    void reset() override { m_value = m_default; }
    psString valueString() override { return valueToString(m_value); }
    void translate(psString text) override { m_value = validItem(text); }
    bool isDeprecatedParm() override { return !m_deprecatedValues.isEmpty(); }
    bool isDeprecatedValue() override { return findDeprecated() >= 0; }
    bool setDeprecatedFlag(bool on) override
    {
        m_deprecated = false;
        m_deprecatedText = psString();
        if (!on) return false;
        int i = findDeprecated();
        if (i < 0) return false;
        m_deprecated = true;
        m_deprecatedText = m_deprecatedTexts.at(i);
        return true;
    }

    virtual T value() { return m_value; }
    virtual psString valueToString(T v) { return psValueText(v); }
    // Converts the text; marks it not convertible when it is not a value.
    virtual T stringToValue(psString& text)
    {
        T v = m_default;
        text.setNotConverted(!psTextValue(text, v, false));
        return v;
    }
    // The value of the text, or "Invalid value of <name> = <text>".
    virtual T validItem(psString text)
    {
        T v = stringToValue(text);
        if (text.notConverted()) throw psException(psString("Invalid value of ") + m_name + " = " + text);
        return v;
    }

    void setValue(T v) { m_value = v; }
    T getDefault() const { return m_default; }
    void setDefault(T v) { m_default = v; }
    // A value that the table shows as the given text while the deprecated flag is set.
    void addDeprecated(T v, const psString& tableText)
    {
        m_deprecatedValues.add(v);
        m_deprecatedTexts.add(tableText);
    }

protected:
    int findDeprecated()
    {
        psString cur = valueToString(m_value);
        int i = 0;
        for (const T& d : m_deprecatedValues) {
            if (valueToString(d) == cur) return i;
            ++i;
        }
        return -1;
    }

    T m_value;
    T m_default;
    psList<T> m_deprecatedValues;
    psStringList m_deprecatedTexts;
};

// A checked single value: the whole text must be the value, and an optional
// validator (a range, a multiple) refuses values the measurement cannot use.
template <class T>
class psDefault : public psDefault_NSC<T> {
public:
    typedef std::function<bool(const T&)> Validator;

    explicit psDefault(T def = T(), const psString& name = psString(), const psString& prompt = psString())
        : psDefault_NSC<T>(def, name, prompt)
    {}

    psString valueToString(T v) override { return psValueText(v); }
    T stringToValue(psString& text) override
    {
        T v = this->m_default;
        bool ok = psTextValue(text.trimmed(), v, true) && (!m_valid || m_valid(v));
        text.setNotConverted(!ok);
        return v;
    }

    void setValidator(Validator f) { m_valid = std::move(f); }
    void setRange(T lo, T hi)
    {
        m_valid = [lo, hi](const T& v) { return !(v < lo) && !(hi < v); };
    }

private:
    Validator m_valid;
};

// A value chosen by its word; the console question lists the words.
template <class T>
class psMapDefault : public psDefault_NSC<T> {
public:
    explicit psMapDefault(T def = T(), const psString& name = psString(), const psString& prompt = psString())
        : psDefault_NSC<T>(def, name, prompt)
    {}

    psString validString() override { return m_map.words("|"); }
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

    void addWord(const psString& word, T value) { m_map.add(word, value); }
    psWordMap<T>& wordMap() { return m_map; }

private:
    psWordMap<T> m_map;
};

// ---------------------------------------------------------------- console input

// Whether the console input has nothing more to give. Only input that is not a
// terminal is looked at in advance (a terminal would wait for a key before the
// question is shown). A parameter does not ask a console at its end, and detaches
// it, so that a run from a file, a pipe or /dev/null never prints questions that
// nobody answers and never waits.
bool psConsoleAtEnd(i_stream* in);

// ---------------------------------------------------------------- common parameters

// The parameters shared by the tests and asked once by the set-up dialogue; null
// until the first registration.
extern psList<psParameter*>* g_pCommonParms;
int psRegParm(psParameter* p);

#endif
