// Move-to-front coding over a 256-entry list kept in the work area between calls.
//
// After block sorting most ranks are tiny, and each step depends on the list the step
// before left, so the time goes into that chain; MtfList keeps it short. The source goes
// by in words of eight bytes, and only the bytes that change the list take a step: when
// coding, a byte equal to the one before it is rank 0; when decoding, rank 0 is the front
// again.
#include "bz2/bz2_common.h"
#include "bz2/mtf_list.h"

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

template <bool kForward>
LumStatus mtf(const Lum8u* pSrc, Lum8u* pDst, int len, LumMTFState_8u* pState) {
    if (pSrc == nullptr || pDst == nullptr || pState == nullptr) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    MtfRecord st;
    if (!loadList(pState, st)) return lumStsContextMatchErr;
    MtfList list(st.list);
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
