// CRC kernels folding 512-bit registers (VPCLMULQDQ with AVX-512), and for CRC-32C the
// same folding with the crc32 instruction working beside it.
#include <immintrin.h>

#include <cstring>

#include "checksums/checksum_paths.h"
#include "checksums/crc32c_shift.h"

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

// CRC-32C, folding and the crc32 instruction side by side. The multiplier takes a 512-bit
// product about every other cycle and the crc32 instruction an 8-byte word every cycle on
// other ports, so the message is cut into chunks of a folded block and three stream
// blocks behind it: each round folds 256 bytes and moves each stream three words on (the
// share that measured fastest on a processor whose crc32 instruction and multiplier
// compete; where they do not, the instruction's work is nearly free).
// After a chunk the streams' registers are joined into one (shifted over the blocks after
// them), which continues the message: it is added to the first bytes of the next folded
// block, and the accumulators fold over the stream blocks to reach that block.
#define LUM_CRC_HYBRID_TARGET __attribute__((target("avx512f,avx512bw,avx512vl,pclmul,vpclmulqdq,sse4.2")))

constexpr int kRounds = 16;
constexpr std::size_t kStreamWords = 3;
constexpr std::size_t kFoldStride = kAccumulators * vpclmul512::V512::kBytes;
constexpr std::size_t kFoldBlock = kRounds * kFoldStride;
constexpr std::size_t kStreamBlock = kRounds * kStreamWords * 8;
constexpr std::size_t kChunk = kFoldBlock + 3 * kStreamBlock;

LUM_CRC_HYBRID_TARGET inline Lum64u load64(const Lum8u* p) {
    Lum64u v;
    std::memcpy(&v, p, 8);
    return v;
}

LUM_CRC_HYBRID_TARGET Lum32u crc32cHybrid(Lum32u raw, const Lum8u* p, std::size_t n) {
    using vpclmul512::V512;
    using Reg = V512::Reg;
    using Model = Crc32cModel;
    if (n < kChunk) return vpclmul512::foldUpdate<V512, Model, kAccumulators>(raw, p, n);

    const Reg kFar = V512::broadcast(vpclmul512::foldConstants<Model, 8 * kFoldStride>());
    const Reg kOverStreams = V512::broadcast(vpclmul512::foldConstants<Model, 8 * (kFoldStride + 3 * kStreamBlock)>());
    // Zero accumulators fold to zero: the first chunk starts like the others.
    Reg acc[kAccumulators];
    for (Reg& a : acc) a = _mm512_setzero_si512();
    Lum32u carry = raw;  // the register the next folded block continues
    for (; n >= kChunk; p += kChunk, n -= kChunk) {
        const Lum8u* s = p + kFoldBlock;
        Lum64u a = 0, b = 0, c = 0;
        for (int r = 0; r < kRounds; ++r, s += kStreamWords * 8) {
            const Lum8u* f = p + r * kFoldStride;
            if (r == 0) {
                acc[0] = V512::fold(acc[0], kOverStreams, V512::xorLowLane(V512::load<Model>(f),
                                                                           vpclmul512::registerAsMessage<Model>(carry)));
                for (int i = 1; i < kAccumulators; ++i)
                    acc[i] = V512::fold(acc[i], kOverStreams, V512::load<Model>(f + i * V512::kBytes));
            } else {
                for (int i = 0; i < kAccumulators; ++i)
                    acc[i] = V512::fold(acc[i], kFar, V512::load<Model>(f + i * V512::kBytes));
            }
            for (std::size_t w = 0; w < kStreamWords * 8; w += 8) {
                a = _mm_crc32_u64(a, load64(s + w));
                b = _mm_crc32_u64(b, load64(s + kStreamBlock + w));
                c = _mm_crc32_u64(c, load64(s + 2 * kStreamBlock + w));
            }
        }
        carry = shiftCrc32cRegister(static_cast<Lum32u>(a), Model::shift(16 * kStreamBlock)) ^
                shiftCrc32cRegister(static_cast<Lum32u>(b), Model::shift(8 * kStreamBlock)) ^ static_cast<Lum32u>(c);
    }
    // The folded blocks' register, shifted over the last stream blocks, and theirs.
    const Reg one = vpclmul512::mergeAccumulators<V512, Model, kAccumulators>(acc, acc[kAccumulators - 1]);
    const Lum32u folded = vpclmul512::laneCrc<Model>(vpclmul512::reduceLanes<V512, Model>(one));
    raw = shiftCrc32cRegister(folded, Model::shift(24 * kStreamBlock)) ^ carry;
    return vpclmul512::foldUpdate<V512, Model, kAccumulators>(raw, p, n);
}

}  // namespace

Lum32u crc32Vpclmul512(Lum32u crc, const Lum8u* p, std::size_t n) { return run<Crc32Model>(crc, p, n); }
Lum32u crc32cVpclmul512Sse42(Lum32u crc, const Lum8u* p, std::size_t n) { return ~crc32cHybrid(~crc, p, n); }
Lum32u crc32cVpclmul512(Lum32u crc, const Lum8u* p, std::size_t n) { return run<Crc32cModel>(crc, p, n); }
Lum32u crc32Bz2Vpclmul512(Lum32u crc, const Lum8u* p, std::size_t n) { return run<CrcBz2Model>(crc, p, n); }

}  // namespace lum::checksums
