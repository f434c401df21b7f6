// Helpers of the deflate tests: corpus files, the fixed codes, our two stages run as a raw
// fixed-block stream, our inflate driven in pieces, and zlib's raw inflate and deflate.
#pragma once

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "lumdc.h"

namespace deflate_test {

using Bytes = std::vector<Lum8u>;

inline const char* const kCorpusFiles[] = {"bib",    "book1", "book2", "geo",   "news",  "obj1",  "obj2",
                                           "paper1", "paper2", "pic",  "progc", "progl", "progp", "trans"};

// The sanitizer build reads less of each file to stay quick.
#ifdef PERFDC_DEFLATE_SHORT_INPUTS
inline constexpr size_t kMaxFileBytes = 24 * 1024;
#else
inline constexpr size_t kMaxFileBytes = 1 << 30;
#endif

#define SKIP_WITHOUT_CORPUS()                                                  \
    if (!std::ifstream(std::string(PERFDC_CORPUS_DIR) + "/bib").good())        \
    GTEST_SKIP() << "Calgary corpus not found in " PERFDC_CORPUS_DIR

inline Bytes readCorpus(const std::string& name, size_t limit = kMaxFileBytes) {
    std::ifstream in(std::string(PERFDC_CORPUS_DIR) + "/" + name, std::ios::binary);
    Bytes b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (b.size() > limit) b.resize(limit);
    return b;
}

// The fixed literal/length (288) and distance (30) codes, bit-reversed (RFC 1951 3.2.6).
struct FixedCodes {
    LumDeflateHuffCode lit[288];
    LumDeflateHuffCode dist[30];
};

inline Lum16u reversed(unsigned code, int len) {
    unsigned r = 0;
    for (int i = 0; i < len; ++i, code >>= 1) r = (r << 1) | (code & 1);
    return static_cast<Lum16u>(r);
}

inline const FixedCodes& fixedCodes() {
    static const FixedCodes codes = [] {
        FixedCodes c{};
        for (int s = 0; s < 288; ++s) {
            const int len = s < 144 ? 8 : s < 256 ? 9 : s < 280 ? 7 : 8;
            const unsigned code = s < 144 ? 0x30 + s : s < 256 ? 0x190 + s - 144 : s < 280 ? s - 256 : 0xC0 + s - 280;
            c.lit[s] = {reversed(code, len), static_cast<Lum16u>(len)};
        }
        for (int d = 0; d < 30; ++d) c.dist[d] = {reversed(static_cast<unsigned>(d), 5), 5};
        return c;
    }();
    return codes;
}

// Our LZ77 stage over `data` fed in pieces of `piece` bytes (the last call with FinishFlush,
// the others with `middle`), then our Huffman stage with the fixed codes behind a final
// fixed-block header, closed with the end-of-block code: a raw deflate stream. The prev
// table starts with garbage links, which the stage must recognise and ignore.
inline Bytes compressFixed(const Bytes& data, int level, int piece = 0, LumLZ77Flush middle = lumLZ77NoFlush,
                           int winSize = 32768, int hashSize = 32768) {
    const FixedCodes& codes = fixedCodes();
    std::vector<Lum32s> head(hashSize, -winSize), prev(winSize);
    std::mt19937 gen(level);
    for (auto& p : prev) p = static_cast<Lum32s>(gen() % 300000) - 100000;
    Lum32u litFreq[286] = {}, distFreq[30] = {};
    Bytes lit(data.size() + 1);
    std::vector<Lum16u> dist(data.size() + 1);
    static const Lum8u empty = 0;
    const Lum8u* window = data.empty() ? &empty : data.data();
    const Lum8u* src = window;
    const int size = static_cast<int>(data.size());
    int srcIdx = 0, symbols = 0, fed = 0;
    bool final;
    do {
        fed = piece > 0 ? std::min(size, fed + piece) : size;
        final = fed == size;
        int srcLen = fed - srcIdx, room = size - symbols;
        const LumStatus st = lumsDeflateLZ77_8u(&src, &srcLen, &srcIdx, window, winSize, head.data(), prev.data(),
                                                hashSize, litFreq, distFreq, lit.data() + symbols, dist.data() + symbols,
                                                &room, level, final ? lumLZ77FinishFlush : middle);
        EXPECT_EQ(st, lumStsNoErr);
        if (st != lumStsNoErr) break;
        symbols = size - room;
    } while (!final);
    EXPECT_EQ(srcIdx, size);
    // The inflater reaches back over all the output it has; the window is checked here.
    EXPECT_LE(*std::max_element(dist.begin(), dist.end()), winSize) << "level " << level;
    Bytes out(data.size() * 2 + 16);
    Lum32u code = 3;  // BFINAL = 1, BTYPE = 01
    int bits = 3, idx = 0;
    EXPECT_EQ(lumsDeflateHuff_8u(lit.data(), dist.data(), symbols, &code, &bits, codes.lit, codes.dist, out.data(), &idx),
              lumStsNoErr);
    code |= static_cast<Lum32u>(codes.lit[256].code) << bits;
    for (bits += codes.lit[256].len; bits > 0; bits -= 8, code >>= 8) out[idx++] = static_cast<Lum8u>(code);
    out.resize(idx);
    return out;
}

struct Decoded {
    LumStatus status;
    Bytes out;
    int calls = 0;
    bool sawPendingMatch = false;
    bool sawDynamicCut = false;  // a call stopped inside a dynamic block
};

// Our inflate from lumInflateBlockHeader to the stream end, giving at most `srcPiece` new
// source bytes and `dstPiece` bytes of room per call (0: everything); the destination
// buffer is exactly `size` bytes.
inline Decoded inflateAll(const Bytes& stream, size_t size, int srcPiece = 0, int dstPiece = 0) {
    Decoded d;
    d.out.assign(size, 0);
    Lum8u* base = d.out.data();
    Lum8u* dst = base;
    const Lum8u* src = stream.data();
    const Lum8u* srcEnd = src + stream.size();
    const Lum8u* given = src;  // end of the source handed out so far
    Lum32u code = 0;
    int bits = 0;
    LumInflateMode mode = lumInflateBlockHeader;
    LumInflateState state{};
    do {
        given = srcPiece ? std::min(srcEnd, std::max(given, src) + srcPiece) : srcEnd;
        int srcLen = static_cast<int>(given - src);
        const int room = static_cast<int>(base + size - dst);
        int dstLen = dstPiece ? std::min(dstPiece, room) : room;
        // In pieces, each call reads from a heap copy of exactly what it is given, so that
        // a read past it is caught (by the sanitizer build) or shows in the source length.
        std::unique_ptr<Lum8u[]> piece(new Lum8u[std::max(srcLen, 1)]);
        std::copy(src, given, piece.get());
        const Lum8u* pieceSrc = srcPiece ? piece.get() : src;
        d.status = lumsInflate_8u(&pieceSrc, &srcLen, &code, &bits, static_cast<int>(base - dst), &dst, &dstLen, 0,
                                  &mode, &state);
        src = srcPiece ? src + (pieceSrc - piece.get()) : pieceSrc;
        d.sawPendingMatch |= (state.word[3] & 0x7FFFFFFFu) != 0;
        d.sawDynamicCut |= (state.word[3] & 0x80000000u) != 0;
        ++d.calls;
        // The source never runs past what was given, nor the output past the room.
        EXPECT_TRUE(srcLen >= 0 && src + srcLen == given) << "call " << d.calls;
        EXPECT_TRUE(dstLen >= 0 && dst + dstLen <= base + size) << "call " << d.calls;
        const bool progressPossible = d.status == lumStsNoErr || (d.status == lumStsSrcEndWrn && given < srcEnd) ||
                                      (d.status == lumStsDstFullWrn && dst < base + size);
        if (!progressPossible || d.calls > 2000000) break;
    } while (mode != lumInflateStreamEnd);
    d.out.resize(dst - base);
    return d;
}

// zlib's raw inflate; ok is false on any error.
inline Bytes zlibInflateRaw(const Bytes& stream, size_t expected, bool* ok) {
    Bytes out(expected + 1);
    z_stream z{};
    inflateInit2(&z, -15);
    z.next_in = const_cast<Bytef*>(stream.data());
    z.avail_in = static_cast<uInt>(stream.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    *ok = inflate(&z, Z_FINISH) == Z_STREAM_END;
    out.resize(z.total_out);
    inflateEnd(&z);
    return out;
}

// zlib's raw deflate; `flushEvery` > 0 adds `flushKind` after every so many input bytes.
inline Bytes zlibDeflateRaw(const Bytes& data, int level, int strategy, int memLevel = 8, size_t flushEvery = 0,
                            int flushKind = Z_SYNC_FLUSH) {
    z_stream z{};
    deflateInit2(&z, level, Z_DEFLATED, -15, memLevel, strategy);
    Bytes out(deflateBound(&z, data.size()) + 64 + (flushEvery ? 8 * (data.size() / flushEvery + 1) : 0));
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    size_t pos = 0;
    const size_t step = flushEvery ? flushEvery : data.size();
    do {
        const size_t n = std::min(step, data.size() - pos);
        z.next_in = const_cast<Bytef*>(data.data() + pos);
        z.avail_in = static_cast<uInt>(n);
        pos += n;
        deflate(&z, pos == data.size() ? Z_FINISH : flushKind);
    } while (pos < data.size());
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

}  // namespace deflate_test
