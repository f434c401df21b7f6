/*
 * lums.h - support functions of the lum libraries: fill, copy, Gaussian random bytes.
 *
 * Common rules: lengths are int; a null pointer gives lumStsNullPtrErr and a negative
 * length lumStsSizeErr, both checked before anything is read or written. A length of 0
 * does nothing and returns lumStsNoErr.
 */
#ifndef LUMS_H
#define LUMS_H

#include "lumcore.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Sets len bytes at pDst to zero. */
LUM_API LumStatus lumsZero_8u(Lum8u* pDst, int len);

/* Copies len bytes from pSrc to pDst; the two ranges may overlap. */
LUM_API LumStatus lumsCopy_8u(const Lum8u* pSrc, Lum8u* pDst, int len);

/*
 * Normally distributed random bytes.
 *
 * Work area: lumsRandGaussGetSize_8u() gives its size in bytes; the caller provides that
 * many bytes (any alignment) and prepares them with lumsRandGaussInit_8u(). The work area
 * holds no pointers, so it may be copied or moved between calls.
 *
 * Generator (fixed, so a seed gives the same bytes on every platform and code path):
 *  - uniform source: SplitMix64; the 64-bit state starts at the seed and each step adds
 *    0x9E3779B97F4A7C15 and returns the usual SplitMix64 mix of the new state;
 *  - normal deviates: Marsaglia's polar method. Two steps r1, r2 give
 *    u = ((r1 >> 11) - 2^52) / 2^52 and v likewise from r2 (exact doubles in [-1, 1));
 *    pairs with s = u*u + v*v outside (0, 1) are rejected, otherwise
 *    f = sqrt(-2 ln(s) / s) gives the two deviates u*f, then v*f (the second is kept in
 *    the work area for the next byte, across calls). ln is the library's own fixed series
 *    in IEEE double arithmetic (no platform maths library), so the results are exact
 *    to the bit everywhere;
 *  - each byte is mean + stdDev * deviate rounded to nearest (halves upwards) and
 *    saturated to 0..255. stdDev 0 gives constant bytes of value mean.
 * lumsRandGauss_8u returns lumStsContextMatchErr for a work area that Init did not prepare.
 */
typedef struct LumsRandGaussState_8u LumsRandGaussState_8u;

LUM_API LumStatus lumsRandGaussGetSize_8u(int* pSize);
LUM_API LumStatus lumsRandGaussInit_8u(LumsRandGaussState_8u* pState, Lum8u mean, Lum8u stdDev,
                                       unsigned int seed);
LUM_API LumStatus lumsRandGauss_8u(Lum8u* pDst, int len, LumsRandGaussState_8u* pState);

/* Version record of liblums. */
LUM_API const LumLibraryVersion* lumsGetLibVersion(void);

#ifdef __cplusplus
}
#endif

#endif /* LUMS_H */
