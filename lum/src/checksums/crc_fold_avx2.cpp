// CRC kernels folding 256-bit registers (VPCLMULQDQ with AVX2).
#include <immintrin.h>

#include "checksums/checksum_paths.h"

#define LUM_FOLD_NS vpclmul256
#define LUM_FOLD_TARGET __attribute__((target("avx2,pclmul,vpclmulqdq")))
#include "checksums/crc_fold_engine.h"

namespace lum::checksums {

namespace vpclmul256 {
struct V256 {
    using Reg = __m256i;
    static constexpr std::size_t kBytes = 32;
    static constexpr int kLanes = 2;

    template <class Model>
    LUM_FOLD_TARGET static Reg load(const Lum8u* p) {
        const Reg v = _mm256_loadu_si256(reinterpret_cast<const Reg*>(p));
        if constexpr (Model::kIsReflected) return v;
        return _mm256_shuffle_epi8(v, broadcast(byteReverse16()));
    }
    LUM_FOLD_TARGET static Reg broadcast(__m128i k) { return _mm256_broadcastsi128_si256(k); }
    LUM_FOLD_TARGET static Reg fold(Reg acc, Reg k, Reg data) {
        const Reg lo = _mm256_clmulepi64_epi128(acc, k, 0x00);
        const Reg hi = _mm256_clmulepi64_epi128(acc, k, 0x11);
        return _mm256_xor_si256(_mm256_xor_si256(lo, hi), data);
    }
    LUM_FOLD_TARGET static Reg xorLowLane(Reg r, __m128i v) {
        return _mm256_xor_si256(r, _mm256_zextsi128_si256(v));
    }
    LUM_FOLD_TARGET static void lanes(Reg r, __m128i* out) {
        out[0] = _mm256_castsi256_si128(r);
        out[1] = _mm256_extracti128_si256(r, 1);
    }
};
}  // namespace vpclmul256

namespace {
constexpr int kAccumulators = 4;  // 128 bytes per step
template <class Model>
Lum32u run(Lum32u crc, const Lum8u* p, std::size_t n) {
    return ~vpclmul256::foldUpdate<vpclmul256::V256, Model, kAccumulators>(~crc, p, n);
}
}  // namespace

Lum32u crc32Vpclmul256(Lum32u crc, const Lum8u* p, std::size_t n) { return run<Crc32Model>(crc, p, n); }
Lum32u crc32cVpclmul256(Lum32u crc, const Lum8u* p, std::size_t n) { return run<Crc32cModel>(crc, p, n); }
Lum32u crc32Bz2Vpclmul256(Lum32u crc, const Lum8u* p, std::size_t n) { return run<CrcBz2Model>(crc, p, n); }

}  // namespace lum::checksums
