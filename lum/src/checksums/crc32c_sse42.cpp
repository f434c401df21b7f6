// CRC-32C with the SSE4.2 crc32 instruction. The instruction has a latency of about three
// cycles and a throughput of one per cycle, so three independent streams over adjacent
// blocks keep it busy; the streams are joined by shifting the first two registers over the
// following blocks with one carry-less multiplication and one crc32 each.
#include <immintrin.h>

#include <cstring>

#include "checksums/checksum_paths.h"
#include "checksums/crc32c_shift.h"
#include "checksums/crc_model.h"

namespace lum::checksums {

namespace {

#define LUM_SSE42_TARGET __attribute__((target("sse4.2,pclmul")))

LUM_SSE42_TARGET inline Lum64u load64(const Lum8u* p) {
    Lum64u v;
    std::memcpy(&v, p, 8);
    return v;
}

// Consumes as many runs of three kBlock-byte blocks as fit.
template <std::size_t kBlock>
LUM_SSE42_TARGET inline Lum32u threeStreams(Lum32u raw, const Lum8u*& p, std::size_t& n) {
    constexpr Lum64u kShiftOne = Crc32cModel::shift(8 * kBlock);
    constexpr Lum64u kShiftTwo = Crc32cModel::shift(16 * kBlock);
    for (; n >= 3 * kBlock; p += 3 * kBlock, n -= 3 * kBlock) {
        Lum64u a = raw, b = 0, c = 0;
        for (std::size_t i = 0; i < kBlock; i += 8) {
            a = _mm_crc32_u64(a, load64(p + i));
            b = _mm_crc32_u64(b, load64(p + kBlock + i));
            c = _mm_crc32_u64(c, load64(p + 2 * kBlock + i));
        }
        raw = shiftCrc32cRegister(static_cast<Lum32u>(a), kShiftTwo) ^
              shiftCrc32cRegister(static_cast<Lum32u>(b), kShiftOne) ^ static_cast<Lum32u>(c);
    }
    return raw;
}

LUM_SSE42_TARGET Lum32u update(Lum32u raw, const Lum8u* p, std::size_t n) {
    raw = threeStreams<4096>(raw, p, n);
    raw = threeStreams<256>(raw, p, n);
    Lum64u r = raw;
    for (; n >= 8; p += 8, n -= 8) r = _mm_crc32_u64(r, load64(p));
    raw = static_cast<Lum32u>(r);
    for (; n > 0; ++p, --n) raw = _mm_crc32_u8(raw, *p);
    return raw;
}

}  // namespace

Lum32u crc32cSse42(Lum32u crc, const Lum8u* p, std::size_t n) { return ~update(~crc, p, n); }

}  // namespace lum::checksums
