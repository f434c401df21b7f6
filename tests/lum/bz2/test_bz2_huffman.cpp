// The bzip2 block Huffman coder on its own: round trips for every table count, the packed
// context read back by an independent reader, the 17-bit length limit, streaming in small
// pieces, coding one block again, and argument errors. (Random and mutated input: the
// bz2_huff and bz2_stream fuzz targets.)
#include "lums.h"
#include "test_bz2_common.h"

namespace {

using namespace bz2test;

// Coder states for blocks of up to 100000 symbols, one byte off alignment unless told.
struct EncState : Area<LumEncodeHuffState_BZ2> {
    explicit EncState(size_t off = 1) : Area([](int* s) { return lumsEncodeHuffGetSize_BZ2_16u8u(100000, s); }, off) {}
};
struct DecState : Area<LumDecodeHuffState_BZ2> {
    explicit DecState(size_t off = 1) : Area([](int* s) { return lumsDecodeHuffGetSize_BZ2_8u16u(100000, s); }, off) {}
};

// Packed context and coded symbols of one block, bits flushed at the end.
Bytes encodeBlock(int sizeDictionary, const Symbols& sym) {
    EncState area;
    Lum32u freq[258] = {}, code = 0;
    int bits = 0;
    Bytes out(sym.size() * 3 + 40000);
    int packed = int(out.size());
    EXPECT_EQ(lumsEncodeHuffInit_BZ2_16u8u(sizeDictionary, freq, sym.data(), int(sym.size()), area.get()), lumStsNoErr);
    EXPECT_EQ(lumsPackHuffContext_BZ2_16u8u(&code, &bits, out.data(), &packed, area.get()), lumStsNoErr);
    const Lum16u* src = sym.data();
    int left = int(sym.size()), coded = int(out.size()) - packed;
    EXPECT_EQ(lumsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &left, out.data() + packed, &coded, area.get()), lumStsNoErr);
    EXPECT_EQ(left, 0);
    EXPECT_LT(bits, 8);
    out.resize(size_t(packed + coded));
    flushBits(code, bits, out);
    return out;
}

// Unpacks and decodes one block; `status` gets the decoder's last status.
Symbols decodeBlock(int sizeDictionary, const Bytes& in, LumStatus& status, int room = 1 << 21) {
    DecState area;
    EXPECT_EQ(lumsDecodeHuffInit_BZ2_8u16u(sizeDictionary, area.get()), lumStsNoErr);
    Lum32u code = 0;
    int bits = 0, srcLen = int(in.size()), n = 0;
    const Lum8u* src = in.data();
    Symbols out(static_cast<size_t>(room));
    status = lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &srcLen, area.get());
    if (status == lumStsNoErr) {
        n = room;
        status = lumsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &srcLen, out.data(), &n, area.get());
    }
    out.resize(static_cast<size_t>(n));
    return out;
}

// An independent reader of the packed context (bit by bit, straight from the format).
struct Context {
    int nTables = 0;
    std::vector<int> selectors;
    std::vector<std::vector<int>> lengths;
};

Context readContext(const Bytes& in, int alphaSize) {
    size_t bit = 0;
    auto get = [&](int n) {
        int v = 0;
        for (int i = 0; i < n; ++i, ++bit) v = (v << 1) | ((in.at(bit / 8) >> (7 - bit % 8)) & 1);
        return v;
    };
    Context c;
    c.nTables = get(3);
    const int nSelectors = get(15);
    std::vector<int> order = {0, 1, 2, 3, 4, 5};
    for (int i = 0; i < nSelectors; ++i) {
        int j = 0;
        while (get(1)) ++j;
        const int s = order.at(size_t(j));
        order.erase(order.begin() + j);
        order.insert(order.begin(), s);
        c.selectors.push_back(s);
    }
    for (int t = 0; t < c.nTables; ++t) {
        int curr = get(5);
        c.lengths.emplace_back();
        for (int v = 0; v < alphaSize; ++v) {
            while (get(1)) curr += get(1) ? -1 : 1;
            c.lengths.back().push_back(curr);
        }
    }
    return c;
}

// Symbols 0..sizeDictionary with weights ratio^k (1: uniform, 0: one value), and the
// end-of-block symbol last.
Symbols makeBlock(int n, int sizeDictionary, double ratio, unsigned seed) {
    std::vector<double> w;
    for (double x = 1; int(w.size()) <= sizeDictionary; x *= ratio) w.push_back(x);
    std::mt19937 gen(seed);
    std::discrete_distribution<int> pick(w.begin(), w.end());
    Symbols s(size_t(n - 1));
    for (auto& x : s) x = Lum16u(pick(gen));
    s.push_back(Lum16u(sizeDictionary + 1));
    return s;
}

// The longest code length of a coded block, after checking its decoding and its context:
// the table count, one selector per 50 symbols, lengths 1 to 17 filling the code space.
int expectRoundTrip(int sizeDictionary, const Symbols& sym, int tables) {
    const Bytes coded = encodeBlock(sizeDictionary, sym);
    LumStatus status;
    EXPECT_EQ(decodeBlock(sizeDictionary, coded, status), Symbols(sym.begin(), sym.end() - 1));
    EXPECT_EQ(status, lumStsNoErr);
    const Context ctx = readContext(coded, sizeDictionary + 2);
    EXPECT_EQ(ctx.nTables, tables);
    EXPECT_EQ(ctx.selectors.size(), (sym.size() + 49) / 50);
    for (int s : ctx.selectors) EXPECT_LT(s, tables);
    int longest = 0;
    for (const auto& lens : ctx.lengths) {
        double kraft = 0;
        for (int l : lens) {
            EXPECT_TRUE(l >= 1 && l <= 17) << l;
            kraft += std::ldexp(1.0, -l);
            longest = std::max(longest, l);
        }
        EXPECT_DOUBLE_EQ(kraft, 1.0);
    }
    return longest;
}

TEST(HuffRoundTrip, EveryTableCountAndTheLengthLimit) {
    const struct { int n, sizeDictionary; double ratio; int tables; } cases[] = {
        {1, 0, 1, 2},      {2, 1, 1, 2},       {199, 10, 1, 2},    {200, 10, 1, 3},    {599, 40, 1, 3},
        {600, 40, 1, 4},   {1199, 255, 1, 4},  {1200, 255, 1, 5},  {2399, 256, 1, 5},  {2400, 256, 1, 6},
        {5000, 3, 0, 6},   {60000, 90, 0.85, 6}, {100001, 256, 1, 6}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.n);
        expectRoundTrip(c.sizeDictionary, makeBlock(c.n, c.sizeDictionary, c.ratio, unsigned(c.n)), c.tables);
    }
    // Fibonacci frequencies make the optimal code far deeper than 17 bits.
    Symbols sym;
    for (Lum32u v = 0, a = 1, b = 1; v < 28; ++v, b += a, a = b - a) sym.insert(sym.end(), a, Lum16u(v));
    std::shuffle(sym.begin(), sym.end(), std::mt19937(5));
    sym.resize(400000);
    sym.push_back(29);
    EXPECT_EQ(expectRoundTrip(28, sym, 6), 17);
}

// ---- Streaming ---------------------------------------------------------------------


TEST(HuffStreaming, SmallPiecesGiveTheSameBytesAndSymbols) {
    const int sizeDictionary = 60;
    const Symbols sym = makeBlock(7777, sizeDictionary, 0.9, 3);
    const Bytes whole = encodeBlock(sizeDictionary, sym);

    // Encoder: 1..7 symbols and 0..5 bytes of room per call.
    EncState ea, eb(6);
    auto* est = ea.get();
    ASSERT_EQ(lumsEncodeHuffInit_BZ2_16u8u(sizeDictionary, nullptr, sym.data(), int(sym.size()), est), lumStsNoErr);
    Lum32u code = 0;
    int bits = 0;
    Bytes out(40000);
    int len = int(out.size());
    ASSERT_EQ(lumsPackHuffContext_BZ2_16u8u(&code, &bits, out.data(), &len, est), lumStsNoErr);
    out.resize(size_t(len));
    const Lum16u* src = sym.data();
    int left = int(sym.size());
    for (int call = 0; left > 0 || bits >= 8; ++call) {
        ASSERT_LT(call, 100000);
        int srcLen = std::min(left, 1 + call % 7);
        const int taken = srcLen;
        Lum8u piece[5];
        int room = call % 6;
        est = ea.moveTo(eb);
        const LumStatus s = lumsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &srcLen, piece, &room, est);
        ASSERT_TRUE(s == lumStsNoErr || s == lumStsDstFullWrn) << s;
        ASSERT_LE(bits, 32);
        out.insert(out.end(), piece, piece + room);
        left -= taken - srcLen;
    }
    flushBits(code, bits, out);
    EXPECT_EQ(out, whole);

    // Decoder: 0..4 source bytes and 0..2 symbols of room per call.
    DecState da, db(3);
    auto* dst = da.get();
    ASSERT_EQ(lumsDecodeHuffInit_BZ2_8u16u(sizeDictionary, dst), lumStsNoErr);
    code = 0;
    bits = 0;
    const Lum8u* in = whole.data();
    int inLen = int(whole.size());
    ASSERT_EQ(lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &in, &inLen, dst), lumStsNoErr);
    Symbols back;
    LumStatus s = lumStsSrcEndWrn;
    for (int call = 0; s != lumStsNoErr; ++call) {
        ASSERT_LT(call, 100000);
        const int give = std::min(inLen, call % 5);
        int srcLen = give;
        Lum16u piece[2];
        int room = call % 3;
        dst = da.moveTo(db);
        s = lumsDecodeHuff_BZ2_8u16u(&code, &bits, &in, &srcLen, piece, &room, dst);
        ASSERT_TRUE(s == lumStsNoErr || s == lumStsSrcEndWrn || s == lumStsDstFullWrn) << s;
        inLen -= give - srcLen;
        back.insert(back.end(), piece, piece + room);
    }
    EXPECT_EQ(back, Symbols(sym.begin(), sym.end() - 1));
}

TEST(HuffStreaming, RoomEndingAtTheEndOfBlockIsNoWarning) {
    const Symbols sym = makeBlock(120, 4, 1, 9);
    const Bytes coded = encodeBlock(4, sym);
    LumStatus status;
    EXPECT_EQ(decodeBlock(4, coded, status, 119).size(), 119u);
    EXPECT_EQ(status, lumStsNoErr);  // the end-of-block code was read with no room left
    EXPECT_EQ(decodeBlock(4, coded, status, 118).size(), 118u);
    EXPECT_EQ(status, lumStsDstFullWrn);
}

// ---- Coding a block again -----------------------------------------------------------------

// Once the block's last symbol is coded the position returns to its start: the benchmark
// codes the same block behind the context again and again, and every time it gives the
// same bytes. (The decoder's calls run in the black-box compression test, under its
// output check.)
TEST(HuffAgain, TheSameBlockCodesAgainAndAgain) {
    for (int n : {64, 1024}) {
        const Symbols sym = makeBlock(n, 30, 0.9, unsigned(n));
        EncState enc;
        Lum32u ctxCode = 0;
        int ctxBits = 0;
        Bytes ctx(40000);
        int ctxLen = int(ctx.size());
        ASSERT_EQ(lumsEncodeHuffInit_BZ2_16u8u(30, nullptr, sym.data(), n, enc.get()), lumStsNoErr);
        ASSERT_EQ(lumsPackHuffContext_BZ2_16u8u(&ctxCode, &ctxBits, ctx.data(), &ctxLen, enc.get()), lumStsNoErr);
        Bytes first;
        for (int call = 0; call < 3; ++call) {
            Lum32u code = ctxCode;
            int bits = ctxBits, len = n, room = 4 * n;
            Bytes now(size_t(room), 0);
            const Lum16u* p = sym.data();
            ASSERT_EQ(lumsEncodeHuff_BZ2_16u8u(&code, &bits, &p, &len, now.data(), &room, enc.get()), lumStsNoErr);
            now.resize(size_t(room));
            flushBits(code, bits, now);
            if (call == 0) first = now;
            EXPECT_EQ(now, first) << n << " symbols, call " << call;
        }
    }
}

// ---- Argument errors ---------------------------------------------------------------------

TEST(HuffArguments, BadArgumentsGiveTheirStatus) {
    EncState enc;
    DecState dec, blank;
    auto* est = enc.get();
    auto* dst = dec.get();
    const Symbols sym = {1, 2, 0, 3}, bad = {1, 9};
    Lum32u code = 0;
    int bits = 0, size = 0, len = 4, room = 64, over = 33, negative = -1, badLen = 2;
    Bytes buf(64);
    const Lum16u* sp = sym.data();
    const Lum16u* bsp = bad.data();
    const Lum8u* bp = buf.data();
    Symbols out(64);
    expectStatuses({
        {"encoder size null", lumsEncodeHuffGetSize_BZ2_16u8u(1, nullptr), lumStsNullPtrErr},
        {"encoder size negative", lumsEncodeHuffGetSize_BZ2_16u8u(-1, &size), lumStsSizeErr},
        {"encoder size beyond 15-bit selectors", lumsEncodeHuffGetSize_BZ2_16u8u(32767 * 50 + 1, &size), lumStsSizeErr},
        {"decoder size null", lumsDecodeHuffGetSize_BZ2_8u16u(1, nullptr), lumStsNullPtrErr},
        {"init null source", lumsEncodeHuffInit_BZ2_16u8u(2, nullptr, nullptr, 4, est), lumStsNullPtrErr},
        {"init dictionary 257", lumsEncodeHuffInit_BZ2_16u8u(257, nullptr, sym.data(), 4, est), lumStsBadArgErr},
        {"init empty block", lumsEncodeHuffInit_BZ2_16u8u(2, nullptr, sym.data(), 0, est), lumStsSizeErr},
        {"init symbol beyond alphabet", lumsEncodeHuffInit_BZ2_16u8u(1, nullptr, sym.data(), 4, est), lumStsBadArgErr},
        {"pack before init", lumsPackHuffContext_BZ2_16u8u(&code, &bits, buf.data(), &room, est), lumStsContextMatchErr},
        {"decoder init dictionary 300", lumsDecodeHuffInit_BZ2_8u16u(300, dst), lumStsBadArgErr},
        {"unpack before init", lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &bp, &len, dst), lumStsContextMatchErr},
        {"decoder init", lumsDecodeHuffInit_BZ2_8u16u(3, dst), lumStsNoErr},
        {"decode before unpack", lumsDecodeHuff_BZ2_8u16u(&code, &bits, &bp, &len, out.data(), &room, dst), lumStsContextMatchErr},
        {"decode 33 bits", lumsDecodeHuff_BZ2_8u16u(&code, &over, &bp, &len, out.data(), &room, dst), lumStsBadArgErr},
        {"decode null destination", lumsDecodeHuff_BZ2_8u16u(&code, &bits, &bp, &len, nullptr, &room, dst), lumStsNullPtrErr},
        {"unpack null source", lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, nullptr, &len, blank.get()), lumStsNullPtrErr},
        {"encoder init", lumsEncodeHuffInit_BZ2_16u8u(2, nullptr, sym.data(), 4, est), lumStsNoErr},
        {"pack null bit count", lumsPackHuffContext_BZ2_16u8u(&code, nullptr, buf.data(), &room, est), lumStsNullPtrErr},
        {"pack 33 bits", lumsPackHuffContext_BZ2_16u8u(&code, &over, buf.data(), &room, est), lumStsBadArgErr},
        {"pack negative room", lumsPackHuffContext_BZ2_16u8u(&code, &bits, buf.data(), &negative, est), lumStsSizeErr},
        {"encode null state", lumsEncodeHuff_BZ2_16u8u(&code, &bits, &sp, &len, buf.data(), &room, nullptr), lumStsNullPtrErr},
        {"encode symbol beyond alphabet", lumsEncodeHuff_BZ2_16u8u(&code, &bits, &bsp, &badLen, buf.data(), &room, est), lumStsBadArgErr},
    });
    EXPECT_EQ(badLen, 1);  // stopped at the bad symbol
    // Too little room for the context: nothing is written and the bit buffer stays.
    Lum32u c = 0xA0000000u;
    int cb = 3, tiny = 1;
    EXPECT_EQ(lumsPackHuffContext_BZ2_16u8u(&c, &cb, buf.data(), &tiny, est), lumStsDstFullWrn);
    EXPECT_EQ(tiny, 0);
    EXPECT_EQ(cb, 3);
}

}  // namespace
