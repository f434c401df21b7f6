// Forward and inverse BWT: every sort hint against whole-rotation sorting (periodic blocks
// above all, where suffix and rotation order differ), long runs and periods, the corpus,
// the inverse in place, argument errors. (Any column with any index: the bz2_bwt_inv fuzz
// target and its saved inputs.)
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

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
    // Blocks whose first 11, 39 or 45 bytes start again in the middle: the row of the block
    // is found by a search of 12 or 40 bytes, or the block is sorted the other way.
    const auto startAgain = [](size_t len) {
        Bytes b = randomBytes(3000, 4, 4);
        std::copy(b.begin(), b.begin() + long(len), b.begin() + 1500);
        return b;
    };
    for (const Bytes& s : {Bytes{}, Bytes{7}, Bytes{1, 0}, repeated("a", 300), repeated("ba", 151),
                           repeated("abaab", 40), repeated("abcabcabd", 5), all, randomBytes(3000, 2, 2),
                           startAgain(11), startAgain(39), startAgain(45)})
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

TEST(Bz2Bwt, ArgumentErrorsWriteNothing) {
    Bytes s{'a', 'b', 'c'}, d(3, 0xEE), buff(4096);
    int index = 77, size = 0;
    const auto hint = [](int h) { return static_cast<LumBWTSortAlgorithmHint>(h); };
    Lum8u *src = s.data(), *dst = d.data(), *work = buff.data();
    expectStatuses({
        {"fwd null source", lumsBWTFwd_8u(nullptr, dst, 3, &index, work), lumStsNullPtrErr},
        {"fwd null index", lumsBWTFwd_8u(src, dst, 3, nullptr, work), lumStsNullPtrErr},
        {"fwd null buffer", lumsBWTFwd_8u(src, dst, 3, &index, nullptr), lumStsNullPtrErr},
        {"fwd negative length", lumsBWTFwd_8u(src, dst, -1, &index, work), lumStsSizeErr},
        {"hint above the last", lumsBWTFwd_SelectSort_8u(src, dst, 3, &index, work, hint(4)), lumStsBadArgErr},
        {"negative hint", lumsBWTFwd_SelectSort_8u(src, dst, 3, &index, work, hint(-1)), lumStsBadArgErr},
        {"inv index = length", lumsBWTInv_8u(src, dst, 3, 3, work), lumStsBadArgErr},
        {"inv negative index", lumsBWTInv_8u(src, dst, 3, -1, work), lumStsBadArgErr},
        {"inv negative length", lumsBWTInv_8u(src, dst, -3, 0, work), lumStsSizeErr},
        {"inv null buffer", lumsBWTInv_8u(src, dst, 3, 0, nullptr), lumStsNullPtrErr},
        {"fwd size of negative window", lumsBWTFwdGetSize_8u(-1, &size), lumStsSizeErr},
        {"fwd size beyond int", lumsBWTFwdGetSize_8u(0x7FFFFFFF, &size), lumStsSizeErr},
        {"inv size beyond int", lumsBWTInvGetSize_8u(0x7FFFFFFF, &size), lumStsSizeErr},
        {"inv size to null", lumsBWTInvGetSize_8u(10, nullptr), lumStsNullPtrErr},
    });
    EXPECT_EQ(d, Bytes(3, 0xEE));
    EXPECT_EQ(index, 77);
}

// The suffix sorter allocates its bucket tables on every call. The call runs in a fresh
// process whose address space may not grow by as much as those tables: large blocks are
// mapped on their own and the heap is trimmed first, so the allocation must fail, and the
// call must report it as lumStsMemAllocErr.
TEST(Bz2Bwt, SuffixSortReportsFailedAllocation) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the address sanitizer's allocator needs address space of its own";
#else
    Bytes s = randomBytes(4096, 3, 4), d(s.size());
    Area<> buff([&](int* p) { return lumsBWTFwdGetSize_8u(static_cast<int>(s.size()), p); });
    int index = -1;
    const auto sortWithoutRoom = [&] {
        mallopt(M_MMAP_THRESHOLD, 64 * 1024);
        malloc_trim(0);
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        // 128 KB more for the stack; the bucket tables need 256 KB.
        const rlim_t limit = static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + 128 * 1024;
        const rlimit as{limit, limit};
        if (pages <= 0 || setrlimit(RLIMIT_AS, &as) != 0) {
            std::fprintf(stderr, "could not limit the address space\n");
            std::_Exit(2);
        }
        const LumStatus st = lumsBWTFwd_SelectSort_8u(s.data(), d.data(), static_cast<int>(s.size()), &index,
                                                      buff.get(), lumBWTItohTanakaLimSort);
        std::fprintf(stderr, "status %d\n", st);
        std::_Exit(st == lumStsMemAllocErr ? 0 : 1);
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(sortWithoutRoom(), testing::ExitedWithCode(0), "status " + std::to_string(lumStsMemAllocErr));
#endif
}

}  // namespace
