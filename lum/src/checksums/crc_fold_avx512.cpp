// CRC kernels folding 512-bit registers (VPCLMULQDQ with AVX-512).
#include <immintrin.h>

#include "checksums/checksum_paths.h"

#define LUM_FOLD_NS vpclmul512
#define LUM_FOLD_TARGET __attribute__((target("avx512f,avx512bw,avx512vl,pclmul,vpclmulqdq")))
#include "checksums/crc_fold_engine.h"

namespace lum::checksums {

namespace vpclmul512 {
struct V512 {
    using Reg = __m512i;
    static constexpr std::size_t kBytes = 64;
    static constexpr int kLanes = 4;

    template <class Model>
    LUM_FOLD_TARGET static Reg load(const Lum8u* p) {
        const Reg v = _mm512_loadu_si512(p);
        if constexpr (Model::kIsReflected) return v;
        return _mm512_shuffle_epi8(v, broadcast(byteReverse16()));
    }
    // The zero-masking forms avoid a false uninitialised-value warning of GCC 12.
    LUM_FOLD_TARGET static Reg broadcast(__m128i k) { return _mm512_maskz_broadcast_i32x4(0xFFFF, k); }
    LUM_FOLD_TARGET static Reg fold(Reg acc, Reg k, Reg data) {
        const Reg lo = _mm512_clmulepi64_epi128(acc, k, 0x00);
        const Reg hi = _mm512_clmulepi64_epi128(acc, k, 0x11);
        return _mm512_ternarylogic_epi64(lo, hi, data, 0x96);  // three-way xor
    }
    LUM_FOLD_TARGET static Reg xorLowLane(Reg r, __m128i v) {
        return _mm512_xor_si512(r, _mm512_zextsi128_si512(v));
    }
    LUM_FOLD_TARGET static void lanes(Reg r, __m128i* out) {
        out[0] = _mm512_maskz_extracti32x4_epi32(0xF, r, 0);
        out[1] = _mm512_maskz_extracti32x4_epi32(0xF, r, 1);
        out[2] = _mm512_maskz_extracti32x4_epi32(0xF, r, 2);
        out[3] = _mm512_maskz_extracti32x4_epi32(0xF, r, 3);
    }
};
}  // namespace vpclmul512

namespace {
constexpr int kAccumulators = 4;  // eight measure no faster: the multiplier is saturated
template <class Model>
Lum32u run(Lum32u crc, const Lum8u* p, std::size_t n) {
    return ~vpclmul512::foldUpdate<vpclmul512::V512, Model, kAccumulators>(~crc, p, n);
}
}  // namespace

Lum32u crc32Vpclmul512(Lum32u crc, const Lum8u* p, std::size_t n) { return run<Crc32Model>(crc, p, n); }
Lum32u crc32cVpclmul512(Lum32u crc, const Lum8u* p, std::size_t n) { return run<Crc32cModel>(crc, p, n); }
Lum32u crc32Bz2Vpclmul512(Lum32u crc, const Lum8u* p, std::size_t n) { return run<CrcBz2Model>(crc, p, n); }

}  // namespace lum::checksums
