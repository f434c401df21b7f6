// Length-limited Huffman code lengths and canonical codes for the bzip2 block coder.
#include "bz2/huffman_codes.h"

#include <algorithm>

namespace lum::bz2 {

namespace {

// In-place minimum-redundancy code (Moffat and Katajainen): a[0..n-1] holds weights in
// ascending order and receives the code length of each, n >= 2.
void minimumRedundancy(Lum32u* a, int n) {
    a[0] += a[1];
    int root = 0;
    int leaf = 2;
    for (int next = 1; next < n - 1; ++next) {
        if (leaf >= n || a[root] < a[leaf]) {
            a[next] = a[root];
            a[root++] = static_cast<Lum32u>(next);
        } else {
            a[next] = a[leaf++];
        }
        if (leaf >= n || (root < next && a[root] < a[leaf])) {
            a[next] += a[root];
            a[root++] = static_cast<Lum32u>(next);
        } else {
            a[next] += a[leaf++];
        }
    }
    a[n - 2] = 0;
    for (int next = n - 3; next >= 0; --next) a[next] = a[a[next]] + 1;
    int available = 1;
    int used = 0;
    Lum32u depth = 0;
    int root2 = n - 2;
    int next = n - 1;
    while (available > 0) {
        while (root2 >= 0 && a[root2] == depth) {
            ++used;
            --root2;
        }
        while (available > used) {
            a[next--] = depth;
            --available;
        }
        available = 2 * used;
        ++depth;
        used = 0;
    }
}

}  // namespace

void huffCodeLengths(const Lum32u* freq, int alphaSize, int maxLen, Lum8u* lengths) {
    // Weight and symbol in one key: weights stay below 2^22 (a block has fewer than
    // 2^21 symbols), symbols below 2^9.
    Lum32u weight[kHuffMaxAlpha];
    for (int i = 0; i < alphaSize; ++i) weight[i] = std::max<Lum32u>(1, std::min<Lum32u>(freq[i], 1u << 22));
    for (;;) {
        Lum32u key[kHuffMaxAlpha];
        for (int i = 0; i < alphaSize; ++i) key[i] = (weight[i] << 9) | static_cast<Lum32u>(i);
        std::sort(key, key + alphaSize);
        Lum32u depth[kHuffMaxAlpha] = {};
        for (int i = 0; i < alphaSize; ++i) depth[i] = key[i] >> 9;
        minimumRedundancy(depth, alphaSize);
        // Lengths do not increase with the weight, so the lightest symbol has the longest.
        if (depth[0] <= static_cast<Lum32u>(maxLen)) {
            for (int i = 0; i < alphaSize; ++i) lengths[key[i] & 511] = static_cast<Lum8u>(depth[i]);
            return;
        }
        for (int i = 0; i < alphaSize; ++i) weight[i] = 1 + weight[i] / 2;
    }
}

bool huffCanonicalCodes(const Lum8u* lengths, int alphaSize, Lum32u* codes) {
    int count[kHuffDecodeMaxLen + 1] = {};
    for (int i = 0; i < alphaSize; ++i) ++count[lengths[i]];
    Lum32u next[kHuffDecodeMaxLen + 2] = {};
    Lum32u code = 0;
    for (int len = 1; len <= kHuffDecodeMaxLen; ++len) {
        next[len] = code;
        code = (code + static_cast<Lum32u>(count[len])) << 1;
        if (code > (2u << len)) return false;
    }
    for (int i = 0; i < alphaSize; ++i) codes[i] = next[lengths[i]]++;
    return true;
}

}  // namespace lum::bz2
