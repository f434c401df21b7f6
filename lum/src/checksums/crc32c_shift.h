// Joining CRC-32C registers computed over adjacent blocks: a register shifted over the
// bytes that follow it, with one carry-less multiplication and one crc32 instruction.
#ifndef LUM_CHECKSUMS_CRC32C_SHIFT_H
#define LUM_CHECKSUMS_CRC32C_SHIFT_H

#include <immintrin.h>

#include "checksums/crc_model.h"

namespace lum::checksums {

// c x^bits mod P for a raw register c, with k = Crc32cModel::shift(bits).
__attribute__((target("sse4.2,pclmul"))) inline Lum32u shiftCrc32cRegister(Lum32u c, Lum64u k) {
    const __m128i product = _mm_clmulepi64_si128(_mm_cvtsi32_si128(static_cast<int>(c)),
                                                  _mm_cvtsi64_si128(static_cast<long long>(k)), 0x00);
    return static_cast<Lum32u>(_mm_crc32_u64(0, static_cast<Lum64u>(_mm_cvtsi128_si64(product))));
}

}  // namespace lum::checksums

#endif
