// The LZ77 and Huffman stages: their fixed-code output is a raw deflate stream that zlib
// inflates, whole or fed in pieces with every flush mode; the ratio stands beside zlib's;
// frequency counts, a full destination and bad arguments.
#include <algorithm>
#include <cstring>
#include <map>
#include <numeric>
#include <random>

#include "deflate_test_util.h"

namespace {

using namespace deflate_test;

struct FlushCase {
    const char* name;
    int piece;  // 0: the whole input in one call
    LumLZ77Flush middle;
};

constexpr FlushCase kFlushCases[] = {
    {"OneCall", 0, lumLZ77NoFlush},
    {"NoFlushPieces", 10000, lumLZ77NoFlush},
    {"SyncFlushPieces", 7001, lumLZ77SyncFlush},
    {"FullFlushPieces", 12345, lumLZ77FullFlush},
};

class FixedStream : public testing::TestWithParam<FlushCase> {};

TEST_P(FixedStream, ZlibInflatesEveryFileAtEveryLevel) {
    SKIP_WITHOUT_CORPUS();
    const FlushCase& c = GetParam();
    for (const char* file : kCorpusFiles) {
        const Bytes data = readCorpus(file);
        for (int level = 1; level <= 9; ++level) {
            const Bytes stream = compressFixed(data, level, c.piece, c.middle);
            bool ok = false;
            const Bytes back = zlibInflateRaw(stream, data.size(), &ok);
            ASSERT_TRUE(ok && back == data) << file << " level " << level;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Flush, FixedStream, testing::ValuesIn(kFlushCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(FixedStream, SmallAndRepetitiveInputs) {
    const Bytes cases[] = {{}, {'a'}, {'a', 'b'}, Bytes(3, 'x'), Bytes(1000, 0), Bytes(70000, 'z')};
    for (const Bytes& data : cases)
        for (int level : {1, 4, 9}) {
            bool ok = false;
            EXPECT_EQ(zlibInflateRaw(compressFixed(data, level), data.size(), &ok), data) << data.size();
            EXPECT_TRUE(ok);
        }
}

// Size of the whole corpus under our stages and under zlib's fixed-code deflate.
TEST(FixedStream, RatioStandsBesideZlibFixed) {
    SKIP_WITHOUT_CORPUS();
    std::map<int, size_t> ours;
    size_t zlib6 = 0;
    for (const char* file : kCorpusFiles) {
        const Bytes data = readCorpus(file);
        for (int level : {6, 7, 8, 9}) ours[level] += compressFixed(data, level).size();
        zlib6 += zlibDeflateRaw(data, 6, Z_FIXED).size();
    }
    EXPECT_LE(double(ours[6]), 1.02 * double(zlib6)) << "ours " << ours[6] << ", zlib " << zlib6;
    for (int level : {7, 8, 9}) EXPECT_LE(ours[level], ours[6]) << "level " << level;
}

// A destination of a few symbols per call: every call ends with the warning and the
// next continues; the symbols still form the same stream, and the frequency tables
// count exactly the symbols written plus one end-of-block code.
TEST(LZ77, FullDestinationResumesAndCountsSymbols) {
    Bytes data(50000);
    std::mt19937 gen(7);
    for (size_t i = 0; i < data.size(); ++i) data[i] = i > 300 && gen() % 4 ? data[i - 1 - gen() % 300] : Lum8u(gen() % 16);
    for (int level : {1, 6}) {
        std::vector<Lum32s> head(32768, -32768), prev(32768, 0);
        Lum32u litFreq[286] = {}, distFreq[30] = {};
        Bytes lit(data.size());
        std::vector<Lum16u> dist(data.size());
        const Lum8u* src = data.data();
        int srcIdx = 0, srcLen = static_cast<int>(data.size()), symbols = 0, calls = 0;
        LumStatus st;
        do {
            int room = std::min<int>(37, static_cast<int>(data.size()) - symbols);
            const int given = room;
            st = lumsDeflateLZ77_8u(&src, &srcLen, &srcIdx, data.data(), 32768, head.data(), prev.data(), 32768,
                                    litFreq, distFreq, lit.data() + symbols, dist.data() + symbols, &room, level,
                                    lumLZ77FinishFlush);
            symbols += given - room;
            ++calls;
        } while (st == lumStsDstFullWrn && calls < 100000);
        ASSERT_EQ(st, lumStsNoErr);
        EXPECT_EQ(srcLen, 0);
        EXPECT_GT(calls, 10);
        // Expected counts from the symbols, with the code tables of RFC 1951 3.2.5.
        static const int lenBase[] = {3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 15, 17, 19, 23, 27, 31, 35, 43, 51, 59,
                                      67, 83, 99, 115, 131, 163, 195, 227, 258};
        static const int distBase[] = {1, 2, 3, 4, 5, 7, 9, 13, 17, 25, 33, 49, 65, 97, 129, 193, 257, 385,
                                       513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
        Lum32u expectLit[286] = {}, expectDist[30] = {};
        expectLit[256] = 1;
        size_t covered = 0;
        for (int i = 0; i < symbols; ++i) {
            if (dist[i] == 0) {
                ++expectLit[lit[i]];
                ++covered;
                continue;
            }
            const int len = lit[i] + 3;
            ASSERT_LE(dist[i], covered);
            ASSERT_LE(covered + len, data.size());
            ASSERT_TRUE(std::equal(data.begin() + covered, data.begin() + covered + len, data.begin() + covered - dist[i]));
            ++expectLit[257 + (std::upper_bound(lenBase, lenBase + 29, len) - lenBase - 1)];
            ++expectDist[std::upper_bound(distBase, distBase + 30, dist[i]) - distBase - 1];
            covered += len;
        }
        EXPECT_EQ(covered, data.size());
        EXPECT_TRUE(std::equal(litFreq, litFreq + 286, expectLit));
        EXPECT_TRUE(std::equal(distFreq, distFreq + 30, expectDist));
    }
}

// NoFlush keeps the tail for the next call; the flushing modes consume everything.
TEST(LZ77, NoFlushKeepsTheLastBytes) {
    const Bytes data = Bytes(2000, 'q');
    for (LumLZ77Flush flush : {lumLZ77NoFlush, lumLZ77SyncFlush, lumLZ77FullFlush, lumLZ77FinishFlush}) {
        std::vector<Lum32s> head(1024, -32768), prev(32768, 0);
        Lum32u litFreq[286] = {}, distFreq[30] = {};
        Bytes lit(data.size());
        std::vector<Lum16u> dist(data.size());
        const Lum8u* src = data.data();
        int srcIdx = 0, srcLen = static_cast<int>(data.size()), room = static_cast<int>(data.size());
        ASSERT_EQ(lumsDeflateLZ77_8u(&src, &srcLen, &srcIdx, data.data(), 32768, head.data(), prev.data(), 1024,
                                     litFreq, distFreq, lit.data(), dist.data(), &room, 5, flush),
                  lumStsNoErr);
        EXPECT_EQ(src, data.data() + srcIdx);
        if (flush == lumLZ77NoFlush) EXPECT_TRUE(srcLen > 0 && srcLen <= 262) << srcLen;
        else EXPECT_EQ(srcLen, 0);
        EXPECT_EQ(litFreq[256], flush == lumLZ77FinishFlush ? 1u : 0u);
        if (flush == lumLZ77FullFlush) {
            EXPECT_TRUE(std::all_of(head.begin(), head.end(), [](Lum32s h) { return h < 0; }));
        }
    }
}

// Every bad argument gives its status and leaves every output as it was.
TEST(LZ77, BadArgumentsWriteNothing) {
    const Bytes data(1000, 'a');
    struct Case {
        const char* what;
        LumStatus expected;
        bool nullSrc;
        int srcLen, srcIdx, winSize, hashSize, room, level, flush;
    };
    const Case cases[] = {
        {"null source", lumStsNullPtrErr, true, 1000, 0, 32768, 64, 1000, 6, 3},
        {"negative length", lumStsSizeErr, false, -1, 0, 32768, 64, 1000, 6, 3},
        {"negative room", lumStsSizeErr, false, 1000, 0, 32768, 64, -5, 6, 3},
        {"window not a power of two", lumStsSizeErr, false, 1000, 0, 30000, 64, 1000, 6, 3},
        {"window too large", lumStsSizeErr, false, 1000, 0, 65536, 64, 1000, 6, 3},
        {"no hash table", lumStsSizeErr, false, 1000, 0, 32768, 0, 1000, 6, 3},
        {"level 0", lumStsBadArgErr, false, 1000, 0, 32768, 64, 1000, 0, 3},
        {"level 10", lumStsBadArgErr, false, 1000, 0, 32768, 64, 1000, 10, 3},
        {"flush 4", lumStsBadArgErr, false, 1000, 0, 32768, 64, 1000, 6, 4},
        {"index not the pointer's", lumStsBadArgErr, false, 1000, 1, 32768, 64, 1000, 6, 3},
    };
    for (const Case& c : cases) {
        std::vector<Lum32s> head(64, -32768), prev(32768, 0);
        Lum32u litFreq[286] = {}, distFreq[30] = {};
        Bytes lit(data.size(), 0xEE);
        std::vector<Lum16u> dist(data.size(), 0xEEEE);
        const Lum8u* src = data.data();
        int srcLen = c.srcLen, srcIdx = c.srcIdx, room = c.room;
        EXPECT_EQ(lumsDeflateLZ77_8u(c.nullSrc ? nullptr : &src, &srcLen, &srcIdx, data.data(), c.winSize, head.data(),
                                     prev.data(), c.hashSize, litFreq, distFreq, lit.data(), dist.data(), &room,
                                     c.level, static_cast<LumLZ77Flush>(c.flush)),
                  c.expected)
            << c.what;
        EXPECT_TRUE(std::all_of(lit.begin(), lit.end(), [](Lum8u b) { return b == 0xEE; })) << c.what;
        EXPECT_TRUE(std::all_of(head.begin(), head.end(), [](Lum32s h) { return h == -32768; })) << c.what;
        EXPECT_EQ(std::accumulate(litFreq, litFreq + 286, 0u), 0u) << c.what;
    }
}

TEST(Huff, BadArgumentsWriteNothing) {
    const FixedCodes& good = fixedCodes();
    FixedCodes longCode = good, wideCode = good;
    longCode.lit[65].len = 16;
    wideCode.dist[3].code = 0x20;  // more bits than its length
    const Lum8u lit[] = {1, 2};
    const Lum16u farDist[] = {0, 32769}, dist[] = {0, 5};
    Bytes out(8, 0xEE);
    Lum32u code = 0;
    int bits = 0, idx = 0, badBits = 33, negIdx = -1;
    struct Case {
        LumStatus expected;
        LumStatus got;
    };
    const Case cases[] = {
        {lumStsNullPtrErr, lumsDeflateHuff_8u(nullptr, dist, 2, &code, &bits, good.lit, good.dist, out.data(), &idx)},
        {lumStsNullPtrErr, lumsDeflateHuff_8u(lit, dist, 2, &code, &bits, good.lit, good.dist, nullptr, &idx)},
        {lumStsSizeErr, lumsDeflateHuff_8u(lit, dist, -1, &code, &bits, good.lit, good.dist, out.data(), &idx)},
        {lumStsSizeErr, lumsDeflateHuff_8u(lit, dist, 2, &code, &bits, good.lit, good.dist, out.data(), &negIdx)},
        {lumStsBadArgErr, lumsDeflateHuff_8u(lit, dist, 2, &code, &badBits, good.lit, good.dist, out.data(), &idx)},
        {lumStsBadArgErr, lumsDeflateHuff_8u(lit, farDist, 2, &code, &bits, good.lit, good.dist, out.data(), &idx)},
        {lumStsBadArgErr, lumsDeflateHuff_8u(lit, dist, 2, &code, &bits, longCode.lit, good.dist, out.data(), &idx)},
        {lumStsBadArgErr, lumsDeflateHuff_8u(lit, dist, 2, &code, &bits, good.lit, wideCode.dist, out.data(), &idx)},
    };
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].got, cases[i].expected) << "case " << i;
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](Lum8u b) { return b == 0xEE; }));
    EXPECT_EQ(idx, 0);
    EXPECT_EQ(bits, 0);
}

// Long calls store whole words ahead of the output; one call per symbol never does. Both
// must give the same bytes, and nothing may land past the last byte of the long call.
TEST(Huff, LongCallsMatchSymbolBySymbolAndStayInTheirOutput) {
    FixedCodes oneBit = fixedCodes(), zeroBit = fixedCodes();
    for (int s = 0; s < 256; ++s) oneBit.lit[s] = {Lum16u(s & 1), 1};
    zeroBit.lit['a'] = {0, 0};
    const FixedCodes* tables[] = {&fixedCodes(), &oneBit, &zeroBit};
    std::mt19937 rng(7);
    for (const FixedCodes* codes : tables) {
        std::vector<Lum8u> lit(3000);
        std::vector<Lum16u> dist(lit.size());
        for (size_t i = 0; i < lit.size(); ++i) {
            lit[i] = rng() % 4 == 0 ? Lum8u('a') : Lum8u(rng());
            dist[i] = rng() % 3 == 0 ? Lum16u(1 + rng() % 32768) : 0;
        }
        Bytes expected(lit.size() * 8, 0);
        Lum32u code = 5;
        int bits = 3, idx = 0;
        for (size_t i = 0; i < lit.size(); ++i)
            ASSERT_EQ(lumsDeflateHuff_8u(&lit[i], &dist[i], 1, &code, &bits, codes->lit, codes->dist,
                                         expected.data(), &idx), lumStsNoErr);
        expected.resize(size_t(idx));
        const Lum32u expectedCode = code;
        const int expectedBits = bits;

        Bytes out(expected.size() + 16, 0xEE);
        code = 5, bits = 3, idx = 0;
        ASSERT_EQ(lumsDeflateHuff_8u(lit.data(), dist.data(), int(lit.size()), &code, &bits, codes->lit, codes->dist,
                                     out.data(), &idx), lumStsNoErr);
        ASSERT_EQ(size_t(idx), expected.size());
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.begin()));
        EXPECT_TRUE(std::all_of(out.begin() + idx, out.end(), [](Lum8u b) { return b == 0xEE; }));
        EXPECT_EQ(code, expectedCode);
        EXPECT_EQ(bits, expectedBits);
    }
}

}  // namespace
