#include "psstring.h"

#include <cctype>
#include <cstdarg>
#include <cstdint>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// ---------------------------------------------------------------- storage

int psString::getBufSize(int len)
{
    int n = len + 1;
    return (n % 16 == 0) ? n : (n / 16 + 1) * 16;
}

void psString::reserveFor(int len)
{
    int cap = getBufSize(len);
    if (m_buf && cap <= m_cap) return;
    char* buf = static_cast<char*>(std::calloc(static_cast<size_t>(cap), 1));
    if (m_buf) {
        std::memcpy(buf, m_buf, static_cast<size_t>(m_len));
        std::free(m_buf);
    }
    m_buf = buf;
    m_cap = cap;
}

void psString::set(const char* text, int len)
{
    if (text == m_buf && m_buf) return;
    if (len < 0) len = 0;
    // The capacity always follows the length rule, so a shorter text shrinks the buffer.
    char* buf = static_cast<char*>(std::calloc(static_cast<size_t>(getBufSize(len)), 1));
    if (len) std::memcpy(buf, text, static_cast<size_t>(len));
    std::free(m_buf);
    m_buf = buf;
    m_len = len;
    m_cap = getBufSize(len);
}

psString::psString() : m_buf(nullptr), m_len(0), m_cap(0), m_notConverted(false) { set("", 0); }
psString::psString(const char* text) : m_buf(nullptr), m_len(0), m_cap(0), m_notConverted(false)
{
    set(text ? text : "", text ? static_cast<int>(std::strlen(text)) : 0);
}
psString::psString(const char* text, int len) : m_buf(nullptr), m_len(0), m_cap(0), m_notConverted(false)
{
    set(text ? text : "", text ? len : 0);
}
psString::psString(const std::string& text) : m_buf(nullptr), m_len(0), m_cap(0), m_notConverted(false)
{
    set(text.data(), static_cast<int>(text.size()));
}
psString::psString(const psString& o) : m_buf(nullptr), m_len(0), m_cap(0), m_notConverted(o.m_notConverted)
{
    set(o.m_buf, o.m_len);
}
psString::psString(psString&& o) noexcept
    : m_buf(o.m_buf), m_len(o.m_len), m_cap(o.m_cap), m_notConverted(o.m_notConverted)
{
    o.m_buf = static_cast<char*>(std::calloc(16, 1));
    o.m_len = 0;
    o.m_cap = 16;
}
psString::~psString() { std::free(m_buf); }

psString& psString::operator=(const psString& o)
{
    if (this != &o) set(o.m_buf, o.m_len);
    return *this;
}
psString& psString::operator=(psString&& o) noexcept
{
    if (this != &o) {
        std::swap(m_buf, o.m_buf);
        std::swap(m_len, o.m_len);
        std::swap(m_cap, o.m_cap);
    }
    return *this;
}
psString& psString::operator=(const char* text) { return assign(text); }

psString& psString::assign(const char* text)
{
    if (!text) text = "";
    if (text >= m_buf && text < m_buf + m_cap) {  // assigning a piece of ourselves
        psString copy(text);
        return *this = copy;
    }
    set(text, static_cast<int>(std::strlen(text)));
    return *this;
}
psString& psString::assign(char c)
{
    char t[2] = {c, 0};
    set(t, c ? 1 : 0);
    return *this;
}
psString& psString::assign(const psString& o) { return *this = o; }
void psString::free() { set("", 0); }

void psString::growBy(int n)
{
    if (n > 0 && m_len + n >= m_cap) reserveFor(m_len + n);
}

// ---------------------------------------------------------------- search and pieces

int psString::find(const psString& what, int from) const
{
    if (from < 0) from = 0;
    if (from > m_len) return -1;
    const char* p = std::strstr(m_buf + from, what.m_buf);
    return p ? static_cast<int>(p - m_buf) : -1;
}

int psString::find(char c, int from) const
{
    for (int i = from < 0 ? 0 : from; i < m_len; ++i)
        if (m_buf[i] == c) return i;
    return -1;
}

int psString::rfind(const psString& what) const
{
    if (what.m_len > m_len) return -1;
    for (int i = m_len - what.m_len; i >= 0; --i)
        if (std::memcmp(m_buf + i, what.m_buf, static_cast<size_t>(what.m_len)) == 0) return i;
    return -1;
}

bool psString::startsWith(const psString& what) const
{
    return what.m_len <= m_len && std::memcmp(m_buf, what.m_buf, static_cast<size_t>(what.m_len)) == 0;
}

psString psString::substr(int start, int count) const
{
    if (start < 0) start = 0;
    if (start >= m_len || count <= 0) return psString();
    if (count > m_len - start) count = m_len - start;
    return psString(m_buf + start, count);
}

psString psString::substr(int start) const { return substr(start, m_len); }

psString psString::toLower() const
{
    psString r(*this);
    for (int i = 0; i < r.m_len; ++i) r.m_buf[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(r.m_buf[i])));
    return r;
}

// Leading blanks, tabs and carriage returns go; at the end only blanks and tabs go,
// so a trailing carriage return stays (line readers remove line ends themselves).
psString& psString::trim()
{
    int b = 0;
    while (b < m_len && (m_buf[b] == ' ' || m_buf[b] == '\t' || m_buf[b] == '\r')) ++b;
    if (b == m_len) {
        set("", 0);
        return *this;
    }
    int e = m_len;
    while (e > b && (m_buf[e - 1] == ' ' || m_buf[e - 1] == '\t')) --e;
    psString kept(m_buf + b, e - b);
    return *this = kept;
}

psString psString::trimmed() const
{
    psString r(*this);
    r.trim();
    return r;
}

int psString::compare(const psString& o) const
{
    int n = m_len < o.m_len ? m_len : o.m_len;
    int c = std::memcmp(m_buf, o.m_buf, static_cast<size_t>(n));
    if (c) return c < 0 ? -1 : 1;
    return m_len == o.m_len ? 0 : (m_len < o.m_len ? -1 : 1);
}

psString psString::operator+(const psString& o) const
{
    psString r(*this);
    r += o;
    return r;
}

psString& psString::operator+=(const psString& o)
{
    if (o.m_len == 0) return *this;
    if (&o == this) {
        psString copy(o);
        return *this += copy;
    }
    growBy(o.m_len);
    std::memcpy(m_buf + m_len, o.m_buf, static_cast<size_t>(o.m_len));
    m_len += o.m_len;
    m_buf[m_len] = 0;
    return *this;
}

psString& psString::operator+=(const char* o) { return *this += psString(o); }
psString& psString::operator+=(char c)
{
    char t[2] = {c, 0};
    return *this += psString(t, c ? 1 : 0);
}

psString operator+(const char* a, const psString& b) { return psString(a) + b; }

// ---------------------------------------------------------------- file names

static int lastSlash(const psString& s)
{
    int a = s.rfind("/"), b = s.rfind("\\");
    return a > b ? a : b;
}

psString psString::getFileName() const
{
    int p = lastSlash(*this);
    return p < 0 ? *this : substr(p + 1);
}

psString psString::getFileTitle() const
{
    psString name = getFileName();
    int dot = name.rfind(".");
    return dot < 0 ? name : name.substr(0, dot);
}

psString psString::getFileDir() const
{
    int p = lastSlash(*this);
    return p < 0 ? psString() : substr(0, p + 1);
}

// ---------------------------------------------------------------- tokenizer

psParse::psParse(const psString& text, const psString& separators) : m_text(text), m_pos(0), m_quote(false)
{
    for (int i = 0; i < separators.length(); ++i) {
        if (separators[i] == '"')
            m_quote = true;
        else
            m_seps += separators[i];
    }
}

bool psParse::isSep(char c) const { return m_seps.find(c) >= 0; }

bool psParse::next(psString& word)
{
    const int n = m_text.length();
    for (;;) {
        while (m_pos < n && isSep(m_text[m_pos])) ++m_pos;
        if (m_pos >= n) return false;
        psString w;
        if (m_quote && m_text[m_pos] == '"') {
            ++m_pos;
            while (m_pos < n) {
                if (m_text[m_pos] == '"') {
                    if (m_pos + 1 < n && m_text[m_pos + 1] == '"') {
                        w += '"';
                        m_pos += 2;
                        continue;
                    }
                    ++m_pos;
                    break;
                }
                w += m_text[m_pos++];
            }
        } else if (m_quote) {
            while (m_pos < n && !isSep(m_text[m_pos]) && m_text[m_pos] != '"') w += m_text[m_pos++];
        } else {
            while (m_pos < n && !isSep(m_text[m_pos])) w += m_text[m_pos++];
        }
        if (!w.empty()) {
            word = w;
            return true;
        }
    }
}

int psString::parse(psStringList& words, const psString& separators) const
{
    words.clear();
    psParse p(*this, separators);
    psString w;
    while (p.next(w)) words.add(w);
    return words.count();
}

// ---------------------------------------------------------------- enum and flag names

psString psString::enumString(int value, const int* codes, const psString* names, int n)
{
    for (int i = 0; i < n; ++i)
        if (codes[i] == value) return names[i];
    psString r;
    return r << value;
}

psString psString::flagString(int value, const int* masks, const psString* names, int n)
{
    psString r;
    for (int i = 0; i < n; ++i) {
        if (masks[i] & value) {
            if (!r.empty()) r += "|";
            r += names[i];
        }
    }
    if (r.empty()) r << value;
    return r;
}

bool psString::enumValue(const psString& name, const int* codes, const psString* names, int n, int& value)
{
    psString t = name.trimmed();
    for (int i = 0; i < n; ++i) {
        if (names[i] == t) {
            value = codes[i];
            return true;
        }
    }
    value << t;
    return !t.notConverted();
}

bool psString::flagValue(const psString& text, const int* masks, const psString* names, int n, int& value)
{
    psStringList parts;
    text.parse(parts, "|");
    value = 0;
    for (psString& p : parts) {
        int v = 0;
        if (!enumValue(p, masks, names, n, v)) return false;
        value |= v;
    }
    return true;
}

// ---------------------------------------------------------------- number to text

static psString& appendFormatted(psString& s, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
static psString& appendFormatted(psString& s, const char* fmt, ...)
{
    char buf[128];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    return s += buf;
}

psString& operator<<(psString& s, const psString& t) { return s += t; }
psString& operator<<(psString& s, const char* t) { return s += t; }
psString& operator<<(psString& s, char c) { return s += c; }
psString& operator<<(psString& s, int v) { return appendFormatted(s, "%d", v); }
psString& operator<<(psString& s, unsigned v) { return appendFormatted(s, "%u", v); }
psString& operator<<(psString& s, long v) { return s << static_cast<long long>(v); }
psString& operator<<(psString& s, unsigned long v) { return s << static_cast<unsigned long long>(v); }
psString& operator<<(psString& s, long long v) { return appendFormatted(s, "%lld", v); }
psString& operator<<(psString& s, unsigned long long v) { return appendFormatted(s, "%llu", v); }
psString& operator<<(psString& s, double v) { return appendFormatted(s, "%.3g", v); }
psString& operator<<(psString& s, const void* p)
{
    if (!p) return s += "NULL";
    return appendFormatted(s, "%llX", static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(p)));
}

// ---------------------------------------------------------------- text to number

int& operator<<(int& v, const psString& t)
{
    int r = 0, got;
    if (t.length() > 1 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) {
        unsigned u = 0;
        got = std::sscanf(t.c_str() + 2, "%x", &u);
        r = static_cast<int>(u);
    } else {
        got = std::sscanf(t.c_str(), "%d", &r);
    }
    t.setNotConverted(got != 1);
    if (got == 1) v = r;
    return v;
}

long long& operator<<(long long& v, const psString& t)
{
    long long r = 0;
    int got;
    if (t.length() > 1 && t[0] == '0' && (t[1] == 'x' || t[1] == 'X')) {
        unsigned long long u = 0;
        got = std::sscanf(t.c_str() + 2, "%llx", &u);
        r = static_cast<long long>(u);
    } else {
        got = std::sscanf(t.c_str(), "%lld", &r);
    }
    t.setNotConverted(got != 1);
    if (got == 1) v = r;
    return v;
}

double& operator<<(double& v, const psString& t)
{
    double r = 0;
    int got = std::sscanf(t.c_str(), "%lf", &r);
    t.setNotConverted(got != 1);
    if (got == 1) v = r;
    return v;
}

bool& operator<<(bool& v, const psString& t)
{
    psString s = t.toLower().trimmed();
    bool ok = true;
    if (s.empty())
        ok = false;
    else if (s[0] == 'y' || s[0] == 't' || s == "1")
        v = true;
    else if (s[0] == 'n' || s[0] == 'f' || s == "0")
        v = false;
    else
        ok = false;
    t.setNotConverted(!ok);
    return v;
}

// ---------------------------------------------------------------- helpers

bool fitString(const psString& word, const psString& text, int from)
{
    psString w = word.toLower(), t = text.toLower();
    if (t.substr(from).startsWith(w)) return true;
    return t.startsWith(w);
}

psString sFormat(const psString& text, int width)
{
    int w = width < 0 ? -width : width;
    if (text.length() >= w) return text;
    psString pad;
    for (int i = text.length(); i < w; ++i) pad += ' ';
    return width > 0 ? pad + text : text + pad;
}

psString sFormat(double value, int width)
{
    psString t;
    t << value;
    return sFormat(t, width);
}
