#include "parameter.h"

#include "table.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

psList<psParameter*>* g_pCommonParms = nullptr;

int psRegParm(psParameter* p)
{
    if (!g_pCommonParms) g_pCommonParms = new psList<psParameter*>;
    if (p && !g_pCommonParms->contains(p)) g_pCommonParms->add(p);
    return 1;
}

// ---------------------------------------------------------------- strict conversions

bool psStrictInt(const psString& text, long long& v, long long lo, long long hi)
{
    psString t = text.trimmed();
    if (t.empty()) return false;
    const char* s = t.c_str();
    bool neg = (*s == '-');
    const char* digits = (*s == '-' || *s == '+') ? s + 1 : s;
    int base = (digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) ? 16 : 10;
    if (base == 16) digits += 2;
    // strtoll would accept blanks and a second sign here; a number starts with a digit.
    if (!std::isxdigit(static_cast<unsigned char>(*digits))) return false;
    errno = 0;
    char* end = nullptr;
    unsigned long long u = std::strtoull(digits, &end, base);
    if (errno == ERANGE || *end != '\0') return false;
    long long r;
    if (neg) {
        if (u > static_cast<unsigned long long>(LLONG_MAX) + 1ULL) return false;
        r = static_cast<long long>(0ULL - u);
    } else {
        // A hexadecimal text may give the bit pattern of a negative number (0xFFFFFFFF).
        if (base == 10 && u > static_cast<unsigned long long>(LLONG_MAX)) return false;
        r = static_cast<long long>(u);
        if (base == 16 && hi <= INT_MAX && lo < 0 && u <= 0xFFFFFFFFULL) r = static_cast<int>(static_cast<unsigned>(u));
    }
    if (r < lo || r > hi) return false;
    v = r;
    return true;
}

bool psStrictDouble(const psString& text, double& v)
{
    psString t = text.trimmed();
    if (t.empty()) return false;
    char* end = nullptr;
    errno = 0;
    double d = std::strtod(t.c_str(), &end);
    if (errno == ERANGE || end == t.c_str() || *end != '\0') return false;
    v = d;
    return true;
}

bool psStrictBool(const psString& text, bool& v)
{
    static const char* const yes[] = {"1", "true", "yes", "y", "t", "on"};
    static const char* const no[] = {"0", "false", "no", "n", "f", "off"};
    psString t = text.trimmed().toLower();
    for (const char* w : yes)
        if (t == w) {
            v = true;
            return true;
        }
    for (const char* w : no)
        if (t == w) {
            v = false;
            return true;
        }
    return false;
}

psString psDoubleText(double v)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.15g", v);
    return psString(buf);
}

// ---------------------------------------------------------------- console input

bool psConsoleAtEnd(i_stream* in)
{
    FILE* f = in ? in->file() : nullptr;
    if (!f || std::feof(f)) return true;
    if (isatty(fileno(f))) return false;
    int c = std::getc(f);
    if (c == EOF) return true;
    std::ungetc(c, f);
    return false;
}

// ---------------------------------------------------------------- psParameter

psParameter::psParameter(const psString& name, const psString& prompt)
    : m_name(name), m_prompt(prompt.empty() ? name : prompt), m_run(false), m_ask(true), m_format(0), m_deprecated(false)
{}

psString psParameter::description() { return m_name + " = " + defaultString(); }

psString psParameter::prompt()
{
    psString p = m_prompt.empty() ? m_name : m_prompt;
    psString valid = validString();
    if (!valid.empty()) p += psString(" {") + valid + "}";
    return p;
}

bool psParameter::firstValue()
{
    resetIterator();
    return nextValue();
}

bool psParameter::nextValue()
{
    m_run = !m_run;
    return m_run;
}

bool psParameter::setDeprecatedFlag(bool on)
{
    (void)on;
    m_deprecated = false;
    m_deprecatedText = psString();
    return false;
}

void psParameter::toOStream(psOStream& out)
{
    if (m_name.empty()) return;
    out << (m_name + "=" + valueString() + " ");
}

psString psParameter::cellText()
{
    if (m_name.empty()) return psString();
    if (m_deprecated) return m_deprecatedText;
    if (m_format & FMT_QUOTED) return psString(" \"") + valueString() + "\"";
    return valueString();
}

void psParameter::putCell(psCStream& table, const psString& text)
{
    int i = colmIndex();
    if (i < 0)
        table.setNextColm(text);
    else
        table.setColm(i, text);
}

void psParameter::toCStream(psCStream& table) { putCell(table, cellText()); }

void psParameter::nameToCStream(psCStream& table) { putCell(table, m_name); }

namespace {

// Lets the question and its echo through whatever -L says, while a console is attached.
class psQuestionMask {
public:
    explicit psQuestionMask(bool console) : m_saved(g_ostrm.getOutLevel()), m_active(console)
    {
        if (m_active) g_ostrm.setOutLevel(ERR | WARN | PERF);
    }
    ~psQuestionMask()
    {
        if (m_active) g_ostrm.setOutLevel(m_saved);
    }

private:
    OutputLevel m_saved;
    bool m_active;
};

}  // namespace

void psParameter::fromIStream(psIStream& in)
{
    if (m_name.empty() || !m_ask) return;
    if (in.getIStream() && psConsoleAtEnd(in.getIStream())) in.setIStream(nullptr);
    psQuestionMask mask(in.getIStream() != nullptr);
    psTrapKeeper keeper;
    PS_ARM_SIGNAL_TRAP();
    translate(in.getItemValue(m_name, defaultString(), prompt(), description()));
    g_ostrm << (psString(" ") + description() + "\n");
    if (in.source() == psIStream::SRC_CONSOLE) std::fflush(stdout);
}
