// Inflate's symbol decoder: the portable path, the exact match copy shared by the paths,
// and the choice of path.
#include "deflate/inflate_huffman.h"

#define LUM_INFLATE_NS portable
#define LUM_INFLATE_TARGET
#include "deflate/inflate_huffman_engine.h"

namespace lum::deflate {

Result copyMatch(Cursor& c, unsigned len, unsigned dist) {
    if (dist > static_cast<std::size_t>(c.out - c.winStart)) return Result::Corrupt;
    const unsigned n = static_cast<unsigned>(std::min<std::ptrdiff_t>(len, c.outEnd - c.out));
    for (unsigned i = 0; i < n; ++i, ++c.out) *c.out = *(c.out - dist);
    if (n == len) return Result::More;
    c.pendingLen = len - n;
    c.pendingDist = dist;
    return Result::DstFull;
}

Result copyPending(Cursor& c) {
    const unsigned len = c.pendingLen;
    c.pendingLen = 0;
    return len ? copyMatch(c, len, c.pendingDist) : Result::More;
}

Result decodeHuffmanPortable(Cursor& c, const Lum32u* litLen, const Lum32u* dist) {
    return portable::decodeHuffman(c, litLen, dist);
}

namespace {
constexpr CodePath<HuffmanDecoder> kPaths[] = {
#if defined(__x86_64__)
    {"bmi2", lumCpuFeatureBMI2, decodeHuffmanBmi2},
#endif
    {"portable", 0, decodeHuffmanPortable},
};
}  // namespace

const DispatchSlot<HuffmanDecoder>& huffmanDecoderSlot() {
    static DispatchSlot<HuffmanDecoder> slot(kPaths);
    return slot;
}

}  // namespace lum::deflate
