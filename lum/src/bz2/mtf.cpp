// Move-to-front coding over a 256-entry list kept in the work area between calls. Most
// ranks of block-sorted data are tiny, so ranks 0 and 1 take a short path; the forward
// coder finds larger ones eight list entries at a time.
#include "bz2/bz2_common.h"

namespace lum::bz2 {
namespace {

struct MtfRecord {
    static constexpr Lum32u kMagic = 0x3146544Du;  // "MTF1"
    Lum32u magic;
    Lum8u list[256];
};

// Loads the list, which must be a permutation of 0..255.
bool loadList(const LumMTFState_8u* pState, MtfRecord& st) {
    if (!loadState(pState, st)) return false;
    Lum8u seen[256] = {};
    for (int k = 0; k < 256; ++k) seen[st.list[k]] = 1;
    for (int v = 0; v < 256; ++v)
        if (!seen[v]) return false;
    return true;
}

// Moves list[r] to the front. On little-endian hosts the list moves eight entries at a
// time: each word below r is shifted up one byte taking the top byte of the word before,
// and the word holding r is shifted only up to r.
inline void moveToFront(Lum8u* list, int r) {
    const Lum8u c = list[r];
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    Lum64u carry = c;
    int k = 0;
    for (; k + 8 <= r; k += 8) {
        Lum64u w;
        std::memcpy(&w, list + k, 8);
        const Lum64u moved = w << 8 | carry;
        std::memcpy(list + k, &moved, 8);
        carry = w >> 56;
    }
    Lum64u w;
    std::memcpy(&w, list + k, 8);
    const int o = r - k;  // 0..7
    const Lum64u upToR = o == 7 ? ~0ull : (1ull << (8 * (o + 1))) - 1;
    const Lum64u moved = ((w << 8 | carry) & upToR) | (w & ~upToR);
    std::memcpy(list + k, &moved, 8);
#else
    std::memmove(list + 1, list, static_cast<size_t>(r));
    list[0] = c;
#endif
}

// Position of c in the list (a permutation, so it is there), searched a word at a time.
inline int findInList(const Lum8u* list, Lum8u c) {
    constexpr Lum64u kOnes = 0x0101010101010101ull, kHighs = 0x8080808080808080ull;
    const Lum64u pattern = kOnes * c;
    for (int k = 0; k < 256; k += 8) {
        Lum64u w;
        std::memcpy(&w, list + k, 8);
        w ^= pattern;
        const Lum64u zero = (w - kOnes) & ~w & kHighs;
        if (zero != 0) {
            // The lowest flagged bit marks the first match on a little-endian host (flags
            // above a match may be false); other byte orders take the byte loop.
            const int r = k + __builtin_ctzll(zero) / 8;
            if (list[r] == c) return r;
            for (int j = k; j < k + 8; ++j)
                if (list[j] == c) return j;
        }
    }
    return 255;
}

template <bool kForward>
LumStatus mtf(const Lum8u* pSrc, Lum8u* pDst, int len, LumMTFState_8u* pState) {
    if (pSrc == nullptr || pDst == nullptr || pState == nullptr) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    MtfRecord st;
    if (!loadList(pState, st)) return lumStsContextMatchErr;
    Lum8u* list = st.list;
    for (int i = 0; i < len; ++i) {
        const Lum8u x = pSrc[i];
        if (kForward) {
            if (list[0] == x) {
                pDst[i] = 0;
            } else if (list[1] == x) {
                list[1] = list[0];
                list[0] = x;
                pDst[i] = 1;
            } else {
                const int r = findInList(list, x);
                moveToFront(list, r);
                pDst[i] = static_cast<Lum8u>(r);
            }
        } else {
            const Lum8u c = list[x];
            if (x == 1) {
                list[1] = list[0];
                list[0] = c;
            } else if (x > 1) {
                moveToFront(list, x);
            }
            pDst[i] = c;
        }
    }
    storeRecord(pState, st);
    return lumStsNoErr;
}

}  // namespace
}  // namespace lum::bz2

using lum::bz2::MtfRecord;

extern "C" {

LumStatus lumsMTFGetSize_8u(int* pSize) {
    if (pSize == nullptr) return lumStsNullPtrErr;
    *pSize = static_cast<int>(sizeof(MtfRecord));
    return lumStsNoErr;
}

LumStatus lumsMTFInit_8u(LumMTFState_8u* pState) {
    if (pState == nullptr) return lumStsNullPtrErr;
    MtfRecord st;
    st.magic = MtfRecord::kMagic;
    for (int k = 0; k < 256; ++k) st.list[k] = static_cast<Lum8u>(k);
    lum::storeRecord(pState, st);
    return lumStsNoErr;
}

LumStatus lumsMTFFwd_8u(const Lum8u* pSrc, Lum8u* pDst, int len, LumMTFState_8u* pState) {
    return lum::bz2::mtf<true>(pSrc, pDst, len, pState);
}

LumStatus lumsMTFInv_8u(const Lum8u* pSrc, Lum8u* pDst, int len, LumMTFState_8u* pState) {
    return lum::bz2::mtf<false>(pSrc, pDst, len, pState);
}

}  // extern "C"
