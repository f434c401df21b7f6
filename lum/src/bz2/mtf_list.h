// The move-to-front list while a coder runs: its first 16 entries in two 64-bit words
// (entry k in bits 8k..8k+7 of word k / 8), the others in memory. A rank below 16 is
// found and moved to the front by a few word operations without a branch; the entries in
// memory are reached only for larger ranks. Used by the move-to-front stage and by the
// block decoder, which decodes zero runs and ranks in one pass.
#ifndef LUM_BZ2_MTF_LIST_H
#define LUM_BZ2_MTF_LIST_H

#include <cstring>

#include "bz2/bz2_common.h"

namespace lum::bz2 {

// Position of c in the list (a permutation, so it is there), searched from entry `from`.
inline int findInList(const Lum8u* list, Lum8u c, int from) {
    const void* at = std::memchr(list + from, c, static_cast<size_t>(256 - from));
    return at != nullptr ? static_cast<int>(static_cast<const Lum8u*>(at) - list) : 255;
}

// A list of 256 entries in memory with its first 16 in two words; save() writes them back.
class MtfList {
public:
    explicit MtfList(Lum8u* list) : list_(list), lo_(loadWord(list)), hi_(loadWord(list + 8)) {}
    void save() {
        storeWord(list_, lo_);
        storeWord(list_ + 8, hi_);
    }
    Lum8u front() const { return static_cast<Lum8u>(lo_); }

    // Rank of c, which then moves to the front.
    int encode(Lum8u c) {
        const Lum64u zlo = zeroBytes(lo_ ^ (kOnes * c)), zhi = zeroBytes(hi_ ^ (kOnes * c));
        if ((zlo | zhi) == 0) {
            const int r = findInList(list_, c, 16);
            fromMemory(r);
            return r;
        }
        // Masks of the bytes that move: up to the match, all of lo when it is in hi.
        const Lum64u mlo = zlo | (zlo - 1);
        const Lum64u mhi = zlo != 0 ? 0 : zhi | (zhi - 1);
        rotate(c, mlo, mhi);
        return zlo != 0 ? __builtin_ctzll(zlo) / 8 : 8 + __builtin_ctzll(zhi) / 8;
    }

    // Entry r, which then moves to the front.
    Lum8u decode(int r) {
        if (r >= 16) return fromMemory(r);
        const bool inLo = r < 8;
        const int shift = 8 * (r & 7);
        const Lum8u c = static_cast<Lum8u>((inLo ? lo_ : hi_) >> shift);
        const Lum64u upTo = bytesUpTo(r & 7);
        rotate(c, inLo ? upTo : ~0ull, inLo ? 0 : upTo);
        return c;
    }

private:
    // Moves the entries under the masks up one place and puts c in front.
    void rotate(Lum8u c, Lum64u mlo, Lum64u mhi) {
        hi_ = ((hi_ << 8 | lo_ >> 56) & mhi) | (hi_ & ~mhi);
        lo_ = ((lo_ << 8 | c) & mlo) | (lo_ & ~mlo);
    }

    // Moves entry r (16 or more, in memory) to the front and returns it; entry 15 goes to
    // memory in its place.
    Lum8u fromMemory(int r) {
        const Lum8u c = list_[r];
        std::memmove(list_ + 17, list_ + 16, static_cast<size_t>(r - 16));
        list_[16] = static_cast<Lum8u>(hi_ >> 56);
        hi_ = hi_ << 8 | lo_ >> 56;
        lo_ = lo_ << 8 | c;
        return c;
    }

    Lum8u* list_;
    Lum64u lo_, hi_;
};

}  // namespace lum::bz2

#endif
