/*
 * lumsCRC32_8u on zlib's crc32: an implementation of one lum function of your
 * own, measured by perfdc in place of lum's. Built as a shared library and loaded
 * with LD_PRELOAD, its lumsCRC32_8u is found before the one in liblumdc, so perfdc
 * times it on the same grid with no rebuild of lum or perfdc.
 *
 * It keeps lum's contract (lumdc.h): the checksum continues from *pCRC32, a null
 * pointer gives lumStsNullPtrErr and a negative length lumStsSizeErr before
 * anything is read, and a length of 0 leaves *pCRC32 unchanged.
 */
#include <lumdc.h>
#include <zlib.h>

LUM_API LumStatus lumsCRC32_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32) {
    if (pSrc == NULL || pCRC32 == NULL) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    if (len > 0) *pCRC32 = (Lum32u)crc32(*pCRC32, pSrc, (uInt)len);
    return lumStsNoErr;
}
