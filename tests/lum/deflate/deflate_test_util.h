// Helpers of the deflate tests: corpus files, our two stages run as a raw fixed-block
// stream (shared with the roundtrip_deflate fuzz target), our inflate driven in pieces, and
// zlib's raw inflate and deflate.
#pragma once

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "../lum_test.h"
#include "deflate_fixed.h"
#include "lumdc.h"

namespace deflate_test {

using lumtest::kCorpusFiles;
using deflate_fixed::FixedCodes;
using deflate_fixed::fixedCodes;
using deflate_fixed::reversed;

// The sanitizer build reads less of each file to stay quick.
#ifdef PERFDC_DEFLATE_SHORT_INPUTS
inline constexpr size_t kMaxFileBytes = 24 * 1024;
#else
inline constexpr size_t kMaxFileBytes = 1 << 30;
#endif

#define SKIP_WITHOUT_CORPUS() \
    if (lumtest::corpusFile("bib").empty()) GTEST_SKIP() << "Calgary corpus not found in " PERFDC_CORPUS_DIR

inline Bytes readCorpus(const std::string& name, size_t limit = kMaxFileBytes) {
    return lumtest::corpusFile(name, limit);
}

// Our two stages as a raw fixed-block stream (deflate_fixed::compress), the input fed in
// pieces of `piece` bytes (0: at once). The prev table starts with garbage links, which
// the stage must recognise and ignore.
inline Bytes compressFixed(const Bytes& data, int level, int piece = 0, LumLZ77Flush middle = lumLZ77NoFlush,
                           int winSize = 32768, int hashSize = 32768) {
    std::vector<Lum32s> prev(static_cast<size_t>(winSize));
    std::mt19937 gen(level);
    for (auto& p : prev) p = static_cast<Lum32s>(gen() % 300000) - 100000;
    int farthest = 0;
    const Bytes out = deflate_fixed::compress(data, level, winSize, hashSize, middle,
                                              piece > 0 ? piece : int(data.size()) + 1, prev, &farthest);
    // The inflater reaches back over all the output it has; the window is checked here.
    EXPECT_LE(farthest, winSize) << "level " << level;
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
