// Inflate: zlib's raw streams of every kind of block and libdeflate's, in one call and
// with the source and the destination in small pieces; exact-room and resume edges; code
// sets at the edges of validity; bad arguments. (Random and mutated input: the
// inflate_diff fuzz target against zlib and libdeflate, its saved inputs replayed by ctest.)
#include <libdeflate.h>

#include <memory>
#include <thread>

#include "core/dispatch.h"
#include "deflate/inflate_huffman.h"
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
        const Bytes stream = referenceStream(GetParam(), data);
        const Decoded whole = inflateAll(stream, data.size());
        ASSERT_EQ(whole.status, lumStsNoErr) << file;
        ASSERT_TRUE(whole.out == data) << file;
        for (auto [srcPiece, dstPiece] : {std::pair{0, 1999}, std::pair{700, 0}, std::pair{333, 4096}}) {
            const Decoded pieces = inflateAll(stream, data.size(), srcPiece, dstPiece);
            ASSERT_EQ(pieces.status, lumStsNoErr) << file << " pieces " << srcPiece << "/" << dstPiece;
            ASSERT_TRUE(pieces.out == data) << file << " pieces " << srcPiece << "/" << dstPiece;
            // Each call goes on where the last one stopped: about one call per piece.
            const size_t calls = std::max(data.size() / std::max(dstPiece, 1), stream.size() / std::max(srcPiece, 1));
            EXPECT_LE(size_t(pieces.calls), calls + 64) << file << " pieces " << srcPiece << "/" << dstPiece;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, ReferenceStreams, testing::ValuesIn(kStreamCases),
                         [](const auto& info) { return std::string(info.param.name); });

// One stop inside a dynamic block, then the stream's bytes between the end of the block's
// header and the stopping point destroyed: the next call does not read them again (the
// header comes from the cache or is read again, and decoding goes on where it stopped).
// A different block given in their place is refused, even when the cache holds another.
TEST(Inflate, ResumedCallReadsOnlyTheHeaderAndWhatFollowsTheStop) {
    SKIP_WITHOUT_CORPUS();
    const Bytes data = readCorpus("paper1", 40000), other = readCorpus("progc", 40000);
    const Bytes stream = zlibDeflateRaw(data, 6, Z_DEFAULT_STRATEGY);
    const Bytes otherStream = zlibDeflateRaw(other, 6, Z_DEFAULT_STRATEGY);
    for (bool coldCache : {false, true}) {
        Bytes copy = stream;
        Bytes out(data.size());
        const Lum8u* src = copy.data();
        Lum8u* dst = out.data();
        int srcLen = static_cast<int>(copy.size()), dstLen = 5000, bits = 0;
        Lum32u code = 0;
        LumInflateMode mode = lumInflateBlockHeader;
        LumInflateState state{};
        ASSERT_EQ(lumsInflate_8u(&src, &srcLen, &code, &bits, 0, &dst, &dstLen, 0, &mode, &state), lumStsDstFullWrn);
        ASSERT_EQ(src, copy.data()) << "the source is handed back at the first block's header";
        ASSERT_TRUE(state.word[3] & 0x80000000u);
        const size_t stopByte = state.word[5];
        ASSERT_GT(stopByte, 200u);
        // The header of a level-6 block of text takes well under 120 bytes.
        std::fill(copy.begin() + 120, copy.begin() + static_cast<std::ptrdiff_t>(stopByte), Lum8u{0xA5});
        if (coldCache) {  // another stream's block fills this thread's cache
            const Decoded o = inflateAll(otherStream, other.size(), 0, 3000);
            ASSERT_TRUE(o.out == other);
        }
        const LumInflateState cut = state;
        dstLen = static_cast<int>(out.data() + out.size() - dst);
        EXPECT_EQ(lumsInflate_8u(&src, &srcLen, &code, &bits, static_cast<int>(out.data() - dst), &dst, &dstLen, 0,
                                 &mode, &state),
                  lumStsNoErr)
            << (coldCache ? "cold cache" : "warm cache");
        EXPECT_TRUE(out == data) << (coldCache ? "cold cache" : "warm cache");

        // The state of that block with another stream's block at the source.
        const Lum8u* wrong = otherStream.data();
        int wrongLen = static_cast<int>(otherStream.size()), wrongBits = 0, room = 100;
        Lum32u wrongCode = 0;
        Lum8u* where = out.data() + 5000;
        LumInflateMode wrongMode = lumInflateBlockHeader;
        LumInflateState wrongState = cut;
        EXPECT_EQ(lumsInflate_8u(&wrong, &wrongLen, &wrongCode, &wrongBits, -5000, &where, &room, 0, &wrongMode,
                                 &wrongState),
                  lumStsCorruptDataErr);
    }
}

// Several threads stream different files at once, each with its own state and 1 KiB of
// room per call (so each resumes from its own thread's cache).
TEST(Inflate, ThreadsStreamAtOnce) {
    SKIP_WITHOUT_CORPUS();
    const char* files[] = {"bib", "geo", "obj1", "news"};
    std::vector<Bytes> data, streams, expected;
    for (const char* f : files) {
        data.push_back(readCorpus(f, 60000));
        streams.push_back(zlibDeflateRaw(data.back(), 6, Z_DEFAULT_STRATEGY));
        bool ok = false;
        expected.push_back(zlibInflateRaw(streams.back(), data.back().size(), &ok));
        ASSERT_TRUE(ok);
    }
    std::vector<Decoded> results(std::size(files));
    std::vector<std::thread> threads;
    for (size_t i = 0; i < std::size(files); ++i)
        threads.emplace_back([&, i] {
            for (int round = 0; round < 3; ++round) results[i] = inflateAll(streams[i], data[i].size(), 0, 1024);
        });
    for (auto& t : threads) t.join();
    for (size_t i = 0; i < std::size(files); ++i) {
        EXPECT_EQ(results[i].status, lumStsNoErr) << files[i];
        EXPECT_TRUE(results[i].out == expected[i]) << files[i];
    }
}

// Each code path of the symbol decoder that this processor can run (the others hidden),
// in one call and in 1 KiB pieces, gives zlib's bytes.
TEST(Inflate, EveryCodePathGivesTheSameBytes) {
    SKIP_WITHOUT_CORPUS();
    Lum64u detected = 0;
    lumGetCpuFeatures(&detected, nullptr);
    const auto& slot = lum::deflate::huffmanDecoderSlot();
    int paths = 0;
    for (const auto& path : slot) {
        if ((path.required & ~detected) != 0) continue;
        lum::limitDetectedFeatures(path.required | lumCpuLevelSSE2);
        ASSERT_STREQ(slot.current().name, path.name);
        ++paths;
        for (const char* file : {"geo", "obj1", "paper2", "pic"}) {
            const Bytes data = readCorpus(file, 50000);
            const Bytes stream = zlibDeflateRaw(data, 6, Z_DEFAULT_STRATEGY);
            bool ok = false;
            const Bytes expected = zlibInflateRaw(stream, data.size(), &ok);
            for (int room : {0, 1024}) {
                const Decoded d = inflateAll(stream, data.size(), 0, room);
                EXPECT_EQ(d.status, lumStsNoErr) << path.name << " " << file << " room " << room;
                EXPECT_TRUE(d.out == expected) << path.name << " " << file << " room " << room;
            }
        }
    }
    lum::limitDetectedFeatures(lumCpuFeatureAll);
    EXPECT_GE(paths, 1);  // the portable path runs everywhere
}

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

TEST(Inflate, InvalidBlocksAreCorrupt) {
    const std::pair<const char*, Bytes> cases[] = {
        {"block type 3", {0x07}},
        {"stored block whose NLEN does not complement LEN", {0x01, 0x05, 0x00, 0x00, 0x00}},
        {"fixed block opening with a match (code 257, distance 1)", {0x03, 0x02, 0x00}},
    };
    for (const auto& [what, stream] : cases) EXPECT_EQ(inflateAll(stream, 100).status, lumStsCorruptDataErr) << what;
}

// One final dynamic block built from given code lengths: the header with a complete code
// length code (or given code length code lengths, or given code length symbols in place
// of the lengths), then the data symbols (literal/length symbol, distance symbol or -1;
// extra bits zero) and the end-of-block code when it has one.
struct DynamicBlock {
    std::vector<int> lit, dist;
    std::vector<int> clLengths;
    std::vector<std::pair<int, int>> clSymbols;  // (symbol, extra bits value)
    std::vector<std::pair<int, int>> data;

    Bytes encode() const {
        Bytes out;
        Lum64u acc = 0;
        int n = 0;
        auto put = [&](unsigned v, int bits) {
            acc |= Lum64u{v} << n;
            for (n += bits; n >= 8; n -= 8, acc >>= 8) out.push_back(static_cast<Lum8u>(acc));
        };
        auto canonical = [](const std::vector<int>& len) {
            int count[16] = {};
            for (int l : len) ++count[l];
            count[0] = 0;
            unsigned next[16] = {}, code = 0;
            for (int l = 1; l < 16; ++l) next[l] = code = (code + count[l - 1]) << 1;
            std::vector<unsigned> codes(len.size());
            for (size_t s = 0; s < len.size(); ++s)
                if (len[s]) codes[s] = next[len[s]]++;
            return codes;
        };
        auto putCode = [&](const std::vector<int>& len, const std::vector<unsigned>& codes, int s) {
            put(reversed(codes[s], len[s]), len[s]);
        };
        std::vector<int> cl = clLengths;
        if (cl.empty())
            for (int s = 0; s < 19; ++s) cl.push_back(s < 13 ? 4 : 5);  // 13/16 + 6/32: complete
        put(1, 1);
        put(2, 2);
        put(static_cast<unsigned>(lit.size() - 257), 5);
        put(static_cast<unsigned>(dist.size() - 1), 5);
        put(15, 4);
        for (int s : {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15}) put(cl[s], 3);
        const auto clCodes = canonical(cl);
        static constexpr int kClExtra[19] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 3, 7};
        if (clSymbols.empty()) {
            for (int l : lit) putCode(cl, clCodes, l);
            for (int l : dist) putCode(cl, clCodes, l);
        }
        for (auto [sym, extra] : clSymbols) {
            putCode(cl, clCodes, sym);
            put(static_cast<unsigned>(extra), kClExtra[sym]);
        }
        const auto litCodes = canonical(lit), distCodes = canonical(dist);
        for (auto [l, d] : data) {
            putCode(lit, litCodes, l);
            if (d < 0) continue;
            put(0, l >= 265 && l < 285 ? (l - 261) / 4 : 0);
            if (d < static_cast<int>(dist.size()) && dist[d]) putCode(dist, distCodes, d);
            else put(static_cast<unsigned>(d & 1), 1);  // one raw bit where the code has no such symbol
            put(0, d >= 4 && d < 30 ? d / 2 - 1 : 0);
        }
        if (lit[256]) putCode(lit, litCodes, 256);
        put(0, 7);
        return out;
    }
};

using Symbols = std::vector<std::pair<int, int>>;
const Symbols kSomeData = {{'a', -1}, {'b', -1}, {257, 0}};

DynamicBlock block(std::vector<int> lit, std::vector<int> dist, Symbols data = kSomeData, std::vector<int> cl = {},
                   Symbols clSymbols = {}) {
    return {std::move(lit), std::move(dist), std::move(cl), std::move(clSymbols), std::move(data)};
}

// n code lengths, all zero but the given (symbol, length) pairs.
std::vector<int> lengths(int n, std::initializer_list<std::pair<int, int>> set) {
    std::vector<int> v(n, 0);
    for (auto [s, l] : set) v[s] = l;
    return v;
}

bool libdeflateAccepts(const Bytes& stream) {
    std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> d(libdeflate_alloc_decompressor(),
                                                                                   libdeflate_free_decompressor);
    Bytes out(1 << 16);
    size_t in = 0, produced = 0;
    return libdeflate_deflate_decompress_ex(d.get(), stream.data(), stream.size(), out.data(), out.size(), &in,
                                            &produced) == LIBDEFLATE_SUCCESS;
}

// Code sets at the edges of validity, each judged by zlib's raw inflate and libdeflate
// in the same run: where the two agree, our verdict must be theirs; where they differ
// (the last rows), ours is zlib's, the stricter one.
TEST(Inflate, CodeSetValidityAgreesWithTheReferences) {
    // Literal/length code: 'a', 'b', end of block, length 3 (symbol 257); two distances.
    const auto lit4 = lengths(257 + 1, {{'a', 2}, {'b', 2}, {256, 2}, {257, 2}});
    const auto dist2 = lengths(2, {{0, 1}, {1, 1}});
    const Symbols literalsOnly = {{'a', -1}, {'b', -1}}, farMatch = {{'a', -1}, {257, 1}};
    struct Case {
        const char* what;
        DynamicBlock block;
    };
    const Case cases[] = {
        {"complete codes", block(lit4, dist2)},
        {"literal/length code incomplete", block(lengths(258, {{'a', 2}, {'b', 2}, {256, 2}}), dist2, literalsOnly)},
        {"literal/length code over-subscribed", block(lengths(258, {{'a', 1}, {'b', 2}, {256, 2}, {257, 2}}), dist2)},
        {"only an end-of-block code, of length 1", block(lengths(257, {{256, 1}}), dist2, {})},
        {"only an end-of-block code, of length 2", block(lengths(257, {{256, 2}}), dist2, {})},
        {"no end-of-block code", block(lengths(258, {{'a', 1}, {'b', 1}}), dist2, literalsOnly)},
        {"distance code incomplete", block(lit4, lengths(3, {{0, 1}, {1, 2}}))},
        {"distance code over-subscribed", block(lit4, lengths(3, {{0, 1}, {1, 1}, {2, 1}}))},
        {"one distance code of length 1", block(lit4, lengths(1, {{0, 1}}))},
        {"one distance code of length 2", block(lit4, lengths(2, {{1, 2}}))},
        {"no distance code, literals only", block(lit4, lengths(1, {}), literalsOnly)},
        {"distance before the output's start", block(lit4, dist2, farMatch)},
        {"code length code incomplete", block(lit4, dist2, kSomeData, lengths(19, {{0, 1}, {1, 2}, {2, 3}}))},
        {"code length code over-subscribed", block(lit4, dist2, kSomeData, lengths(19, {{0, 1}, {1, 1}, {2, 1}}))},
        {"code length code empty", block(lit4, dist2, kSomeData, lengths(19, {}))},
        {"repeat of the previous length first", block(lit4, dist2, kSomeData, {}, {{16, 0}, {0, 0}})},
        {"zero run past the last length", block(lit4, dist2, kSomeData, {}, {{18, 127}, {18, 127}, {18, 127}})},
        // The references differ on these (libdeflate accepts them); we refuse them as zlib does.
        {"31 distance codes", block(lit4, lengths(31, {{0, 1}, {1, 1}}))},
        {"287 literal/length codes", block(lengths(287, {{'a', 2}, {'b', 2}, {256, 2}, {257, 2}}), dist2)},
        {"32 distance codes, 30 and 31 in the code", block(lit4, lengths(32, {{0, 2}, {1, 2}, {30, 2}, {31, 2}}))},
        {"a match with no distance code", block(lit4, lengths(1, {}))},
        {"one distance code, its unused codeword 1", block(lit4, lengths(1, {{0, 1}}), farMatch)},
    };
    int agreed = 0, refused = 0;
    for (const Case& c : cases) {
        const Bytes stream = c.block.encode();
        bool zlibOk = false;
        zlibInflateRaw(stream, 1 << 16, &zlibOk);
        const bool libdeflateOk = libdeflateAccepts(stream);
        const Decoded ours = inflateAll(stream, 1 << 16);
        const bool oursOk = ours.status == lumStsNoErr;
        EXPECT_EQ(oursOk, zlibOk) << c.what << (zlibOk == libdeflateOk ? " (both references agree)" : "");
        EXPECT_TRUE(oursOk || ours.status == lumStsCorruptDataErr || ours.status == lumStsSrcEndWrn)
            << c.what << ": status " << ours.status;
        agreed += zlibOk == libdeflateOk;
        refused += !zlibOk && !libdeflateOk;
    }
    // The table must exercise refusals both references share, not only acceptances.
    EXPECT_GE(refused, 13);
    EXPECT_GE(agreed, 17);
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
        {"pending match longer than 258", lumStsBadArgErr, 10, 0, 0, 100, 0, 1, 0, 259, 1, false},
        {"cut dynamic block in fixed mode", lumStsBadArgErr, 10, 0, 0, 100, 0, 1, 0, 0x80000000u, 0, false},
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
