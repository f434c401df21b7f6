// The level-1 LZ77 matcher: greedy, one probe of the caller's hash head and one link of its
// chain per position, 8-byte match extension, a growing step over stretches that find no
// match, and two positions inside each match entered into the chains (the one after its
// start and its last: all of a 3-byte match), a fixed amount of work with no branch on
// the match length. It keeps the head and prev tables as the general matcher does, so
// calls at any level may follow.
#include <algorithm>

#include "deflate/lz77.h"

namespace lum::deflate {
namespace {

// A match this long is taken without looking at the second candidate.
constexpr int kNice = 24;
// After 2^kSkipShift positions in a row without a match, the step grows by one.
constexpr int kSkipShift = 4;

// The slot of a 4-byte string as hashSlot() gives it: for a power-of-two table the
// product's high bits are the scrambled key's top bits, one shift instead of a multiply.
struct ShiftSlot {
    int shift;
    std::size_t operator()(Lum32u key) const { return Lum64u{key * 0x9E3779B1u} >> shift; }
};
struct MultiplySlot {
    Lum64u hashSize;
    std::size_t operator()(Lum32u key) const { return hashSlot(key, hashSize); }
};

template <class Slot>
int greedy(const HashTables& t, SymbolSink& out, int pos, int stop, int end, Slot slot) {
    // Every position here has at least kLookahead bytes after it, so 4-byte keys and
    // matches of the longest length need no bounds checks, and each symbol covers at
    // least one position, so the room checked once suffices.
    const int fastEnd = std::min({stop, end - kLookahead, pos + std::min(out.room(), end - pos)});
    if (pos >= fastEnd) return pos;

    const Lum8u* const win = t.win;
    Lum32s* const head = t.head;
    Lum32s* const prev = t.prev;
    const int winSize = t.winSize;
    const int mask = winSize - 1;
    Lum8u* lit = out.litOut();
    Lum16u* dist = out.distOut();
    Lum8u* const litStart = lit;
    Lum32u* const litFreq = out.litFreq();
    Lum32u* const distFreq = out.distFreq();

    const auto insert = [&](int p) {
        Lum32s& h = head[slot(load32le(win + p))];
        prev[p & mask] = h;
        h = p;
    };
    // A position an earlier call entered already (a lazy level stops on a pending one)
    // keeps its link: undo the entry so that it is made again below.
    {
        Lum32s& h = head[slot(load32le(win + pos))];
        if (h == pos) h = prev[pos & mask];
    }

    int misses = 0;
    while (pos < fastEnd) {
        const Lum8u* const cur = win + pos;
        const Lum32u key = load32le(cur);
        Lum32s& h = head[slot(key)];
        const Lum32s first = h;
        h = pos;
        prev[pos & mask] = first;

        // A candidate is valid at a distance of 1 up to the reach (the window, or the
        // start of the data), and the second one only further back than the first: chain
        // entries may be stale or garbage. A first candidate that shares only three bytes
        // (a hash collision) still gives a 3-byte match; the second is looked at only
        // after a short match with the first.
        const Lum32u reach = static_cast<Lum32u>(std::min(pos, winSize));
        const Lum32u d1 = static_cast<Lum32u>(pos) - static_cast<Lum32u>(first);
        int len = 0;
        Lum32u matchDist = d1;
        if (d1 - 1 < reach) {
            const Lum32u diff = load32le(cur - d1) ^ key;
            if ((diff & 0xFFFFFFu) == 0) {
                len = diff != 0 ? kMinMatch : 4 + matchLength(cur - d1 + 4, cur + 4, kMaxMatch - 4);
                const Lum32u d2 = static_cast<Lum32u>(pos) - static_cast<Lum32u>(prev[first & mask]);
                if (len < kNice && d2 > d1 && d2 <= reach && load32le(cur - d2) == key) {
                    const int l = 4 + matchLength(cur - d2 + 4, cur + 4, kMaxMatch - 4);
                    if (l > len) {
                        len = l;
                        matchDist = d2;
                    }
                }
            }
        }

        if (len == 0) {
            const int step = std::min(1 + (misses++ >> kSkipShift), fastEnd - pos);
            for (int k = 0; k < step; ++k) {
                const Lum8u byte = cur[k];
                *lit++ = byte;
                *dist++ = 0;
                ++litFreq[byte];
            }
            pos += step;
            continue;
        }
        misses = 0;
        *lit++ = static_cast<Lum8u>(len - kMinMatch);
        *dist++ = static_cast<Lum16u>(matchDist);
        ++litFreq[257 + lengthCode(len)];
        ++distFreq[distCode(static_cast<int>(matchDist))];
        const int next = pos + len;
        insert(pos + 1);
        insert(next - 1);
        pos = next;
    }
    out.wrote(static_cast<int>(lit - litStart));
    return pos;
}

}  // namespace

int runLevel1(const HashTables& t, SymbolSink& out, int pos, int stop, int end) {
    // One pass stops where the room left could run out if every symbol were a literal;
    // passes are repeated while they advance, so the parse does not depend on the room
    // given (a caller that gives exactly the room an earlier call used gets the same
    // symbols), and only the last bytes go to the general loop.
    const bool pow2 = (t.hashSize & (t.hashSize - 1)) == 0;
    for (;;) {
        const int next = pow2 ? greedy(t, out, pos, stop, end, ShiftSlot{32 - __builtin_ctzll(t.hashSize)})
                              : greedy(t, out, pos, stop, end, MultiplySlot{t.hashSize});
        if (next == pos) return pos;
        pos = next;
    }
}

}  // namespace lum::deflate
