// Adler-32 on 128-bit registers (SSSE3).
#include <immintrin.h>

#include "checksums/checksum_paths.h"

#define LUM_ADLER_NS ssse3
#define LUM_ADLER_TARGET __attribute__((target("ssse3")))
#include "checksums/adler32_engine.h"

namespace lum::checksums {

namespace ssse3 {
struct V128 {
    using Reg = __m128i;
    static constexpr std::size_t kBytes = 16;

    LUM_ADLER_TARGET static Reg zero() { return _mm_setzero_si128(); }
    LUM_ADLER_TARGET static Reg load(const Lum8u* p) { return _mm_loadu_si128(reinterpret_cast<const Reg*>(p)); }
    LUM_ADLER_TARGET static void store(void* p, Reg r) { _mm_store_si128(static_cast<Reg*>(p), r); }
    LUM_ADLER_TARGET static Reg add64(Reg a, Reg b) { return _mm_add_epi64(a, b); }
    LUM_ADLER_TARGET static Reg sumBytes(Reg d) { return _mm_sad_epu8(d, _mm_setzero_si128()); }
    LUM_ADLER_TARGET static Reg addWeighted(Reg acc, Reg d) {
        const Reg weights = _mm_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
        const Reg pairs = _mm_maddubs_epi16(d, weights);
        return _mm_add_epi32(acc, _mm_madd_epi16(pairs, _mm_set1_epi16(1)));
    }
};
}  // namespace ssse3

Lum32u adler32Ssse3(Lum32u adler, const Lum8u* p, std::size_t n) {
    return ssse3::adlerUpdate<ssse3::V128>(adler, p, n);
}

}  // namespace lum::checksums
