// The decoders on random and mutated input: every call ends with an error or a warning
// status or a result, within the buffers (exactly sized, so the sanitizers see any stray
// access), with the pointers and lengths consistent with what was consumed and written.
#include <gtest/gtest.h>

#include "test_bz2_common.h"

namespace {

using namespace bz2test;

constexpr int kRounds = 3000;

bool oneOf(LumStatus s, std::initializer_list<LumStatus> allowed) {
    return std::find(allowed.begin(), allowed.end(), s) != allowed.end();
}

TEST(Bz2Fuzz, Z1Z2Decoding) {
    std::mt19937 gen(21);
    for (int t = 0; t < kRounds; ++t) {
        Symbols in(gen() % 200);
        for (auto& s : in) s = static_cast<Lum16u>(gen() % 4 ? gen() % 3 : gen() % 262);
        const int room = static_cast<int>(gen() % 300);
        Bytes out(static_cast<size_t>(room));
        Lum16u* p = ptr(in);
        int left = static_cast<int>(in.size()), written = room;
        const LumStatus sts = lumsDecodeZ1Z2_BZ2_16u8u(&p, &left, ptr(out), &written);
        ASSERT_TRUE(oneOf(sts, {lumStsNoErr, lumStsDstFullWrn, lumStsCorruptDataErr})) << sts;
        ASSERT_EQ(p - ptr(in) + left, static_cast<long>(in.size()));
        ASSERT_TRUE(written >= 0 && written <= room);
        ASSERT_TRUE(sts != lumStsNoErr || left == 0);
    }
}

TEST(Bz2Fuzz, RleDecoding) {
    std::mt19937 gen(22);
    Bytes state = workArea(lumsRLEGetSize_BZ2_8u);
    auto* st = reinterpret_cast<LumRLEState_BZ2*>(state.data());
    lumsEncodeRLEInit_BZ2_8u(st);
    for (int t = 0; t < kRounds; ++t) {  // one state throughout: runs carry between calls
        Bytes in = randomBytes(gen() % 100, gen(), 1 + static_cast<int>(gen() % 3) * 120);
        const int room = static_cast<int>(gen() % 200);
        Bytes out(static_cast<size_t>(room));
        Lum8u* p = ptr(in);
        Lum8u* d = ptr(out);
        int left = static_cast<int>(in.size()), free = room;
        const LumStatus sts = lumsDecodeRLEState_BZ2_8u(&p, &left, &d, &free, st);
        ASSERT_TRUE(oneOf(sts, {lumStsNoErr, lumStsDstFullWrn})) << sts;
        ASSERT_EQ(p - ptr(in) + left, static_cast<long>(in.size()));
        ASSERT_EQ(d - ptr(out) + free, room);
        ASSERT_TRUE(sts == lumStsDstFullWrn || left == 0);
    }
}

TEST(Bz2Fuzz, InverseBwt) {
    std::mt19937 gen(23);
    for (int t = 0; t < kRounds; ++t) {
        const int n = static_cast<int>(gen() % 400);
        Bytes last = randomBytes(static_cast<size_t>(n), gen(), 1 + static_cast<int>(gen() % 256));
        const int index = static_cast<int>(gen() % static_cast<unsigned>(n + 4)) - 2;
        Bytes buff = workArea([&](int* sz) { return lumsBWTInvGetSize_8u(n, sz); });
        Bytes out(static_cast<size_t>(n));
        const LumStatus sts = lumsBWTInv_8u(ptr(last), ptr(out), n, index, buff.data());
        ASSERT_EQ(sts, (n == 0 || (index >= 0 && index < n)) ? lumStsNoErr : lumStsBadArgErr);
        if (sts != lumStsNoErr) continue;
        // Every output byte comes from the column, and in place gives the same.
        bool present[256] = {};
        for (Lum8u c : last) present[c] = true;
        for (Lum8u c : out) ASSERT_TRUE(present[c]);
        ASSERT_EQ(lumsBWTInv_8u(ptr(last), ptr(last), n, index, buff.data()), lumStsNoErr);
        ASSERT_EQ(last, out);
    }
}

// Blocks of a real chain, mutated (symbols, index, dictionary, length), and plain noise.
TEST(Bz2Fuzz, BlockDecoding) {
    std::mt19937 gen(24);
    const Bytes text = repeated("sorting blocks of text, blocks of sorted text; text blocks sort", 1);
    int decoded = 0;
    for (int t = 0; t < kRounds / 2; ++t) {
        // A valid chain for the text: reduce, BWT, MTF, Z1Z2 (no first-stage RLE needed).
        Lum8u inUse[256] = {};
        for (Lum8u c : text) inUse[c] = 1;
        Bytes work = text;
        const int len = static_cast<int>(work.size());
        int size = 0, index = 0;
        lumsReduceDictionary_8u_I(inUse, work.data(), len, &size);
        Bytes fb = workArea([&](int* sz) { return lumsBWTFwdGetSize_8u(len, sz); });
        lumsBWTFwd_8u(work.data(), work.data(), len, &index, fb.data());
        Bytes mtf = workArea(lumsMTFGetSize_8u);
        auto* ms = reinterpret_cast<LumMTFState_8u*>(mtf.data());
        lumsMTFInit_8u(ms);
        lumsMTFFwd_8u(work.data(), work.data(), len, ms);
        Symbols sym(static_cast<size_t>(len));
        Lum8u* p = work.data();
        int left = len, count = len;
        Lum32u freq[258];
        lumsEncodeZ1Z2_BZ2_8u16u(&p, &left, sym.data(), &count, freq);
        sym.resize(static_cast<size_t>(count));

        for (int k = 0, edits = 1 + static_cast<int>(gen() % 4); k < edits; ++k) {
            switch (gen() % 5) {
                case 0: if (!sym.empty()) sym[gen() % sym.size()] = static_cast<Lum16u>(gen() % 40); break;
                case 1: index = static_cast<int>(gen() % 80) - 5; break;
                case 2: size = static_cast<int>(gen() % 300) - 10; break;
                case 3: sym.resize(gen() % (sym.size() + 5)); break;
                default: for (auto& s : sym) s = static_cast<Lum16u>(gen() % static_cast<unsigned>(std::max(size + 2, 1))); break;
            }
        }
        const int room = static_cast<int>(gen() % 120);
        Bytes out(static_cast<size_t>(room));
        Bytes ib = workArea([&](int* sz) { return lumsBWTInvGetSize_8u(room, sz); });
        int n = room;
        const LumStatus sts = lumsDecodeBlock_BZ2_16u8u(ptr(sym), static_cast<int>(sym.size()), ptr(out),
                                                        &n, index, size, inUse, ib.data());
        ASSERT_TRUE(oneOf(sts, {lumStsNoErr, lumStsCorruptDataErr, lumStsSizeErr, lumStsBadArgErr})) << sts;
        ASSERT_TRUE(sts != lumStsNoErr || (n >= 0 && n <= room));
        decoded += sts == lumStsNoErr;
    }
    EXPECT_GT(decoded, kRounds / 20);  // the mutations reach the later stages too
}

}  // namespace
