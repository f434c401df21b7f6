// psString: the framework's own text type, with number<->text conversions,
// trimming, file-name helpers and a small tokenizer.
#ifndef PS_PSSTRING_H
#define PS_PSSTRING_H

#include "pslist.h"

#include <string>

class psString;
typedef psList<psString> psStringList;

class psString {
public:
    psString();
    psString(const char* text);
    psString(const char* text, int len);
    psString(const std::string& text);
    psString(const psString& other);
    psString(psString&& other) noexcept;
    virtual ~psString();

    psString& operator=(const psString& other);
    psString& operator=(psString&& other) noexcept;
    psString& operator=(const char* text);

    psString& assign(const char* text);
    psString& assign(char c);
    psString& assign(const psString& other);
    void free();

    const char* c_str() const { return m_buf; }
    operator const char*() const { return m_buf; }
    std::string str() const { return std::string(m_buf, m_len); }
    int length() const { return m_len; }
    int capacity() const { return m_cap; }
    bool empty() const { return m_len == 0; }
    char operator[](int i) const { return (i >= 0 && i < m_len) ? m_buf[i] : '\0'; }
    char last() const { return m_len ? m_buf[m_len - 1] : '\0'; }

    // Index of the first / last occurrence, or -1 when there is none.
    int find(const psString& what, int from = 0) const;
    int find(char c, int from = 0) const;
    int rfind(const psString& what) const;
    bool contains(const psString& what) const { return find(what) >= 0; }
    bool startsWith(const psString& what) const;

    psString substr(int start, int count) const;
    psString substr(int start) const;
    psString toLower() const;
    psString& trim();
    psString trimmed() const;

    int compare(const psString& other) const;
    bool operator==(const psString& other) const { return compare(other) == 0; }
    bool operator!=(const psString& other) const { return compare(other) != 0; }
    bool operator==(const char* other) const { return compare(psString(other)) == 0; }
    bool operator!=(const char* other) const { return !(*this == other); }
    bool operator<(const psString& other) const { return compare(other) < 0; }

    psString operator+(const psString& other) const;
    psString& operator+=(const psString& other);
    psString& operator+=(const char* other);
    psString& operator+=(char c);

    void growBy(int n);

    psString getFileName() const;
    psString getFileTitle() const;
    psString getFileDir() const;

    // Cuts the text into words at the given separator characters; returns their count.
    int parse(psStringList& words, const psString& separators) const;

    // Set when a text-to-number conversion read nothing.
    bool notConverted() const { return m_notConverted; }
    void setNotConverted(bool v) const { m_notConverted = v; }

    static int getBufSize(int len);
    static psString enumString(int value, const int* codes, const psString* names, int n);
    static psString flagString(int value, const int* masks, const psString* names, int n);
    static bool enumValue(const psString& name, const int* codes, const psString* names, int n, int& value);
    static bool flagValue(const psString& text, const int* masks, const psString* names, int n, int& value);
    static const char* prefixI64() { return "L"; }

private:
    void reserveFor(int len);
    void set(const char* text, int len);

    char* m_buf;
    int m_len;
    int m_cap;
    mutable bool m_notConverted;
};

psString operator+(const char* a, const psString& b);

// Appending text and numbers.
psString& operator<<(psString& s, const psString& text);
psString& operator<<(psString& s, const char* text);
psString& operator<<(psString& s, char c);
psString& operator<<(psString& s, int v);
psString& operator<<(psString& s, unsigned v);
psString& operator<<(psString& s, long v);
psString& operator<<(psString& s, unsigned long v);
psString& operator<<(psString& s, long long v);
psString& operator<<(psString& s, unsigned long long v);
psString& operator<<(psString& s, double v);
psString& operator<<(psString& s, const void* p);
inline psString& operator<<(psString&& s, const psString& t) { return s << t; }

// Text to number: `int x; x << text;` sets text's not-converted flag when nothing was read.
int& operator<<(int& v, const psString& text);
long long& operator<<(long long& v, const psString& text);
double& operator<<(double& v, const psString& text);
bool& operator<<(bool& v, const psString& text);

// Case-insensitive: true when text from `from` on, or else the whole text, begins with word.
bool fitString(const psString& word, const psString& text, int from = 0);

// Pads to |width| with blanks: in front for a positive width, behind for a negative one.
psString sFormat(const psString& text, int width);
psString sFormat(double value, int width);

// Tokenizer behind psString::parse.
class psParse {
public:
    psParse(const psString& text, const psString& separators);
    bool next(psString& word);

private:
    bool isSep(char c) const;
    psString m_text;
    psString m_seps;
    int m_pos;
    bool m_quote;
};

#endif
