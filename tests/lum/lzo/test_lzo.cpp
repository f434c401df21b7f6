// LZO1X: our streams against liblzo2 (its safe decoder reads ours, ours read its lzo1x_1
// and lzo1x_999 streams, and its safe decoder is the oracle for corrupt ones), the MT
// container, and the room and argument rules. (Random and mutated streams of both formats:
// the lzo_safe_diff fuzz target, liblzo2 its oracle.)
#include <gtest/gtest.h>
#include <lzo/lzo1x.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "../lum_test.h"
#include "lumdc.h"
#include "lzo/lzo_mt.h"
#include "lzo_test.h"

namespace {

using lzotest::Bytes;
using lzotest::encode;
using lzotest::initState;
using Decoder = LumStatus (*)(const Lum8u*, int, Lum8u*, int*);

constexpr Decoder kDecoders[] = {lumsDecodeLZO_8u, lumsDecodeLZOSafe_8u};

// Exactly sized heap copies: the sanitizer build catches any access past them.
std::unique_ptr<Lum8u[]> exact(const Bytes& b, size_t n = 0) {
    std::unique_ptr<Lum8u[]> p(new Lum8u[std::max(n, b.size())]);
    std::copy(b.begin(), b.end(), p.get());
    return p;
}

Bytes textLike(size_t n, unsigned seed) {
    static const char* words[] = {"lorem ", "ipsum ", "dolor ", "sit ", "amet\n", "0123 ", "x"};
    std::mt19937 gen(seed);
    Bytes b;
    while (b.size() < n) {
        const char* w = gen() % 9 == 0 ? nullptr : words[gen() % 7];
        if (w == nullptr) b.push_back(Lum8u(gen()));
        for (; w != nullptr && *w; ++w) b.push_back(Lum8u(*w));
    }
    b.resize(n);
    return b;
}

int worstCase(size_t n) { return int(n + n / 16 + 67); }

// Decodes with both decoders into a room of exactly the expected size, both buffers
// exactly sized; each must give the original.
void expectBothDecode(const Bytes& stream, const Bytes& original, const std::string& what) {
    for (Decoder decode : kDecoders) {
        const auto in = exact(stream), out = exact({}, original.size());
        int len = int(original.size());
        ASSERT_EQ(decode(in.get(), int(stream.size()), out.get(), &len), lumStsNoErr) << what;
        ASSERT_EQ(len, int(original.size())) << what;
        EXPECT_TRUE(std::equal(original.begin(), original.end(), out.get())) << what;
    }
}

Bytes lzoReference(const Bytes& src, bool best) {
    Bytes dst(worstCase(src.size())), wrk(LZO1X_999_MEM_COMPRESS);
    lzo_uint len = 0;
    EXPECT_EQ(lzo_init(), LZO_E_OK);
    if (best) lzo1x_999_compress(src.data(), src.size(), dst.data(), &len, wrk.data());
    else lzo1x_1_compress(src.data(), src.size(), dst.data(), &len, wrk.data());
    dst.resize(len);
    return dst;
}

// liblzo2's safe decoder on a stream, its result as our status: output overrun is the
// size error, every other refusal corrupt data.
LumStatus referenceVerdict(const Bytes& stream, Bytes& out) {
    lzo_uint len = out.size();
    const int r = lzo1x_decompress_safe(stream.data(), stream.size(), out.data(), &len, nullptr);
    out.resize(r == LZO_E_OK ? len : 0);
    return r == LZO_E_OK ? lumStsNoErr : r == LZO_E_OUTPUT_OVERRUN ? lumStsSizeErr : lumStsCorruptDataErr;
}

// Our safe decoder gives liblzo2's verdict on the stream with the given room, and the same
// bytes when both accept it. Returns the verdict.
LumStatus expectReferenceVerdict(const Bytes& stream, size_t room, const std::string& what) {
    Bytes expect(room);
    const LumStatus verdict = referenceVerdict(stream, expect);
    const auto in = exact(stream), out = exact({}, room);
    int len = int(room);
    EXPECT_EQ(lumsDecodeLZOSafe_8u(in.get(), int(stream.size()), out.get(), &len), verdict) << what;
    if (verdict == lumStsNoErr) {
        EXPECT_EQ(len, int(expect.size())) << what;
        EXPECT_TRUE(len == int(expect.size()) && std::equal(expect.begin(), expect.end(), out.get())) << what;
    }
    return verdict;
}

class Threads : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(lumGetNumThreads(&saved_), lumStsNoErr); }
    void TearDown() override { lumSetNumThreads(saved_); }
    int saved_ = 1;
};

TEST(Lzo, CorpusStreamsAreReadBothWaysWithLiblzo2) {
    if (lumtest::corpusFile("bib").empty()) GTEST_SKIP() << "corpus not found in " PERFDC_CORPUS_DIR;
    size_t ourTotal = 0, refTotal = 0;
    for (const char* name : lumtest::kCorpusFiles) {
        const Bytes data = lumtest::corpusFile(name, SIZE_MAX);
        const Bytes ours = encode(lumLZO1XST, data);
        ourTotal += ours.size();
        refTotal += lzoReference(data, false).size();
        Bytes back(data.size());
        lzo_uint len = back.size();
        ASSERT_EQ(lzo1x_decompress_safe(ours.data(), ours.size(), back.data(), &len, nullptr), LZO_E_OK) << name;
        EXPECT_TRUE(len == data.size() && back == data) << name;
        const Bytes cut(data.begin(), data.begin() + std::min<size_t>(data.size(), 65536));
        expectBothDecode(lzoReference(cut, false), cut, std::string(name) + " lzo1x_1");
        expectBothDecode(lzoReference(cut, true), cut, std::string(name) + " lzo1x_999");
        expectBothDecode(encode(lumLZO1XMT, data), data, std::string(name) + " MT");
    }
    EXPECT_LE(double(ourTotal), 1.01 * double(refTotal));  // as small as lzo1x_1's, within 1%
}

// Inputs that reach every instruction form and length boundary of our encoder; liblzo2's
// safe decoder and both of ours must give them back.
TEST(Lzo, EdgeInputsRoundTripThroughLiblzo2) {
    auto repeat = [](const Bytes& unit, size_t n) {
        Bytes b;
        while (b.size() < n) b.insert(b.end(), unit.begin(), unit.end());
        b.resize(n);
        return b;
    };
    auto atDistance = [&](size_t d, size_t len) {  // a random block, then len bytes from d back
        Bytes b = textLike(d, 7);
        for (auto& c : b) c = Lum8u(c * 131 + 17);
        for (size_t i = 0; i < len; ++i) b.push_back(b[b.size() - d]);
        return b;
    };
    const Bytes noise = [] {
        Bytes b(300000);
        std::mt19937 gen(3);
        for (auto& c : b) c = Lum8u(gen());
        return b;
    }();
    std::vector<std::pair<std::string, Bytes>> cases = {
        {"one run of a byte", Bytes(100000, 'z')},
        {"two-byte period", repeat({'a', 'b'}, 5000)},
        {"seven-byte period", repeat({1, 2, 3, 4, 5, 6, 7}, 3001)},
        {"incompressible", noise},
        {"noise then text", [&] { Bytes b(noise.begin(), noise.begin() + 700); Bytes t = textLike(5000, 8);
                                  b.insert(b.end(), t.begin(), t.end()); return b; }()},
        {"text, 200 KiB", textLike(200000, 9)},
    };
    for (size_t n = 0; n <= 40; ++n) cases.push_back({"short text " + std::to_string(n), textLike(n, 10 + n)});
    for (size_t n : {238, 239, 255, 256, 600}) cases.push_back({"noise " + std::to_string(n), Bytes(noise.begin(), noise.begin() + n)});
    for (size_t d : {1, 2, 8, 0x800, 0x801, 0x4000, 0x4001, 0x8000, 0x8001, 0xBFFF, 0xC000})
        for (size_t len : {4, 8, 9, 33, 34, 300})
            cases.push_back({"distance " + std::to_string(d) + " length " + std::to_string(len), atDistance(d, len)});
    for (const auto& [what, data] : cases) {
        const Bytes ours = encode(lumLZO1XST, data, worstCase(data.size()));
        Bytes back(data.size() + 1);
        ASSERT_EQ(referenceVerdict(ours, back), lumStsNoErr) << what;
        EXPECT_TRUE(back == data) << what;
        expectBothDecode(ours, data, what);
    }
}

// Truncated and corrupted streams, each with the room it is decoded into: our safe
// decoder's verdict is liblzo2's.
TEST(Lzo, SafeDecoderRefusesWhatLiblzo2Refuses) {
    const Bytes text = textLike(3000, 11);
    const Bytes ours = encode(lumLZO1XST, text), best = lzoReference(text, true);
    auto cut = [](Bytes b, size_t n) { b.resize(b.size() - n); return b; };
    auto with = [](Bytes b, size_t at, Lum8u v) { b[at] = v; return b; };
    auto plus = [](Bytes b, const Bytes& tail) { b.insert(b.end(), tail.begin(), tail.end()); return b; };
    const std::vector<std::tuple<std::string, Bytes, size_t>> cases = {
        {"end marker alone", {0x11, 0, 0}, 0},
        {"end marker with length and state bits", {0x12, 'a', 0x13, 3, 0}, 1},
        {"end marker with an extended length", {0x12, 'a', 0x10, 0, 0, 5, 0, 0}, 1},
        {"end marker, no room needed", {0x11, 0, 0}, 10},
        {"end marker cut short", {0x11, 0}, 10},
        {"a byte after the end marker", {0x11, 0, 0, 0}, 10},
        {"first literals and the end marker", {0x14, 'a', 'b', 'c', 0x11, 0, 0}, 3},
        {"first literals, room one short", {0x14, 'a', 'b', 'c', 0x11, 0, 0}, 2},
        {"first literals past the input", {0x20, 'a', 'b', 'c', 0x11, 0, 0}, 100},
        {"first literals past input and room", {0x20, 'a', 'b', 'c', 0x11, 0, 0}, 2},
        {"M2 reaching before the output", {0x12, 'a', 0x44, 0, 0x11, 0, 0}, 10},
        {"M2 from the first byte", {0x12, 'a', 0x40, 0, 0x11, 0, 0}, 10},
        {"M1 after literals, before the output", {0x16, 'a', 'b', 'c', 'd', 'e', 0, 0, 0x11, 0, 0}, 10},
        {"M4 before the output", {0x15, 'a', 'b', 'c', 'd', 0x12, 4, 0, 0x11, 0, 0}, 100},
        {"literal length extension to the end", {0x00, 0x00, 0x00}, 100},
        {"our stream, last byte cut", cut(ours, 1), text.size()},
        {"our stream, room one short", ours, text.size() - 1},
        {"our stream, two bytes appended", plus(ours, {0, 0}), text.size()},
        {"our stream, end marker damaged", with(ours, ours.size() - 3, 0x01), text.size()},
        {"lzo1x_999 stream, last 3 bytes cut", cut(best, 3), text.size()},
        {"lzo1x_999 stream, room one short", best, text.size() - 1},
    };
    for (const auto& [what, stream, room] : cases) expectReferenceVerdict(stream, room, what);
}

// Segment borders fall at multiples of the least segment length; every size round-trips with 1, 2 and 4
// threads and tells its layout by the first byte and the segment count. A state copied to
// another alignment encodes the same: it holds no pointers into itself.
TEST_F(Threads, MtContainerRoundTripsAtSegmentBorders) {
    constexpr size_t S = lum::lzo::kMinSegmentLen;
    const Bytes text = textLike(4 * S + 3, 1);
    for (int threads : {1, 2, 4}) {
        ASSERT_EQ(lumSetNumThreads(threads), lumStsNoErr);
        for (size_t n : {size_t{0}, size_t{1}, size_t{20}, S - 1, 2 * S - 1, 2 * S, 2 * S + 1, 3 * S,
                         3 * S + 1, 4 * S + 3}) {
            const Bytes src(text.begin(), text.begin() + n);
            const Bytes mt = encode(lumLZO1XMT, src);
            ASSERT_GE(mt.size(), 8u);
            EXPECT_EQ(mt[0], 0x10);
            EXPECT_EQ(mt[2] | mt[3] << 8, std::max<int>(1, std::min<int>(threads, int(n / S)))) << n;
            expectBothDecode(mt, src, "MT " + std::to_string(n) + " on " + std::to_string(threads));
            if (threads == 4) expectBothDecode(encode(lumLZO1XST, src), src, "ST " + std::to_string(n));
        }
    }
    for (LumLZOMethod method : {lumLZO1XST, lumLZO1XMT}) {
        Bytes area;
        initState(area, method, 100000);
        Bytes moved(area.size() + 64);
        std::memcpy(moved.data() + 13, area.data(), area.size());
        const Bytes src(text.begin(), text.begin() + 100000);
        EXPECT_EQ(encode(method, src, -1, reinterpret_cast<LumLZOState_8u*>(moved.data() + 13)), encode(method, src));
    }
}

// The room rule: below the LZO1X-1 worst case is a size error before any write; a room
// that holds a plain stream but not the container's worst case gets a plain stream.
TEST_F(Threads, RoomBelowWorstCaseIsRefused) {
    ASSERT_EQ(lumSetNumThreads(4), lumStsNoErr);
    const Bytes src = textLike(140000, 2);
    for (LumLZOMethod method : {lumLZO1XST, lumLZO1XMT}) {
        Bytes area, dst(worstCase(src.size()), 0xA5);
        LumLZOState_8u* st = initState(area, method, int(src.size()));
        const int n = int(src.size());
        int len = worstCase(src.size()) - 1;
        EXPECT_EQ(lumsEncodeLZO_8u(src.data(), n, dst.data(), &len, st), lumStsSizeErr);
        len = n + 1;  // more than the input, still too small
        EXPECT_EQ(lumsEncodeLZO_8u(src.data(), n + 1, dst.data(), &len, st), lumStsSizeErr);
        EXPECT_EQ(std::count(dst.begin(), dst.end(), 0xA5), long(dst.size()));
        const Bytes tight = encode(method, src, worstCase(src.size()), st);
        EXPECT_NE(tight[0], 0x10);  // too little room for the container: a plain stream
        expectBothDecode(tight, src, "tight room");
    }
}

// Every bad argument gives its status and writes nothing.
TEST(Lzo, BadArgumentsGiveTheirStatus) {
    int size = 0;
    ASSERT_EQ(lumsEncodeLZOGetSize(lumLZO1XST, 100, &size), lumStsNoErr);
    Bytes state(size, 0), src(100, 'a'), dst(300, 0);
    auto* st = reinterpret_cast<LumLZOState_8u*>(state.data());
    const Bytes mt = encode(lumLZO1XMT, src);  // the container says 100 bytes
    int len = 300, neg = -1, ten = 10, short99 = 99;
    // In order: the encode call before the init meets an uninitialised state.
    lumtest::expectStatuses({
        {"size: no result", lumsEncodeLZOGetSize(lumLZO1XST, 100, nullptr), lumStsNullPtrErr},
        {"size: method 2", lumsEncodeLZOGetSize(LumLZOMethod(2), 100, &size), lumStsBadArgErr},
        {"size: negative length", lumsEncodeLZOGetSize(lumLZO1XMT, -1, &size), lumStsSizeErr},
        {"init: method -1", lumsEncodeLZOInit_8u(LumLZOMethod(-1), 100, st), lumStsBadArgErr},
        {"init: no state", lumsEncodeLZOInit_8u(lumLZO1XST, 100, nullptr), lumStsNullPtrErr},
        {"encode: state not initialised", lumsEncodeLZO_8u(src.data(), 100, dst.data(), &len, st), lumStsContextMatchErr},
        {"init", lumsEncodeLZOInit_8u(lumLZO1XST, 100, st), lumStsNoErr},
        {"encode: no source", lumsEncodeLZO_8u(nullptr, 100, dst.data(), &len, st), lumStsNullPtrErr},
        {"encode: no destination", lumsEncodeLZO_8u(src.data(), 100, nullptr, &len, st), lumStsNullPtrErr},
        {"encode: no length", lumsEncodeLZO_8u(src.data(), 100, dst.data(), nullptr, st), lumStsNullPtrErr},
        {"encode: no state", lumsEncodeLZO_8u(src.data(), 100, dst.data(), &len, nullptr), lumStsNullPtrErr},
        {"encode: negative length", lumsEncodeLZO_8u(src.data(), -1, dst.data(), &len, st), lumStsSizeErr},
    });
    for (Decoder decode : kDecoders) {
        SCOPED_TRACE(decode == lumsDecodeLZO_8u ? "decode" : "safe decode");
        lumtest::expectStatuses({
            {"no source", decode(nullptr, 3, dst.data(), &ten), lumStsNullPtrErr},
            {"no destination", decode(src.data(), 3, nullptr, &ten), lumStsNullPtrErr},
            {"no length", decode(src.data(), 3, dst.data(), nullptr), lumStsNullPtrErr},
            {"negative source length", decode(src.data(), -1, dst.data(), &ten), lumStsSizeErr},
            {"negative room", decode(src.data(), 3, dst.data(), &neg), lumStsSizeErr},
            {"empty source", decode(src.data(), 0, dst.data(), &ten), lumStsCorruptDataErr},
            {"container larger than the room", decode(mt.data(), int(mt.size()), dst.data(), &short99), lumStsSizeErr},
        });
    }
    EXPECT_EQ(std::count(dst.begin(), dst.end(), 0), 300);
}

}  // namespace
