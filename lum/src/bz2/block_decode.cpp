// Decoding of one bzip2 block after its Huffman stage: zero-run decoding, inverse
// move-to-front from a fresh list, inverse BWT and dictionary expansion, all in the
// destination. The result is the block's first-stage run-length data.
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
    for (int i = 0; i < srcLen; ++i)
        if (pSrc[i] > sizeDictionary) return lumStsCorruptDataErr;

    Lum16u* src = const_cast<Lum16u*>(pSrc);  // the decoder only advances the pointer
    int left = srcLen, n = *pDstLen;
    LumStatus status = lumsDecodeZ1Z2_BZ2_16u8u(&src, &left, pDst, &n);
    if (status == lumStsDstFullWrn) return lumStsSizeErr;  // the block is larger than *pDstLen
    if (status != lumStsNoErr) return status;
    // An empty block has no row for the index (bzip2 decoders refuse it too).
    if (index < 0 || index >= n) return lumStsCorruptDataErr;

    alignas(8) Lum8u mtfState[512];
    int mtfSize = 0;
    lumsMTFGetSize_8u(&mtfSize);
    if (mtfSize > static_cast<int>(sizeof(mtfState))) return lumStsErr;
    auto* mtf = reinterpret_cast<LumMTFState_8u*>(mtfState);
    lumsMTFInit_8u(mtf);
    lumsMTFInv_8u(pDst, pDst, n, mtf);
    lumsBWTInv_8u(pDst, pDst, n, index, pBuff);
    lumsExpandDictionary_8u_I(inUse, pDst, n, sizeDictionary);
    *pDstLen = n;
    return lumStsNoErr;
}
