#include "ppvector.h"

#include "memory.h"
#include "registry.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

namespace {

struct TypeInfo {
    ppType type;
    const char* name;
    int size;
    double lo;  // range of the type's values
    double hi;
};

const TypeInfo typeTable[] = {
    {pp8u, "8u", 1, 0, 255},
    {pp8s, "8s", 1, -128, 127},
    {pp16u, "16u", 2, 0, 65535},
    {pp16s, "16s", 2, -32768, 32767},
    {pp32u, "32u", 4, 0, 4294967295.0},
    {pp32s, "32s", 4, -2147483648.0, 2147483647.0},
    {pp32f, "32f", 4, -1, 1},
    {pp64u, "64u", 8, 0, 18446744073709551615.0},
    {pp64s, "64s", 8, -9223372036854775808.0, 9223372036854775807.0},
    {pp64f, "64f", 8, -1, 1},
};

const TypeInfo& infoOf(ppType t)
{
    for (const TypeInfo& i : typeTable)
        if (i.type == t) return i;
    return typeTable[0];
}

// A small, fast and reproducible generator (xorshift64*).
class Random {
public:
    explicit Random(unsigned seed) : m_s(0x9E3779B97F4A7C15ULL ^ seed) { next(); }
    unsigned long long next()
    {
        m_s ^= m_s >> 12;
        m_s ^= m_s << 25;
        m_s ^= m_s >> 27;
        return m_s * 0x2545F4914F6CDD1DULL;
    }
    double unit() { return (next() >> 11) * (1.0 / 9007199254740992.0); }  // [0, 1)

private:
    unsigned long long m_s;
};

template <class T>
void store(void* data, int i, double v)
{
    T* p = static_cast<T*>(data);
    if (std::is_integral<T>::value) {
        const double lo = static_cast<double>(std::numeric_limits<T>::lowest());
        const double hi = static_cast<double>(std::numeric_limits<T>::max());
        v = std::nearbyint(v);
        if (v <= lo) {
            p[i] = std::numeric_limits<T>::lowest();
            return;
        }
        if (v >= hi) {
            p[i] = std::numeric_limits<T>::max();
            return;
        }
    }
    p[i] = static_cast<T>(v);
}

}  // namespace

ppVector::~ppVector() { deleteData(); }

int ppVector::typeSize(ppType t) { return infoOf(t).size; }
psString ppVector::typeName(ppType t) { return infoOf(t).name; }

bool ppVector::typeFromName(const psString& name, ppType& t)
{
    for (const TypeInfo& i : typeTable)
        if (name == i.name) {
            t = i.type;
            return true;
        }
    return false;
}

bool ppVector::create(int len, ppFill how, double lo, double hi, unsigned seed)
{
    deleteData();
    if (len < 0) return false;
    const int size = len * elementSize();
    // Vectors are placed by the running test (alignment, mutual shift) when there is one.
    void* owner = static_cast<psObject*>(this);
    psTest* test = psTestList::m_pCurrentTest;
    const int align = -(psGetAlignByByte() ? 1 : elementSize());
    m_data = test ? test->allocate(size, align, owner) : psMalloc(size, 0, 0, owner);
    if (!m_data) return false;
    m_len = len;
    fill(how, lo, hi, seed);
    return true;
}

void ppVector::deleteData()
{
    deleteReservedCopy();
    if (m_data) psFree(m_data);
    m_data = nullptr;
    m_len = 0;
}

double ppVector::get(int i) const
{
    if (!m_data || i < 0 || i >= m_len) return 0;
    switch (m_type) {
    case pp8u: return ptr<uint8_t>()[i];
    case pp8s: return ptr<int8_t>()[i];
    case pp16u: return ptr<uint16_t>()[i];
    case pp16s: return ptr<int16_t>()[i];
    case pp32u: return ptr<uint32_t>()[i];
    case pp32s: return ptr<int32_t>()[i];
    case pp32f: return ptr<float>()[i];
    case pp64u: return static_cast<double>(ptr<uint64_t>()[i]);
    case pp64s: return static_cast<double>(ptr<int64_t>()[i]);
    case pp64f: return ptr<double>()[i];
    }
    return 0;
}

void ppVector::set(int i, double v)
{
    if (!m_data || i < 0 || i >= m_len) return;
    switch (m_type) {
    case pp8u: store<uint8_t>(m_data, i, v); break;
    case pp8s: store<int8_t>(m_data, i, v); break;
    case pp16u: store<uint16_t>(m_data, i, v); break;
    case pp16s: store<int16_t>(m_data, i, v); break;
    case pp32u: store<uint32_t>(m_data, i, v); break;
    case pp32s: store<int32_t>(m_data, i, v); break;
    case pp32f: store<float>(m_data, i, v); break;
    case pp64u: store<uint64_t>(m_data, i, v); break;
    case pp64s: store<int64_t>(m_data, i, v); break;
    case pp64f: store<double>(m_data, i, v); break;
    }
}

void ppVector::fill(ppFill how, double lo, double hi, unsigned seed)
{
    const TypeInfo& t = infoOf(m_type);
    switch (how) {
    case ppFillZero:
        std::memset(m_data, 0, static_cast<size_t>(bytes()));
        break;
    case ppFillConst:
        for (int i = 0; i < m_len; ++i) set(i, lo);
        break;
    case ppFillRandom: {
        Random r(seed);
        if (lo == 0 && hi == 0 && !isFloatType(m_type)) {
            // The whole range of an integer type: raw random bits.
            unsigned char* p = ptr<unsigned char>();
            for (int i = 0; i < bytes(); ++i) p[i] = static_cast<unsigned char>(r.next() >> 56);
            break;
        }
        if (lo == 0 && hi == 0) {
            lo = t.lo;
            hi = t.hi;
        }
        if (hi < lo) std::swap(lo, hi);
        for (int i = 0; i < m_len; ++i) {
            double v = isFloatType(m_type) ? lo + (hi - lo) * r.unit() : std::floor(lo + (hi - lo + 1) * r.unit());
            set(i, v > hi ? hi : v);
        }
        break;
    }
    case ppFillJaehne: {
        // Unsigned types swing around the middle of their range, signed and float ones around 0.
        const bool unsignedType = t.lo == 0;
        const double amp = lo != 0 ? lo : unsignedType ? t.hi / 2 : t.hi;
        const double mid = unsignedType ? t.hi / 2 : 0;
        const double pi = 3.14159265358979323846;
        for (int i = 0; i < m_len; ++i)
            set(i, mid + amp * std::sin(0.5 * pi * static_cast<double>(i) * i / m_len));
        break;
    }
    }
}

bool ppVector::reserveCopy()
{
    if (!m_data) return false;
    if (!m_copy) m_copy = std::malloc(static_cast<size_t>(bytes()) + 1);
    if (!m_copy) return false;
    std::memcpy(m_copy, m_data, static_cast<size_t>(bytes()));
    return true;
}

bool ppVector::setReservedCopy()
{
    if (!m_copy || !m_data) return false;
    std::memcpy(m_data, m_copy, static_cast<size_t>(bytes()));
    return true;
}

void ppVector::deleteReservedCopy()
{
    std::free(m_copy);
    m_copy = nullptr;
}

psString ppVector::objectInfo()
{
    psString s;
    s << "ppVector " << typeName() << " len=" << m_len;
    return s;
}

void ppVector::print(const psString& title, int maxItems) const
{
    if (!g_ostrm.accepts(DATA)) return;
    psString s;
    s << title << " (" << typeName() << ", len=" << m_len << "):";
    const int n = m_len < maxItems ? m_len : maxItems;
    for (int i = 0; i < n; ++i) {
        if (i % 16 == 0) s << "\n   ";
        char buf[32];
        if (isFloatType(m_type))
            std::snprintf(buf, sizeof buf, " %g", get(i));
        else
            std::snprintf(buf, sizeof buf, " %.0f", get(i));
        s << buf;
    }
    if (n < m_len) s << " ...";
    g_ostrm << DATA << s << "\n" << END_MSG;
}
