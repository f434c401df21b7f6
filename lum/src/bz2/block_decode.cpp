// Decoding of one bzip2 block after its Huffman stage: zero-run decoding with inverse
// move-to-front from a fresh list (one pass), then inverse BWT with dictionary expansion
// (done by the inverse BWT as it writes), all in the destination. The result is the
// block's first-stage run-length data.
#include <algorithm>

#include "bz2/bwt_inverse.h"
#include "bz2/bz2_common.h"
#include "bz2/mtf_list.h"

namespace lum::bz2 {
namespace {

constexpr Lum16u kRunB = 1;  // RUNA = 0 and RUNB = 1 are the digits of a zero run

// Zero-run decoding and inverse move-to-front from a fresh list in one pass: a run of
// digits repeats the front of the list, a symbol v > 1 is the entry of rank v - 1. The
// symbols are known to be at most 256. lumStsSizeErr when the block needs more than room
// bytes, lumStsCorruptDataErr for a run longer than 2^31 - 1.
LumStatus decodeRanks(const Lum16u* src, int srcLen, Lum8u* dst, int room, int* written) {
    Lum8u entries[256];
    for (int c = 0; c < 256; ++c) entries[c] = static_cast<Lum8u>(c);
    MtfList list(entries);
    int out = 0;
    for (int i = 0; i < srcLen;) {
        if (src[i] > kRunB) {
            if (out == room) return lumStsSizeErr;
            dst[out++] = list.decode(src[i++] - 1);
            continue;
        }
        long long len = 0, weight = 1;
        for (; i < srcLen && src[i] <= kRunB; ++i, weight <<= 1) {
            len += weight << src[i];
            if (len > 0x7FFFFFFF) return lumStsCorruptDataErr;
        }
        if (len > room - out) return lumStsSizeErr;
        const Lum8u front = list.front();
        if (len <= 8 && room - out >= 8) {
            storeWord(dst + out, kOnes * front);  // bytes past the run are written later
        } else {
            std::memset(dst + out, front, static_cast<size_t>(len));
        }
        out += static_cast<int>(len);
    }
    *written = out;
    return lumStsNoErr;
}

}  // namespace
}  // namespace lum::bz2

extern "C" LumStatus lumsDecodeBlock_BZ2_16u8u(const Lum16u* pSrc, int srcLen, Lum8u* pDst,
                                               int* pDstLen, int index, int sizeDictionary,
                                               const Lum8u inUse[256], Lum8u* pBuff) {
    if (pSrc == nullptr || pDst == nullptr || pDstLen == nullptr || inUse == nullptr ||
        pBuff == nullptr)
        return lumStsNullPtrErr;
    if (srcLen < 0 || *pDstLen < 0) return lumStsSizeErr;
    if (sizeDictionary < 1 || sizeDictionary > 256) return lumStsBadArgErr;
    // A value of the block is a rank below sizeDictionary, so its symbol is at most
    // sizeDictionary; anything above cannot come from a valid block.
    Lum16u top = 0;
    for (int i = 0; i < srcLen; ++i) top = std::max(top, pSrc[i]);
    if (top > sizeDictionary) return lumStsCorruptDataErr;

    int n = 0;
    if (LumStatus st = lum::bz2::decodeRanks(pSrc, srcLen, pDst, *pDstLen, &n); st != lumStsNoErr)
        return st;
    // An empty block has no row for the index (bzip2 decoders refuse it too).
    if (index < 0 || index >= n) return lumStsCorruptDataErr;

    // The inverse BWT writes the expanded values at once.
    Lum8u value[256];
    lum::bz2::expansionTable(inUse, value);
    lum::bz2::inverseBwt(pDst, pDst, n, index, pBuff, value);
    *pDstLen = n;
    return lumStsNoErr;
}
