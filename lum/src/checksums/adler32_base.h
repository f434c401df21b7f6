// Constants of Adler-32 shared by its kernels.
#ifndef LUM_CHECKSUMS_ADLER32_BASE_H
#define LUM_CHECKSUMS_ADLER32_BASE_H

#include <cstddef>

#include "lumcore.h"

namespace lum::checksums {

constexpr Lum32u kAdlerBase = 65521;  // largest prime below 2^16

// Longest run of bytes after which 32-bit sums that started reduced cannot have
// overflowed: 255 n (n + 1) / 2 + (n + 1) (kAdlerBase - 1) < 2^32.
constexpr std::size_t kAdlerMaxRun = 5552;

}  // namespace lum::checksums

#endif
