// Adler-32 on 512-bit registers (AVX-512 BW).
#include <immintrin.h>

#include "checksums/checksum_paths.h"

#define LUM_ADLER_NS avx512
#define LUM_ADLER_TARGET __attribute__((target("avx512f,avx512bw")))
#include "checksums/adler32_engine.h"

namespace lum::checksums {

namespace avx512 {

// Weights 64, 63, ..., 1 for bytes 0 .. 63 of a chunk.
LUM_ADLER_TARGET inline __m512i chunkWeights() {
    const __m512i ramp = _mm512_set_epi8(
        63, 62, 61, 60, 59, 58, 57, 56, 55, 54, 53, 52, 51, 50, 49, 48, 47, 46, 45, 44, 43, 42,
        41, 40, 39, 38, 37, 36, 35, 34, 33, 32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20,
        19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    return _mm512_sub_epi8(_mm512_set1_epi8(64), ramp);
}

struct V512 {
    using Reg = __m512i;
    static constexpr std::size_t kBytes = 64;

    LUM_ADLER_TARGET static Reg zero() { return _mm512_setzero_si512(); }
    LUM_ADLER_TARGET static Reg load(const Lum8u* p) { return _mm512_loadu_si512(p); }
    LUM_ADLER_TARGET static void store(void* p, Reg r) { _mm512_store_si512(p, r); }
    LUM_ADLER_TARGET static Reg add64(Reg a, Reg b) { return _mm512_add_epi64(a, b); }
    LUM_ADLER_TARGET static Reg sumBytes(Reg d) { return _mm512_sad_epu8(d, _mm512_setzero_si512()); }
    LUM_ADLER_TARGET static Reg addWeighted(Reg acc, Reg d) {
        const Reg pairs = _mm512_maddubs_epi16(d, chunkWeights());
        return _mm512_add_epi32(acc, _mm512_madd_epi16(pairs, _mm512_set1_epi16(1)));
    }
};

}  // namespace avx512

Lum32u adler32Avx512(Lum32u adler, const Lum8u* p, std::size_t n) {
    return avx512::adlerUpdate<avx512::V512>(adler, p, n);
}

}  // namespace lum::checksums
