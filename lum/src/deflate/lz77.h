// Pieces shared by the deflate LZ77 matchers: the hash slot of a 4-byte string, match
// extension by 8-byte words and the symbol output with its frequency counts.
#ifndef LUM_DEFLATE_LZ77_H
#define LUM_DEFLATE_LZ77_H

#include "deflate/deflate_tables.h"

namespace lum::deflate {

// Bytes NoFlush keeps for the next call, so matches may still run into the data to come.
inline constexpr int kLookahead = kMaxMatch + kMinMatch + 1;

// The caller's head table slot of a 4-byte string (hashSize entries, any size).
inline std::size_t hashSlot(Lum32u key, Lum64u hashSize) { return ((key * 0x9E3779B1u) * hashSize) >> 32; }

// Number of equal leading bytes of a and b, at most limit.
inline int matchLength(const Lum8u* a, const Lum8u* b, int limit) {
    int len = 0;
    for (; len + 8 <= limit; len += 8) {
        const Lum64u x = load64le(a + len) ^ load64le(b + len);
        if (x != 0) return len + (__builtin_ctzll(x) >> 3);
    }
    while (len < limit && a[len] == b[len]) ++len;
    return len;
}

// Symbol output with the frequency counts.
class SymbolSink {
public:
    SymbolSink(Lum8u* lit, Lum16u* dist, int room, Lum32u* litFreq, Lum32u* distFreq)
        : lit_(lit), dist_(dist), room_(room), litFreq_(litFreq), distFreq_(distFreq) {}
    bool full() const { return n_ == room_; }
    int room() const { return room_ - n_; }
    void literal(Lum8u byte) {
        lit_[n_] = byte;
        dist_[n_++] = 0;
        ++litFreq_[byte];
    }
    void match(int len, int dist) {
        lit_[n_] = static_cast<Lum8u>(len - kMinMatch);
        dist_[n_++] = static_cast<Lum16u>(dist);
        ++litFreq_[257 + lengthCode(len)];
        ++distFreq_[distCode(dist)];
    }
    int written() const { return n_; }

    // Raw access for a loop that writes symbols itself and then reports how many.
    Lum8u* litOut() const { return lit_ + n_; }
    Lum16u* distOut() const { return dist_ + n_; }
    Lum32u* litFreq() const { return litFreq_; }
    Lum32u* distFreq() const { return distFreq_; }
    void wrote(int n) { n_ += n; }

private:
    Lum8u* lit_;
    Lum16u* dist_;
    int room_;
    int n_ = 0;
    Lum32u* litFreq_;
    Lum32u* distFreq_;
};

// The caller's hash tables and window as the matchers see them.
struct HashTables {
    const Lum8u* win;
    int winSize;
    Lum32s* head;
    Lum32s* prev;
    Lum64u hashSize;
};

// The level-1 greedy matcher over [pos, stop) with end the end of the data; stops early,
// leaving the rest to the general matcher, where fewer than kMaxMatch bytes follow or the
// room of `out` might not hold one symbol per position. Returns the position reached.
int runLevel1(const HashTables& t, SymbolSink& out, int pos, int stop, int end);

}  // namespace lum::deflate

#endif
