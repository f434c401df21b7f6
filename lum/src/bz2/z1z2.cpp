// bzip2's zero-run coding of move-to-front output: a run of zeros becomes its length in
// bijective base 2, least significant digit first (RUNA = 0 weighs 1, RUNB = 1 weighs 2),
// and a value v > 0 becomes v + 1. A run is always coded or decoded whole, so a call
// stopped by a full destination resumes at the start of that run.
#include <algorithm>

#include "bz2/bz2_common.h"

namespace lum::bz2 {
namespace {

constexpr Lum16u kRunA = 0, kRunB = 1;

// Digits of a run of len >= 1 zeros; returns their count (at most 31).
inline int runDigits(int len, Lum16u* digits) {
    int n = 0;
    for (unsigned z = static_cast<unsigned>(len) - 1;; z = (z - 2) / 2) {
        digits[n++] = (z & 1) ? kRunB : kRunA;
        if (z < 2) break;
    }
    return n;
}

}  // namespace
}  // namespace lum::bz2

extern "C" {

LumStatus lumsEncodeZ1Z2_BZ2_8u16u(Lum8u** ppSrc, int* pSrcLen, Lum16u* pDst, int* pDstLen,
                                   Lum32u freqTable[258]) {
    if (ppSrc == nullptr || *ppSrc == nullptr || pSrcLen == nullptr || pDst == nullptr ||
        pDstLen == nullptr || freqTable == nullptr)
        return lumStsNullPtrErr;
    if (*pSrcLen < 0 || *pDstLen < 0) return lumStsSizeErr;
    const Lum8u* src = *ppSrc;
    const int n = *pSrcLen, room = *pDstLen;
    Lum32u freq[258] = {};
    int i = 0, out = 0;
    bool full = false;
    while (i < n) {
        if (src[i] != 0) {
            if (out == room) {
                full = true;
                break;
            }
            const Lum16u sym = static_cast<Lum16u>(src[i++] + 1);
            pDst[out++] = sym;
            ++freq[sym];
            continue;
        }
        int j = i + 1;
        while (j < n && src[j] == 0) ++j;
        Lum16u digits[32];
        const int d = lum::bz2::runDigits(j - i, digits);
        if (room - out < d) {
            full = true;
            break;
        }
        for (int k = 0; k < d; ++k) {
            pDst[out++] = digits[k];
            ++freq[digits[k]];
        }
        i = j;
    }
    std::memcpy(freqTable, freq, sizeof(freq));
    *ppSrc += i;
    *pSrcLen = n - i;
    *pDstLen = out;
    return full ? lumStsDstFullWrn : lumStsNoErr;
}

LumStatus lumsDecodeZ1Z2_BZ2_16u8u(Lum16u** ppSrc, int* pSrcLen, Lum8u* pDst, int* pDstLen) {
    if (ppSrc == nullptr || *ppSrc == nullptr || pSrcLen == nullptr || pDst == nullptr ||
        pDstLen == nullptr)
        return lumStsNullPtrErr;
    if (*pSrcLen < 0 || *pDstLen < 0) return lumStsSizeErr;
    const Lum16u* src = *ppSrc;
    const int n = *pSrcLen, room = *pDstLen;
    int i = 0, out = 0;
    LumStatus status = lumStsNoErr;
    while (i < n) {
        const unsigned sym = src[i];
        if (sym > 256) {
            status = lumStsCorruptDataErr;
            break;
        }
        if (sym > lum::bz2::kRunB) {
            if (out == room) {
                status = lumStsDstFullWrn;
                break;
            }
            pDst[out++] = static_cast<Lum8u>(sym - 1);
            ++i;
            continue;
        }
        long long len = 0, weight = 1;
        int j = i;
        for (; j < n && src[j] <= lum::bz2::kRunB; ++j, weight <<= 1) {
            len += weight << src[j];
            if (len > 0x7FFFFFFF) break;
        }
        if (len > 0x7FFFFFFF) {  // no int-sized block holds such a run
            status = lumStsCorruptDataErr;
            break;
        }
        if (len > room - out) {
            status = lumStsDstFullWrn;
            break;
        }
        std::memset(pDst + out, 0, static_cast<size_t>(len));
        out += static_cast<int>(len);
        i = j;
    }
    *ppSrc += i;
    *pSrcLen = n - i;
    *pDstLen = out;
    return status;
}

}  // extern "C"
