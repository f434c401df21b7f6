// LZO1X: our ST streams against liblzo2, the MT container, the room and argument rules,
// the safe decoder on corrupt input and the benchmark module's call sequence.
#include <gtest/gtest.h>
#include <lzo/lzo1x.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "lumdc.h"

namespace {

using Bytes = std::vector<Lum8u>;
using Decoder = LumStatus (*)(const Lum8u*, int, Lum8u*, int*);

constexpr Decoder kDecoders[] = {lumsDecodeLZO_8u, lumsDecodeLZOSafe_8u};

// n bytes that end where an inaccessible page begins, so that any read or write past them
// faults, in liblzo2's code as well as in ours.
class GuardedBuffer {
public:
    explicit GuardedBuffer(size_t n) : page_(size_t(sysconf(_SC_PAGESIZE))) {
        span_ = (n + page_ - 1) / page_ * page_ + page_;
        void* m = mmap(nullptr, span_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(m, MAP_FAILED);
        base_ = static_cast<Lum8u*>(m);
        mprotect(base_ + span_ - page_, page_, PROT_NONE);
        data_ = base_ + span_ - page_ - n;
    }
    GuardedBuffer(const Bytes& b) : GuardedBuffer(b.size()) { std::copy(b.begin(), b.end(), data_); }
    ~GuardedBuffer() { munmap(base_, span_); }
    Lum8u* data() { return data_; }

private:
    size_t page_, span_;
    Lum8u* base_;
    Lum8u* data_;
};

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

std::vector<std::pair<std::string, Bytes>> corpus() {
    std::vector<std::pair<std::string, Bytes>> files;
    for (const char* f : {"bib", "book1", "book2", "geo", "news", "obj1", "obj2", "paper1", "paper2",
                          "pic", "progc", "progl", "progp", "trans"}) {
        std::ifstream in(std::string(PERFDC_CORPUS_DIR) + "/" + f, std::ios::binary);
        if (in) files.push_back({f, Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>())});
    }
    return files;
}

int worstCase(size_t n) { return int(n + n / 16 + 67); }

// Room 2n + 256 unless given: enough for the container.
Bytes encode(LumLZOMethod method, const Bytes& src, int room = -1) {
    int size = 0;
    EXPECT_EQ(lumsEncodeLZOGetSize(method, int(src.size()), &size), lumStsNoErr);
    Bytes state(size);
    auto* st = reinterpret_cast<LumLZOState_8u*>(state.data());
    EXPECT_EQ(lumsEncodeLZOInit_8u(method, int(src.size()), st), lumStsNoErr);
    Bytes dst(room < 0 ? 2 * src.size() + 256 : room);
    const Lum8u none = 0;
    int len = int(dst.size());
    EXPECT_EQ(lumsEncodeLZO_8u(src.empty() ? &none : src.data(), int(src.size()), dst.data(), &len, st),
              lumStsNoErr);
    dst.resize(len);
    return dst;
}

// Decodes with both decoders into a room of exactly the expected size, guarded on both
// buffers; each must give the original.
void expectBothDecode(const Bytes& stream, const Bytes& original, const std::string& what) {
    for (Decoder decode : kDecoders) {
        GuardedBuffer in(stream), out(original.size() + 1);
        int len = int(original.size());
        ASSERT_EQ(decode(in.data(), int(stream.size()), out.data(), &len), lumStsNoErr) << what;
        ASSERT_EQ(len, int(original.size())) << what;
        EXPECT_TRUE(std::equal(original.begin(), original.end(), out.data())) << what;
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
    const auto files = corpus();
    if (files.empty()) GTEST_SKIP() << "corpus not found in " << PERFDC_CORPUS_DIR;
    for (const auto& [name, data] : files) {
        const Bytes ours = encode(lumLZO1XST, data);
        EXPECT_EQ(ours, lzoReference(data, false)) << name;  // the same LZO1X-1 stream
        Bytes back(data.size());
        lzo_uint len = back.size();
        ASSERT_EQ(lzo1x_decompress_safe(ours.data(), ours.size(), back.data(), &len, nullptr), LZO_E_OK) << name;
        EXPECT_TRUE(len == data.size() && back == data) << name;
        expectBothDecode(ours, data, name + " ST");
        const Bytes cut(data.begin(), data.begin() + std::min<size_t>(data.size(), 65536));
        expectBothDecode(lzoReference(cut, true), cut, name + " lzo1x_999");
        expectBothDecode(encode(lumLZO1XMT, data), data, name + " MT");
    }
}

// Segment borders fall at multiples of 32768 bytes; every size round-trips with 1, 2 and 4
// threads and tells its layout by the first byte and the segment count.
TEST_F(Threads, MtContainerRoundTripsAtSegmentBorders) {
    const Bytes text = textLike(300000, 1);
    for (int threads : {1, 2, 4}) {
        ASSERT_EQ(lumSetNumThreads(threads), lumStsNoErr);
        for (size_t n : {0, 1, 20, 32767, 65535, 65536, 65537, 98304, 98305, 131075, 300000}) {
            const Bytes src(text.begin(), text.begin() + n);
            const Bytes mt = encode(lumLZO1XMT, src);
            const int segments = std::max<int>(1, std::min<int>(threads, int(n / 32768)));
            ASSERT_GE(mt.size(), 8u);
            EXPECT_EQ(mt[0], 0x10);
            EXPECT_EQ(mt[2] | mt[3] << 8, segments) << n;
            expectBothDecode(mt, src, "MT " + std::to_string(n) + " on " + std::to_string(threads));
            if (threads == 4) expectBothDecode(encode(lumLZO1XST, src), src, "ST " + std::to_string(n));
        }
    }
}

// The room rule: below the LZO1X-1 worst case is a size error before any write; a room
// that holds a plain stream but not the container's worst case gets a plain stream.
TEST_F(Threads, RoomBelowWorstCaseIsRefused) {
    ASSERT_EQ(lumSetNumThreads(4), lumStsNoErr);
    const Bytes src = textLike(140000, 2);
    for (LumLZOMethod method : {lumLZO1XST, lumLZO1XMT}) {
        int size = 0;
        ASSERT_EQ(lumsEncodeLZOGetSize(method, int(src.size()), &size), lumStsNoErr);
        Bytes state(size), dst(worstCase(src.size()), 0xA5);
        auto* st = reinterpret_cast<LumLZOState_8u*>(state.data());
        ASSERT_EQ(lumsEncodeLZOInit_8u(method, int(src.size()), st), lumStsNoErr);
        int len = worstCase(src.size()) - 1;
        EXPECT_EQ(lumsEncodeLZO_8u(src.data(), int(src.size()), dst.data(), &len, st), lumStsSizeErr);
        EXPECT_EQ(std::count(dst.begin(), dst.end(), 0xA5), long(dst.size()));
        len = worstCase(src.size());
        ASSERT_EQ(lumsEncodeLZO_8u(src.data(), int(src.size()), dst.data(), &len, st), lumStsNoErr);
        EXPECT_NE(dst[0], 0x10);  // too little room for the container: a plain stream
        expectBothDecode(Bytes(dst.begin(), dst.begin() + len), src, "tight room");
        len = int(src.size() + 1);  // more than the input, still too small
        EXPECT_EQ(lumsEncodeLZO_8u(src.data(), int(src.size() + 1), dst.data(), &len, st), lumStsSizeErr);
    }
}

TEST(Lzo, BadArgumentsGiveTheirStatus) {
    int size = 0;
    EXPECT_EQ(lumsEncodeLZOGetSize(lumLZO1XST, 100, nullptr), lumStsNullPtrErr);
    EXPECT_EQ(lumsEncodeLZOGetSize(LumLZOMethod(2), 100, &size), lumStsBadArgErr);
    EXPECT_EQ(lumsEncodeLZOGetSize(lumLZO1XMT, -1, &size), lumStsSizeErr);
    ASSERT_EQ(lumsEncodeLZOGetSize(lumLZO1XST, 100, &size), lumStsNoErr);
    Bytes state(size, 0), src(100, 'a'), dst(300, 0);
    auto* st = reinterpret_cast<LumLZOState_8u*>(state.data());
    EXPECT_EQ(lumsEncodeLZOInit_8u(LumLZOMethod(-1), 100, st), lumStsBadArgErr);
    EXPECT_EQ(lumsEncodeLZOInit_8u(lumLZO1XST, 100, nullptr), lumStsNullPtrErr);
    int len = 300;
    EXPECT_EQ(lumsEncodeLZO_8u(src.data(), 100, dst.data(), &len, st), lumStsContextMatchErr);
    ASSERT_EQ(lumsEncodeLZOInit_8u(lumLZO1XST, 100, st), lumStsNoErr);
    EXPECT_EQ(lumsEncodeLZO_8u(nullptr, 100, dst.data(), &len, st), lumStsNullPtrErr);
    EXPECT_EQ(lumsEncodeLZO_8u(src.data(), 100, nullptr, &len, st), lumStsNullPtrErr);
    EXPECT_EQ(lumsEncodeLZO_8u(src.data(), 100, dst.data(), nullptr, st), lumStsNullPtrErr);
    EXPECT_EQ(lumsEncodeLZO_8u(src.data(), 100, dst.data(), &len, nullptr), lumStsNullPtrErr);
    EXPECT_EQ(lumsEncodeLZO_8u(src.data(), -1, dst.data(), &len, st), lumStsSizeErr);
    EXPECT_EQ(std::count(dst.begin(), dst.end(), 0), 300);
    for (Decoder decode : kDecoders) {
        len = 10;
        EXPECT_EQ(decode(nullptr, 3, dst.data(), &len), lumStsNullPtrErr);
        EXPECT_EQ(decode(src.data(), 3, nullptr, &len), lumStsNullPtrErr);
        EXPECT_EQ(decode(src.data(), 3, dst.data(), nullptr), lumStsNullPtrErr);
        EXPECT_EQ(decode(src.data(), -1, dst.data(), &len), lumStsSizeErr);
        len = -1;
        EXPECT_EQ(decode(src.data(), 3, dst.data(), &len), lumStsSizeErr);
        len = 10;
        EXPECT_EQ(decode(src.data(), 0, dst.data(), &len), lumStsCorruptDataErr);
        const Bytes stream = encode(lumLZO1XMT, src);
        len = 99;  // the container says 100 bytes
        EXPECT_EQ(decode(stream.data(), int(stream.size()), dst.data(), &len), lumStsSizeErr);
    }
}

// The state holds no pointers into itself: a copy at another alignment encodes the same.
TEST_F(Threads, MovedStateStillEncodes) {
    ASSERT_EQ(lumSetNumThreads(2), lumStsNoErr);
    const Bytes src = textLike(100000, 3);
    for (LumLZOMethod method : {lumLZO1XST, lumLZO1XMT}) {
        int size = 0;
        ASSERT_EQ(lumsEncodeLZOGetSize(method, int(src.size()), &size), lumStsNoErr);
        Bytes a(size + 64), b(size + 64);
        ASSERT_EQ(lumsEncodeLZOInit_8u(method, int(src.size()), reinterpret_cast<LumLZOState_8u*>(a.data())),
                  lumStsNoErr);
        std::memcpy(b.data() + 13, a.data(), size);
        Bytes dst(2 * src.size() + 256);
        int len = int(dst.size());
        ASSERT_EQ(lumsEncodeLZO_8u(src.data(), int(src.size()), dst.data(), &len,
                                   reinterpret_cast<LumLZOState_8u*>(b.data() + 13)), lumStsNoErr);
        dst.resize(len);
        EXPECT_EQ(dst, encode(method, src));
    }
}

// Random bytes, mutated and truncated streams of both formats: the safe decoder returns
// an error or a decoded length within the room, and never touches a byte outside its
// buffers (both end at an inaccessible page).
TEST_F(Threads, SafeDecoderSurvivesCorruptInput) {
    ASSERT_EQ(lumSetNumThreads(2), lumStsNoErr);
    const Bytes text = textLike(70000, 4);
    const Bytes streams[] = {encode(lumLZO1XST, Bytes(text.begin(), text.begin() + 3000)),
                             encode(lumLZO1XMT, text), lzoReference(Bytes(text.begin(), text.begin() + 2000), true)};
    std::mt19937 gen(5);
    int errors = 0, cases = 0;
    for (int round = 0; round < 3000; ++round, ++cases) {
        Bytes in;
        if (round % 4 == 0) {
            in.resize(gen() % 200);
            for (auto& b : in) b = Lum8u(gen());
            if (!in.empty() && round % 8 == 0) in[0] = 0x10;
        } else {
            in = streams[round % 3];
            const int kind = round % 3 == 1 ? int(gen() % 3) : int(gen() % 2);
            if (kind == 0) in.resize(gen() % in.size());
            for (int flips = 1 + gen() % 4; kind != 0 && flips > 0; --flips) {
                // Most mutations hit the container header and the start of a stream.
                const size_t at = (kind == 2 ? gen() % 40 : gen() % in.size()) % in.size();
                in[at] = Lum8u(gen());
            }
        }
        const int room = int(gen() % 2 ? text.size() : gen() % 4000);
        GuardedBuffer src(in), dst(room);
        int len = room;
        const LumStatus s = lumsDecodeLZOSafe_8u(src.data(), int(in.size()), dst.data(), &len);
        if (s == lumStsNoErr) EXPECT_TRUE(len >= 0 && len <= room);
        else EXPECT_TRUE(s == lumStsCorruptDataErr || s == lumStsSizeErr || s == lumStsUnsupportedModeErr) << s;
        errors += s != lumStsNoErr;
    }
    EXPECT_GT(errors, cases / 2);  // the mutations did break most streams
}

// The benchmark module: encode with room 2n, reset before every call; decode with room
// 2 x length; both methods, input cut to n = 65536.
TEST(Lzo, ModuleCallSequence) {
    const Bytes text = textLike(70000, 6);
    const int n = 65536;
    const Bytes src(text.begin(), text.begin() + n);
    for (LumLZOMethod method : {lumLZO1XST, lumLZO1XMT}) {
        int size = 0;
        ASSERT_EQ(lumsEncodeLZOGetSize(method, n, &size), lumStsNoErr);
        Bytes state(size), dst(2 * n), out(2 * n), first;
        auto* st = reinterpret_cast<LumLZOState_8u*>(state.data());
        ASSERT_EQ(lumsEncodeLZOInit_8u(method, n, st), lumStsNoErr);
        int dstLen = 0;
        for (int call = 0; call < 3; ++call) {
            dstLen = 2 * n;
            ASSERT_EQ(lumsEncodeLZO_8u(src.data(), n, dst.data(), &dstLen, st), lumStsNoErr);
            if (call == 0) first.assign(dst.begin(), dst.begin() + dstLen);
            EXPECT_EQ(Bytes(dst.begin(), dst.begin() + dstLen), first);
        }
        for (Decoder decode : kDecoders) {
            for (int call = 0; call < 2; ++call) {
                int srcLen = 2 * n;
                ASSERT_EQ(decode(dst.data(), dstLen, out.data(), &srcLen), lumStsNoErr);
                ASSERT_EQ(srcLen, n);
                EXPECT_TRUE(std::equal(src.begin(), src.end(), out.begin()));
            }
        }
    }
}

}  // namespace
