// Forward and inverse BWT: every sort hint against whole-rotation sorting (periodic blocks
// above all, where suffix and rotation order differ), long runs and periods, the corpus,
// any index for the inverse, in place, argument errors.
#include "test_bz2_common.h"

namespace {

using namespace bz2test;

// Sorts the rotations by comparing them whole, equal ones by start position.
Bytes naiveBwt(const Bytes& s, int* index) {
    const size_t n = s.size();
    std::vector<size_t> rot(n);
    std::iota(rot.begin(), rot.end(), 0);
    std::stable_sort(rot.begin(), rot.end(), [&](size_t a, size_t b) {
        for (size_t k = 0; k < n; ++k)
            if (s[(a + k) % n] != s[(b + k) % n]) return s[(a + k) % n] < s[(b + k) % n];
        return false;
    });
    Bytes last(n);
    *index = 0;
    for (size_t k = 0; k < n; ++k) {
        last[k] = s[(rot[k] + n - 1) % n];
        if (rot[k] == 0) *index = static_cast<int>(k);
    }
    return last;
}

struct Bwt {
    Bytes last;
    int index = -1;
};

// The plain forward function for hint -1, else the select-sort one.
Bwt forward(Bytes s, int hint) {
    Area<> buff([&](int* p) { return lumsBWTFwdGetSize_8u(static_cast<int>(s.size()), p); });
    Bwt r{Bytes(s.size()), -1};
    const int n = static_cast<int>(s.size());
    EXPECT_EQ(hint < 0 ? lumsBWTFwd_8u(ptr(s), ptr(r.last), n, &r.index, buff.get())
                       : lumsBWTFwd_SelectSort_8u(ptr(s), ptr(r.last), n, &r.index, buff.get(),
                                                  static_cast<LumBWTSortAlgorithmHint>(hint)),
              lumStsNoErr);
    return r;
}

// The inverse, in place.
Bytes inverse(Bwt b) {
    Area<> buff([&](int* p) { return lumsBWTInvGetSize_8u(static_cast<int>(b.last.size()), p); });
    EXPECT_EQ(lumsBWTInv_8u(ptr(b.last), ptr(b.last), static_cast<int>(b.last.size()), b.index, buff.get()),
              lumStsNoErr);
    return b.last;
}

// Every hint and the plain function agree with `expect` (the reference when given) and invert.
void expectAllSortsAgree(const Bytes& s, Bwt expect) {
    for (int hint = -1; hint <= 3; ++hint) {
        const Bwt r = forward(s, hint);
        ASSERT_EQ(r.last, expect.last) << "hint " << hint << ", length " << s.size();
        ASSERT_EQ(r.index, expect.index) << "hint " << hint << ", length " << s.size();
    }
    ASSERT_EQ(inverse(expect), s);
}

void expectMatchesReference(const Bytes& s) {
    Bwt ref;
    ref.last = naiveBwt(s, &ref.index);
    expectAllSortsAgree(s, ref);
}

// Edge blocks, then words u^k over one to three letters, some with the period broken: every
// small period, rotation and Lyndon factor shape.
TEST(Bz2Bwt, EdgeBlocksAndShortWordsMatchRotationSort) {
    Bytes all(256);
    std::iota(all.begin(), all.end(), 0);
    for (const Bytes& s : {Bytes{}, Bytes{7}, Bytes{1, 0}, repeated("a", 300), repeated("ba", 151),
                           repeated("abaab", 40), repeated("abcabcabd", 5), all, randomBytes(3000, 2, 2)})
        expectMatchesReference(s);
    std::mt19937 gen(11);
    for (int t = 0; t < 600 && !HasFatalFailure(); ++t) {
        Bytes s;
        const Bytes u = randomBytes(1 + gen() % 7, gen(), 1 + t % 3);
        for (size_t k = 1 + gen() % 6; k > 0; --k) s.insert(s.end(), u.begin(), u.end());
        if (t % 4 == 0) s.back() ^= 1;
        expectMatchesReference(s);
    }
}

// Long runs and periods (no sorter may go quadratic) and the corpus: all sorts agree.
TEST(Bz2Bwt, LongPeriodsAndCorpusAgreeAcrossSorts) {
    std::vector<Bytes> blocks = {repeated("z", 200000), repeated("xy", 100000), repeated("abracadabra", 18000)};
    for (const char* name : kCorpusFiles) blocks.push_back(corpusFile(name));
    if (blocks.back().empty()) GTEST_SKIP() << "corpus not found in " << PERFDC_CORPUS_DIR;
    for (const Bytes& s : blocks) expectAllSortsAgree(s, forward(s, -1));
}

// The column of a real block with any index, not only its own, decodes to the rotation
// the single-chain reference gives.
TEST(Bz2Bwt, InverseTakesAnyIndex) {
    std::mt19937 gen(5);
    for (int t = 0; t < 200; ++t) {
        const size_t n = 1 + gen() % 300;
        Bwt b = forward(randomBytes(n, gen(), 1 + t % 5), lumBWTAutoSort);
        b.index = static_cast<int>(gen() % n);
        ASSERT_EQ(inverse(b), naiveInverseBwt(b.last, b.index));
    }
}

TEST(Bz2Bwt, ArgumentErrorsWriteNothing) {
    Bytes s{'a', 'b', 'c'}, d(3, 0xEE), buff(4096);
    int index = 77, size = 0;
    const auto hint = [](int h) { return static_cast<LumBWTSortAlgorithmHint>(h); };
    const LumStatus got[] = {
        lumsBWTFwd_8u(nullptr, d.data(), 3, &index, buff.data()), lumsBWTFwd_8u(s.data(), d.data(), 3, nullptr, buff.data()),
        lumsBWTFwd_8u(s.data(), d.data(), 3, &index, nullptr), lumsBWTFwd_8u(s.data(), d.data(), -1, &index, buff.data()),
        lumsBWTFwd_SelectSort_8u(s.data(), d.data(), 3, &index, buff.data(), hint(4)),
        lumsBWTFwd_SelectSort_8u(s.data(), d.data(), 3, &index, buff.data(), hint(-1)),
        lumsBWTInv_8u(s.data(), d.data(), 3, 3, buff.data()), lumsBWTInv_8u(s.data(), d.data(), 3, -1, buff.data()),
        lumsBWTInv_8u(s.data(), d.data(), -3, 0, buff.data()), lumsBWTInv_8u(s.data(), d.data(), 3, 0, nullptr),
        lumsBWTFwdGetSize_8u(-1, &size), lumsBWTFwdGetSize_8u(0x7FFFFFFF, &size),
        lumsBWTInvGetSize_8u(0x7FFFFFFF, &size), lumsBWTInvGetSize_8u(10, nullptr)};
    const LumStatus want[] = {lumStsNullPtrErr, lumStsNullPtrErr, lumStsNullPtrErr, lumStsSizeErr,
                              lumStsBadArgErr, lumStsBadArgErr, lumStsBadArgErr, lumStsBadArgErr,
                              lumStsSizeErr, lumStsNullPtrErr, lumStsSizeErr, lumStsSizeErr,
                              lumStsSizeErr, lumStsNullPtrErr};
    for (size_t i = 0; i < std::size(want); ++i) EXPECT_EQ(got[i], want[i]) << "case " << i;
    EXPECT_EQ(d, Bytes(3, 0xEE));
    EXPECT_EQ(index, 77);
}

}  // namespace
