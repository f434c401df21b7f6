// Decoding of one bzip2 block after its Huffman stage: zero-run decoding, inverse
// move-to-front from a fresh list, inverse BWT and dictionary expansion (done by the
// inverse BWT as it writes), all in the destination. The result is the block's
// first-stage run-length data.
#include <algorithm>

#include "bz2/bwt_inverse.h"
#include "bz2/bz2_common.h"

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

    Lum16u* src = const_cast<Lum16u*>(pSrc);  // the decoder only advances the pointer
    int left = srcLen, n = *pDstLen;
    LumStatus status = lumsDecodeZ1Z2_BZ2_16u8u(&src, &left, pDst, &n);
    if (status == lumStsDstFullWrn) return lumStsSizeErr;  // the block is larger than *pDstLen
    if (status != lumStsNoErr) return status;
    if (n > 0 && (index < 0 || index >= n)) return lumStsCorruptDataErr;

    alignas(8) Lum8u mtfState[512];
    int mtfSize = 0;
    lumsMTFGetSize_8u(&mtfSize);
    if (mtfSize > static_cast<int>(sizeof(mtfState))) return lumStsErr;
    auto* mtf = reinterpret_cast<LumMTFState_8u*>(mtfState);
    lumsMTFInit_8u(mtf);
    lumsMTFInv_8u(pDst, pDst, n, mtf);
    // The inverse BWT writes the expanded values at once.
    Lum8u value[256];
    lum::bz2::expansionTable(inUse, value);
    if (n > 0) lum::bz2::inverseBwt(pDst, pDst, n, index, pBuff, value);
    *pDstLen = n;
    return lumStsNoErr;
}
