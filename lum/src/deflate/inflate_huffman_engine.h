// The symbol decoder of inflate, compiled once per code path: the including file defines
// LUM_INFLATE_NS (the path's namespace) and LUM_INFLATE_TARGET (its target attribute, or
// nothing) and gets LUM_INFLATE_NS::decodeHuffman.
//
// A fast loop runs while 8 source bytes remain for a whole-word refill (15 on entry) and
// a few bytes of room: the bit buffer is refilled without branches to at least 56 bits, which covers
// four literals of the primary table, or one length and its distance with all their extra
// bits; the next code's entry is looked up before the refill and the copy; matches are
// copied in 8- or 16-byte words that may run up to 32 bytes past their end, and exactly
// (keeping the rest pending) where the room ends sooner. A careful loop decodes one whole
// symbol at a time near the ends of the buffers, checking every bit it takes.
#include <cstring>

#include "deflate/inflate_huffman.h"

namespace lum::deflate::LUM_INFLATE_NS {

inline constexpr std::ptrdiff_t kLiteralRun = 4;
inline constexpr std::ptrdiff_t kCopySlack = 32;

// Extra bits of an entry from the bits its code starts at.
LUM_INFLATE_TARGET inline unsigned extraValue(Lum64u bits, Lum32u e) {
    return static_cast<unsigned>((bits & ((Lum64u{1} << (e & 0xFF)) - 1)) >> ((e >> 8) & 0xF));
}

// Copies a match in 16- or 8-byte steps; may write up to kCopySlack bytes past its end.
// The first 32 bytes are copied without a test, which covers most matches with no branch
// on their length.
LUM_INFLATE_TARGET inline Lum8u* copyFast(Lum8u* out, unsigned len, unsigned dist) {
    const Lum8u* src = out - dist;
    Lum8u* const end = out + len;
    if (dist >= 16) {
        std::memcpy(out, src, 16);
        std::memcpy(out + 16, src + 16, 16);
        for (out += 32, src += 32; out < end; out += 16, src += 16) std::memcpy(out, src, 16);
    } else if (dist >= 8) {
        for (int i = 0; i < 32; i += 8) store64le(out + i, load64le(src + i));
        for (out += 32, src += 32; out < end; out += 16, src += 16) {
            store64le(out, load64le(src));
            store64le(out + 8, load64le(src + 8));
        }
    } else if (dist == 1) {
        const Lum64u v = 0x0101010101010101ull * *src;
        for (int i = 0; i < 32; i += 8) store64le(out + i, v);
        for (out += 32; out < end; out += 16) {
            store64le(out, v);
            store64le(out + 8, v);
        }
    } else {
        // Each overlapping word store leaves `dist` more bytes of the repeating pattern.
        do {
            store64le(out, load64le(src));
            out += dist;
            src += dist;
        } while (out < end);
    }
    return end;
}

// The fast loop. `cnt` keeps the count of pending bits in its low byte only (whole
// entries are subtracted from it), which is all the refill reads.
LUM_INFLATE_TARGET inline Result fastLoop(Cursor& c, const Lum32u* lt, const Lum32u* dt) {
    constexpr Lum64u kLitMask = (1u << kLitLenBits) - 1, kDistMask = (1u << kDistBits) - 1;
    const Lum8u* in = c.br.in;
    Lum8u* o = c.out;
    Lum8u* const oEnd = c.outEnd;
    // Each round ends with a refill, which the loop test lets read a word; the refill on
    // entry reads one too and moves on by up to 7 bytes before the first round's.
    if (c.br.inEnd - in < 15 || oEnd - o < kLiteralRun) return Result::More;
    const Lum8u* const inLimit = c.br.inEnd - 8;
    const Lum8u* const oLimit = oEnd - kLiteralRun;
    const Lum8u* const win = c.winStart;
    Lum64u buf = c.br.buf;
    Lum32u cnt = c.br.cnt;
#define LUM_REFILL()                              \
    do {                                          \
        buf |= load64le(in) << (cnt & 63);        \
        in += 7 - ((cnt >> 3) & 7);               \
        cnt |= 56;                                \
    } while (0)
#define LUM_CONSUME(e)                            \
    do {                                          \
        buf >>= static_cast<Lum8u>(e);            \
        cnt -= (e);                               \
    } while (0)
    LUM_REFILL();
    Lum32u e = lt[buf & kLitMask];
    Result r = Result::More;
    do {
        if (e & kLiteralFlag) {
            // Up to four literals per refill; the loop is unrolled so that each step
            // is one test and no loop counter.
#pragma GCC unroll 4
            for (int i = 0; i < 4 && (e & kLiteralFlag); ++i) {
                *o++ = static_cast<Lum8u>(e >> 16);
                LUM_CONSUME(e);
                e = lt[buf & kLitMask];
            }
            LUM_REFILL();
            continue;
        }
        if (e & kExceptional) {
            if (e & kLinkFlag) {
                LUM_CONSUME(kLitLenBits);
                e = lt[((e >> 16) & 0x7FFF) + (buf & ((1u << ((e >> 8) & 0xF)) - 1))];
                if (e & kLiteralFlag) {
                    *o++ = static_cast<Lum8u>(e >> 16);
                    LUM_CONSUME(e);
                    LUM_REFILL();
                    e = lt[buf & kLitMask];
                    continue;
                }
            }
            if (e & kEndFlag) {
                LUM_CONSUME(e);
                r = Result::Done;
                break;
            }
            if (e & kInvalidFlag) {
                r = Result::Corrupt;
                break;
            }
        }
        const unsigned len = (e >> 16) + extraValue(buf, e);
        LUM_CONSUME(e);
        Lum32u d = dt[buf & kDistMask];
        if (d & kExceptional) {
            if (d & kLinkFlag) {
                LUM_CONSUME(kDistBits);
                d = dt[((d >> 16) & 0x7FFF) + (buf & ((1u << ((d >> 8) & 0xF)) - 1))];
            }
            if (d & kExceptional) {
                r = Result::Corrupt;
                break;
            }
        }
        const unsigned dist = (d >> 16) + extraValue(buf, d);
        LUM_CONSUME(d);
        if (dist > static_cast<std::size_t>(o - win)) {
            r = Result::Corrupt;
            break;
        }
        e = lt[buf & kLitMask];
        LUM_REFILL();
        if (static_cast<std::ptrdiff_t>(len) + kCopySlack <= oEnd - o) {
            o = copyFast(o, len, dist);
            continue;
        }
        // Near the end of the room: copy exactly what fits, keep the rest pending.
        const unsigned n = static_cast<unsigned>(std::min<std::ptrdiff_t>(len, oEnd - o));
        for (unsigned i = 0; i < n; ++i, ++o) *o = *(o - dist);
        if (n < len) {
            c.pendingLen = len - n;
            c.pendingDist = dist;
            r = Result::DstFull;
            break;
        }
    } while (in <= inLimit && o <= oLimit);
#undef LUM_REFILL
#undef LUM_CONSUME
    c.br.in = in;
    c.br.buf = buf;
    c.br.cnt = cnt & 0xFF;
    c.out = o;
    return r;
}

// The entry of the next code in buf (resolving a link), with `pre` the primary index
// bits the link takes before it; false when the code's bits are not all among the cnt.
LUM_INFLATE_TARGET inline bool peekEntry(const Lum32u* t, unsigned pb, Lum64u buf, unsigned cnt, Lum32u& e,
                                         unsigned& pre) {
    e = t[buf & ((1u << pb) - 1)];
    pre = 0;
    if (e & kLinkFlag) {
        if (cnt < pb) return false;
        pre = pb;
        e = t[entryValue(e) + ((buf >> pb) & ((1u << entryBits(e)) - 1))];
    }
    return pre + entryBits(e) <= cnt;
}

// One whole symbol, or nothing when its bits are not all in the source.
LUM_INFLATE_TARGET inline Result slowSymbol(Cursor& c, const Lum32u* lt, const Lum32u* dt) {
    BitReader& br = c.br;
    br.refill();
    Lum32u e;
    unsigned pre;
    if (!peekEntry(lt, kLitLenBits, br.buf, br.cnt, e, pre)) return Result::SrcEnd;
    if (e & kLiteralFlag) {
        if (c.out == c.outEnd) return Result::DstFull;
        *c.out++ = static_cast<Lum8u>(e >> 16);
        br.consume(pre + entryTotal(e));
        return Result::More;
    }
    if (e & kEndFlag) {
        br.consume(pre + entryTotal(e));
        return Result::Done;
    }
    if (e & kInvalidFlag) return Result::Corrupt;
    const unsigned lenBits = pre + entryTotal(e);
    if (lenBits > br.cnt) return Result::SrcEnd;
    const unsigned len = entryValue(e) + extraValue(br.buf >> pre, e);
    const Lum64u rest = br.buf >> lenBits;
    Lum32u d;
    unsigned dpre;
    if (!peekEntry(dt, kDistBits, rest, br.cnt - lenBits, d, dpre)) return Result::SrcEnd;
    if (d & kExceptional) return Result::Corrupt;
    if (lenBits + dpre + entryTotal(d) > br.cnt) return Result::SrcEnd;
    const unsigned dist = entryValue(d) + extraValue(rest >> dpre, d);
    br.consume(lenBits + dpre + entryTotal(d));
    return copyMatch(c, len, dist);
}

LUM_INFLATE_TARGET inline Result decodeHuffman(Cursor& c, const Lum32u* lt, const Lum32u* dt) {
    for (;;) {
        Result r = fastLoop(c, lt, dt);
        if (r != Result::More) return r;
        r = slowSymbol(c, lt, dt);
        if (r != Result::More) return r;
    }
}

}  // namespace lum::deflate::LUM_INFLATE_NS
