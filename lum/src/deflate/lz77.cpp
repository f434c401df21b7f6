// The deflate LZ77 stage: hash chains over the caller's head and prev tables, greedy
// matching with short chains at the low levels and lazy matching with longer chains at
// the high ones. The level table has zlib's good/lazy/nice/chain fields, with its own
// figures where they measured faster for little size (level 6 follows 10 links, level 9
// 640). Level 1 runs its own loop (lz77_level1.cpp) and this one only for the last bytes.
#include <algorithm>
#include <cstdint>
#include <iterator>

#include "deflate/lz77.h"

namespace lum::deflate {
namespace {

struct Level {
    int good;   // a previous match this long quarters the chain searched
    int lazy;   // lazy levels: no search after a match this long; greedy: longest match
                // whose positions are all entered into the hash chains
    int nice;   // stop searching at a match this long
    int chain;  // chain links followed at most
    bool lazyMatching;
};

constexpr Level kLevels[10] = {
    {0, 0, 0, 0, false},         {4, 4, 8, 2, false},         {4, 5, 16, 8, false},
    {4, 6, 32, 32, false},       {4, 4, 16, 16, true},        {8, 16, 32, 32, true},
    {8, 16, 32, 10, true},       {8, 32, 128, 128, true},     {32, 128, 258, 512, true},
    {32, 258, 258, 640, true},
};

// A match of three bytes further back than this costs more bits than its literals.
constexpr int kTooFar = 4096;

struct Match {
    int len;
    int dist;
};

// The chain head for a position's 4-byte string and the latest position of its 3-byte one.
struct Candidates {
    Lum32s chain;
    Lum32s three;
};

// The lazy levels track 3-byte strings in a table of the call's own (the caller's tables
// hold the 4-byte chains), for the near 3-byte matches that pay in bits.
constexpr int kHash3Bits = 14;

class Matcher {
public:
    Matcher(const Lum8u* win, int winSize, Lum32s* head, Lum32s* prev, int hashSize, int start, int end,
            const Level& level)
        : win_(win), mask_(winSize - 1), maxDist_(winSize), head_(head), prev_(prev),
          hashSize_(static_cast<Lum64u>(hashSize)), start_(start), end_(end), level_(level) {
        if (level.lazyMatching) std::fill(std::begin(head3_), std::end(head3_), Lum16u{0});
    }

    // Enters position pos (at least 3 bytes before the end) into its hash chain, keyed by
    // its next 4 bytes, and into the table of the latest position of each 3-byte string.
    // Returns the previous heads. A position entered twice keeps its link.
    Candidates insert(int pos) {
        const Lum8u* p = win_ + pos;
        const Lum32u key = end_ - pos >= 4 ? load32le(p) : p[0] | (p[1] << 8) | (Lum32u{p[2]} << 16);
        Lum32s three = -1;
        if (level_.lazyMatching) {
            Lum16u& h3 = head3_[slot3(key)];
            three = pos - static_cast<Lum16u>(pos - h3);
            h3 = static_cast<Lum16u>(pos);
        }
        Lum32s& h = head_[slot(key)];
        const Lum32s old = h;
        if (old == pos) return {prev_[pos & mask_], three};
        h = pos;
        prev_[pos & mask_] = old;
        return {old, three};
    }

    // Fetches the hash slots of position pos (at least 4 bytes before the end) into the
    // cache, so that their misses overlap the search of the position before instead of
    // following its mispredicted branches.
    void prefetch(int pos) const {
        const Lum32u key = load32le(win_ + pos);
        __builtin_prefetch(&head_[slot(key)], 1);
        if (level_.lazyMatching) __builtin_prefetch(&head3_[slot3(key)], 1);
    }

    // A chain entry is a usable candidate for pos when it is strictly older than `newer`
    // and inside the window; anything else (empty heads, stale or garbage links) ends the
    // chain.
    bool usable(Lum32s cand, int pos, int newer) const {
        return cand < newer && cand >= 0 && cand >= pos - maxDist_;
    }

    // Longest match for pos along its chain, longer than `best`, or else a near 3-byte
    // match. Returns {best, 0} when nothing longer was found.
    Match longest(int pos, Candidates c, int best) const {
        const int limit = std::min(kMaxMatch, end_ - pos);
        if (best >= limit) return {best, 0};
        Match m = longestInChain(pos, c.chain, best, limit);
        if (m.dist == 0 && best < kMinMatch && c.three >= start_ && c.three < pos &&
            pos - c.three <= std::min(kTooFar, maxDist_) &&
            win_[c.three] == win_[pos] && win_[c.three + 1] == win_[pos + 1] && win_[c.three + 2] == win_[pos + 2])
            m = {kMinMatch, pos - c.three};
        return m;
    }

private:
    std::size_t slot(Lum32u key) const { return hashSlot(key, hashSize_); }
    static std::size_t slot3(Lum32u key) { return ((key & 0xFFFFFFu) * 0x9E3779B1u) >> (32 - kHash3Bits); }

    Match longestInChain(int pos, Lum32s cand, int best, int limit) const {
        if (!usable(cand, pos, pos)) return {best, 0};
        // A pending match already found needs a shorter search to be beaten: half the
        // chain, a quarter once it is good.
        int chain = level_.chain;
        if (best >= level_.good) chain >>= 2;
        else if (best >= kMinMatch) chain >>= 1;
        const int nice = std::min(level_.nice, limit);
        // Chain links only go back in time, so a link is usable while it is not older than
        // this (the window's start, or position 0).
        const int lowest = std::max(0, pos - maxDist_);
        const Lum8u* cur = win_ + pos;
        int dist = 0;
        for (;;) {
            const Lum8u* m = win_ + cand;
            if (promising(m, cur, best, limit)) {
                const int len = matchLength(m, cur, limit);
                if (len > best) {
                    best = len;
                    dist = pos - cand;
                    if (len >= nice) break;
                }
            }
            if (--chain == 0) break;
            const Lum32s next = prev_[cand & mask_];
            if (next >= cand || next < lowest) break;
            cand = next;
        }
        return {best, dist};
    }

    // Only a candidate that agrees at the first 3 bytes and at the last bytes of the best
    // length can beat it; one word compare each, so that the test costs one branch.
    static bool promising(const Lum8u* m, const Lum8u* cur, int best, int limit) {
        if (best >= 3) return load32le(m + best - 3) == load32le(cur + best - 3);
        if (limit >= 4) return ((load32le(m) ^ load32le(cur)) & 0xFFFFFFu) == 0;
        return m[0] == cur[0] && m[1] == cur[1] && m[2] == cur[2];
    }

    const Lum8u* win_;
    int mask_;
    int maxDist_;
    Lum32s* head_;
    Lum32s* prev_;
    Lum64u hashSize_;
    // The low 16 bits of each position: the 3-byte matches used lie within kTooFar, a
    // position further back (or an empty entry) reads as a wrong one that the byte
    // compare turns down (or that holds the same 3 bytes and so is a match as good), and
    // the table stays small for the cache.
    Lum16u head3_[1 << kHash3Bits];
    int start_;  // the 3-byte table only knows this call's positions (a full flush
                 // before it has forgotten the history)
    int end_;
    const Level& level_;
};

// Greedy matching over [pos, stop); returns the position reached.
int runGreedy(Matcher& m, SymbolSink& out, const Lum8u* win, int pos, int stop, int end,
              const Level& level) {
    while (pos < stop && !out.full()) {
        Match best{0, 0};
        if (end - pos >= kMinMatch) best = m.longest(pos, m.insert(pos), kMinMatch - 1);
        if (best.dist == 0) {
            out.literal(win[pos++]);
            continue;
        }
        out.match(best.len, best.dist);
        const int next = pos + best.len;
        if (best.len <= level.lazy)
            for (int p = pos + 1; p < next && end - p >= kMinMatch; ++p) m.insert(p);
        pos = next;
    }
    return pos;
}

// Lazy matching over [pos, stop): a match found at one position is emitted only when the
// next position does not find a longer one. Returns the position consumed up to.
int runLazy(Matcher& m, SymbolSink& out, const Lum8u* win, int pos, int stop, int end,
            const Level& level, bool finish) {
    Match prev{kMinMatch - 1, 0};  // the match of position pos - 1 while one is pending
    bool pending = false;
    while (pos < stop) {
        Match cur{kMinMatch - 1, 0};
        if (end - pos >= kMinMatch) {
            const Candidates cand = m.insert(pos);
            if (end - pos > 4) m.prefetch(pos + 1);
            if (prev.len < level.lazy) {
                cur = m.longest(pos, cand, prev.len);
                if (cur.dist == 0 || (cur.len == kMinMatch && cur.dist > kTooFar)) cur = {kMinMatch - 1, 0};
            }
        }
        if (pending && prev.len >= kMinMatch && cur.len <= prev.len) {
            if (out.full()) break;
            out.match(prev.len, prev.dist);
            const int next = pos - 1 + prev.len;
            for (int p = pos + 1; p < next && end - p >= kMinMatch; ++p) m.insert(p);
            pos = next;
            pending = false;
            prev = {kMinMatch - 1, 0};
            continue;
        }
        if (pending) {
            if (out.full()) break;
            out.literal(win[pos - 1]);
        }
        pending = true;
        prev = cur;
        ++pos;
    }
    if (pending) {
        // The last position of a finishing call has no match (fewer than 3 bytes follow);
        // otherwise the pending position is left for the next call.
        if (finish && pos >= end && !out.full()) out.literal(win[pos - 1]);
        else --pos;
    }
    return pos;
}

}  // namespace
}  // namespace lum::deflate

extern "C" LumStatus lumsDeflateLZ77_8u(const Lum8u** ppSrc, int* pSrcLen, int* pSrcIdx,
                                        const Lum8u* pWindow, int winSize, Lum32s* pHashHead,
                                        Lum32s* pHashPrev, int hashSize, Lum32u pLitFreqTable[286],
                                        Lum32u pDistFreqTable[30], Lum8u* pLitDst, Lum16u* pDistDst,
                                        int* pDstLen, int comprLevel, LumLZ77Flush flush) {
    using namespace lum::deflate;
    if (!ppSrc || !*ppSrc || !pSrcLen || !pSrcIdx || !pWindow || !pHashHead || !pHashPrev ||
        !pLitFreqTable || !pDistFreqTable || !pLitDst || !pDistDst || !pDstLen)
        return lumStsNullPtrErr;
    if (*pSrcLen < 0 || *pSrcIdx < 0 || *pDstLen < 0 || hashSize < 1) return lumStsSizeErr;
    if (winSize < 256 || winSize > kMaxDistance || (winSize & (winSize - 1)) != 0) return lumStsSizeErr;
    if (*pSrcLen > INT32_MAX - *pSrcIdx) return lumStsSizeErr;
    if (comprLevel < 1 || comprLevel > 9) return lumStsBadArgErr;
    if (flush < lumLZ77NoFlush || flush > lumLZ77FinishFlush) return lumStsBadArgErr;
    // The source pointer must sit at its stated position in the window.
    if (reinterpret_cast<std::uintptr_t>(*ppSrc) - reinterpret_cast<std::uintptr_t>(pWindow) !=
        static_cast<std::uintptr_t>(*pSrcIdx))
        return lumStsBadArgErr;

    const Level& level = kLevels[comprLevel];
    const int start = *pSrcIdx;
    const int end = start + *pSrcLen;
    const int stop = flush == lumLZ77NoFlush ? std::max(start, end - kLookahead) : end;
    Matcher matcher(pWindow, winSize, pHashHead, pHashPrev, hashSize, start, end, level);
    SymbolSink out(pLitDst, pDistDst, *pDstLen, pLitFreqTable, pDistFreqTable);
    int pos = start;
    if (comprLevel == 1)
        pos = runLevel1({pWindow, winSize, pHashHead, pHashPrev, static_cast<Lum64u>(hashSize)}, out, pos, stop, end);
    pos = level.lazyMatching ? runLazy(matcher, out, pWindow, pos, stop, end, level, flush != lumLZ77NoFlush)
                             : runGreedy(matcher, out, pWindow, pos, stop, end, level);

    *ppSrc = pWindow + pos;
    *pSrcIdx = pos;
    *pSrcLen = end - pos;
    *pDstLen -= out.written();
    if (pos < stop && out.full()) return lumStsDstFullWrn;
    if (flush == lumLZ77FinishFlush) ++pLitFreqTable[kEndOfBlock];
    if (flush == lumLZ77FullFlush) std::fill(pHashHead, pHashHead + hashSize, -winSize);
    return lumStsNoErr;
}
