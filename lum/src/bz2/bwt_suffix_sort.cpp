// Rotation sorting through a suffix sort. A primitive block rotated to start at its least
// rotation is a Lyndon word, and the suffixes of a Lyndon word are in the same order as
// its rotations, so one suffix sort of the rotated block gives the rotation order. A
// periodic block u^m is rotated to v^m with v the Lyndon rotation of u; each rotation of v
// then stands for m equal rotations of the block, and only v is sorted.
#include <divsufsort.h>

#include <algorithm>
#include <cstring>

#include "bz2/bwt_sort.h"
#include "bz2/bz2_common.h"

namespace lum::bz2 {
namespace {

// Start of the least rotation of s[0..n) (the smallest start when several are equal),
// given room for n ints. It begins a longest run of the smallest byte, so only such run
// starts compete, in the classic two-candidate scan: candidates i and j are compared k
// characters deep, and a mismatch rules out the loser's start and the k positions after
// it (each is beaten by the same offset from the winner).
int leastRotation(const Lum8u* s, int n, int* cand) {
    const Lum8u low = *std::min_element(s, s + n);
    int lead = 0;
    while (lead < n && s[lead] == low) ++lead;
    if (lead == n) return 0;  // one value throughout
    int trail = 0;
    while (s[n - 1 - trail] == low) ++trail;

    // Starts of the longest runs of `low`, in increasing order; a run that wraps from the
    // end to the start begins at n - trail.
    int m = 0, longest = 0;
    auto consider = [&](int start, int len) {
        if (len < longest) return;
        if (len > longest) m = 0, longest = len;
        cand[m++] = start;
    };
    if (lead > 0 && trail == 0) consider(0, lead);
    const Lum8u* end = s + (n - trail);
    for (const Lum8u* p = s + lead; p < end;) {
        p = static_cast<const Lum8u*>(std::memchr(p, low, static_cast<size_t>(end - p)));
        if (p == nullptr) break;
        const Lum8u* q = p;
        while (q < end && *q == low) ++q;
        consider(static_cast<int>(p - s), static_cast<int>(q - p));
        p = q;
    }
    if (trail > 0) consider(n - trail, trail + lead);

    int i = 0, j = 1, k = 0;
    while (i < m && j < m && k < n) {
        int a = cand[i] + k, b = cand[j] + k;
        if (a >= n) a -= n;
        if (b >= n) b -= n;
        if (s[a] == s[b]) {
            ++k;
            continue;
        }
        int& loser = s[a] > s[b] ? i : j;
        const int past = cand[loser] + k;
        while (loser < m && cand[loser] <= past) ++loser;
        if (i == j) ++j;
        k = 0;
    }
    return cand[i < j ? (i < m ? i : j) : (j < m ? j : i)];
}

// Length of the shortest unit v with t = v^m. The periods of a cyclic block that divide
// its length are the multiples of that unit, so a candidate p that starts at n and is
// divided by each prime factor q of n for as long as p / q is still a period ends at the
// unit. Each test is one memcmp, which stops within a few bytes on all but highly
// repetitive data.
int shortestPeriod(const Lum8u* t, int n) {
    const auto isPeriod = [&](int d) {
        return std::memcmp(t, t + d, static_cast<size_t>(n - d)) == 0;
    };
    int p = n, rest = n;
    for (int q = 2; rest > 1; ++q) {
        if (q > rest / q) q = rest;  // what is left is prime
        if (rest % q != 0) continue;
        while (rest % q == 0) rest /= q;
        while (p % q == 0 && isPeriod(p / q)) p /= q;
    }
    return p;
}

}  // namespace

LumStatus bwtBySuffixSort(const Lum8u* src, Lum8u* dst, int n, int* index, Lum8u* work) {
    // prev[j] = t[j - 1] cyclically: the rotated block t sits one byte in, behind its
    // own last byte, so that the last column is read without a test for the wrap.
    Lum8u* prev = alignBuff(work);
    Lum8u* t = prev + 1;
    auto* sa = reinterpret_cast<saidx_t*>(alignBuff(t + n));
    const int r = leastRotation(src, n, sa);
    std::memmove(t, src + r, static_cast<size_t>(n - r));
    std::memmove(t + (n - r), src, static_cast<size_t>(r));
    prev[0] = t[n - 1];
    const int p = shortestPeriod(t, n), m = n / p;
    if (divsufsort(t, sa, p) != 0) return lumStsMemAllocErr;

    // The unrotated block starts at n - r of t; its group in v is that position mod p,
    // and t[p - 1] = t[n - 1] when p divides n, so prev serves v as well.
    const int home = (n - r) % n % p;
    const int row = static_cast<int>(std::find(sa, sa + p, home) - sa);
    if (m == 1) {
        for (int k = 0; k < n; ++k) dst[k] = prev[sa[k]];
        *index = row;
    } else {
        for (int g = 0; g < p; ++g)
            std::memset(dst + static_cast<size_t>(g) * m, prev[sa[g]], static_cast<size_t>(m));
        *index = row * m;
    }
    return lumStsNoErr;
}

}  // namespace lum::bz2
