// Move-to-front coding over a 256-entry list kept in the work area between calls.
//
// After block sorting most ranks are tiny, and each step depends on the list the step
// before left, so the time goes into that chain. The first 16 entries live in two 64-bit
// words (entry k in bits 8k..8k+7 of word k / 8) while a call runs: a rank below 16 is
// found and moved to the front by a few word operations without a branch; the other
// entries stay in memory and are reached only for larger ranks. The source goes by in
// words of eight bytes, and only the bytes that change the list take a step: when
// coding, a byte equal to the one before it is rank 0; when decoding, rank 0 is the
// front again.
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

constexpr Lum64u kOnes = 0x0101010101010101ull;
constexpr Lum64u kHighs = 0x8080808080808080ull;
constexpr Lum64u kLow7 = 0x7F7F7F7F7F7F7F7Full;

// 0x80 in every byte of v that is zero, 0 in the others (exact: no borrow crosses bytes).
inline Lum64u zeroBytes(Lum64u v) { return ~(((v & kLow7) + kLow7) | v | kLow7); }

// Bytes 0..k of a word (k in 0..7).
inline Lum64u bytesUpTo(int k) { return ~0ull >> (56 - 8 * k); }

// Eight bytes with byte k of the word in bits 8k..8k+7, on any host.
inline Lum64u loadWord(const Lum8u* p) {
    Lum64u w = 0;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::memcpy(&w, p, 8);
#else
    for (int k = 7; k >= 0; --k) w = w << 8 | p[k];
#endif
    return w;
}

inline void storeWord(Lum8u* p, Lum64u w) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::memcpy(p, &w, 8);
#else
    for (int k = 0; k < 8; ++k) p[k] = static_cast<Lum8u>(w >> (8 * k));
#endif
}

// Position of c in the list (a permutation, so it is there), searched from entry `from`
// (a multiple of 8) eight entries at a time.
inline int findInList(const Lum8u* list, Lum8u c, int from) {
    for (int k = from; k < 256; k += 8) {
        const Lum64u zero = zeroBytes(loadWord(list + k) ^ (kOnes * c));
        if (zero != 0) return k + __builtin_ctzll(zero) / 8;
    }
    return 255;
}

// The list with its first 16 entries in two words.
class List {
public:
    explicit List(Lum8u* list) : list_(list), lo_(loadWord(list)), hi_(loadWord(list + 8)) {}
    void save() {
        storeWord(list_, lo_);
        storeWord(list_ + 8, hi_);
    }
    Lum8u front() const { return static_cast<Lum8u>(lo_); }

    // Rank of c, which then moves to the front.
    int encode(Lum8u c) {
        const Lum64u zlo = zeroBytes(lo_ ^ (kOnes * c)), zhi = zeroBytes(hi_ ^ (kOnes * c));
        if ((zlo | zhi) == 0) {
            const int r = findInList(list_, c, 16);
            fromMemory(r);
            return r;
        }
        // Masks of the bytes that move: up to the match, all of lo when it is in hi.
        const Lum64u mlo = zlo | (zlo - 1);
        const Lum64u mhi = zlo != 0 ? 0 : zhi | (zhi - 1);
        rotate(c, mlo, mhi);
        return zlo != 0 ? __builtin_ctzll(zlo) / 8 : 8 + __builtin_ctzll(zhi) / 8;
    }

    // Entry r, which then moves to the front.
    Lum8u decode(int r) {
        if (r >= 16) return fromMemory(r);
        const bool inLo = r < 8;
        const int shift = 8 * (r & 7);
        const Lum8u c = static_cast<Lum8u>((inLo ? lo_ : hi_) >> shift);
        const Lum64u upTo = bytesUpTo(r & 7);
        rotate(c, inLo ? upTo : ~0ull, inLo ? 0 : upTo);
        return c;
    }

private:
    // Moves the entries under the masks up one place and puts c in front.
    void rotate(Lum8u c, Lum64u mlo, Lum64u mhi) {
        hi_ = ((hi_ << 8 | lo_ >> 56) & mhi) | (hi_ & ~mhi);
        lo_ = ((lo_ << 8 | c) & mlo) | (lo_ & ~mlo);
    }

    // Moves entry r (16 or more, in memory) to the front and returns it. Entry 15 goes to
    // memory; there each word below r is shifted up one byte taking the top byte of the
    // word before, and the word holding r is shifted only up to r.
    Lum8u fromMemory(int r) {
        Lum64u carry = hi_ >> 56;
        int k = 16;
        for (; k + 8 <= r; k += 8) {
            const Lum64u w = loadWord(list_ + k);
            storeWord(list_ + k, w << 8 | carry);
            carry = w >> 56;
        }
        const Lum64u w = loadWord(list_ + k), upToR = bytesUpTo(r - k);
        const Lum8u c = static_cast<Lum8u>(w >> (8 * (r - k)));
        storeWord(list_ + k, ((w << 8 | carry) & upToR) | (w & ~upToR));
        hi_ = hi_ << 8 | lo_ >> 56;
        lo_ = lo_ << 8 | c;
        return c;
    }

    Lum8u* list_;
    Lum64u lo_, hi_;
};

template <bool kForward>
LumStatus mtf(const Lum8u* pSrc, Lum8u* pDst, int len, LumMTFState_8u* pState) {
    if (pSrc == nullptr || pDst == nullptr || pState == nullptr) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    MtfRecord st;
    if (!loadList(pState, st)) return lumStsContextMatchErr;
    List list(st.list);
    int i = 0;
    for (; i + 8 <= len; i += 8) {
        const Lum64u w = loadWord(pSrc + i);  // read whole before writing: pDst may be pSrc
        Lum64u out;
        if (kForward) {
            // Bytes unlike the byte before them (the first: unlike the front) change the list.
            Lum64u steps = ~zeroBytes(w ^ (w << 8 | list.front())) & kHighs;
            out = 0;
            for (; steps != 0; steps &= steps - 1) {
                const int k = __builtin_ctzll(steps) / 8;
                out |= static_cast<Lum64u>(list.encode(static_cast<Lum8u>(w >> (8 * k)))) << (8 * k);
            }
        } else {
            // Rank 0 repeats the front; from every other rank on, the bytes up to the next
            // one are the entry it brought to the front.
            Lum64u steps = ~zeroBytes(w) & kHighs;
            out = kOnes * list.front();
            for (; steps != 0; steps &= steps - 1) {
                const int k = __builtin_ctzll(steps) / 8;
                const Lum64u below = k == 0 ? 0 : bytesUpTo(k - 1);
                out = (out & below) | (kOnes * list.decode(static_cast<Lum8u>(w >> (8 * k))) & ~below);
            }
        }
        storeWord(pDst + i, out);
    }
    for (; i < len; ++i)
        pDst[i] = kForward ? static_cast<Lum8u>(list.encode(pSrc[i])) : list.decode(pSrc[i]);
    list.save();
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
