// LZO1X: our ST streams against liblzo2, the MT container, the room and argument rules,
// the safe decoder on corrupt input and the benchmark module's call sequence.
#include <gtest/gtest.h>
#include <lzo/lzo1x.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "lumdc.h"
#include "lzo/lzo_mt.h"

namespace {

using Bytes = std::vector<Lum8u>;
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

LumLZOState_8u* initState(Bytes& area, LumLZOMethod method, int n) {
    int size = 0;
    EXPECT_EQ(lumsEncodeLZOGetSize(method, n, &size), lumStsNoErr);
    area.resize(size);
    auto* st = reinterpret_cast<LumLZOState_8u*>(area.data());
    EXPECT_EQ(lumsEncodeLZOInit_8u(method, n, st), lumStsNoErr);
    return st;
}

// Room 2n + 256 unless given: enough for the container.
Bytes encode(LumLZOMethod method, const Bytes& src, int room = -1, LumLZOState_8u* st = nullptr) {
    Bytes area;
    if (st == nullptr) st = initState(area, method, int(src.size()));
    Bytes dst(room < 0 ? 2 * src.size() + 256 : room);
    const Lum8u none = 0;
    int len = int(dst.size());
    EXPECT_EQ(lumsEncodeLZO_8u(src.empty() ? &none : src.data(), int(src.size()), dst.data(), &len, st), lumStsNoErr);
    dst.resize(len);
    return dst;
}

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

class Threads : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(lumGetNumThreads(&saved_), lumStsNoErr); }
    void TearDown() override { lumSetNumThreads(saved_); }
    int saved_ = 1;
};

TEST(Lzo, CorpusStreamsAreReadBothWaysWithLiblzo2) {
    if (!std::ifstream(std::string(PERFDC_CORPUS_DIR) + "/bib")) GTEST_SKIP() << "corpus not found in " PERFDC_CORPUS_DIR;
    for (const char* name : {"bib", "book1", "book2", "geo", "news", "obj1", "obj2", "paper1", "paper2", "pic",
                             "progc", "progl", "progp", "trans"}) {
        std::ifstream in(std::string(PERFDC_CORPUS_DIR) + "/" + name, std::ios::binary);
        const Bytes data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        const Bytes ours = encode(lumLZO1XST, data);
        EXPECT_EQ(ours, lzoReference(data, false)) << name;  // the same LZO1X-1 stream
        Bytes back(data.size());
        lzo_uint len = back.size();
        ASSERT_EQ(lzo1x_decompress_safe(ours.data(), ours.size(), back.data(), &len, nullptr), LZO_E_OK) << name;
        EXPECT_TRUE(len == data.size() && back == data) << name;
        const Bytes cut(data.begin(), data.begin() + std::min<size_t>(data.size(), 65536));
        expectBothDecode(lzoReference(cut, false), cut, std::string(name) + " lzo1x_1");
        expectBothDecode(lzoReference(cut, true), cut, std::string(name) + " lzo1x_999");
        expectBothDecode(encode(lumLZO1XMT, data), data, std::string(name) + " MT");
    }
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
    // Evaluated in order: the encode call before the init meets an uninitialised state.
    std::vector<std::pair<LumStatus, LumStatus>> cases = {
        {lumStsNullPtrErr, lumsEncodeLZOGetSize(lumLZO1XST, 100, nullptr)},
        {lumStsBadArgErr, lumsEncodeLZOGetSize(LumLZOMethod(2), 100, &size)},
        {lumStsSizeErr, lumsEncodeLZOGetSize(lumLZO1XMT, -1, &size)},
        {lumStsBadArgErr, lumsEncodeLZOInit_8u(LumLZOMethod(-1), 100, st)},
        {lumStsNullPtrErr, lumsEncodeLZOInit_8u(lumLZO1XST, 100, nullptr)},
        {lumStsContextMatchErr, lumsEncodeLZO_8u(src.data(), 100, dst.data(), &len, st)},
        {lumStsNoErr, lumsEncodeLZOInit_8u(lumLZO1XST, 100, st)},
        {lumStsNullPtrErr, lumsEncodeLZO_8u(nullptr, 100, dst.data(), &len, st)},
        {lumStsNullPtrErr, lumsEncodeLZO_8u(src.data(), 100, nullptr, &len, st)},
        {lumStsNullPtrErr, lumsEncodeLZO_8u(src.data(), 100, dst.data(), nullptr, st)},
        {lumStsNullPtrErr, lumsEncodeLZO_8u(src.data(), 100, dst.data(), &len, nullptr)},
        {lumStsSizeErr, lumsEncodeLZO_8u(src.data(), -1, dst.data(), &len, st)},
    };
    for (Decoder decode : kDecoders)
        cases.insert(cases.end(), {{lumStsNullPtrErr, decode(nullptr, 3, dst.data(), &ten)},
                                   {lumStsNullPtrErr, decode(src.data(), 3, nullptr, &ten)},
                                   {lumStsNullPtrErr, decode(src.data(), 3, dst.data(), nullptr)},
                                   {lumStsSizeErr, decode(src.data(), -1, dst.data(), &ten)},
                                   {lumStsSizeErr, decode(src.data(), 3, dst.data(), &neg)},
                                   {lumStsCorruptDataErr, decode(src.data(), 0, dst.data(), &ten)},
                                   {lumStsSizeErr, decode(mt.data(), int(mt.size()), dst.data(), &short99)}});
    for (size_t i = 0; i < cases.size(); ++i) EXPECT_EQ(cases[i].second, cases[i].first) << "case " << i;  // decoders from case 12, 7 each
    EXPECT_EQ(std::count(dst.begin(), dst.end(), 0), 300);
}

// Random bytes, mutated and truncated streams of both formats: the safe decoder returns
// an error or a decoded length within the room, and never touches a byte outside its
// buffers.
TEST_F(Threads, SafeDecoderSurvivesCorruptInput) {
    ASSERT_EQ(lumSetNumThreads(2), lumStsNoErr);
    const Bytes text = textLike(70000, 4);
    const Bytes streams[] = {encode(lumLZO1XST, Bytes(text.begin(), text.begin() + 3000)),
                             encode(lumLZO1XMT, text), lzoReference(Bytes(text.begin(), text.begin() + 2000), true)};
    std::mt19937 gen(5);
    int errors = 0;
    const int cases = 3000;
    for (int round = 0; round < cases; ++round) {
        Bytes in;
        if (round % 4 == 0) {
            in.resize(gen() % 200);
            for (auto& b : in) b = Lum8u(gen());
            if (!in.empty() && round % 8 == 0) in[0] = 0x10;
        } else {
            in = streams[round % 3];
            const int kind = round % 3 == 1 ? int(gen() % 3) : int(gen() % 2);
            if (kind == 0) in.resize(gen() % in.size());
            for (int flips = 1 + gen() % 4; kind != 0 && flips > 0; --flips)  // kind 2: the container header
                in[(kind == 2 ? gen() % 40 : gen() % in.size()) % in.size()] = Lum8u(gen());
        }
        const int room = int(gen() % 2 ? text.size() : gen() % 4000);
        const auto src = exact(in), dst = exact({}, room);
        int len = room;
        const LumStatus s = lumsDecodeLZOSafe_8u(src.get(), int(in.size()), dst.get(), &len);
        if (s == lumStsNoErr) EXPECT_TRUE(len >= 0 && len <= room);
        else EXPECT_TRUE(s == lumStsCorruptDataErr || s == lumStsSizeErr || s == lumStsUnsupportedModeErr) << s;
        errors += s != lumStsNoErr;
    }
    EXPECT_GT(errors, cases / 2);  // the mutations did break most streams
}

// The benchmark module: encode with room 2n, reset before every call; decode with room
// 2 x length; both methods, input cut to n = 65536.
TEST(Lzo, ModuleCallSequence) {
    const int n = 65536;
    const Bytes src = textLike(n, 6);
    for (LumLZOMethod method : {lumLZO1XST, lumLZO1XMT}) {
        Bytes area, out(2 * n), first;
        LumLZOState_8u* st = initState(area, method, n);
        for (int call = 0; call < 3; ++call) {
            const Bytes dst = encode(method, src, 2 * n, st);
            if (call == 0) first = dst;
            EXPECT_EQ(dst, first);
        }
        for (Decoder decode : kDecoders) {
            for (int call = 0; call < 2; ++call) {
                int srcLen = 2 * n;
                ASSERT_EQ(decode(first.data(), int(first.size()), out.data(), &srcLen), lumStsNoErr);
                ASSERT_EQ(srcLen, n);
                EXPECT_TRUE(std::equal(src.begin(), src.end(), out.begin()));
            }
        }
    }
}

}  // namespace
