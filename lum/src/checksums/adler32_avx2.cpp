// Adler-32 on 256-bit registers (AVX2).
#include <immintrin.h>

#include "checksums/checksum_paths.h"

#define LUM_ADLER_NS avx2
#define LUM_ADLER_TARGET __attribute__((target("avx2")))
#include "checksums/adler32_engine.h"

namespace lum::checksums {

namespace avx2 {
struct V256 {
    using Reg = __m256i;
    static constexpr std::size_t kBytes = 32;

    LUM_ADLER_TARGET static Reg zero() { return _mm256_setzero_si256(); }
    LUM_ADLER_TARGET static Reg load(const Lum8u* p) { return _mm256_loadu_si256(reinterpret_cast<const Reg*>(p)); }
    LUM_ADLER_TARGET static void store(void* p, Reg r) { _mm256_store_si256(static_cast<Reg*>(p), r); }
    LUM_ADLER_TARGET static Reg add64(Reg a, Reg b) { return _mm256_add_epi64(a, b); }
    LUM_ADLER_TARGET static Reg sumBytes(Reg d) { return _mm256_sad_epu8(d, _mm256_setzero_si256()); }
    LUM_ADLER_TARGET static Reg addWeighted(Reg acc, Reg d) {
        const Reg weights = _mm256_setr_epi8(32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17,
                                             16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
        const Reg pairs = _mm256_maddubs_epi16(d, weights);
        return _mm256_add_epi32(acc, _mm256_madd_epi16(pairs, _mm256_set1_epi16(1)));
    }
};
}  // namespace avx2

Lum32u adler32Avx2(Lum32u adler, const Lum8u* p, std::size_t n) {
    return avx2::adlerUpdate<avx2::V256>(adler, p, n);
}

}  // namespace lum::checksums
