// CRC computation by carry-less multiplication folding, written once for registers of
// 128, 256 and 512 bits.
//
// Each kernel file includes this header after <immintrin.h> with two macros defined:
//   LUM_FOLD_NS      a namespace name of its own (the code below is compiled once per
//                    instruction set, and the names must not collide between them);
//   LUM_FOLD_TARGET  the function attribute enabling that instruction set.
// It then defines its register type V (see V128 below for the members needed) and
// instantiates foldUpdate<V, Model, kAccumulators>.
//
// Method: the message is loaded in 16-byte lanes whose bit order matches the CRC's (byte
// reversed for most-significant-bit-first CRCs). kAccumulators registers take consecutive
// blocks; each step multiplies every lane by x^(stride in bits) modulo P (two 64x32-bit
// carry-less products, see CrcModel::fold) and adds the next block. The accumulators and
// then the lanes are folded into one 128-bit lane, which holds a 128-bit message congruent
// to everything read so far; its CRC and that of the last bytes (fewer than 16) are taken
// with the portable tables.
#if !defined(LUM_FOLD_NS) || !defined(LUM_FOLD_TARGET)
#error "define LUM_FOLD_NS and LUM_FOLD_TARGET before including crc_fold_engine.h"
#endif

#include "checksums/crc_model.h"

namespace lum::checksums::LUM_FOLD_NS {

template <class Model, unsigned kBits>
LUM_FOLD_TARGET inline __m128i foldConstants() {
    constexpr FoldPair k = Model::fold(kBits);
    return _mm_set_epi64x(static_cast<long long>(k.hi), static_cast<long long>(k.lo));
}

LUM_FOLD_TARGET inline __m128i byteReverse16() {
    return _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

template <class Model>
LUM_FOLD_TARGET inline __m128i load16(const Lum8u* p) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    if constexpr (Model::kIsReflected) return v;
    return _mm_shuffle_epi8(v, byteReverse16());
}

// A lane times x^bits modulo P (k = foldConstants for bits), still 128 bits wide.
LUM_FOLD_TARGET inline __m128i fold16(__m128i lane, __m128i k) {
    return _mm_xor_si128(_mm_clmulepi64_si128(lane, k, 0x00), _mm_clmulepi64_si128(lane, k, 0x11));
}

// The CRC register continues a message by being added to its first 32 bits.
template <class Model>
LUM_FOLD_TARGET inline __m128i registerAsMessage(Lum32u raw) {
    const __m128i v = _mm_cvtsi32_si128(static_cast<int>(raw));
    if constexpr (Model::kIsReflected) return v;
    return _mm_slli_si128(v, 12);
}

// The CRC of the 16-byte message a lane holds.
template <class Model>
LUM_FOLD_TARGET inline Lum32u laneCrc(__m128i x) {
    alignas(16) Lum8u bytes[16];
    if constexpr (!Model::kIsReflected) x = _mm_shuffle_epi8(x, byteReverse16());
    _mm_store_si128(reinterpret_cast<__m128i*>(bytes), x);
    return Model::tableUpdate(0, bytes, 16);
}

// Folds every lane of r into its last lane.
template <class V, class Model>
LUM_FOLD_TARGET inline __m128i reduceLanes(typename V::Reg r) {
    __m128i lane[V::kLanes];
    V::lanes(r, lane);
    __m128i x = lane[V::kLanes - 1];
    if constexpr (V::kLanes >= 2) x = _mm_xor_si128(x, fold16(lane[V::kLanes - 2], foldConstants<Model, 128>()));
    if constexpr (V::kLanes >= 4) {
        x = _mm_xor_si128(x, fold16(lane[1], foldConstants<Model, 256>()));
        x = _mm_xor_si128(x, fold16(lane[0], foldConstants<Model, 384>()));
    }
    return x;
}

// Folds accumulator i (of kAcc) into the last one: distance (kAcc - 1 - i) registers.
template <class V, class Model, int kAcc, int i = 0>
LUM_FOLD_TARGET inline typename V::Reg mergeAccumulators(const typename V::Reg* acc,
                                                          typename V::Reg last) {
    if constexpr (i == kAcc - 1) {
        return last;
    } else {
        constexpr unsigned kDistance = 8u * V::kBytes * (kAcc - 1 - i);
        const typename V::Reg k = V::broadcast(foldConstants<Model, kDistance>());
        last = V::fold(acc[i], k, last);
        return mergeAccumulators<V, Model, kAcc, i + 1>(acc, last);
    }
}

// Continues the raw CRC register over n bytes.
template <class V, class Model, int kAcc>
LUM_FOLD_TARGET Lum32u foldUpdate(Lum32u raw, const Lum8u* p, std::size_t n) {
    using Reg = typename V::Reg;
    constexpr std::size_t kStride = kAcc * V::kBytes;
    if (n < 16) return Model::tableUpdate(raw, p, n);

    __m128i x;
    if (n >= V::kBytes) {
        Reg one;
        if (n >= kStride) {
            Reg acc[kAcc];
            for (int i = 0; i < kAcc; ++i) acc[i] = V::template load<Model>(p + i * V::kBytes);
            acc[0] = V::xorLowLane(acc[0], registerAsMessage<Model>(raw));
            p += kStride;
            n -= kStride;

            const Reg kFar = V::broadcast(foldConstants<Model, 8u * kStride>());
            for (; n >= kStride; p += kStride, n -= kStride) {
                for (int i = 0; i < kAcc; ++i) {
                    acc[i] = V::fold(acc[i], kFar, V::template load<Model>(p + i * V::kBytes));
                }
            }
            one = mergeAccumulators<V, Model, kAcc>(acc, acc[kAcc - 1]);
        } else {
            one = V::xorLowLane(V::template load<Model>(p), registerAsMessage<Model>(raw));
            p += V::kBytes;
            n -= V::kBytes;
        }
        const Reg kNear = V::broadcast(foldConstants<Model, 8u * V::kBytes>());
        for (; n >= V::kBytes; p += V::kBytes, n -= V::kBytes) {
            one = V::fold(one, kNear, V::template load<Model>(p));
        }
        x = reduceLanes<V, Model>(one);
    } else {
        x = _mm_xor_si128(load16<Model>(p), registerAsMessage<Model>(raw));
        p += 16;
        n -= 16;
    }

    const __m128i k16 = foldConstants<Model, 128>();
    for (; n >= 16; p += 16, n -= 16) x = _mm_xor_si128(fold16(x, k16), load16<Model>(p));
    return Model::tableUpdate(laneCrc<Model>(x), p, n);
}

// The 128-bit register, the model for the wider ones.
struct V128 {
    using Reg = __m128i;
    static constexpr std::size_t kBytes = 16;
    static constexpr int kLanes = 1;

    template <class Model>
    LUM_FOLD_TARGET static Reg load(const Lum8u* p) { return load16<Model>(p); }
    LUM_FOLD_TARGET static Reg broadcast(__m128i k) { return k; }
    // acc * x^bits + data, k from foldConstants for bits.
    LUM_FOLD_TARGET static Reg fold(Reg acc, Reg k, Reg data) { return _mm_xor_si128(fold16(acc, k), data); }
    LUM_FOLD_TARGET static Reg xorLowLane(Reg r, __m128i v) { return _mm_xor_si128(r, v); }
    LUM_FOLD_TARGET static void lanes(Reg r, __m128i* out) { out[0] = r; }
};

}  // namespace lum::checksums::LUM_FOLD_NS
