// Rotation sorting through a suffix sort. A primitive block rotated to start at its least
// rotation is a Lyndon word, and the suffixes of a Lyndon word are in the same order as
// its rotations, so one suffix sort of the rotated block gives the rotation order. A
// periodic block u^m is rotated to v^m with v the Lyndon rotation of u; each rotation of v
// then stands for m equal rotations of the block, and only v is sorted.
//
// A primitive block whose first 40 bytes start nowhere else (nearly every real block)
// goes through divbwt, which writes the last column without a suffix array; the row of
// the unrotated block is then found by a backward search for those bytes in the column.
// Other blocks are sorted into a suffix array, which gives the row directly.
#include <divsufsort.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>

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

// Occurrences of c in u[from..to), counted in 8-bit sums over pieces of 240 bytes, which
// the compiler keeps in byte lanes of vector registers.
int countOf(const Lum8u* u, int from, int to, Lum8u c) {
    int k = 0;
    for (; to - from >= 240; from += 240) {
        Lum8u part = 0;
        for (int i = from; i < from + 240; ++i) part = static_cast<Lum8u>(part + (u[i] == c));
        k += part;
    }
    for (; from < to; ++from) k += u[from] == c;
    return k;
}

// Row of the rotation of t that starts at `home`, found in the last column `last` of the
// sorted rotations by a backward search for its first `depth` characters (the rows
// starting with cP are those of P whose last character is c, in the same order, from
// first[c] on). -1 when more than one row starts with them. first[c]: the first row
// starting with c, first[256] = n.
int searchRow(const Lum8u* last, const Lum8u* t, int n, int home, int depth, const int* first) {
    const Lum8u end = t[(home + depth - 1) % n];
    int lo = first[end], hi = first[end + 1];
    for (int k = depth - 2; k >= 0; --k) {
        const Lum8u c = t[(home + k) % n];
        const int inRange = countOf(last, lo, hi, c);
        lo = first[c] + countOf(last, 0, lo, c);
        hi = lo + inRange;
    }
    return hi - lo == 1 ? lo : -1;
}

// Whether the first len (< n) bytes of the cyclic block s also start at another position.
bool prefixRecurs(const Lum8u* s, int n, int len) {
    if (std::search(s + 1, s + n, std::boyer_moore_horspool_searcher(s, s + len)) != s + n) return true;
    for (int j = n - len + 1; j < n; ++j) {  // occurrences that wrap around the end
        const size_t tail = static_cast<size_t>(n - j);
        if (std::memcmp(s + j, s, tail) == 0 && std::memcmp(s, s + tail, len - tail) == 0) return true;
    }
    return false;
}

// Depths of the backward search, tried in turn: rotations that share fewer bytes with
// the one searched for need no more to tell them apart, and each byte of the search costs
// a count over part of the column.
constexpr int kSearchDepths[] = {12, 40};
constexpr int kDeepest = kSearchDepths[std::size(kSearchDepths) - 1];

// Internal answer of bwtByDivbwt: the block takes the suffix-array route instead.
constexpr LumStatus kUseSuffixArray = lumStsErr;

// The last column of a primitive block t at its least rotation, and the row of its
// rotation at `home`, whose first kDeepest bytes start nowhere else. A Lyndon word is the
// least of its suffixes, so divbwt's suffix order is the rotation order, with t itself in
// row 0 and divbwt's primary index 1.
LumStatus bwtByDivbwt(const Lum8u* t, Lum8u* dst, int n, int home, saidx_t* work, int* index) {
    const saidx_t primary = divbwt(t, dst, work, n);
    if (primary == -2) return lumStsMemAllocErr;
    if (primary != 1) return kUseSuffixArray;  // not expected of a Lyndon word
    int count[4][256] = {};
    int i = 0;
    for (; i + 4 <= n; i += 4) {  // four sets of counters: runs do not wait on one another
        ++count[0][t[i]];
        ++count[1][t[i + 1]];
        ++count[2][t[i + 2]];
        ++count[3][t[i + 3]];
    }
    for (; i < n; ++i) ++count[0][t[i]];
    int first[257];
    first[0] = 0;
    for (int c = 0; c < 256; ++c)
        first[c + 1] = first[c] + count[0][c] + count[1][c] + count[2][c] + count[3][c];
    for (int depth : kSearchDepths) {
        const int row = searchRow(dst, t, n, home, depth, first);
        if (row >= 0) {
            *index = row;
            return lumStsNoErr;
        }
    }
    return kUseSuffixArray;  // not expected: the deepest search is unique
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
    // The unrotated block starts at n - r of t; its group in v is that position mod p,
    // and t[p - 1] = t[n - 1] when p divides n, so prev serves v as well.
    const int home = (n - r) % n % p;
    // The unrotated block's first bytes are those of src (dst may be src: checked before
    // anything is written).
    if (m == 1 && n > kDeepest && !prefixRecurs(src, n, kDeepest)) {
        const LumStatus st = bwtByDivbwt(t, dst, n, home, sa, index);
        if (st != kUseSuffixArray) return st;
    }
    if (divsufsort(t, sa, p) != 0) return lumStsMemAllocErr;
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
