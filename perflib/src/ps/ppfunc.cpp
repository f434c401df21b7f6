#include "ppfunc.h"

#include <cctype>

bool ppFunc::isTypeToken(const psString& t)
{
    int i = 0;
    const int n = t.length();
    if (!n) return false;
    while (i < n) {
        int digits = 0;
        while (i < n && std::isdigit(static_cast<unsigned char>(t[i]))) ++i, ++digits;
        if (!digits || i >= n || (t[i] != 'u' && t[i] != 's' && t[i] != 'f')) return false;
        ++i;
        if (i < n && t[i] == 'c') ++i;
    }
    return true;
}

void ppFunc::parse(const psString& name)
{
    m_name = name;
    m_prefix = m_base = m_types = m_descriptor = psString();
    // The prefix is everything before the first capital letter.
    int i = 0;
    while (i < name.length() && !std::isupper(static_cast<unsigned char>(name[i]))) ++i;
    m_prefix = name.substr(0, i);
    // The parts after it: base name parts, one type part, descriptor parts.
    psStringList parts;
    name.substr(i).parse(parts, "_");
    enum { BASE, DESCRIPTOR } where = BASE;
    bool firstPart = true;
    for (const psString& p : parts) {
        if (where == BASE && !firstPart && isTypeToken(p)) {
            m_types = p;
            where = DESCRIPTOR;
        } else if (where == BASE) {
            if (!firstPart) m_base += "_";
            m_base += p;
        } else {
            if (!m_descriptor.empty()) m_descriptor += "_";
            m_descriptor += p;
        }
        firstPart = false;
    }
}

int ppFunc::compare(const ppFunc& o) const
{
    int c = (m_prefix + m_base).compare(o.m_prefix + o.m_base);
    if (c) return c;
    c = m_types.compare(o.m_types);
    if (c) return c;
    return m_descriptor.compare(o.m_descriptor);
}
