// Internal interface of the inverse Burrows-Wheeler transform, for the block decoder,
// which has every output byte translated on the way (dictionary expansion) instead of in
// a pass of its own.
#ifndef LUM_BZ2_BWT_INVERSE_H
#define LUM_BZ2_BWT_INVERSE_H

#include "lumdc.h"

namespace lum::bz2 {

// Decodes the last column last[0..n) (n >= 1, 0 <= index < n) into dst[0..n), each byte c
// written as map[c]. work: lumsBWTInvGetSize_8u(n) bytes, any alignment. dst may be last.
void inverseBwt(const Lum8u* last, Lum8u* dst, int n, int index, Lum8u* work,
                const Lum8u map[256]);

}  // namespace lum::bz2

#endif
