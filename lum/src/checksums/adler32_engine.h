// Vectorised Adler-32, written once for registers of 128, 256 and 512 bits.
//
// Each kernel file includes this header after <immintrin.h> with LUM_ADLER_NS (a
// namespace of its own) and LUM_ADLER_TARGET (the function attribute of its instruction
// set) defined, then defines its register type V and instantiates adlerUpdate<V>:
//   Reg, kBytes            the register type and its width in bytes;
//   zero(), load(p), store(p, r), add64(a, b)
//   sumBytes(d)            sums of the bytes of d, in 64-bit lanes (psadbw);
//   addWeighted(acc, d)    acc + sum of d[i] * (kBytes - i), in 32-bit lanes.
//
// Over a run of chunks d_0 .. d_{m-1} of kBytes bytes, with K = kBytes and L = m K,
//   s1' = s1 + sum of all bytes,
//   s2' = s2 + L s1 + K sum_c (m - 1 - c) sum(d_c) + sum_c sum_i (K - i) d_c[i].
// The middle term accumulates as the running total of the byte sums taken before each
// chunk ("prefix"). Runs are short enough for the 32-bit lanes; s1 and s2 are reduced
// modulo 65521 after each run.
#if !defined(LUM_ADLER_NS) || !defined(LUM_ADLER_TARGET)
#error "define LUM_ADLER_NS and LUM_ADLER_TARGET before including adler32_engine.h"
#endif

#include "checksums/adler32_base.h"

namespace lum::checksums::LUM_ADLER_NS {

// Sum of the lanes of r taken as elements of type T.
template <class V, class T>
LUM_ADLER_TARGET inline Lum64u sumLanes(typename V::Reg r) {
    alignas(64) T lanes[V::kBytes / sizeof(T)];
    V::store(lanes, r);
    Lum64u sum = 0;
    for (T lane : lanes) sum += lane;
    return sum;
}

template <class V>
LUM_ADLER_TARGET Lum32u adlerUpdate(Lum32u adler, const Lum8u* p, std::size_t n) {
    using Reg = typename V::Reg;
    // 64 KiB runs: each 32-bit lane of the weighted sum gains below 2^16 per chunk.
    constexpr std::size_t kRunChunks = (std::size_t{1} << 16) / V::kBytes;
    Lum64u s1 = (adler & 0xFFFF) % kAdlerBase;
    Lum64u s2 = (adler >> 16) % kAdlerBase;
    while (n >= V::kBytes) {
        std::size_t chunks = n / V::kBytes;
        if (chunks > kRunChunks) chunks = kRunChunks;
        // Two chunks per step with separate weighted sums: the multiply-add latency
        // then overlaps.
        Reg sum = V::zero(), prefix = V::zero(), weighted0 = V::zero(), weighted1 = V::zero();
        std::size_t c = 0;
        for (; c + 2 <= chunks; c += 2, p += 2 * V::kBytes) {
            const Reg d0 = V::load(p);
            const Reg d1 = V::load(p + V::kBytes);
            prefix = V::add64(prefix, sum);
            sum = V::add64(sum, V::sumBytes(d0));
            prefix = V::add64(prefix, sum);
            sum = V::add64(sum, V::sumBytes(d1));
            weighted0 = V::addWeighted(weighted0, d0);
            weighted1 = V::addWeighted(weighted1, d1);
        }
        if (c < chunks) {
            const Reg d = V::load(p);
            prefix = V::add64(prefix, sum);
            sum = V::add64(sum, V::sumBytes(d));
            weighted0 = V::addWeighted(weighted0, d);
            p += V::kBytes;
        }
        const Lum64u runLength = chunks * V::kBytes;
        s2 += s1 * runLength + V::kBytes * sumLanes<V, Lum64u>(prefix) +
              sumLanes<V, Lum32u>(weighted0) + sumLanes<V, Lum32u>(weighted1);
        s1 += sumLanes<V, Lum64u>(sum);
        s1 %= kAdlerBase;
        s2 %= kAdlerBase;
        n -= runLength;
    }
    for (; n > 0; --n, ++p) {
        s1 += *p;
        s2 += s1;
    }
    return static_cast<Lum32u>(((s2 % kAdlerBase) << 16) | (s1 % kAdlerBase));
}

}  // namespace lum::checksums::LUM_ADLER_NS
