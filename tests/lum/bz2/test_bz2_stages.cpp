// Dictionary, MTF, Z1Z2 and block decoding: each against a straightforward reference, the
// streaming and resumption rules, the whole forward chain decoded back by the block
// decoder on the corpus, and the errors of each.
#include <gtest/gtest.h>

#include "test_bz2_common.h"

namespace {

using namespace bz2test;

// ---- Dictionary ----------------------------------------------------------------------

TEST(Bz2Dictionary, ReducesToRanksAndExpandsBack) {
    Lum8u inUse[256] = {};
    for (int v : {3, 17, 18, 200, 255}) inUse[v] = 1;
    Bytes data{3, 17, 18, 200, 255, 18, 4 /* not in use */};
    int size = -1;
    ASSERT_EQ(lumsReduceDictionary_8u_I(inUse, data.data(), 7, &size), lumStsNoErr);
    EXPECT_EQ(size, 5);
    EXPECT_EQ(data, (Bytes{0, 1, 2, 3, 4, 2, 0}));
    data.push_back(5);  // a rank beyond the dictionary stays as it is
    ASSERT_EQ(lumsExpandDictionary_8u_I(inUse, data.data(), 8, size), lumStsNoErr);
    EXPECT_EQ(data, (Bytes{3, 17, 18, 200, 255, 18, 3, 5}));

    EXPECT_EQ(lumsReduceDictionary_8u_I(nullptr, data.data(), 8, &size), lumStsNullPtrErr);
    EXPECT_EQ(lumsReduceDictionary_8u_I(inUse, data.data(), 8, nullptr), lumStsNullPtrErr);
    EXPECT_EQ(lumsReduceDictionary_8u_I(inUse, data.data(), -1, &size), lumStsSizeErr);
    EXPECT_EQ(lumsExpandDictionary_8u_I(inUse, data.data(), 8, 257), lumStsBadArgErr);
    EXPECT_EQ(lumsExpandDictionary_8u_I(inUse, nullptr, 8, 5), lumStsNullPtrErr);
}

// ---- MTF -------------------------------------------------------------------------------

struct Mtf {
    Bytes state = workArea(lumsMTFGetSize_8u);
    LumMTFState_8u* st() { return reinterpret_cast<LumMTFState_8u*>(state.data()); }
    Mtf() { EXPECT_EQ(lumsMTFInit_8u(st()), lumStsNoErr); }
};

Bytes referenceMtf(const Bytes& s) {
    std::vector<Lum8u> list(256);
    std::iota(list.begin(), list.end(), 0);
    Bytes out;
    for (Lum8u c : s) {
        const auto it = std::find(list.begin(), list.end(), c);
        out.push_back(static_cast<Lum8u>(it - list.begin()));
        list.erase(it);
        list.insert(list.begin(), c);
    }
    return out;
}

// Data with every rank from 0 to 255 and the short ranks of sorted data.
Bytes mtfInput(size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    Bytes s(n);
    for (auto& x : s) x = static_cast<Lum8u>(gen() % 3 ? gen() % 6 : gen() % 256);
    return s;
}

TEST(Bz2Mtf, MatchesReferenceAcrossCallsAndInPlace) {
    const Bytes s = mtfInput(20000, 1), ranks = referenceMtf(s);
    Mtf fwd, inv;
    Bytes out(s.size()), back(s.size());
    // Forward in three calls (the list carries over), inverse in place in one.
    const size_t cuts[] = {0, 1, 7777, s.size()};
    for (int k = 0; k < 3; ++k) {
        const int len = static_cast<int>(cuts[k + 1] - cuts[k]);
        ASSERT_EQ(lumsMTFFwd_8u(s.data() + cuts[k], out.data() + cuts[k], len, fwd.st()), lumStsNoErr);
    }
    EXPECT_EQ(out, ranks);
    ASSERT_EQ(lumsMTFInv_8u(out.data(), out.data(), static_cast<int>(out.size()), inv.st()), lumStsNoErr);
    EXPECT_EQ(out, s);
}

TEST(Bz2Mtf, Errors) {
    Mtf mtf;
    Bytes s{1, 2}, d(2);
    Bytes broken = mtf.state;
    broken[broken.size() - 1] = broken[broken.size() - 2];  // the list is no permutation
    auto* bad = reinterpret_cast<LumMTFState_8u*>(broken.data());
    EXPECT_EQ(lumsMTFFwd_8u(s.data(), d.data(), 2, bad), lumStsContextMatchErr);
    EXPECT_EQ(lumsMTFInv_8u(s.data(), d.data(), 2, bad), lumStsContextMatchErr);
    EXPECT_EQ(lumsMTFFwd_8u(nullptr, d.data(), 2, mtf.st()), lumStsNullPtrErr);
    EXPECT_EQ(lumsMTFInv_8u(s.data(), d.data(), -2, mtf.st()), lumStsSizeErr);
    EXPECT_EQ(lumsMTFGetSize_8u(nullptr), lumStsNullPtrErr);
    EXPECT_EQ(d, Bytes(2));
}

// ---- Z1Z2 ------------------------------------------------------------------------------

// Value of a run's digits in bijective base 2 (RUNA weighs 1, RUNB 2, least first).
long long runValue(const Symbols& digits) {
    long long v = 0, w = 1;
    for (Lum16u d : digits) v += (d + 1) * w, w *= 2;
    return v;
}

TEST(Bz2Z1Z2, CodesRunsAndValues) {
    struct Case {
        Bytes in;
        Symbols out;
    } cases[] = {
        {{}, {}},
        {{0}, {0}},
        {{0, 0}, {1}},
        {{0, 0, 0}, {0, 0}},
        {{0, 0, 0, 0}, {1, 0}},
        {{0, 0, 0, 0, 0}, {0, 1}},
        {{5, 0, 255, 1}, {6, 0, 256, 2}},
    };
    for (const Case& c : cases) {
        Bytes in = c.in;
        Lum8u* p = ptr(in);
        Symbols out(16);
        int left = static_cast<int>(in.size()), room = 16;
        Lum32u freq[258];
        std::fill(std::begin(freq), std::end(freq), 99u);
        ASSERT_EQ(lumsEncodeZ1Z2_BZ2_8u16u(&p, &left, out.data(), &room, freq), lumStsNoErr);
        out.resize(static_cast<size_t>(room));
        EXPECT_EQ(out, c.out);
        EXPECT_EQ(left, 0);
        for (int sym = 0; sym < 258; ++sym)
            EXPECT_EQ(freq[sym], static_cast<Lum32u>(std::count(out.begin(), out.end(), sym)));
    }
    // Every run length up to 70000 gives digits worth exactly that length.
    for (int len = 1; len < 70000; len += len < 600 ? 1 : 997) {
        Bytes zeros(static_cast<size_t>(len));
        Lum8u* p = zeros.data();
        Symbols out(40);
        int left = len, room = 40;
        Lum32u freq[258];
        ASSERT_EQ(lumsEncodeZ1Z2_BZ2_8u16u(&p, &left, out.data(), &room, freq), lumStsNoErr);
        out.resize(static_cast<size_t>(room));
        ASSERT_EQ(runValue(out), len);
    }
}

// Encoding and decoding through rooms too small for the whole: each call stops at a
// whole run or value with the warning, and the pieces join to the one-call result.
TEST(Bz2Z1Z2, ResumesAfterFullDestination) {
    Bytes s = mtfInput(5000, 2);
    for (size_t i = 0; i < s.size(); i += 50) std::fill_n(s.begin() + static_cast<long>(i), 20, 0);
    Lum8u* p = s.data();
    int left = static_cast<int>(s.size());
    Symbols whole(s.size());
    int wholeLen = static_cast<int>(whole.size());
    Lum32u freq[258];
    ASSERT_EQ(lumsEncodeZ1Z2_BZ2_8u16u(&p, &left, whole.data(), &wholeLen, freq), lumStsNoErr);
    whole.resize(static_cast<size_t>(wholeLen));

    Symbols pieces;
    p = s.data();
    left = static_cast<int>(s.size());
    for (LumStatus sts = lumStsDstFullWrn; sts == lumStsDstFullWrn;) {
        Symbols buf(6);  // the longest run here (20 zeros) takes 4 digits
        int room = 6;
        sts = lumsEncodeZ1Z2_BZ2_8u16u(&p, &left, buf.data(), &room, freq);
        ASSERT_TRUE(sts == lumStsNoErr || (sts == lumStsDstFullWrn && room > 0)) << sts;
        pieces.insert(pieces.end(), buf.begin(), buf.begin() + room);
    }
    EXPECT_EQ(pieces, whole);

    Bytes back;
    Lum16u* q = whole.data();
    int symbols = wholeLen;
    for (LumStatus sts = lumStsDstFullWrn; sts == lumStsDstFullWrn;) {
        Bytes buf(25);
        int room = 25;
        sts = lumsDecodeZ1Z2_BZ2_16u8u(&q, &symbols, buf.data(), &room);
        ASSERT_TRUE(sts == lumStsNoErr || (sts == lumStsDstFullWrn && room > 0)) << sts;
        back.insert(back.end(), buf.begin(), buf.begin() + room);
    }
    EXPECT_EQ(back, s);
    EXPECT_EQ(symbols, 0);
}

TEST(Bz2Z1Z2, DecodeErrors) {
    Bytes out(8);
    struct Case {
        Symbols in;
        LumStatus want;
        int consumed, written;
    } cases[] = {
        {{2, 257, 2}, lumStsCorruptDataErr, 1, 1},
        {{2, 0xFFFF}, lumStsCorruptDataErr, 1, 1},
        {Symbols(40, 1), lumStsCorruptDataErr, 0, 0},  // a run longer than any block
        {{0, 0, 0, 0}, lumStsDstFullWrn, 0, 0},        // 15 zeros into 8
        {{3, 3, 0, 0, 0}, lumStsDstFullWrn, 2, 2},
    };
    for (const Case& c : cases) {
        Symbols in = c.in;
        Lum16u* p = in.data();
        int left = static_cast<int>(in.size()), room = 8;
        EXPECT_EQ(lumsDecodeZ1Z2_BZ2_16u8u(&p, &left, out.data(), &room), c.want);
        EXPECT_EQ(p - in.data(), c.consumed);
        EXPECT_EQ(room, c.written);
    }
    Lum16u* none = nullptr;
    int left = 1, room = 8, negative = -1;
    EXPECT_EQ(lumsDecodeZ1Z2_BZ2_16u8u(&none, &left, out.data(), &room), lumStsNullPtrErr);
    Symbols one{2};
    Lum16u* p = one.data();
    EXPECT_EQ(lumsDecodeZ1Z2_BZ2_16u8u(&p, &negative, out.data(), &room), lumStsSizeErr);
}

// ---- Block decoding ----------------------------------------------------------------------

// The forward chain of one block: RLE, reduction, BWT, MTF, Z1Z2.
struct Block {
    Bytes rle;
    Lum8u inUse[256] = {};
    int sizeDictionary = 0, index = 0;
    Symbols symbols;
};

Block encodeBlock(const Bytes& s) {
    Block b;
    Bytes state = workArea(lumsRLEGetSize_BZ2_8u);
    auto* rle = reinterpret_cast<LumRLEState_BZ2*>(state.data());
    lumsEncodeRLEInit_BZ2_8u(rle);
    b.rle.resize(s.size() * 5 / 4 + 8);
    Bytes src = s;
    Lum8u* p = ptr(src);
    int left = static_cast<int>(s.size()), n = static_cast<int>(b.rle.size());
    EXPECT_EQ(lumsEncodeRLE_BZ2_8u(&p, &left, b.rle.data(), &n, rle), lumStsNoErr);
    int tail = static_cast<int>(b.rle.size()) - n;
    EXPECT_EQ(lumsEncodeRLEFlush_BZ2_8u(b.rle.data() + n, &tail, rle), lumStsNoErr);
    b.rle.resize(static_cast<size_t>(n + tail));
    lumsRLEGetInUseTable_8u(b.inUse, rle);

    Bytes work = b.rle;
    const int len = static_cast<int>(work.size());
    lumsReduceDictionary_8u_I(b.inUse, work.data(), len, &b.sizeDictionary);
    Bytes buff = workArea([&](int* sz) { return lumsBWTFwdGetSize_8u(len, sz); });
    EXPECT_EQ(lumsBWTFwd_8u(work.data(), work.data(), len, &b.index, buff.data()), lumStsNoErr);
    Bytes mtf = workArea(lumsMTFGetSize_8u);
    lumsMTFInit_8u(reinterpret_cast<LumMTFState_8u*>(mtf.data()));
    lumsMTFFwd_8u(work.data(), work.data(), len, reinterpret_cast<LumMTFState_8u*>(mtf.data()));
    b.symbols.resize(static_cast<size_t>(len) + 1);
    p = work.data();
    left = len;
    int room = static_cast<int>(b.symbols.size());
    Lum32u freq[258];
    EXPECT_EQ(lumsEncodeZ1Z2_BZ2_8u16u(&p, &left, b.symbols.data(), &room, freq), lumStsNoErr);
    b.symbols.resize(static_cast<size_t>(room));
    return b;
}

LumStatus decodeBlock(const Block& b, Bytes& out, int room) {
    Bytes buff = workArea([&](int* sz) { return lumsBWTInvGetSize_8u(room, sz); });
    out.assign(static_cast<size_t>(room), 0);
    int n = room;
    const LumStatus sts = lumsDecodeBlock_BZ2_16u8u(b.symbols.data(), static_cast<int>(b.symbols.size()),
                                                    out.data(), &n, b.index, b.sizeDictionary,
                                                    b.inUse, buff.data());
    if (sts == lumStsNoErr) out.resize(static_cast<size_t>(n));
    return sts;
}

TEST(Bz2Block, CorpusBlocksDecodeToTheirRleData) {
    for (const char* name : kCorpusFiles) {
        const Bytes s = corpusFile(name);
        if (s.empty()) GTEST_SKIP() << "corpus not found in " << PERFDC_CORPUS_DIR;
        const Block b = encodeBlock(s);
        Bytes out;
        ASSERT_EQ(decodeBlock(b, out, static_cast<int>(b.rle.size()) + 100), lumStsNoErr) << name;
        EXPECT_EQ(out, b.rle) << name;
    }
}

TEST(Bz2Block, EdgeBlocksAndErrors) {
    for (const Bytes& s : {Bytes{42}, Bytes(1000, 7), repeated("ab", 500), randomBytes(3000, 4)}) {
        const Block b = encodeBlock(s);
        Bytes out;
        ASSERT_EQ(decodeBlock(b, out, static_cast<int>(b.rle.size())), lumStsNoErr);
        EXPECT_EQ(out, b.rle);
    }
    const Block good = encodeBlock(bytesOf("a block of a few words, a block"));
    const int room = static_cast<int>(good.rle.size());
    Bytes out;
    EXPECT_EQ(decodeBlock(good, out, room - 1), lumStsSizeErr);
    Block bad = good;
    bad.index = room;
    EXPECT_EQ(decodeBlock(bad, out, room), lumStsCorruptDataErr);
    bad = good;
    bad.symbols[3] = static_cast<Lum16u>(good.sizeDictionary + 1);  // beyond the dictionary
    EXPECT_EQ(decodeBlock(bad, out, room), lumStsCorruptDataErr);
    bad = good;
    bad.sizeDictionary = 0;
    EXPECT_EQ(decodeBlock(bad, out, room), lumStsBadArgErr);
}

}  // namespace
