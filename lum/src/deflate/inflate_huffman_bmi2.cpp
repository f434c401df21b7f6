// Inflate's symbol decoder compiled for BMI2: variable shifts and bit masks without
// flag dependencies (SHRX, BZHI), which shortens the chain from one code to the next.
#if defined(__x86_64__)
#include "deflate/inflate_huffman.h"

#define LUM_INFLATE_NS bmi2
#define LUM_INFLATE_TARGET __attribute__((target("bmi,bmi2")))
#include "deflate/inflate_huffman_engine.h"

namespace lum::deflate {

LUM_INFLATE_TARGET Result decodeHuffmanBmi2(Cursor& c, const Lum32u* litLen, const Lum32u* dist) {
    return bmi2::decodeHuffman(c, litLen, dist);
}

}  // namespace lum::deflate

#endif  // __x86_64__
