// Forward and inverse BWT: every sort hint against whole-rotation sorting (periodic blocks
// above all, where suffix and rotation order differ), round trips on the corpus, long runs
// and periods, any last column and any index for the inverse, argument errors.
#include <gtest/gtest.h>

#include "test_bz2_common.h"

namespace {

using namespace bz2test;

constexpr LumBWTSortAlgorithmHint kHints[] = {lumBWTItohTanakaLimSort, lumBWTItohTanakaUnlimSort,
                                              lumBWTSuffixSort, lumBWTAutoSort};

struct Bwt {
    Bytes last;
    int index = -1;
};

// The library's forward BWT with one hint (or the plain function for hint -1).
Bwt forward(const Bytes& s, int hint) {
    Bytes buff = workArea([&](int* p) { return lumsBWTFwdGetSize_8u(static_cast<int>(s.size()), p); });
    Bwt r;
    r.last.resize(s.size());
    const int n = static_cast<int>(s.size());
    const LumStatus st =
        hint < 0 ? lumsBWTFwd_8u(ptr(s), ptr(r.last), n, &r.index, buff.data())
                 : lumsBWTFwd_SelectSort_8u(ptr(s), ptr(r.last), n, &r.index, buff.data(),
                                            static_cast<LumBWTSortAlgorithmHint>(hint));
    EXPECT_EQ(st, lumStsNoErr);
    return r;
}

Bytes inverse(const Bwt& b) {
    Bytes buff = workArea([&](int* p) { return lumsBWTInvGetSize_8u(static_cast<int>(b.last.size()), p); });
    Bytes out(b.last.size());
    EXPECT_EQ(lumsBWTInv_8u(ptr(b.last), ptr(out), static_cast<int>(out.size()), b.index,
                            buff.data()),
              lumStsNoErr);
    return out;
}

// Every hint and the plain function agree with the reference sort, and invert.
void expectAllSortsMatch(const Bytes& s) {
    int index = 0;
    const Bytes last = naiveBwt(s, &index);
    for (int hint = -1; hint <= 3; ++hint) {
        const Bwt r = forward(s, hint);
        ASSERT_EQ(r.last, last) << "hint " << hint << ", length " << s.size();
        ASSERT_EQ(r.index, index) << "hint " << hint << ", length " << s.size();
        ASSERT_EQ(inverse(r), s) << "hint " << hint;
    }
}

TEST(Bz2Bwt, EdgeBlocksMatchRotationSort) {
    Bytes all(256);
    std::iota(all.begin(), all.end(), 0);
    const Bytes cases[] = {
        {},
        {7},
        {1, 0},
        bytesOf("banana"),
        repeated("a", 300),
        repeated("ab", 150),
        repeated("ba", 151) ,      // odd length: not periodic
        repeated("abaab", 40),     // periodic, unit not at its least rotation
        repeated("baa", 97),
        repeated("cabca", 33),     // a non-primitive unit "ca"+"bca" repeated
        repeated("abcabcabd", 5),  // almost periodic
        all,
        randomBytes(3000, 1),      // above the automatic choice's threshold
        randomBytes(3000, 2, 2),
    };
    for (const Bytes& s : cases) expectAllSortsMatch(s);
}

// Short random words over one to three letters hit every small period and rotation.
TEST(Bz2Bwt, ShortWordsMatchRotationSort) {
    std::mt19937 gen(11);
    for (int t = 0; t < 600; ++t) {
        const int alphabet = 1 + t % 3;
        const size_t unit = 1 + gen() % 7, times = 1 + gen() % 6;
        const Bytes u = randomBytes(unit, gen(), alphabet);
        Bytes s;
        for (size_t k = 0; k < times; ++k) s.insert(s.end(), u.begin(), u.end());
        if (t % 4 == 0 && !s.empty()) s.back() ^= 1;  // break the period
        expectAllSortsMatch(s);
        if (HasFatalFailure()) return;
    }
}

// Large periodic and run-length blocks: every sorter finishes (no quadratic behaviour)
// and all agree; the period is checked independently through the inverse.
TEST(Bz2Bwt, LongRunsAndPeriodsAgreeAcrossSorts) {
    const Bytes cases[] = {repeated("z", 200000), repeated("xy", 100000),
                           repeated("abracadabra", 18000), randomBytes(180000, 3, 1)};
    for (const Bytes& s : cases) {
        const Bwt plain = forward(s, -1);
        EXPECT_EQ(inverse(plain), s);
        for (LumBWTSortAlgorithmHint hint : kHints) {
            const Bwt r = forward(s, hint);
            EXPECT_EQ(r.last, plain.last) << "hint " << hint;
            EXPECT_EQ(r.index, plain.index) << "hint " << hint;
        }
    }
}

TEST(Bz2Bwt, CorpusRoundTripsWithEveryHint) {
    for (const char* name : kCorpusFiles) {
        const Bytes s = corpusFile(name);
        if (s.empty()) GTEST_SKIP() << "corpus not found in " << PERFDC_CORPUS_DIR;
        const Bwt plain = forward(s, -1);
        ASSERT_EQ(inverse(plain), s) << name;
        EXPECT_EQ(naiveInverseBwt(plain.last, plain.index), s) << name;
        for (LumBWTSortAlgorithmHint hint : kHints) {
            const Bwt r = forward(s, hint);
            EXPECT_EQ(r.last, plain.last) << name << " hint " << hint;
            EXPECT_EQ(r.index, plain.index) << name << " hint " << hint;
        }
    }
}

// The column of a real block with any index, not only its own, decodes to the rotation
// the single-chain reference gives, in place too. (Columns that come from no block at
// all are the fuzz test's.)
TEST(Bz2Bwt, InverseTakesAnyIndex) {
    std::mt19937 gen(5);
    for (int t = 0; t < 200; ++t) {
        const size_t n = 1 + gen() % 300;
        Bwt b = forward(randomBytes(n, gen(), 1 + t % 5), lumBWTAutoSort);
        b.index = static_cast<int>(gen() % n);
        const Bytes expect = naiveInverseBwt(b.last, b.index);
        ASSERT_EQ(inverse(b), expect);
        Bytes buff = workArea([&](int* p) { return lumsBWTInvGetSize_8u(static_cast<int>(n), p); });
        ASSERT_EQ(lumsBWTInv_8u(b.last.data(), b.last.data(), static_cast<int>(n), b.index, buff.data()),
                  lumStsNoErr);
        ASSERT_EQ(b.last, expect);
    }
}

TEST(Bz2Bwt, ForwardInPlace) {
    Bytes s = randomBytes(5000, 9, 4);
    int index = 0;
    const Bytes last = naiveBwt(s, &index);  // short enough for the reference here
    Bytes buff = workArea([&](int* p) { return lumsBWTFwdGetSize_8u(5000, p); });
    for (LumBWTSortAlgorithmHint hint : kHints) {
        Bytes t = s;
        int got = -1;
        ASSERT_EQ(lumsBWTFwd_SelectSort_8u(t.data(), t.data(), 5000, &got, buff.data(), hint), lumStsNoErr);
        EXPECT_EQ(t, last);
        EXPECT_EQ(got, index);
    }
}

TEST(Bz2Bwt, ArgumentErrorsWriteNothing) {
    Bytes s = bytesOf("abc"), d(3, 0xEE), buff(4096);
    int index = 77, size = 0;
    struct Case {
        LumStatus got, want;
    } cases[] = {
        {lumsBWTFwd_8u(nullptr, d.data(), 3, &index, buff.data()), lumStsNullPtrErr},
        {lumsBWTFwd_8u(s.data(), nullptr, 3, &index, buff.data()), lumStsNullPtrErr},
        {lumsBWTFwd_8u(s.data(), d.data(), 3, nullptr, buff.data()), lumStsNullPtrErr},
        {lumsBWTFwd_8u(s.data(), d.data(), 3, &index, nullptr), lumStsNullPtrErr},
        {lumsBWTFwd_8u(s.data(), d.data(), -1, &index, buff.data()), lumStsSizeErr},
        {lumsBWTFwd_SelectSort_8u(s.data(), d.data(), 3, &index, buff.data(),
                                  static_cast<LumBWTSortAlgorithmHint>(4)), lumStsBadArgErr},
        {lumsBWTFwd_SelectSort_8u(s.data(), d.data(), 3, &index, buff.data(),
                                  static_cast<LumBWTSortAlgorithmHint>(-1)), lumStsBadArgErr},
        {lumsBWTInv_8u(s.data(), d.data(), 3, 3, buff.data()), lumStsBadArgErr},
        {lumsBWTInv_8u(s.data(), d.data(), 3, -1, buff.data()), lumStsBadArgErr},
        {lumsBWTInv_8u(s.data(), d.data(), -3, 0, buff.data()), lumStsSizeErr},
        {lumsBWTInv_8u(s.data(), d.data(), 3, 0, nullptr), lumStsNullPtrErr},
        {lumsBWTFwdGetSize_8u(-1, &size), lumStsSizeErr},
        {lumsBWTFwdGetSize_8u(0x7FFFFFFF, &size), lumStsSizeErr},
        {lumsBWTInvGetSize_8u(0x7FFFFFFF, &size), lumStsSizeErr},
        {lumsBWTInvGetSize_8u(10, nullptr), lumStsNullPtrErr},
    };
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].got, cases[i].want) << "case " << i;
    EXPECT_EQ(d, Bytes(3, 0xEE));
    EXPECT_EQ(index, 77);
}

}  // namespace
