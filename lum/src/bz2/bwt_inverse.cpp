// Inverse Burrows-Wheeler transform. One pass over the last column L builds two linked
// tables, each entry holding a row number and a character: fwd, in first-column order,
// leads from the row of rotation s to that of s + 1 and gives its first character; bwd,
// in row order, leads to rotation s - 1 and gives the last character. The block is then
// decoded by two independent chains from the row of the unrotated block, the first half
// forwards and the second backwards, so two table reads are in flight at a time instead
// of one. Any last column is a valid input; entries pack the row above the character, in
// 32 bits for blocks up to 2^24 bytes and 64 bits beyond. The output is always that of
// the forward walk alone, so a column that is no transform decodes as bzip2 decodes it.
//
// The counting and the building go through the two halves of L side by side, each with
// its own counters, so that runs of one character (common in L) do not make every step
// wait on the previous increment of the same counter.
#include "bz2/bwt_inverse.h"

#include "bz2/bz2_common.h"

namespace lum::bz2 {
namespace {

constexpr int kPackedLimit = 1 << 24;

template <class Entry>
void inverse(const Lum8u* last, Lum8u* dst, int n, int index, Entry* fwd, Entry* bwd,
             const Lum8u map[256]) {
    // Counts of the first half [0, h) and of the second [h, 2h), the odd last byte with
    // the second.
    const int h = n / 2;
    int countA[256] = {}, countB[256] = {};
    for (int i = 0; i < h; ++i) {
        ++countA[last[i]];
        ++countB[last[h + i]];
    }
    if (n % 2 != 0) ++countB[last[n - 1]];
    // posA: first row of each character in the first column; posB: where the second
    // half's rows of it begin.
    int posA[256], posB[256];
    for (int c = 0, sum = 0; c < 256; ++c) {
        posA[c] = sum;
        posB[c] = sum + countA[c];
        sum += countA[c] + countB[c];
    }
    const auto link = [&](int i, int* pos) {
        const Entry c = last[i];
        const Entry j = static_cast<Entry>(pos[c]++);
        const Entry out = map[c];
        fwd[j] = static_cast<Entry>(i) << 8 | out;
        bwd[i] = j << 8 | out;
    };
    for (int i = 0; i < h; ++i) {
        link(i, posA);
        link(h + i, posB);
    }
    if (n % 2 != 0) link(n - 1, posB);

    // dst[0..head) forwards from T[0], dst[head..n) backwards from T[n-1].
    const int head = n - n / 2;
    Entry f = static_cast<Entry>(index), b = static_cast<Entry>(index);
    for (int k = 0; k < n / 2; ++k) {
        const Entry ef = fwd[f], eb = bwd[b];
        dst[k] = static_cast<Lum8u>(ef);
        dst[n - 1 - k] = static_cast<Lum8u>(eb);
        f = ef >> 8;
        b = eb >> 8;
    }
    if (head > n / 2) {
        dst[head - 1] = static_cast<Lum8u>(fwd[f]);
        f = fwd[f] >> 8;
    }
    // The chains meet only when the cycle of rows through index has a length dividing n,
    // as in every real transform. For other columns the backward half is not what the
    // forward walk (the one bzip2 decoders take) gives: redo that half forwards.
    if (f != b)
        for (int k = head; k < n; ++k) {
            const Entry ef = fwd[f];
            dst[k] = static_cast<Lum8u>(ef);
            f = ef >> 8;
        }
}

}  // namespace

void inverseBwt(const Lum8u* last, Lum8u* dst, int n, int index, Lum8u* work,
                const Lum8u map[256]) {
    Lum8u* area = alignBuff(work);
    if (n <= kPackedLimit) {
        auto* fwd = reinterpret_cast<Lum32u*>(area);
        inverse(last, dst, n, index, fwd, fwd + n, map);
    } else {
        auto* fwd = reinterpret_cast<Lum64u*>(area);
        inverse(last, dst, n, index, fwd, fwd + n, map);
    }
}

}  // namespace lum::bz2

extern "C" {

LumStatus lumsBWTInvGetSize_8u(int wndSize, int* pSize) {
    return lum::bz2::buffSize(wndSize, wndSize <= lum::bz2::kPackedLimit ? 8 : 16, pSize);
}

LumStatus lumsBWTInv_8u(const Lum8u* pSrc, Lum8u* pDst, int len, int index, Lum8u* pBuff) {
    if (pSrc == nullptr || pDst == nullptr || pBuff == nullptr) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    if (len == 0) return lumStsNoErr;
    if (index < 0 || index >= len) return lumStsBadArgErr;
    Lum8u identity[256];
    for (int c = 0; c < 256; ++c) identity[c] = static_cast<Lum8u>(c);
    lum::bz2::inverseBwt(pSrc, pDst, len, index, pBuff, identity);
    return lumStsNoErr;
}

}  // extern "C"
