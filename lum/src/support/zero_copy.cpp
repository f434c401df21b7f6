// Byte fill and copy. The C library's versions already pick the best instructions for
// the processor at load time.
#include <cstring>

#include "lums.h"

extern "C" {

LumStatus lumsZero_8u(Lum8u* pDst, int len) {
    if (pDst == nullptr) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    std::memset(pDst, 0, static_cast<size_t>(len));
    return lumStsNoErr;
}

LumStatus lumsCopy_8u(const Lum8u* pSrc, Lum8u* pDst, int len) {
    if (pSrc == nullptr || pDst == nullptr) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    std::memmove(pDst, pSrc, static_cast<size_t>(len));
    return lumStsNoErr;
}

}  // extern "C"
