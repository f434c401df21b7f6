// The two deflate encoder stages as one raw deflate stream: the LZ77 stage over the data
// fed in pieces, then the Huffman stage with the fixed codes behind a final fixed-block
// header, closed with the end-of-block code.
#pragma once

#include <algorithm>

#include "check.h"

namespace deflate_fixed {

// The fixed literal/length (288) and distance (30) codes, bit-reversed.
struct FixedCodes {
    LumDeflateHuffCode lit[288], dist[30];
};

inline Lum16u reversed(unsigned code, int len) {
    unsigned r = 0;
    for (int i = 0; i < len; ++i, code >>= 1) r = r << 1 | (code & 1);
    return Lum16u(r);
}

inline const FixedCodes& fixedCodes() {
    static const FixedCodes codes = [] {
        FixedCodes c{};
        for (int s = 0; s < 288; ++s) {
            const int len = s < 144 ? 8 : s < 256 ? 9 : s < 280 ? 7 : 8;
            const unsigned code = s < 144 ? 0x30 + s : s < 256 ? 0x190 + s - 144 : s < 280 ? s - 256 : 0xC0 + s - 280;
            c.lit[s] = {reversed(code, len), Lum16u(len)};
        }
        for (int d = 0; d < 30; ++d) c.dist[d] = {reversed(unsigned(d), 5), 5};
        return c;
    }();
    return codes;
}

// `s` through the LZ77 stage `piece` bytes at a time (the last call with FinishFlush, the
// others with `middle`), from empty hash heads and the given prev table, then through the
// Huffman stage. `farthest`, when given, gets the largest distance coded.
inline Bytes compress(const Bytes& s, int level, int winSize, int hashSize, LumLZ77Flush middle, int piece,
                      std::vector<Lum32s> prev, int* farthest = nullptr) {
    const int n = int(s.size());
    std::vector<Lum32s> head(size_t(hashSize), -winSize);
    Lum32u litFreq[286] = {}, distFreq[30] = {};
    Bytes lit(size_t(n) + 1);
    std::vector<Lum16u> dist(size_t(n) + 1);
    static const Lum8u none = 0;
    const Lum8u* window = s.empty() ? &none : s.data();
    const Lum8u* src = window;
    int srcIdx = 0, symbols = 0, fed = 0;
    for (bool final = false; !final;) {
        fed = std::min(n, fed + piece);
        final = fed == n;
        int srcLen = fed - srcIdx, room = n + 1 - symbols;
        const LumStatus st = lumsDeflateLZ77_8u(&src, &srcLen, &srcIdx, window, winSize, head.data(), prev.data(), hashSize,
                                                litFreq, distFreq, &lit[size_t(symbols)], &dist[size_t(symbols)], &room,
                                                level, final ? lumLZ77FinishFlush : middle);
        FUZZ_CHECK(st == lumStsNoErr, "LZ77 status");
        symbols = n + 1 - room;
        FUZZ_CHECK(src == window + srcIdx, "source position");
    }
    FUZZ_CHECK(srcIdx == n, "all source consumed");
    if (farthest) *farthest = *std::max_element(dist.begin(), dist.end());
    const FixedCodes& codes = fixedCodes();
    Bytes out(size_t(n) * 2 + 16);
    Lum32u code = 3;  // BFINAL 1, BTYPE 01
    int bits = 3, idx = 0;
    FUZZ_CHECK(lumsDeflateHuff_8u(lit.data(), dist.data(), symbols, &code, &bits, codes.lit, codes.dist, out.data(), &idx) ==
                   lumStsNoErr, "Huffman status");
    code |= Lum32u(codes.lit[256].code) << bits;
    for (bits += codes.lit[256].len; bits > 0; bits -= 8, code >>= 8) out[size_t(idx++)] = Lum8u(code);
    out.resize(size_t(idx));
    return out;
}

}  // namespace deflate_fixed
