// Rotation sorting by prefix doubling. Every rotation carries the rank of its first h
// characters, the index of the first row of its group in the current order, so a group's
// rows are its bucket. A round orders the rotations by their first 2h characters: taken in
// the order of their second halves (rotation j + h), they are dealt stably into the buckets
// of their first halves. At most log2(n) + 1 rounds of linear passes, on any data.
#include <cstring>
#include <utility>

#include "bz2/bwt_sort.h"
#include "bz2/bz2_common.h"

namespace lum::bz2 {

LumStatus bwtByPrefixDoubling(const Lum8u* src, Lum8u* dst, int n, int* index, Lum8u* work) {
    Lum8u* t = alignBuff(work);
    auto* sa = reinterpret_cast<Lum32s*>(alignBuff(t + n));
    Lum32s* sa2 = sa + n;
    Lum32s* rank = sa2 + n;
    Lum32s* next = rank + n;  // bucket fill positions, then the new ranks
    std::memmove(t, src, static_cast<size_t>(n));

    // Ranks of single characters.
    int bucket[256] = {};
    for (int i = 0; i < n; ++i) ++bucket[t[i]];
    int classes = 0;
    for (int c = 0, sum = 0; c < 256; ++c) {
        classes += bucket[c] != 0;
        const int size = bucket[c];
        bucket[c] = sum;
        sum += size;
    }
    for (int i = 0; i < n; ++i) rank[i] = bucket[t[i]];
    for (int i = 0; i < n; ++i) sa[bucket[t[i]]++] = i;

    for (int h = 1; classes < n && h < n; h *= 2) {
        for (int k = 0; k < n; ++k) next[k] = k;
        for (int k = 0; k < n; ++k) {
            int j = sa[k] - h;
            if (j < 0) j += n;
            sa2[next[rank[j]]++] = j;
        }
        classes = 0;
        int head = 0, first = -1, second = -1;
        for (int k = 0; k < n; ++k) {
            const int j = sa2[k];
            const int jh = j + h < n ? j + h : j + h - n;
            if (rank[j] != first || rank[jh] != second) {
                head = k;
                first = rank[j];
                second = rank[jh];
                ++classes;
            }
            next[j] = head;
        }
        std::swap(rank, next);
        std::swap(sa, sa2);
    }
    if (classes < n) {  // equal rotations: each group in order of start position
        for (int k = 0; k < n; ++k) next[k] = k;
        for (int i = 0; i < n; ++i) sa[next[rank[i]]++] = i;
    }
    for (int k = 0; k < n; ++k) {
        const int j = sa[k];
        dst[k] = t[j == 0 ? n - 1 : j - 1];
        if (j == 0) *index = k;
    }
    return lumStsNoErr;
}

}  // namespace lum::bz2
