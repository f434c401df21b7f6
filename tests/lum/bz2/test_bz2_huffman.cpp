// The bzip2 block Huffman coder on its own: round trips for every table count, the packed
// context read back by an independent reader, the 17-bit length limit, streaming in small
// pieces, the benchmark module's calls, random and mutated input, and argument errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "lumdc.h"
#include "lums.h"

namespace {

using Bytes = std::vector<Lum8u>;
using Symbols = std::vector<Lum16u>;

// Work areas off any alignment, as the contract allows.
struct Area {
    Bytes bytes;
    size_t offset;
    Area(int size, size_t off) : bytes(static_cast<size_t>(size) + off), offset(off) {}
    template <typename T> T* as() { return reinterpret_cast<T*>(bytes.data() + offset); }
};

Area encoderArea(size_t offset = 1) {
    int size = 0;
    EXPECT_EQ(lumsEncodeHuffGetSize_BZ2_16u8u(100000, &size), lumStsNoErr);
    return Area(size, offset);
}

Area decoderArea(size_t offset = 1) {
    int size = 0;
    EXPECT_EQ(lumsDecodeHuffGetSize_BZ2_8u16u(100000, &size), lumStsNoErr);
    return Area(size, offset);
}

// Appends the pending bits of a bit buffer, top byte first.
void flushBits(Lum32u code, int bits, Bytes& out) {
    for (; bits > 0; bits -= 8, code <<= 8) out.push_back(static_cast<Lum8u>(code >> 24));
}

// Packed context and coded symbols of one block, bits flushed at the end.
Bytes encodeBlock(int sizeDictionary, const Symbols& sym) {
    Area area = encoderArea();
    auto* st = area.as<LumEncodeHuffState_BZ2>();
    Lum32u freq[258] = {};
    EXPECT_EQ(lumsEncodeHuffInit_BZ2_16u8u(sizeDictionary, freq, sym.data(), int(sym.size()), st), lumStsNoErr);
    Bytes out(sym.size() * 3 + 40000);
    Lum32u code = 0;
    int bits = 0;
    int packed = int(out.size());
    EXPECT_EQ(lumsPackHuffContext_BZ2_16u8u(&code, &bits, out.data(), &packed, st), lumStsNoErr);
    const Lum16u* src = sym.data();
    int srcLen = int(sym.size());
    int coded = int(out.size()) - packed;
    EXPECT_EQ(lumsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &srcLen, out.data() + packed, &coded, st), lumStsNoErr);
    EXPECT_EQ(srcLen, 0);
    EXPECT_LT(bits, 8);
    out.resize(size_t(packed + coded));
    flushBits(code, bits, out);
    return out;
}

// Unpacks and decodes one block; `status` gets the decoder's last status.
Symbols decodeBlock(int sizeDictionary, const Bytes& in, LumStatus& status, int room = 1 << 21) {
    Area area = decoderArea();
    auto* st = area.as<LumDecodeHuffState_BZ2>();
    EXPECT_EQ(lumsDecodeHuffInit_BZ2_8u16u(sizeDictionary, st), lumStsNoErr);
    Lum32u code = 0;
    int bits = 0;
    const Lum8u* src = in.data();
    int srcLen = int(in.size());
    status = lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &srcLen, st);
    if (status != lumStsNoErr) return {};
    Symbols out(static_cast<size_t>(room));
    int dstLen = room;
    status = lumsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &srcLen, out.data(), &dstLen, st);
    out.resize(size_t(dstLen));
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

// Symbols 0..sizeDictionary with the given weights, and the end-of-block symbol last.
Symbols makeBlock(int n, int sizeDictionary, std::vector<double> weights, unsigned seed) {
    std::mt19937 gen(seed);
    weights.resize(size_t(sizeDictionary + 1), weights.empty() ? 1.0 : 0.0);
    std::discrete_distribution<int> pick(weights.begin(), weights.end());
    Symbols s(size_t(n - 1));
    for (auto& x : s) x = Lum16u(pick(gen));
    s.push_back(Lum16u(sizeDictionary + 1));
    return s;
}

std::vector<double> geometric(int count, double ratio) {
    std::vector<double> w;
    for (double x = 1; int(w.size()) < count; x *= ratio) w.push_back(x);
    return w;
}

// ---- Round trips ---------------------------------------------------------------------

struct RoundTripCase {
    const char* name;
    int n;              // symbols including the end of block
    int sizeDictionary;
    std::vector<double> weights;  // empty: uniform
    int tables;         // table count bzip2 uses for n
};

class HuffRoundTrip : public testing::TestWithParam<RoundTripCase> {};

TEST_P(HuffRoundTrip, DecodesWhatWasCodedWithAWellFormedContext) {
    const auto& c = GetParam();
    const Symbols sym = makeBlock(c.n, c.sizeDictionary, c.weights, unsigned(c.n));
    const Bytes coded = encodeBlock(c.sizeDictionary, sym);
    LumStatus status;
    const Symbols back = decodeBlock(c.sizeDictionary, coded, status);
    EXPECT_EQ(status, lumStsNoErr);
    EXPECT_EQ(back, Symbols(sym.begin(), sym.end() - 1));

    const int alpha = c.sizeDictionary + 2;
    const Context ctx = readContext(coded, alpha);
    EXPECT_EQ(ctx.nTables, c.tables);
    EXPECT_EQ(int(ctx.selectors.size()), (c.n + 49) / 50);
    for (int s : ctx.selectors) EXPECT_LT(s, c.tables);
    for (const auto& lens : ctx.lengths) {
        double kraft = 0;
        for (int l : lens) {
            ASSERT_GE(l, 1);
            ASSERT_LE(l, 17);
            kraft += std::ldexp(1.0, -l);
        }
        EXPECT_DOUBLE_EQ(kraft, 1.0);  // every symbol coded, no code space wasted
    }
}

const RoundTripCase kRoundTrips[] = {
    {"one_symbol_eob_only", 1, 0, {}, 2},
    {"two_symbols", 2, 1, {}, 2},
    {"below_200", 199, 10, {}, 2},
    {"at_200", 200, 10, {}, 3},
    {"below_600", 599, 40, {}, 3},
    {"at_600", 600, 40, {}, 4},
    {"below_1200", 1199, 255, {}, 4},
    {"at_1200", 1200, 255, {}, 5},
    {"below_2400", 2399, 256, {}, 5},
    {"at_2400", 2400, 256, {}, 6},
    {"one_value", 5000, 3, {1}, 6},
    {"skewed_text_like", 60000, 90, geometric(91, 0.85), 6},
    {"uniform_full_alphabet", 100001, 256, {}, 6},
};

INSTANTIATE_TEST_SUITE_P(Blocks, HuffRoundTrip, testing::ValuesIn(kRoundTrips),
                         [](const auto& info) { return std::string(info.param.name); });

// Fibonacci-like frequencies make the optimal code far deeper than 17 bits.
TEST(HuffLimit, SkewedFrequenciesStayWithin17BitsAndUseThem) {
    Symbols sym;
    Lum32u a = 1, b = 1;
    for (int v = 0; v < 28; ++v) {
        sym.insert(sym.end(), a, Lum16u(v));
        const Lum32u next = a + b;
        a = b;
        b = next;
    }
    std::shuffle(sym.begin(), sym.end(), std::mt19937(5));
    sym.resize(std::min<size_t>(sym.size(), 400000));
    sym.push_back(29);
    const Bytes coded = encodeBlock(28, sym);
    const Context ctx = readContext(coded, 30);
    int longest = 0;
    for (const auto& lens : ctx.lengths) longest = std::max(longest, *std::max_element(lens.begin(), lens.end()));
    EXPECT_EQ(longest, 17);
    LumStatus status;
    EXPECT_EQ(decodeBlock(28, coded, status), Symbols(sym.begin(), sym.end() - 1));
    EXPECT_EQ(status, lumStsNoErr);
}

// ---- Streaming -----------------------------------------------------------------------

// Copies a work area to the other of two places before every call, so the calls also
// show that the state holds no pointers into itself.
template <typename State>
State* moveArea(Area& from, Area& to) {
    std::memcpy(to.bytes.data() + to.offset, from.bytes.data() + from.offset, from.bytes.size() - from.offset);
    std::swap(from, to);
    return from.as<State>();
}

TEST(HuffStreaming, SmallPiecesGiveTheSameBytesAndSymbols) {
    const int sizeDictionary = 60;
    const Symbols sym = makeBlock(7777, sizeDictionary, geometric(61, 0.9), 3);
    const Bytes whole = encodeBlock(sizeDictionary, sym);

    // Encoder: 1..7 symbols and 0..5 bytes of room per call.
    Area ea = encoderArea(), eb = encoderArea(6);
    auto* est = ea.as<LumEncodeHuffState_BZ2>();
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
        est = moveArea<LumEncodeHuffState_BZ2>(ea, eb);
        const LumStatus s = lumsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &srcLen, piece, &room, est);
        ASSERT_TRUE(s == lumStsNoErr || s == lumStsDstFullWrn) << s;
        ASSERT_LE(bits, 32);
        out.insert(out.end(), piece, piece + room);
        left -= taken - srcLen;
    }
    flushBits(code, bits, out);
    EXPECT_EQ(out, whole);

    // Decoder: 0..4 source bytes and 0..2 symbols of room per call.
    Area da = decoderArea(), db = decoderArea(3);
    auto* dst = da.as<LumDecodeHuffState_BZ2>();
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
        dst = moveArea<LumDecodeHuffState_BZ2>(da, db);
        s = lumsDecodeHuff_BZ2_8u16u(&code, &bits, &in, &srcLen, piece, &room, dst);
        ASSERT_TRUE(s == lumStsNoErr || s == lumStsSrcEndWrn || s == lumStsDstFullWrn) << s;
        inLen -= give - srcLen;
        back.insert(back.end(), piece, piece + room);
    }
    EXPECT_EQ(back, Symbols(sym.begin(), sym.end() - 1));
}

TEST(HuffStreaming, RoomEndingAtTheEndOfBlockIsNoWarning) {
    const Symbols sym = makeBlock(120, 4, {}, 9);
    const Bytes coded = encodeBlock(4, sym);
    LumStatus status;
    EXPECT_EQ(decodeBlock(4, coded, status, 119).size(), 119u);
    EXPECT_EQ(status, lumStsNoErr);  // the end-of-block code was read with no room left
    EXPECT_EQ(decodeBlock(4, coded, status, 118).size(), 118u);
    EXPECT_EQ(status, lumStsDstFullWrn);
}

// ---- The benchmark module's calls ------------------------------------------------------

// Gaussian bytes (mean 16, deviation 8, seed 77) turned into symbols whose every new
// maximum is lowered by one and whose last symbol is the maximum m, the alphabet size.
Symbols moduleSymbols(int n, int& m) {
    int size = 0;
    EXPECT_EQ(lumsRandGaussGetSize_8u(&size), lumStsNoErr);
    Bytes state(static_cast<size_t>(size)), bytes(static_cast<size_t>(n));
    auto* st = reinterpret_cast<LumsRandGaussState_8u*>(state.data());
    EXPECT_EQ(lumsRandGaussInit_8u(st, 16, 8, 77), lumStsNoErr);
    EXPECT_EQ(lumsRandGauss_8u(bytes.data(), n, st), lumStsNoErr);
    Symbols sym(65536, 0);
    m = 0;
    for (int i = 0; i < n; ++i) {
        const int v = bytes[size_t(i)];
        sym[size_t(i)] = Lum16u(v);
        if (v > m) {
            sym[size_t(i)] = Lum16u(v - 1);
            m = v;
        }
    }
    if (n > 0) sym[size_t(n - 1)] = Lum16u(m);
    return sym;
}

TEST(HuffModule, EncoderAndDecoderCallsOfTheBenchmarkSucceed) {
    for (int n : {64, 128, 256, 512, 1024}) {
        SCOPED_TRACE(n);
        int m = 0;
        Symbols src = moduleSymbols(n, m);
        Bytes dst(65536, 0);
        Area ea = encoderArea();
        auto* est = ea.as<LumEncodeHuffState_BZ2>();
        Lum32u freq[258] = {};
        ASSERT_EQ(lumsEncodeHuffInit_BZ2_16u8u(m, freq, src.data(), n, est), lumStsNoErr);
        Lum32u tmpCode = 0;
        int tmpCodeLen = 0, tmpLen = 65536;
        ASSERT_EQ(lumsPackHuffContext_BZ2_16u8u(&tmpCode, &tmpCodeLen, dst.data(), &tmpLen, est), lumStsNoErr);
        // The encoder test codes the same n symbols behind the context again and again.
        Bytes first;
        for (int call = 0; call < 3; ++call) {
            Lum32u code = tmpCode;
            int bits = tmpCodeLen, len = n, dstLen = 65536 - tmpLen;
            const Lum16u* p = src.data();
            ASSERT_EQ(lumsEncodeHuff_BZ2_16u8u(&code, &bits, &p, &len, dst.data() + tmpLen, &dstLen, est), lumStsNoErr);
            ASSERT_EQ(len, 0);
            Bytes now(dst.begin() + tmpLen, dst.begin() + tmpLen + dstLen);
            flushBits(code, bits, now);
            if (call == 0) first = now;
            EXPECT_EQ(now, first);
        }
        // Decoder preparation as the module does it: coded data flushed behind the context.
        int dstLen = tmpLen + int(first.size());
        std::copy(first.begin(), first.end(), dst.begin() + tmpLen);
        Area da = decoderArea();
        auto* dst8 = da.as<LumDecodeHuffState_BZ2>();
        ASSERT_EQ(lumsDecodeHuffInit_BZ2_8u16u(m, dst8), lumStsNoErr);
        Lum32u code = 0;
        int bits = 0;
        const Lum8u* p = dst.data();
        ASSERT_EQ(lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &p, &dstLen, dst8), lumStsNoErr);
        // Decoding right behind the context gives the symbols back; the block has no
        // end-of-block symbol, so the source ends inside the last group.
        Symbols back(65536);
        {
            Lum32u c = code;
            int b = bits, srcLen = dstLen, room = 65536;
            const Lum8u* q = p;
            ASSERT_EQ(lumsDecodeHuff_BZ2_8u16u(&c, &b, &q, &srcLen, back.data(), &room, dst8), lumStsSrcEndWrn);
            ASSERT_EQ(srcLen, 0);
            ASSERT_GE(room, n);
            EXPECT_TRUE(std::equal(src.begin(), src.begin() + n, back.begin()));
        }
        // The measured call: from the start of the context, 2400 bytes, room for 65536.
        for (int call = 0; call < 3; ++call) {
            Lum32u c = code;
            int b = bits, srcLen = 2400, room = 65536;
            const Lum8u* q = dst.data();
            EXPECT_EQ(lumsDecodeHuff_BZ2_8u16u(&c, &b, &q, &srcLen, src.data(), &room, dst8), lumStsNoErr);
            EXPECT_LE(room, (n + 49) / 50 * 50);
        }
    }
}

// ---- Random and mutated input ------------------------------------------------------------

// Runs unpack and decode to the end of one block on arbitrary bytes, checking every
// status and length; `ending` gets the unpack status, or the decoder's last status
// plus 100 when unpacking succeeded.
void decodeAnything(int sizeDictionary, const Bytes& in, LumDecodeHuffState_BZ2* st, int& ending) {
    ASSERT_EQ(lumsDecodeHuffInit_BZ2_8u16u(sizeDictionary, st), lumStsNoErr);
    Lum32u code = 0;
    int bits = 0;
    const Lum8u* src = in.data();
    int srcLen = int(in.size());
    LumStatus s = lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &srcLen, st);
    ASSERT_TRUE(s == lumStsNoErr || s == lumStsSrcEndWrn || s == lumStsCorruptDataErr) << s;
    ending = s;
    if (s != lumStsNoErr) {
        EXPECT_EQ(srcLen, int(in.size()));  // nothing consumed
        return;
    }
    // One block: the calls go on while the room fills, and end with a status.
    Symbols out(997);
    for (int call = 0; call < 5000; ++call) {
        int room = int(out.size());
        const int before = srcLen;
        s = lumsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &srcLen, out.data(), &room, st);
        ASSERT_TRUE(s == lumStsNoErr || s == lumStsSrcEndWrn || s == lumStsDstFullWrn || s == lumStsCorruptDataErr) << s;
        ASSERT_TRUE(room >= 0 && room <= int(out.size()) && srcLen >= 0 && srcLen <= before);
        ASSERT_TRUE(bits >= 0 && bits <= 32);
        for (int i = 0; i < room; ++i) ASSERT_LE(out[size_t(i)], sizeDictionary);
        ending = 100 + s;
        if (s != lumStsDstFullWrn) return;
    }
    FAIL() << "decoding did not end";
}

TEST(HuffFuzz, RandomAndMutatedInputEndsWithAStatus) {
    std::mt19937 gen(11);
    Area da = decoderArea();
    auto* st = da.as<LumDecodeHuffState_BZ2>();
    std::vector<std::pair<int, Bytes>> valid;
    for (int sd : {0, 5, 100, 256}) valid.push_back({sd, encodeBlock(sd, makeBlock(3000, sd, geometric(sd + 1, 0.8), unsigned(sd)))});
    std::map<int, int> endings;
    for (int i = 0; i < 3000; ++i) {
        const auto& [sd, base] = valid[size_t(i) % valid.size()];
        Bytes in;
        switch (i % 3) {
        case 0:  // random bytes, with a plausible table count often enough
            in.resize(gen() % 3000);
            for (auto& x : in) x = Lum8u(gen());
            if (!in.empty() && i % 2) in[0] = Lum8u((in[0] & 0x1F) | ((2 + gen() % 5) << 5));
            break;
        case 1:  // flipped bits
            in = base;
            for (int k = 0, flips = 1 + int(gen() % 8); k < flips; ++k) in[gen() % in.size()] ^= Lum8u(1u << (gen() % 8));
            break;
        default:  // truncated, with a random tail
            in.assign(base.begin(), base.begin() + long(gen() % base.size()));
            for (int k = int(gen() % 40); k > 0; --k) in.push_back(Lum8u(gen()));
            break;
        }
        int ending = 0;
        decodeAnything(sd, in, st, ending);
        if (HasFatalFailure() || HasFailure()) break;
        ++endings[ending];
    }
    // Every way out was taken: malformed and cut contexts, and after a good context the
    // end of the block, the end of the source and an undecodable bit pattern.
    for (int ending : {int(lumStsCorruptDataErr), int(lumStsSrcEndWrn), 100 + lumStsNoErr, 100 + lumStsSrcEndWrn,
                       100 + lumStsCorruptDataErr})
        EXPECT_GT(endings[ending], 0) << ending;
}

// ---- Argument errors ---------------------------------------------------------------------

TEST(HuffArguments, BadArgumentsGiveTheirStatus) {
    Area ea = encoderArea(), da = decoderArea(), blank = decoderArea();
    auto* est = ea.as<LumEncodeHuffState_BZ2>();
    auto* dst = da.as<LumDecodeHuffState_BZ2>();
    const Symbols sym = {1, 2, 0, 3};
    Lum32u code = 0;
    int bits = 0, size = 0, len = 4, room = 64;
    Bytes buf(64);
    const Lum16u* sp = sym.data();
    const Lum8u* bp = buf.data();
    Symbols out(64);
    struct Case {
        const char* what;
        LumStatus got;
        LumStatus want;
    };
    const Case cases[] = {
        {"encoder size null", lumsEncodeHuffGetSize_BZ2_16u8u(1, nullptr), lumStsNullPtrErr},
        {"encoder size negative", lumsEncodeHuffGetSize_BZ2_16u8u(-1, &size), lumStsSizeErr},
        {"encoder size beyond 15-bit selectors", lumsEncodeHuffGetSize_BZ2_16u8u(32767 * 50 + 1, &size), lumStsSizeErr},
        {"decoder size null", lumsDecodeHuffGetSize_BZ2_8u16u(1, nullptr), lumStsNullPtrErr},
        {"init null source", lumsEncodeHuffInit_BZ2_16u8u(2, nullptr, nullptr, 4, est), lumStsNullPtrErr},
        {"init null state", lumsEncodeHuffInit_BZ2_16u8u(2, nullptr, sym.data(), 4, nullptr), lumStsNullPtrErr},
        {"init dictionary 257", lumsEncodeHuffInit_BZ2_16u8u(257, nullptr, sym.data(), 4, est), lumStsBadArgErr},
        {"init dictionary -1", lumsEncodeHuffInit_BZ2_16u8u(-1, nullptr, sym.data(), 4, est), lumStsBadArgErr},
        {"init empty block", lumsEncodeHuffInit_BZ2_16u8u(2, nullptr, sym.data(), 0, est), lumStsSizeErr},
        {"init symbol beyond alphabet", lumsEncodeHuffInit_BZ2_16u8u(1, nullptr, sym.data(), 4, est), lumStsBadArgErr},
        {"pack before init", lumsPackHuffContext_BZ2_16u8u(&code, &bits, buf.data(), &room, est), lumStsContextMatchErr},
        {"decoder init dictionary 300", lumsDecodeHuffInit_BZ2_8u16u(300, dst), lumStsBadArgErr},
        {"unpack before init", lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &bp, &len, dst), lumStsContextMatchErr},
        {"decoder init", lumsDecodeHuffInit_BZ2_8u16u(3, dst), lumStsNoErr},
        {"decode before unpack", lumsDecodeHuff_BZ2_8u16u(&code, &bits, &bp, &len, out.data(), &room, dst), lumStsContextMatchErr},
        {"encoder init", lumsEncodeHuffInit_BZ2_16u8u(2, nullptr, sym.data(), 4, est), lumStsNoErr},
        {"pack null destination", lumsPackHuffContext_BZ2_16u8u(&code, &bits, nullptr, &room, est), lumStsNullPtrErr},
        {"pack null bit count", lumsPackHuffContext_BZ2_16u8u(&code, nullptr, buf.data(), &room, est), lumStsNullPtrErr},
        {"encode null source pointer", lumsEncodeHuff_BZ2_16u8u(&code, &bits, nullptr, &len, buf.data(), &room, est), lumStsNullPtrErr},
        {"encode null state", lumsEncodeHuff_BZ2_16u8u(&code, &bits, &sp, &len, buf.data(), &room, nullptr), lumStsNullPtrErr},
        {"unpack null source", lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, nullptr, &len, blank.as<LumDecodeHuffState_BZ2>()), lumStsNullPtrErr},
        {"decode null destination", lumsDecodeHuff_BZ2_8u16u(&code, &bits, &bp, &len, nullptr, &room, dst), lumStsNullPtrErr},
    };
    for (const auto& c : cases) EXPECT_EQ(c.got, c.want) << c.what;

    // Lengths and bit counts out of range, and a symbol outside the alphabet.
    for (int badBits : {-1, 33}) {
        int b = badBits, r = 64;
        EXPECT_EQ(lumsPackHuffContext_BZ2_16u8u(&code, &b, buf.data(), &r, est), lumStsBadArgErr);
        EXPECT_EQ(lumsDecodeHuff_BZ2_8u16u(&code, &b, &bp, &len, out.data(), &r, dst), lumStsBadArgErr);
    }
    int negative = -1, r = 64, l = 4;
    EXPECT_EQ(lumsPackHuffContext_BZ2_16u8u(&code, &bits, buf.data(), &negative, est), lumStsSizeErr);
    negative = -1;
    EXPECT_EQ(lumsEncodeHuff_BZ2_16u8u(&code, &bits, &sp, &negative, buf.data(), &r, est), lumStsSizeErr);
    const Symbols bad = {1, 9};
    const Lum16u* bsp = bad.data();
    l = 2;
    EXPECT_EQ(lumsEncodeHuff_BZ2_16u8u(&code, &bits, &bsp, &l, buf.data(), &r, est), lumStsBadArgErr);
    EXPECT_EQ(l, 1);  // stopped at the bad symbol
    // Too little room for the context: nothing is written and the bit buffer stays.
    Lum32u c = 0xA0000000u;
    int cb = 3, tiny = 1;
    EXPECT_EQ(lumsPackHuffContext_BZ2_16u8u(&c, &cb, buf.data(), &tiny, est), lumStsDstFullWrn);
    EXPECT_EQ(tiny, 0);
    EXPECT_EQ(cb, 3);
}

}  // namespace
