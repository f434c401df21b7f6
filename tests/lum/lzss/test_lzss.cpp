// LZSS: round trips through the plain decoder of the fuzz targets (plain.h), streams cut at
// arbitrary points in both directions, the exact room and arguments. (Garbage input: the
// lzss_decode fuzz target; the benchmark module's call sequence runs in the black-box
// compression test, under its output check.)
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "../lum_test.h"
#include "lumdc.h"
#include "plain.h"

namespace {

using lumtest::Bytes;
using lumtest::randomBytes;
using Pieces = std::function<int()>;  // the next piece length

// A work area that moves between two offsets after every call, as a caller copying it
// between calls would.
struct State {
    lumtest::Area<LumLZSSState_8u> here{lumsLZSSGetSize_8u, 0}, there{lumsLZSSGetSize_8u, 5};
    LumLZSSState_8u* get() { return here.get(); }
    void move() { here.moveTo(there); }
};

// Encodes (then flushes) or decodes `in`, with the source and the room given in pieces.
// The decoder may stop on a full destination with the source used up and finish the
// pending output in the call that brings the next piece.
Bytes run(bool encoding, const Bytes& in, const Pieces& srcPiece, const Pieces& dstPiece, State& state) {
    if (!encoding) {
        EXPECT_EQ(lumsDecodeLZSSInit_8u(state.get()), lumStsNoErr);
    }
    Bytes out;
    Lum8u one = 0;
    auto call = [&](Lum8u** ppSrc, int* pSrcLen) {
        Bytes room(dstPiece());
        Lum8u* dst = room.data();
        int dstLen = int(room.size());
        const LumStatus s = !ppSrc    ? lumsEncodeLZSSFlush_8u(&dst, &dstLen, state.get())
                            : encoding ? lumsEncodeLZSS_8u(ppSrc, pSrcLen, &dst, &dstLen, state.get())
                                       : lumsDecodeLZSS_8u(ppSrc, pSrcLen, &dst, &dstLen, state.get());
        EXPECT_TRUE(s == lumStsNoErr || s == lumStsDstFullWrn || (!encoding && s == lumStsSrcEndWrn)) << s;
        EXPECT_EQ(dst, room.data() + room.size() - dstLen);
        out.insert(out.end(), room.data(), dst);
        state.move();
        return s;
    };
    for (size_t pos = 0; pos < in.size();) {
        const int piece = std::min<int>(int(in.size() - pos), srcPiece());
        Lum8u* src = piece > 0 ? const_cast<Lum8u*>(in.data() + pos) : &one;
        int srcLen = piece;
        pos += piece;
        while (call(&src, &srcLen) == lumStsDstFullWrn && (encoding || srcLen > 0 || pos == in.size())) {}
        EXPECT_EQ(srcLen, 0);
    }
    while (encoding && call(nullptr, nullptr) == lumStsDstFullWrn) {}
    return out;
}
Bytes encode(const Bytes& data, const Pieces& src, const Pieces& dst, State& state) { return run(true, data, src, dst, state); }
Bytes decode(const Bytes& stream, const Pieces& src, const Pieces& dst, State& state) { return run(false, stream, src, dst, state); }

Pieces whole() { return [] { return 1 << 21; }; }  // more than any input or output here
Pieces randomPieces(int max, unsigned seed) {
    auto gen = std::make_shared<std::mt19937>(seed);
    return [gen, max] { return 1 + int((*gen)() % max); };
}

std::vector<std::pair<std::string, Bytes>> edgeInputs() {
    Bytes all;
    for (int round = 0; round < 3; ++round)
        for (int v = 0; v < 256; ++v) all.push_back(Lum8u(v));
    Bytes pattern;
    for (int i = 0; i < 20000; ++i) pattern.push_back(Lum8u("abcab  x"[i % 8] + (i % 997 == 0)));
    return {{"empty", {}}, {"one byte", {'q'}}, {"blanks", Bytes(5000, ' ')}, {"run", Bytes(10000, 'a')},
            {"all values", all}, {"random", randomBytes(50000, 1)}, {"pattern", pattern},
            {"blank-led", Bytes{' ', ' ', ' ', 'x', ' ', ' ', ' ', ' '}}};
}

void expectRoundTrip(const std::string& name, const Bytes& data, bool pieces) {
    State state;
    ASSERT_EQ(lumsEncodeLZSSInit_8u(state.get()), lumStsNoErr);
    const Bytes stream = encode(data, whole(), whole(), state);
    EXPECT_EQ(plain::lzssDecode(stream), data) << name;
    EXPECT_EQ(decode(stream, whole(), whole(), state), data) << name;
    if (!pieces) return;
    // The same stream whatever the pieces: the encoder codes only with a full lookahead.
    ASSERT_EQ(lumsEncodeLZSSInit_8u(state.get()), lumStsNoErr);
    EXPECT_EQ(encode(data, randomPieces(3000, 2), randomPieces(40, 3), state), stream) << name;
    EXPECT_EQ(decode(stream, randomPieces(50, 4), randomPieces(40, 5), state), data) << name;
}

TEST(Lzss, EdgeInputsRoundTripWholeAndInPieces) {
    for (const auto& [name, data] : edgeInputs()) expectRoundTrip(name, data, true);
}

TEST(Lzss, CorpusRoundTrips) {
    if (lumtest::corpusFile("bib").empty()) GTEST_SKIP() << "corpus not found in " PERFDC_CORPUS_DIR;
    for (const std::string name : lumtest::kCorpusFiles)
        expectRoundTrip(name, lumtest::corpusFile(name, SIZE_MAX), name == "paper1" || name == "pic");
}

TEST(Lzss, CompressesRedundantInput) {
    State state;
    ASSERT_EQ(lumsEncodeLZSSInit_8u(state.get()), lumStsNoErr);
    EXPECT_EQ(encode(Bytes(18 * 800, ' '), whole(), whole(), state).size(), 100u * 17);  // all 18-byte matches
    const Bytes text = edgeInputs()[6].second;
    EXPECT_LT(encode(text, whole(), whole(), state).size(), text.size() / 5);
}

// A room of exactly the decoded length is no warning, one byte less is.
TEST(Lzss, ExactRoomIsNoWarning) {
    State state;
    ASSERT_EQ(lumsEncodeLZSSInit_8u(state.get()), lumStsNoErr);
    const Bytes data = edgeInputs()[6].second, stream = encode(data, whole(), whole(), state);
    for (const int room : {int(data.size()), int(data.size()) - 1}) {
        ASSERT_EQ(lumsDecodeLZSSInit_8u(state.get()), lumStsNoErr);
        Bytes src(stream), dst(size_t(room), 0);
        Lum8u *ps = src.data(), *pd = dst.data();
        int srcLen = int(src.size()), dstLen = room;
        const LumStatus s = lumsDecodeLZSS_8u(&ps, &srcLen, &pd, &dstLen, state.get());
        if (room < int(data.size())) EXPECT_EQ(s, lumStsDstFullWrn);
        else EXPECT_TRUE(s == lumStsNoErr || s == lumStsSrcEndWrn) << s;
        EXPECT_TRUE(dstLen == 0 && std::equal(dst.begin(), dst.end(), data.begin())) << room;
    }
}

TEST(Lzss, BadArgumentsGiveTheirStatus) {
    State state;
    int size = 0;
    EXPECT_EQ(lumsLZSSGetSize_8u(nullptr), lumStsNullPtrErr);
    EXPECT_EQ(lumsEncodeLZSSInit_8u(nullptr), lumStsNullPtrErr);
    EXPECT_EQ(lumsDecodeLZSSInit_8u(nullptr), lumStsNullPtrErr);
    ASSERT_EQ(lumsLZSSGetSize_8u(&size), lumStsNoErr);
    Bytes buf(64, 7), out(64, 9);
    Lum8u* src = buf.data();
    Lum8u* dst = out.data();
    Lum8u* none = nullptr;
    int srcLen = 64, dstLen = 64, negative = -1;
    using Encode = LumStatus (*)(Lum8u**, int*, Lum8u**, int*, LumLZSSState_8u*);
    for (Encode fn : {Encode(lumsEncodeLZSS_8u), Encode(lumsDecodeLZSS_8u)}) {
        SCOPED_TRACE(fn == Encode(lumsEncodeLZSS_8u) ? "encoder" : "decoder");
        lumtest::expectStatuses({
            {"null source pointer", fn(nullptr, &srcLen, &dst, &dstLen, state.get()), lumStsNullPtrErr},
            {"null source", fn(&none, &srcLen, &dst, &dstLen, state.get()), lumStsNullPtrErr},
            {"null source length", fn(&src, nullptr, &dst, &dstLen, state.get()), lumStsNullPtrErr},
            {"null destination pointer", fn(&src, &srcLen, nullptr, &dstLen, state.get()), lumStsNullPtrErr},
            {"null destination", fn(&src, &srcLen, &none, &dstLen, state.get()), lumStsNullPtrErr},
            {"null destination length", fn(&src, &srcLen, &dst, nullptr, state.get()), lumStsNullPtrErr},
            {"null state", fn(&src, &srcLen, &dst, &dstLen, nullptr), lumStsNullPtrErr},
            {"negative source length", fn(&src, &negative, &dst, &dstLen, state.get()), lumStsSizeErr},
            {"negative room", fn(&src, &srcLen, &dst, &negative, state.get()), lumStsSizeErr},
            {"state never initialised", fn(&src, &srcLen, &dst, &dstLen, state.get()), lumStsContextMatchErr},
        });
    }
    EXPECT_EQ(lumsEncodeLZSSFlush_8u(&dst, &dstLen, state.get()), lumStsContextMatchErr);
    EXPECT_EQ(lumsEncodeLZSSFlush_8u(&dst, &negative, state.get()), lumStsSizeErr);
    // A state prepared for one direction is refused by the other.
    ASSERT_EQ(lumsEncodeLZSSInit_8u(state.get()), lumStsNoErr);
    EXPECT_EQ(lumsDecodeLZSS_8u(&src, &srcLen, &dst, &dstLen, state.get()), lumStsContextMatchErr);
    ASSERT_EQ(lumsDecodeLZSSInit_8u(state.get()), lumStsNoErr);
    EXPECT_EQ(lumsEncodeLZSS_8u(&src, &srcLen, &dst, &dstLen, state.get()), lumStsContextMatchErr);
    EXPECT_TRUE(src == buf.data() && dst == out.data() && srcLen == 64 && dstLen == 64);
    EXPECT_EQ(std::count(out.begin(), out.end(), 9), 64);
}

}  // namespace
