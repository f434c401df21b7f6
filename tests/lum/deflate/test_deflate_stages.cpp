// The LZ77 and Huffman stages: their fixed-code output is a raw deflate stream that zlib
// inflates, whole or fed in pieces with every flush mode; the ratio stands beside zlib's;
// frequency counts, a full destination and bad arguments.
#include <algorithm>
#include <numeric>
#include <random>

#include "../lum_test.h"
#include "deflate_test_util.h"

namespace {

using namespace deflate_test;

struct FlushCase {
    const char* name;
    int piece;  // 0: the whole input in one call
    LumLZ77Flush middle;
    int winSize = 32768;
    int hashSize = 32768;
};

constexpr FlushCase kFlushCases[] = {
    {"OneCall", 0, lumLZ77NoFlush},
    {"NoFlushPieces", 10000, lumLZ77NoFlush},
    {"SyncFlushPieces", 7001, lumLZ77SyncFlush},
    {"FullFlushPieces", 12345, lumLZ77FullFlush},
    // The smallest window, and a head table whose size is not a power of two.
    {"SmallWindowOddHash", 999, lumLZ77NoFlush, 256, 1000},
};

class FixedStream : public testing::TestWithParam<FlushCase> {};

TEST_P(FixedStream, ZlibInflatesEveryFileAtEveryLevel) {
    SKIP_WITHOUT_CORPUS();
    const FlushCase& c = GetParam();
    for (const char* file : kCorpusFiles) {
        const Bytes data = readCorpus(file);
        for (int level = 1; level <= 9; ++level) {
            const Bytes stream = compressFixed(data, level, c.piece, c.middle, c.winSize, c.hashSize);
            bool ok = false;
            const Bytes back = zlibInflateRaw(stream, data.size(), &ok);
            ASSERT_TRUE(ok && back == data) << file << " level " << level;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Flush, FixedStream, testing::ValuesIn(kFlushCases),
                         [](const auto& info) { return std::string(info.param.name); });

// Size of the whole corpus under our stages and under zlib's fixed-code deflate.
TEST(FixedStream, RatioStandsBesideZlibFixed) {
    SKIP_WITHOUT_CORPUS();
    size_t ours[10] = {}, zlib6 = 0;
    for (const char* file : kCorpusFiles) {
        const Bytes data = readCorpus(file);
        for (int level : {6, 7, 8, 9}) ours[level] += compressFixed(data, level).size();
        zlib6 += zlibDeflateRaw(data, 6, Z_FIXED).size();
    }
    EXPECT_LE(double(ours[6]), 1.02 * double(zlib6)) << "ours " << ours[6] << ", zlib " << zlib6;
    for (int level : {7, 8, 9}) EXPECT_LE(ours[level], ours[6]) << "level " << level;
}

// One LZ77 call over `data` with fresh tables.
struct LZ77Call {
    std::vector<Lum32s> head, prev = std::vector<Lum32s>(32768, 0);
    Lum32u litFreq[286] = {}, distFreq[30] = {};
    Bytes lit;
    std::vector<Lum16u> dist;
    int srcIdx = 0, srcLen = 0;

    explicit LZ77Call(const Bytes& data, int hashSize = 32768)
        : head(hashSize, -32768), lit(data.size()), dist(data.size()), srcLen(int(data.size())) {}
    // Writes at most `room` symbols after the `done` already written; returns the status
    // and adds the symbols written to `done`.
    LumStatus run(const Bytes& data, int& done, int room, int level, LumLZ77Flush flush) {
        const Lum8u* src = data.data() + srcIdx;
        const int given = room;
        const LumStatus st = lumsDeflateLZ77_8u(&src, &srcLen, &srcIdx, data.data(), 32768, head.data(), prev.data(),
                                                int(head.size()), litFreq, distFreq, lit.data() + done,
                                                dist.data() + done, &room, level, flush);
        EXPECT_EQ(src, data.data() + srcIdx);
        done += given - room;
        return st;
    }
};

// A destination of a few symbols per call: every call ends with the warning and the next
// continues; the symbols rebuild the input, and the frequency tables count exactly the
// symbols written plus one end-of-block code.
TEST(LZ77, FullDestinationResumesAndCountsSymbols) {
    Bytes data(50000);
    std::mt19937 gen(7);
    for (size_t i = 0; i < data.size(); ++i) data[i] = i > 300 && gen() % 4 ? data[i - 1 - gen() % 300] : Lum8u(gen() % 16);
    // Length and distance code bases of RFC 1951 3.2.5.
    static const int lenBase[] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                  31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
    static const int distBase[] = {1,   2,   3,   4,   5,   7,    9,    13,   17,   25,   33,   49,    65,    97,    129,
                                   193, 257, 385, 513, 769, 1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
    for (int level : {1, 6}) {
        LZ77Call call(data);
        int symbols = 0, calls = 0;
        LumStatus st;
        do st = call.run(data, symbols, std::min<int>(37, int(data.size()) - symbols), level, lumLZ77FinishFlush);
        while (st == lumStsDstFullWrn && ++calls < 100000);
        ASSERT_EQ(st, lumStsNoErr);
        EXPECT_EQ(call.srcLen, 0);
        EXPECT_GT(calls, 10);
        Lum32u expectLit[286] = {}, expectDist[30] = {};
        expectLit[256] = 1;
        Bytes rebuilt;
        for (int i = 0; i < symbols; ++i) {
            const int len = call.lit[i] + 3, d = call.dist[i];
            if (d == 0) {
                rebuilt.push_back(call.lit[i]);
                ++expectLit[call.lit[i]];
                continue;
            }
            ASSERT_LE(size_t(d), rebuilt.size());
            for (int k = 0; k < len; ++k) rebuilt.push_back(rebuilt[rebuilt.size() - d]);
            ++expectLit[257 + (std::upper_bound(lenBase, std::end(lenBase), len) - lenBase - 1)];
            ++expectDist[std::upper_bound(distBase, std::end(distBase), d) - distBase - 1];
        }
        EXPECT_TRUE(rebuilt == data);
        EXPECT_TRUE(std::equal(call.litFreq, call.litFreq + 286, expectLit));
        EXPECT_TRUE(std::equal(call.distFreq, call.distFreq + 30, expectDist));
    }
}

// NoFlush keeps the tail for the next call; the flushing modes consume everything, only
// FinishFlush counts the end-of-block code and FullFlush empties the hash heads.
TEST(LZ77, NoFlushKeepsTheLastBytes) {
    const Bytes data(2000, 'q');
    for (LumLZ77Flush flush : {lumLZ77NoFlush, lumLZ77SyncFlush, lumLZ77FullFlush, lumLZ77FinishFlush}) {
        LZ77Call call(data, 1024);
        int symbols = 0;
        ASSERT_EQ(call.run(data, symbols, int(data.size()), 5, flush), lumStsNoErr);
        const bool keepsTail = call.srcLen > 0 && call.srcLen <= 262;
        EXPECT_EQ(keepsTail, flush == lumLZ77NoFlush) << call.srcLen;
        EXPECT_EQ(call.litFreq[256], flush == lumLZ77FinishFlush ? 1u : 0u);
        const bool emptied = std::all_of(call.head.begin(), call.head.end(), [](Lum32s h) { return h < 0; });
        EXPECT_TRUE(emptied || flush != lumLZ77FullFlush);
    }
}

// After a FullFlush the next call matches only within its own data, whatever the matcher's
// tables hold: a small alphabet gives every position short repeats on both sides of a cut
// just past 64 KiB.
TEST(LZ77, NoMatchReachesBehindAFullFlush) {
    Bytes data(70000);
    std::mt19937 gen(11);
    for (auto& b : data) b = Lum8u('a' + gen() % 4);
    const int cut = 65540;
    for (int level : {1, 4, 6, 9}) {
        LZ77Call call(data);
        int symbols = 0;
        call.srcLen = cut;
        ASSERT_EQ(call.run(data, symbols, cut, level, lumLZ77FullFlush), lumStsNoErr);
        ASSERT_EQ(call.srcIdx, cut);
        const int first = symbols;
        call.srcLen = int(data.size()) - cut;
        ASSERT_EQ(call.run(data, symbols, int(data.size()) - symbols, level, lumLZ77FinishFlush), lumStsNoErr);
        int pos = cut, behind = 0;
        for (int i = first; i < symbols; ++i) {
            if (call.dist[i] != 0 && pos - call.dist[i] < cut) ++behind;
            pos += call.dist[i] == 0 ? 1 : call.lit[i] + 3;
        }
        EXPECT_EQ(pos, int(data.size())) << "level " << level;
        EXPECT_EQ(behind, 0) << "level " << level;
    }
}

// Every bad argument gives its status and leaves every output as it was.
TEST(LZ77, BadArgumentsWriteNothing) {
    const Bytes data(1000, 'a');
    struct Case {
        const char* what;
        LumStatus expected;
        int srcLen, srcIdx, winSize, hashSize, room, level, flush;  // srcLen -2: null source
    };
    const Case cases[] = {
        {"null source", lumStsNullPtrErr, -2, 0, 32768, 64, 1000, 6, 3},
        {"negative length", lumStsSizeErr, -1, 0, 32768, 64, 1000, 6, 3},
        {"negative room", lumStsSizeErr, 1000, 0, 32768, 64, -5, 6, 3},
        {"window not a power of two", lumStsSizeErr, 1000, 0, 30000, 64, 1000, 6, 3},
        {"window too large", lumStsSizeErr, 1000, 0, 65536, 64, 1000, 6, 3},
        {"no hash table", lumStsSizeErr, 1000, 0, 32768, 0, 1000, 6, 3},
        {"level 0", lumStsBadArgErr, 1000, 0, 32768, 64, 1000, 0, 3},
        {"level 10", lumStsBadArgErr, 1000, 0, 32768, 64, 1000, 10, 3},
        {"flush 4", lumStsBadArgErr, 1000, 0, 32768, 64, 1000, 6, 4},
        {"index not the pointer's", lumStsBadArgErr, 1000, 1, 32768, 64, 1000, 6, 3},
    };
    for (const Case& c : cases) {
        LZ77Call call(data, 64);
        std::fill(call.lit.begin(), call.lit.end(), 0xEE);
        const Lum8u* src = data.data();
        int srcLen = std::max(c.srcLen, -1), srcIdx = c.srcIdx, room = c.room;
        EXPECT_EQ(lumsDeflateLZ77_8u(c.srcLen == -2 ? nullptr : &src, &srcLen, &srcIdx, data.data(), c.winSize,
                                     call.head.data(), call.prev.data(), c.hashSize, call.litFreq, call.distFreq,
                                     call.lit.data(), call.dist.data(), &room, c.level, LumLZ77Flush(c.flush)),
                  c.expected)
            << c.what;
        EXPECT_TRUE(std::all_of(call.lit.begin(), call.lit.end(), [](Lum8u b) { return b == 0xEE; })) << c.what;
        EXPECT_TRUE(std::all_of(call.head.begin(), call.head.end(), [](Lum32s h) { return h == -32768; })) << c.what;
        EXPECT_EQ(std::accumulate(call.litFreq, call.litFreq + 286, 0u), 0u) << c.what;
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
    const auto huff = [&](const Lum8u* l, const Lum16u* d, int n, int* b, const FixedCodes& lc,
                          const FixedCodes& dc, Lum8u* o, int* i) {
        return lumsDeflateHuff_8u(l, d, n, &code, b, lc.lit, dc.dist, o, i);
    };
    lumtest::expectStatuses({
        {"null literals", huff(nullptr, dist, 2, &bits, good, good, out.data(), &idx), lumStsNullPtrErr},
        {"null destination", huff(lit, dist, 2, &bits, good, good, nullptr, &idx), lumStsNullPtrErr},
        {"negative length", huff(lit, dist, -1, &bits, good, good, out.data(), &idx), lumStsSizeErr},
        {"negative index", huff(lit, dist, 2, &bits, good, good, out.data(), &negIdx), lumStsSizeErr},
        {"33 pending bits", huff(lit, dist, 2, &badBits, good, good, out.data(), &idx), lumStsBadArgErr},
        {"distance beyond 32768", huff(lit, farDist, 2, &bits, good, good, out.data(), &idx), lumStsBadArgErr},
        {"literal code of 16 bits", huff(lit, dist, 2, &bits, longCode, good, out.data(), &idx), lumStsBadArgErr},
        {"distance code wider than its length", huff(lit, dist, 2, &bits, good, wideCode, out.data(), &idx),
         lumStsBadArgErr},
    });
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](Lum8u b) { return b == 0xEE; }));
    EXPECT_EQ(idx + bits, 0);
}

// Long calls store whole words ahead of the output; one call per symbol never does. Both
// must give the same bytes and bit state, and nothing may land past the long call's output.
TEST(Huff, LongCallsMatchSymbolBySymbolAndStayInTheirOutput) {
    FixedCodes oneBit = fixedCodes(), zeroBit = fixedCodes();
    for (int s = 0; s < 256; ++s) oneBit.lit[s] = {Lum16u(s & 1), 1};
    zeroBit.lit['a'] = {0, 0};
    std::mt19937 rng(7);
    for (const FixedCodes* codes : std::initializer_list<const FixedCodes*>{&fixedCodes(), &oneBit, &zeroBit}) {
        Bytes lit(3000);
        std::vector<Lum16u> dist(lit.size());
        for (size_t i = 0; i < lit.size(); ++i) {
            lit[i] = rng() % 4 == 0 ? Lum8u('a') : Lum8u(rng());
            dist[i] = rng() % 3 == 0 ? Lum16u(1 + rng() % 32768) : 0;
        }
        struct Output {
            Bytes bytes;
            Lum32u code = 5;
            int bits = 3, idx = 0;
        } single, whole;
        single.bytes.assign(lit.size() * 8, 0xEE);
        whole.bytes.assign(lit.size() * 8, 0xEE);
        const auto encode = [&](Output& o, size_t from, int n) {
            ASSERT_EQ(lumsDeflateHuff_8u(&lit[from], &dist[from], n, &o.code, &o.bits, codes->lit, codes->dist,
                                         o.bytes.data(), &o.idx), lumStsNoErr);
        };
        for (size_t i = 0; i < lit.size(); ++i) encode(single, i, 1);
        encode(whole, 0, int(lit.size()));
        EXPECT_TRUE(single.bytes == whole.bytes);  // the bytes past idx still 0xEE in both
        EXPECT_EQ(whole.idx, single.idx);
        EXPECT_EQ(whole.code, single.code);
        EXPECT_EQ(whole.bits, single.bits);
    }
}

}  // namespace
