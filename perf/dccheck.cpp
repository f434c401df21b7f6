#include "dccheck.h"

#include "streams.h"
#include "test.h"

#include <algorithm>
#include <cstring>

void dcExpected::set(const void* p, int len)
{
    const unsigned char* b = static_cast<const unsigned char*>(p);
    m_bytes.assign(b, b + (len > 0 ? len : 0));
    m_set = true;
}

psResult dcExpected::compare(const void* out, int outLen, const psString& funcName) const
{
    if (!m_set) return UNDEFINED;
    return dcCompareOutput(out, outLen, m_bytes.data(), length(), funcName);
}

psResult dcCompareOutput(const void* out, int outLen, const void* ref, int refLen, const psString& funcName)
{
    psString what;
    if (outLen != refLen) {
        what << "gave " << outLen << " bytes instead of " << refLen;
    } else {
        const unsigned char* o = static_cast<const unsigned char*>(out);
        const unsigned char* r = static_cast<const unsigned char*>(ref);
        if (refLen <= 0 || std::memcmp(o, r, static_cast<size_t>(refLen)) == 0) return UNDEFINED;
        int i = 0;
        while (o[i] == r[i]) ++i;
        what << "differs from the original data at byte " << i << " of " << refLen << " (" << int(o[i])
             << " instead of " << int(r[i]) << ")";
    }
    g_ostrm << ERR << "-- Output check failed: " << funcName << " " << what << "\n" << END_MSG;
    psTest::m_currentResult = psMaxResult(psTest::m_currentResult, DATAFAIL);
    return DATAFAIL;
}

void dcSmallestRotation(unsigned char* p, int n)
{
    // Two candidate starts i and j: comparing from both, the one that shows the
    // larger byte first cannot start the smallest rotation, nor can any of the k
    // starts after it.
    int i = 0, j = 1, k = 0;
    while (i < n && j < n && k < n) {
        const unsigned char a = p[(i + k) % n], b = p[(j + k) % n];
        if (a == b) {
            ++k;
            continue;
        }
        if (a > b)
            i += k + 1;
        else
            j += k + 1;
        if (i == j) ++j;
        k = 0;
    }
    if (n > 0) std::rotate(p, p + std::min(i, j), p + n);
}
