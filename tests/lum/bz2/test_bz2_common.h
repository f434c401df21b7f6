// Shared helpers of the block-sorting tests: repeated units, the naive inverse BWT, the
// forward chain of one block, the Huffman and streaming drivers and the decoder fuzzing
// driver; byte vectors, corpus files and work areas come from the lum tests' helpers.
#ifndef TESTS_LUM_BZ2_TEST_BZ2_COMMON_H
#define TESTS_LUM_BZ2_TEST_BZ2_COMMON_H

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "../lum_test.h"
#include "lumdc.h"

namespace bz2test {

using namespace lumtest;
using Symbols = std::vector<Lum16u>;

inline Bytes repeated(const std::string& unit, size_t times) {
    Bytes b;
    for (size_t i = 0; i < times; ++i) b.insert(b.end(), unit.begin(), unit.end());
    return b;
}

// The inverse BWT by the single "next row" chain: the rotation that `index` names.
inline Bytes naiveInverseBwt(const Bytes& last, int index) {
    std::vector<size_t> order(last.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return last[a] < last[b]; });
    Bytes out(last.size());
    for (size_t k = 0, row = static_cast<size_t>(index); k < out.size(); ++k) out[k] = last[row = order[row]];
    return out;
}

// A real pointer for every buffer, empty ones included (the library refuses null ones).
template <class T>
T* ptr(std::vector<T>& v) {
    static T none[1];
    return v.empty() ? none : v.data();
}

// Appends the pending bits of a bit buffer (left-aligned), top byte first.
inline void flushBits(Lum32u& code, int& bits, Bytes& out) {
    for (; bits > 0; bits -= 8, code <<= 8) out.push_back(static_cast<Lum8u>(code >> 24));
    bits = 0;
}

// The forward chain of one block as a .bz2 block codes it: RLE and its flush, the in-use
// table, reduction, BWT, MTF and Z1Z2 with its symbol counts.
struct Chain {
    Bytes rle;
    Lum8u inUse[256] = {};
    int sizeDictionary = 0, index = 0;
    Symbols symbols;
    Lum32u freq[258] = {};
};

inline Chain encodeChain(Bytes s) {
    Chain c;
    Area<LumRLEState_BZ2> rle(lumsRLEGetSize_BZ2_8u);
    EXPECT_EQ(lumsEncodeRLEInit_BZ2_8u(rle.get()), lumStsNoErr);
    c.rle.resize(s.size() * 5 / 4 + 16);
    Lum8u* p = ptr(s);
    int left = static_cast<int>(s.size()), len = static_cast<int>(c.rle.size());
    EXPECT_EQ(lumsEncodeRLE_BZ2_8u(&p, &left, c.rle.data(), &len, rle.get()), lumStsNoErr);
    int flushed = static_cast<int>(c.rle.size()) - len;
    EXPECT_EQ(lumsEncodeRLEFlush_BZ2_8u(c.rle.data() + len, &flushed, rle.get()), lumStsNoErr);
    const int n = len + flushed;
    c.rle.resize(static_cast<size_t>(n));
    EXPECT_EQ(lumsRLEGetInUseTable_8u(c.inUse, rle.get()), lumStsNoErr);

    Bytes work = c.rle;
    EXPECT_EQ(lumsReduceDictionary_8u_I(c.inUse, ptr(work), n, &c.sizeDictionary), lumStsNoErr);
    Area<> bwt([&](int* size) { return lumsBWTFwdGetSize_8u(n, size); });
    EXPECT_EQ(lumsBWTFwd_8u(ptr(work), ptr(work), n, &c.index, bwt.get()), lumStsNoErr);
    Area<LumMTFState_8u> mtf(lumsMTFGetSize_8u);
    EXPECT_EQ(lumsMTFInit_8u(mtf.get()), lumStsNoErr);
    EXPECT_EQ(lumsMTFFwd_8u(ptr(work), ptr(work), n, mtf.get()), lumStsNoErr);
    c.symbols.resize(static_cast<size_t>(n) + 1);
    p = ptr(work);
    left = n;
    len = n + 1;
    EXPECT_EQ(lumsEncodeZ1Z2_BZ2_8u16u(&p, &left, ptr(c.symbols), &len, c.freq), lumStsNoErr);
    c.symbols.resize(static_cast<size_t>(len));
    return c;
}

// Packs the context of a ready encoder state and codes `sym` behind it, appending to `out`
// and continuing the bit buffer `code`/`bits` (left-aligned pending bits).
inline LumStatus huffEncode(LumEncodeHuffState_BZ2* st, const Symbols& sym, Lum32u& code, int& bits, Bytes& out) {
    const size_t at = out.size();
    out.resize(at + sym.size() * 3 + 40000);
    int packed = static_cast<int>(out.size() - at);
    LumStatus sts = lumsPackHuffContext_BZ2_16u8u(&code, &bits, out.data() + at, &packed, st);
    const Lum16u* src = sym.data();
    int left = static_cast<int>(sym.size()), coded = static_cast<int>(out.size() - at) - packed;
    if (sts != lumStsNoErr) return sts;
    sts = lumsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &left, out.data() + at + packed, &coded, st);
    EXPECT_EQ(left, 0);
    out.resize(at + static_cast<size_t>(packed + coded));
    return sts;
}

// Unpacks the context into a decoder state made ready by its init and decodes one block into
// `out`, cut to the symbols written; returns the status of the last call.
inline LumStatus huffDecode(LumDecodeHuffState_BZ2* st, Lum32u& code, int& bits, const Lum8u*& src, int& srcLen,
                            Symbols& out) {
    LumStatus sts = lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &srcLen, st);
    int n = sts == lumStsNoErr ? static_cast<int>(out.size()) : 0;
    if (sts == lumStsNoErr) sts = lumsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &srcLen, ptr(out), &n, st);
    out.resize(static_cast<size_t>(n));
    return sts;
}

// Calls `step(&src, &left, dst, &written)` over `in` with `room` elements of room per call,
// resuming after every lumStsDstFullWrn, and returns all that was written.
template <class Out, class In, class Step>
std::vector<Out> drain(std::vector<In> in, int room, Step step) {
    std::vector<Out> out, buf(static_cast<size_t>(room));
    In* p = ptr(in);
    int left = static_cast<int>(in.size());
    for (LumStatus sts = lumStsDstFullWrn; sts == lumStsDstFullWrn;) {
        const int before = left;
        int n = room;
        sts = step(&p, &left, buf.data(), &n);
        EXPECT_TRUE(sts == lumStsNoErr || sts == lumStsDstFullWrn) << sts;
        out.insert(out.end(), buf.begin(), buf.begin() + n);
        if (sts == lumStsDstFullWrn && n == 0 && left == before) {
            ADD_FAILURE() << "a full destination without progress";
            break;
        }
    }
    EXPECT_EQ(left, 0);
    return out;
}

// The RLE decoder as a drain() step: `*n` is the room on the way in, the bytes written on
// the way out.
inline auto rleDecodeStep(LumRLEState_BZ2* st) {
    return [st](Lum8u** p, int* left, Lum8u* d, int* n) {
        Lum8u* const start = d;
        const int room = *n;
        const LumStatus sts = lumsDecodeRLEState_BZ2_8u(p, left, &d, n, st);
        EXPECT_EQ(d - start, room - *n);
        *n = room - *n;
        return sts;
    };
}

constexpr int kFuzzRounds = 3000;

// Gives `decode` kFuzzRounds inputs in turn: random values over an alphabet of 1 to `values`
// entries, a valid sample with a few bits flipped, and a valid sample cut short behind a
// random tail. `decode` checks its own results.
template <class T, class Decode>
void fuzz(unsigned seed, const std::vector<std::vector<T>>& valid, unsigned values, Decode decode) {
    std::mt19937 gen(seed);
    for (int t = 0; t < kFuzzRounds && !testing::Test::HasFailure(); ++t) {
        std::vector<T> in;
        if (t % 3 == 0 || valid.empty()) {
            const unsigned alphabet = 1 + gen() % values;
            in.resize(gen() % 400);
            for (auto& x : in) x = static_cast<T>(gen() % alphabet);
        } else if (t % 3 == 1) {
            in = valid[static_cast<size_t>(t) % valid.size()];
            for (int k = 1 + static_cast<int>(gen() % 8); k > 0 && !in.empty(); --k)
                in[gen() % in.size()] ^= static_cast<T>(1u << (gen() % 8));
        } else {
            in = valid[static_cast<size_t>(t) % valid.size()];
            in.resize(gen() % (in.size() + 1));
            for (int k = static_cast<int>(gen() % 40); k > 0; --k) in.push_back(static_cast<T>(gen() % values));
        }
        decode(in, gen);
    }
}

}  // namespace bz2test

#endif
