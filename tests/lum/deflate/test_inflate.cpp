// Inflate: zlib's raw streams of every kind of block and libdeflate's, in one call and
// with the source and the destination in small pieces; exact-room and resume edges;
// random and mutated input under the sanitizers; bad arguments.
#include <libdeflate.h>

#include <memory>

#include "deflate_test_util.h"

namespace {

using namespace deflate_test;

// A reference stream: zlib with the given settings, or libdeflate when `libdeflate` > 0.
struct StreamCase {
    const char* name;
    int level, strategy, memLevel;
    size_t flushEvery;
    int flushKind;
    int libdeflate;
};

constexpr StreamCase kStreamCases[] = {
    {"Stored", 0, Z_DEFAULT_STRATEGY, 8, 0, Z_NO_FLUSH, 0},
    {"Fixed", 6, Z_FIXED, 8, 0, Z_NO_FLUSH, 0},
    {"Level1", 1, Z_DEFAULT_STRATEGY, 8, 0, Z_NO_FLUSH, 0},
    {"Level9", 9, Z_DEFAULT_STRATEGY, 8, 0, Z_NO_FLUSH, 0},
    {"HuffmanOnly", 6, Z_HUFFMAN_ONLY, 8, 0, Z_NO_FLUSH, 0},
    {"Rle", 6, Z_RLE, 8, 0, Z_NO_FLUSH, 0},
    {"SmallBlocks", 6, Z_DEFAULT_STRATEGY, 1, 0, Z_NO_FLUSH, 0},
    {"FullFlushes", 6, Z_DEFAULT_STRATEGY, 8, 10000, Z_FULL_FLUSH, 0},
    {"SyncFlushes", 3, Z_DEFAULT_STRATEGY, 8, 3001, Z_SYNC_FLUSH, 0},
    {"Libdeflate1", 0, 0, 0, 0, 0, 1},
    {"Libdeflate6", 0, 0, 0, 0, 0, 6},
    {"Libdeflate12", 0, 0, 0, 0, 0, 12},
};

Bytes referenceStream(const StreamCase& c, const Bytes& data) {
    if (!c.libdeflate) return zlibDeflateRaw(data, c.level, c.strategy, c.memLevel, c.flushEvery, c.flushKind);
    libdeflate_compressor* comp = libdeflate_alloc_compressor(c.libdeflate);
    Bytes stream(libdeflate_deflate_compress_bound(comp, data.size()));
    stream.resize(libdeflate_deflate_compress(comp, data.data(), data.size(), stream.data(), stream.size()));
    libdeflate_free_compressor(comp);
    return stream;
}

class ReferenceStreams : public testing::TestWithParam<StreamCase> {};

TEST_P(ReferenceStreams, DecodeWholeAndInPieces) {
    SKIP_WITHOUT_CORPUS();
    for (const char* file : kCorpusFiles) {
        const Bytes data = readCorpus(file);
        const Decoded whole = inflateAll(referenceStream(GetParam(), data), data.size());
        ASSERT_EQ(whole.status, lumStsNoErr) << file;
        ASSERT_TRUE(whole.out == data) << file;
        // Pieces re-decode cut-off dynamic blocks from their header, so keep them short.
        const Bytes head(data.begin(), data.begin() + std::min<size_t>(data.size(), 20000));
        const Bytes headStream = referenceStream(GetParam(), head);
        for (auto [srcPiece, dstPiece] : {std::pair{0, 1999}, std::pair{700, 0}, std::pair{333, 4096}}) {
            const Decoded pieces = inflateAll(headStream, head.size(), srcPiece, dstPiece);
            ASSERT_EQ(pieces.status, lumStsNoErr) << file << " pieces " << srcPiece << "/" << dstPiece;
            ASSERT_TRUE(pieces.out == head) << file << " pieces " << srcPiece << "/" << dstPiece;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, ReferenceStreams, testing::ValuesIn(kStreamCases),
                         [](const auto& info) { return std::string(info.param.name); });

// A fixed block cut by the destination in the middle of matches keeps the rest of the
// match in the state and finishes it in the next call; a destination that ends exactly
// with the output still reads the end-of-block code.
TEST(Inflate, FixedBlockResumesPendingMatchesAndFitsExactly) {
    Bytes data;
    for (int i = 0; i < 3000; ++i) data.push_back(static_cast<Lum8u>("abcdefghij"[i % 10] + (i / 700)));
    const Bytes stream = compressFixed(data, 6);
    const Decoded small = inflateAll(stream, data.size(), 0, 7);
    EXPECT_EQ(small.status, lumStsNoErr);
    EXPECT_TRUE(small.out == data);
    EXPECT_TRUE(small.sawPendingMatch);
    const Decoded exact = inflateAll(stream, data.size());
    EXPECT_EQ(exact.status, lumStsNoErr);
    EXPECT_EQ(exact.calls, 1);
    const Decoded tooSmall = inflateAll(stream, data.size() - 1);
    EXPECT_EQ(tooSmall.status, lumStsDstFullWrn);
}

// Random bytes, damaged real streams and invalid headers: a status from the contract, never
// a crash, an access outside the buffers (the sanitizer build checks) or a hang.
TEST(Inflate, CorruptAndTruncatedInputIsRefusedSafely) {
    SKIP_WITHOUT_CORPUS();
    const Bytes data = readCorpus("paper1", 8000);
    const Bytes streams[] = {zlibDeflateRaw(data, 6, Z_DEFAULT_STRATEGY), zlibDeflateRaw(data, 6, Z_FIXED),
                             zlibDeflateRaw(data, 0, Z_DEFAULT_STRATEGY), compressFixed(data, 6)};
    std::mt19937 gen(12345);
    int errors = 0;
    for (int round = 0; round < 4000; ++round) {
        Bytes input = streams[round % 4];
        if (round % 4 == 0) {
            input.resize(gen() % 600);
            for (auto& b : input) b = static_cast<Lum8u>(gen());
        } else {
            for (int f = 1 + static_cast<int>(gen() % 4); f > 0; --f) input[gen() % input.size()] ^= Lum8u(1u << (gen() % 8));
            if (gen() % 3 == 0) input.resize(gen() % input.size());
        }
        // Exactly-sized heap buffers, so any access past them is caught.
        std::unique_ptr<Lum8u[]> in(new Lum8u[input.size()]);
        std::copy(input.begin(), input.end(), in.get());
        std::vector<Lum8u> out(data.size() + gen() % 64);
        const Lum8u* src = in.get();
        Lum8u* dst = out.data();
        int srcLen = static_cast<int>(input.size()), dstLen = static_cast<int>(out.size()), bits = 0;
        Lum32u code = 0;
        LumInflateMode mode = round % 8 == 3 ? lumInflateFixedBlock : lumInflateBlockHeader;
        LumInflateState state{};
        const LumStatus st = lumsInflate_8u(&src, &srcLen, &code, &bits, 0, &dst, &dstLen, 0, &mode, &state);
        ASSERT_TRUE(st == lumStsNoErr || st == lumStsSrcEndWrn || st == lumStsDstFullWrn || st == lumStsCorruptDataErr)
            << "round " << round << " status " << st;
        if (st >= 0) {
            ASSERT_TRUE(srcLen >= 0 && src + srcLen == in.get() + input.size()) << round;
            ASSERT_TRUE(dst >= out.data() && dst + dstLen == out.data() + out.size()) << round;
            ASSERT_LE(bits, 32) << round;
        }
        errors += st < 0;
    }
    EXPECT_GT(errors, 1000);
    const Bytes invalid[] = {
        {0x07},                          // block type 3
        {0x01, 0x05, 0x00, 0x00, 0x00},  // stored block whose NLEN does not complement LEN
        {0x03, 0x02, 0x00},              // fixed block opening with a match (code 257, distance 1)
    };
    for (const Bytes& c : invalid) EXPECT_EQ(inflateAll(c, 100).status, lumStsCorruptDataErr) << int(c[0]);
}

TEST(Inflate, BadArgumentsWriteNothing) {
    const Bytes stream = compressFixed(Bytes(100, 'k'), 1);
    Bytes out(100, 0xEE);
    struct Case {
        const char* what;
        LumStatus expected;
        int srcLen, bits, winIdx, dstLen, dstIdx, mode;
        Lum32u word2, word3, word4;
        bool nullSrc;
    };
    const Case cases[] = {
        {"null source", lumStsNullPtrErr, 10, 0, 0, 100, 0, 0, 0, 0, 0, true},
        {"negative source length", lumStsSizeErr, -1, 0, 0, 100, 0, 0, 0, 0, 0, false},
        {"negative room", lumStsSizeErr, 10, 0, 0, -1, 0, 0, 0, 0, 0, false},
        {"negative output index", lumStsSizeErr, 10, 0, -2, 100, -1, 0, 0, 0, 0, false},
        {"window after the output", lumStsBadArgErr, 10, 0, 5, 90, 4, 0, 0, 0, 0, false},
        {"too many pending bits", lumStsBadArgErr, 10, 33, 0, 100, 0, 0, 0, 0, 0, false},
        {"mode 4", lumStsBadArgErr, 10, 0, 0, 100, 0, 4, 0, 0, 0, false},
        {"stored length out of range", lumStsBadArgErr, 10, 0, 0, 100, 0, 2, 70000, 0, 0, false},
        {"pending match without distance", lumStsBadArgErr, 10, 0, 0, 100, 0, 1, 0, 5, 0, false},
        {"pending match too far", lumStsBadArgErr, 10, 0, 0, 100, 0, 1, 0, 5, 40000, false},
    };
    for (const Case& c : cases) {
        const Lum8u* src = c.nullSrc ? nullptr : stream.data();
        Lum8u* dst = out.data();
        int srcLen = c.srcLen, bits = c.bits, dstLen = c.dstLen;
        Lum32u code = 0;
        auto mode = static_cast<LumInflateMode>(c.mode);
        LumInflateState state{};
        state.word[2] = c.word2;
        state.word[3] = c.word3;
        state.word[4] = c.word4;
        EXPECT_EQ(lumsInflate_8u(&src, &srcLen, &code, &bits, c.winIdx, &dst, &dstLen, c.dstIdx, &mode, &state),
                  c.expected)
            << c.what;
        EXPECT_EQ(dst, out.data()) << c.what;
        EXPECT_EQ(srcLen, c.srcLen) << c.what;
    }
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](Lum8u b) { return b == 0xEE; }));
}

}  // namespace
