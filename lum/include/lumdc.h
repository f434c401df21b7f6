/*
 * lumdc.h - data-compression functions of the lum libraries.
 *
 * Common rules: lengths are int; a null pointer gives lumStsNullPtrErr and a negative
 * length lumStsSizeErr, both checked before anything is read or written.
 */
#ifndef LUMDC_H
#define LUMDC_H

#include "lumcore.h"
#include "lums.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Checksums -----------------------------------------------------------------------
 * Each continues from the value in *p and stores the new value there, so a running value
 * over several buffers equals one over their concatenation. Start from 0 (Adler-32: 1)
 * for a fresh checksum. A length of 0 leaves *p unchanged.
 */

/* CRC-32 of gzip and zip (reflected polynomial 0xEDB88320, value inverted on entry and
 * exit, as zlib's crc32): "123456789" from 0 gives 0xCBF43926. */
LUM_API LumStatus lumsCRC32_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32);

/* CRC-32C, Castagnoli (reflected polynomial 0x82F63B78, inverted on entry and exit):
 * "123456789" from 0 gives 0xE3069283. */
LUM_API LumStatus lumsCRC32C_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32C);

/* The bzip2 block CRC (polynomial 0x04C11DB7, most significant bit first, inverted on
 * entry and exit): "123456789" from 0 gives 0xFC891918. */
LUM_API LumStatus lumsCRC32_BZ2_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32);

/* Adler-32 as zlib's adler32 (the fresh value is 1): "123456789" from 1 gives
 * 0x091E01DE. */
LUM_API LumStatus lumsAdler32_8u(const Lum8u* pSrc, int len, Lum32u* pAdler32);

/* Version record of liblumdc. */
LUM_API const LumLibraryVersion* lumdcGetLibVersion(void);

#ifdef __cplusplus
}
#endif

#endif /* LUMDC_H */
