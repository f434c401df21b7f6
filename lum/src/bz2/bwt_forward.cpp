// Forward Burrows-Wheeler transform of the cyclic rotations, as bzip2 sorts them: the
// public functions, their argument checks and the choice of sorter for each hint.
#include <algorithm>

#include "bz2/bwt_sort.h"
#include "bz2/bz2_common.h"

namespace lum::bz2 {
namespace {

// Below this size the prefix-doubling sort wins: the suffix sorter sets up 256 KB of
// bucket tables on every call, which dominates the sort of a small block.
constexpr int kAutoDoublingBelow = 2048;

LumStatus bwtForward(const Lum8u* pSrc, Lum8u* pDst, int len, int* pIndex, Lum8u* pBuff,
                     LumBWTSortAlgorithmHint hint) {
    if (pSrc == nullptr || pDst == nullptr || pIndex == nullptr || pBuff == nullptr)
        return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    if (hint < lumBWTItohTanakaLimSort || hint > lumBWTAutoSort) return lumStsBadArgErr;
    if (len <= 1) {
        if (len == 1) pDst[0] = pSrc[0];
        *pIndex = 0;
        return lumStsNoErr;
    }
    const bool doubling = hint == lumBWTSuffixSort ||
                          (hint == lumBWTAutoSort && len < kAutoDoublingBelow);
    return doubling ? bwtByPrefixDoubling(pSrc, pDst, len, pIndex, pBuff)
                    : bwtBySuffixSort(pSrc, pDst, len, pIndex, pBuff);
}

}  // namespace
}  // namespace lum::bz2

extern "C" {

LumStatus lumsBWTFwdGetSize_8u(int wndSize, int* pSize) {
    return lum::bz2::buffSize(wndSize,
                              std::max(lum::bz2::kSuffixSortBytesPerByte,
                                       lum::bz2::kDoublingSortBytesPerByte),
                              pSize);
}

LumStatus lumsBWTFwd_8u(const Lum8u* pSrc, Lum8u* pDst, int len, int* pIndex, Lum8u* pBuff) {
    return lum::bz2::bwtForward(pSrc, pDst, len, pIndex, pBuff, lumBWTAutoSort);
}

LumStatus lumsBWTFwd_SelectSort_8u(const Lum8u* pSrc, Lum8u* pDst, int len, int* pIndex,
                                   Lum8u* pBuff, LumBWTSortAlgorithmHint hint) {
    return lum::bz2::bwtForward(pSrc, pDst, len, pIndex, pBuff, hint);
}

}  // extern "C"
