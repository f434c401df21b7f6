// The deflate encoder stages on fuzzer-chosen data and settings (level, window, hash size,
// the flush of the middle calls, source pieces) make a fixed-code block that zlib's raw
// inflate must decode to the data.
#include <zlib.h>

#include "fuzz.h"

namespace {

struct FixedCodes {
    LumDeflateHuffCode lit[288], dist[30];
};

Lum16u reversed(unsigned code, int len) {
    unsigned r = 0;
    for (int i = 0; i < len; ++i, code >>= 1) r = r << 1 | (code & 1);
    return Lum16u(r);
}

const FixedCodes& fixedCodes() {
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    const Bytes& s = in.payload;
    const int n = int(s.size());
    const int level = in.params.ConsumeIntegralInRange(0, 8) + 1;  // a zero tail is level 1... 9
    const int winSize = 32768 >> in.params.ConsumeIntegralInRange(0, 7);
    const int hashSize = in.params.ConsumeIntegralInRange(0, 65535) + 1;
    const auto middle = LumLZ77Flush(in.params.ConsumeIntegralInRange(0, 2));
    const int piece = in.piece(n + 1);
    std::vector<Lum32s> head(size_t(hashSize), -winSize), prev(size_t(winSize), 0x5A5A5A5A);
    Lum32u litFreq[286] = {}, distFreq[30] = {};
    Bytes lit(size_t(n) + 1);
    std::vector<Lum16u> dist(size_t(n) + 1);
    const Lum8u* window = fuzz::ptr(in.payload);
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
    const FixedCodes& codes = fixedCodes();
    Bytes out(size_t(n) * 2 + 16);
    Lum32u code = 3;  // BFINAL 1, BTYPE 01
    int bits = 3, idx = 0;
    FUZZ_CHECK(lumsDeflateHuff_8u(lit.data(), dist.data(), symbols, &code, &bits, codes.lit, codes.dist, out.data(), &idx) ==
                   lumStsNoErr, "Huffman status");
    code |= Lum32u(codes.lit[256].code) << bits;
    for (bits += codes.lit[256].len; bits > 0; bits -= 8, code >>= 8) out[size_t(idx++)] = Lum8u(code);

    Bytes back(size_t(n) + 1);
    z_stream z{};
    FUZZ_CHECK(inflateInit2(&z, -15) == Z_OK, "zlib");
    z.next_in = out.data(), z.avail_in = unsigned(idx), z.next_out = back.data(), z.avail_out = unsigned(back.size());
    const int zst = inflate(&z, Z_FINISH);
    inflateEnd(&z);
    FUZZ_CHECK(zst == Z_STREAM_END && z.total_out == uLong(n) && std::equal(s.begin(), s.end(), back.begin()),
               "zlib decodes the data");
    return 0;
}
