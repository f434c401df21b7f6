// CRC kernels folding 128-bit registers (PCLMULQDQ, SSE4.1).
#include <immintrin.h>

#include "checksums/checksum_paths.h"

#define LUM_FOLD_NS clmul128
#define LUM_FOLD_TARGET __attribute__((target("sse4.1,pclmul")))
#include "checksums/crc_fold_engine.h"

namespace lum::checksums {

namespace {
constexpr int kAccumulators = 4;  // 64 bytes per step hide the multiplier's latency
template <class Model>
Lum32u run(Lum32u crc, const Lum8u* p, std::size_t n) {
    return ~clmul128::foldUpdate<clmul128::V128, Model, kAccumulators>(~crc, p, n);
}
}  // namespace

Lum32u crc32Clmul(Lum32u crc, const Lum8u* p, std::size_t n) { return run<Crc32Model>(crc, p, n); }
Lum32u crc32cClmul(Lum32u crc, const Lum8u* p, std::size_t n) { return run<Crc32cModel>(crc, p, n); }
Lum32u crc32Bz2Clmul(Lum32u crc, const Lum8u* p, std::size_t n) { return run<CrcBz2Model>(crc, p, n); }

}  // namespace lum::checksums
