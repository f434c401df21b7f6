// RLE, dictionary, MTF, Z1Z2 and block decoding: each against a plain reference or known
// codes, streaming through small pieces and rooms, and the errors of each.
#include "bz2_format.h"
#include "test_bz2_common.h"

namespace {

using namespace bz2test;

using Rle = Area<LumRLEState_BZ2>;
using Mtf = Area<LumMTFState_8u>;

Rle newRle() {
    Rle r(lumsRLEGetSize_BZ2_8u);
    lumsEncodeRLEInit_BZ2_8u(r.get());
    return r;
}
Mtf newMtf() {
    Mtf m(lumsMTFGetSize_8u);
    lumsMTFInit_8u(m.get());
    return m;
}

// ---- RLE -------------------------------------------------------------------------------

// Runs the RLE encoder, then its flush, over s in pieces of `piece` bytes with `room` bytes
// of room per call, resuming after every warning. (The decoder in pieces: the bz2_rle fuzz
// target.)
Bytes rleEncode(Rle& r, const Bytes& s, size_t piece, int room) {
    Bytes out;
    const auto run = [&](const Bytes& chunk, bool flush) {
        const Bytes part = drain<Lum8u>(chunk, room, [&](Lum8u** p, int* left, Lum8u* d, int* n) {
            return flush ? lumsEncodeRLEFlush_BZ2_8u(d, n, r.get()) : lumsEncodeRLE_BZ2_8u(p, left, d, n, r.get());
        });
        out.insert(out.end(), part.begin(), part.end());
    };
    for (size_t at = 0; at < s.size(); at += piece) run(Bytes(s.begin() + long(at), s.begin() + long(std::min(s.size(), at + piece))), false);
    run({}, true);
    return out;
}

TEST(Bz2Rle, CodesEveryRunLengthThroughAnyPiecesAndRooms) {
    const std::pair<Bytes, Bytes> cases[] = {
        {{}, {}}, {{7, 7, 7}, {7, 7, 7}}, {Bytes(4, 7), {7, 7, 7, 7, 0}}, {Bytes(255, 7), {7, 7, 7, 7, 251}},
        {Bytes(256, 7), {7, 7, 7, 7, 251, 7}}, {Bytes(510, 7), {7, 7, 7, 7, 251, 7, 7, 7, 7, 251}},
        {{1, 1, 1, 1, 1, 2, 3, 3}, {1, 1, 1, 1, 1, 2, 3, 3}}};
    const std::pair<size_t, int> shapes[] = {{1 << 20, 1 << 20}, {1, 1}, {7, 3}, {300, 5}};
    for (const auto& [piece, room] : shapes) {
        for (const auto& [in, out] : cases) {
            Rle enc = newRle();
            ASSERT_EQ(rleEncode(enc, in, piece, room), out) << in.size() << " " << piece << " " << room;
        }
        // Longer data with runs around every limit gives the same codes whatever the shape.
        Bytes s;
        std::mt19937 gen(3);
        for (int k = 0; k < 300; ++k) s.insert(s.end(), k % 2 ? 250 + gen() % 12 : 1 + gen() % 600, gen() % 4);
        Rle whole = newRle(), cut = newRle();
        const Bytes coded = rleEncode(whole, s, 1 << 20, 1 << 20);
        ASSERT_EQ(rleEncode(cut, s, piece, room), coded);
        ASSERT_EQ(plain::rleDecode(coded), s);
        Lum8u inUse[256];
        ASSERT_EQ(lumsRLEGetInUseTable_8u(inUse, whole.get()), lumStsNoErr);
        for (int v = 0; v < 256; ++v) ASSERT_EQ(inUse[v], std::count(coded.begin(), coded.end(), v) ? 1 : 0);
    }
}

// ---- Dictionary and MTF ----------------------------------------------------------------

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
}

TEST(Bz2Mtf, MatchesReferenceAcrossCallsAndInPlace) {
    Bytes s(20000), ranks, list(256);
    std::mt19937 gen(1);
    for (auto& x : s) x = static_cast<Lum8u>(gen() % 3 ? gen() % 6 : gen() % 256);
    std::iota(list.begin(), list.end(), 0);
    for (Lum8u c : s) {
        const auto it = std::find(list.begin(), list.end(), c);
        ranks.push_back(static_cast<Lum8u>(it - list.begin()));
        list.erase(it);
        list.insert(list.begin(), c);
    }
    Mtf fwd = newMtf(), inv = newMtf();
    Bytes out(s.size());
    ASSERT_EQ(lumsMTFFwd_8u(s.data(), out.data(), 7777, fwd.get()), lumStsNoErr);  // the list carries over
    ASSERT_EQ(lumsMTFFwd_8u(s.data() + 7777, out.data() + 7777, 20000 - 7777, fwd.get()), lumStsNoErr);
    EXPECT_EQ(out, ranks);
    ASSERT_EQ(lumsMTFInv_8u(out.data(), out.data(), 20000, inv.get()), lumStsNoErr);
    EXPECT_EQ(out, s);
}

// ---- Z1Z2 ------------------------------------------------------------------------------

Symbols z1z2(Bytes s, int room, LumStatus want = lumStsNoErr) {
    Lum8u* p = ptr(s);
    int left = static_cast<int>(s.size());
    Symbols out(static_cast<size_t>(room));
    Lum32u freq[258];
    EXPECT_EQ(lumsEncodeZ1Z2_BZ2_8u16u(&p, &left, ptr(out), &room, freq), want);
    out.resize(static_cast<size_t>(room));
    for (int sym = 0; sym < 258; ++sym) EXPECT_EQ(freq[sym], std::count(out.begin(), out.end(), sym));
    return out;
}

TEST(Bz2Z1Z2, CodesRunsAndValues) {
    const std::pair<Bytes, Symbols> cases[] = {{{}, {}}, {{0}, {0}}, {{0, 0}, {1}}, {{0, 0, 0}, {0, 0}},
                                               {{0, 0, 0, 0}, {1, 0}}, {{0, 0, 0, 0, 0}, {0, 1}},
                                               {{5, 0, 255, 1}, {6, 0, 256, 2}}};
    for (const auto& [in, out] : cases) EXPECT_EQ(z1z2(in, 16), out);
}

// Small rooms: each call stops at a whole run or value and the pieces join up. (The
// decoder in small rooms: the bz2_z1z2 fuzz target.)
TEST(Bz2Z1Z2, ResumesAfterFullDestination) {
    const Bytes s = randomBytes(5000, 2, 6);
    const Symbols whole = z1z2(s, 5000);
    Lum32u freq[258];
    EXPECT_EQ(drain<Lum16u>(s, 6, [&](Lum8u** p, int* left, Lum16u* d, int* n) {
        return lumsEncodeZ1Z2_BZ2_8u16u(p, left, d, n, freq);
    }), whole);
    Bytes back;
    bool over = false;
    EXPECT_TRUE(plain::z1z2Decode(whole, back, s.size(), &over) && back == s);
}

TEST(Bz2Z1Z2, DecodeStopsAtCorruptSymbolsAndLongRuns) {
    struct Case {
        Symbols in;
        LumStatus want;
        int consumed, written;
    } cases[] = {{{2, 257, 2}, lumStsCorruptDataErr, 1, 1}, {{2, 0xFFFF}, lumStsCorruptDataErr, 1, 1},
                 {Symbols(40, 1), lumStsCorruptDataErr, 0, 0}, {{0, 0, 0, 0}, lumStsDstFullWrn, 0, 0},
                 {{3, 3, 0, 0, 0}, lumStsDstFullWrn, 2, 2}};
    for (Case& c : cases) {
        Lum16u* p = c.in.data();
        int left = static_cast<int>(c.in.size()), room = 8;
        Bytes out(8);
        EXPECT_EQ(lumsDecodeZ1Z2_BZ2_16u8u(&p, &left, out.data(), &room), c.want);
        EXPECT_EQ(p - c.in.data(), c.consumed);
        EXPECT_EQ(room, c.written);
    }
}

// ---- Block decoding ----------------------------------------------------------------------

// The block's own bytes are first-stage data here, so decoding gives them back.
LumStatus decodeBlock(bz2::Chain c, Bytes& out, int room) {
    Area<> buff([&](int* sz) { return lumsBWTInvGetSize_8u(room, sz); });
    out.assign(static_cast<size_t>(room), 0);
    const LumStatus sts = lumsDecodeBlock_BZ2_16u8u(ptr(c.symbols), static_cast<int>(c.symbols.size()), out.data(),
                                                    &room, c.index, c.sizeDictionary, c.inUse, buff.get());
    out.resize(static_cast<size_t>(room));
    return sts;
}

TEST(Bz2Block, DecodesTheChainAndRefusesBadBlocks) {
    const Bytes block = repeated("a block of a few words, ", 3);
    const bz2::Chain good = bz2::encodeChain(block, lumBWTAutoSort, false);
    const int room = static_cast<int>(block.size());
    Bytes out;
    EXPECT_EQ(decodeBlock(good, out, room), lumStsNoErr);
    EXPECT_EQ(out, block);
    EXPECT_EQ(decodeBlock(good, out, room - 1), lumStsSizeErr);
    struct Case {
        const char* what;
        bz2::Chain chain;
        LumStatus want;
    } cases[] = {{"index past the block", good, lumStsCorruptDataErr},
                 {"symbol beyond the dictionary", good, lumStsCorruptDataErr},
                 {"empty dictionary", good, lumStsBadArgErr},
                 {"a run of 2^33 - 2 zeros", good, lumStsCorruptDataErr}};
    cases[0].chain.index = room;
    cases[1].chain.symbols[3] = static_cast<Lum16u>(good.sizeDictionary + 1);
    cases[2].chain.sizeDictionary = 0;
    cases[3].chain.symbols.insert(cases[3].chain.symbols.begin() + 2, 32, Lum16u{1});
    for (const Case& c : cases) EXPECT_EQ(decodeBlock(c.chain, out, room), c.want) << c.what;
}

// ---- Arguments and work areas of the streaming stages -----------------------------------

TEST(Bz2Stages, ArgumentAndWorkAreaErrors) {
    Rle r = newRle();
    Mtf m = newMtf();
    Bytes zeros(r.bytes.size() + m.bytes.size()), src{1, 2}, dst(8);
    auto* badRle = reinterpret_cast<LumRLEState_BZ2*>(zeros.data());
    Bytes perm = m.bytes;
    perm.back() = perm[perm.size() - 2];  // the list is no permutation
    auto* badMtf = reinterpret_cast<LumMTFState_8u*>(perm.data());
    Lum8u *p = src.data(), *d = dst.data(), *none = nullptr, inUse[256];
    int len = 2, room = 8, negative = -1, size = 0;
    expectStatuses({
        {"RLE size to null", lumsRLEGetSize_BZ2_8u(nullptr), lumStsNullPtrErr},
        {"RLE encode null source", lumsEncodeRLE_BZ2_8u(&none, &len, d, &room, r.get()), lumStsNullPtrErr},
        {"RLE encode negative length", lumsEncodeRLE_BZ2_8u(&p, &negative, d, &room, r.get()), lumStsSizeErr},
        {"RLE encode unprepared state", lumsEncodeRLE_BZ2_8u(&p, &len, d, &room, badRle), lumStsContextMatchErr},
        {"RLE flush negative room", lumsEncodeRLEFlush_BZ2_8u(d, &negative, r.get()), lumStsSizeErr},
        {"in-use table of unprepared state", lumsRLEGetInUseTable_8u(inUse, badRle), lumStsContextMatchErr},
        {"RLE decode null destination", lumsDecodeRLEState_BZ2_8u(&p, &len, &none, &room, r.get()), lumStsNullPtrErr},
        {"RLE decode negative room", lumsDecodeRLEState_BZ2_8u(&p, &len, &d, &negative, r.get()), lumStsSizeErr},
        {"RLE decode unprepared state", lumsDecodeRLEState_BZ2_8u(&p, &len, &d, &room, badRle), lumStsContextMatchErr},
        {"reduce to null size", lumsReduceDictionary_8u_I(inUse, d, 8, nullptr), lumStsNullPtrErr},
        {"expand dictionary of 257", lumsExpandDictionary_8u_I(inUse, d, 8, 257), lumStsBadArgErr},
        {"expand negative length", lumsExpandDictionary_8u_I(inUse, d, -1, 5), lumStsSizeErr},
        {"MTF list no permutation", lumsMTFFwd_8u(p, d, 2, badMtf), lumStsContextMatchErr},
        {"MTF inverse negative length", lumsMTFInv_8u(p, d, -2, m.get()), lumStsSizeErr},
        {"MTF inverse null source", lumsMTFInv_8u(nullptr, d, 2, m.get()), lumStsNullPtrErr},
        {"Z1Z2 null destination", lumsEncodeZ1Z2_BZ2_8u16u(&p, &len, nullptr, &room, nullptr), lumStsNullPtrErr},
        {"MTF size to null", lumsMTFGetSize_8u(nullptr), lumStsNullPtrErr},
        {"block decode null source", lumsDecodeBlock_BZ2_16u8u(nullptr, 0, d, &size, 0, 1, inUse, d), lumStsNullPtrErr},
    });
    EXPECT_EQ(p, src.data());
    EXPECT_EQ(d, dst.data());
    EXPECT_EQ(dst, Bytes(8));
}

}  // namespace
