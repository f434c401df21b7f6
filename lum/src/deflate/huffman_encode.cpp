// The deflate Huffman stage: LZ77 symbols to bits with the caller's codes and the RFC's
// extra bits, least significant bit first.
#include <algorithm>

#include "deflate/deflate_tables.h"

namespace lum::deflate {
namespace {

// Bits and bit count of one piece of output.
struct Piece {
    Lum32u bits;
    int n;
};

// Pending bits live in a 64-bit buffer; whole 32-bit words go out once 32 bits are
// pending, so only complete bytes are ever stored.
class BitWriter {
public:
    BitWriter(Lum32u code, int bits, Lum8u* out) : buf_(code), bits_(bits), out_(out) {
        if (bits_ < 32) buf_ &= (Lum64u{1} << bits_) - 1;
    }
    void put(Piece p) {
        buf_ |= Lum64u{p.bits} << bits_;
        bits_ += p.n;
    }
    // Stores 8 bytes and keeps the incomplete last one: only when at least 8 more bytes
    // are sure to be written over them, and with fewer than 8 bits pending before the put.
    void storeWord() {
        store64le(out_, buf_);
        out_ += bits_ >> 3;
        buf_ >>= bits_ & 56;
        bits_ &= 7;
    }
    void flushWord() {
        if (bits_ >= 32) {
            store32le(out_, static_cast<Lum32u>(buf_));
            out_ += 4;
            buf_ >>= 32;
            bits_ -= 32;
        }
    }
    // Stores the whole bytes and leaves fewer than 8 bits pending.
    void flushBytes() {
        flushWord();
        for (; bits_ >= 8; bits_ -= 8, buf_ >>= 8) *out_++ = static_cast<Lum8u>(buf_);
    }
    Lum32u code() const { return static_cast<Lum32u>(buf_); }
    int bits() const { return bits_; }
    Lum8u* out() const { return out_; }

private:
    Lum64u buf_;
    int bits_;
    Lum8u* out_;
};

bool codesUsable(const LumDeflateHuffCode* codes, int n) {
    for (int i = 0; i < n; ++i)
        if (codes[i].len > kMaxCodeLen || (codes[i].code >> codes[i].len) != 0) return false;
    return true;
}

// The symbol codes with their extra bits joined: one table for the literal codes (indexes
// 0..255) and the length codes with the extra bits of every length - 3 (256..511), and the
// distance codes with their own extra-bit counts.
class JoinedCodes {
public:
    JoinedCodes(const LumDeflateHuffCode* lit, const LumDeflateHuffCode* dist) : dist_(dist) {
        for (int b = 0; b < 256; ++b) first_[b] = {lit[b].code, lit[b].len};
        for (int l = 0; l < 256; ++l) {
            const int lc = lengthCode(l + kMinMatch);
            const LumDeflateHuffCode& c = lit[257 + lc];
            const Lum32u extra = static_cast<Lum32u>(l + kMinMatch - kLengthBase[lc]);
            first_[256 + l] = {c.code | (extra << c.len), c.len + kLengthExtra[lc]};
        }
    }
    // The literal, or the length code and its extra bits of a match.
    Piece first(int lit, bool match) const { return first_[lit | (int{match} << 8)]; }
    Piece distance(int dist) const {
        const int dc = distCode(dist);
        const LumDeflateHuffCode& c = dist_[dc];
        return {c.code | (static_cast<Lum32u>(dist - kDistBase[dc]) << c.len), c.len + kDistExtra[dc]};
    }

private:
    const LumDeflateHuffCode* dist_;
    Piece first_[512];
};

// The shortest literal/length code, a lower bound on the bits any later symbol adds.
int shortestCode(const LumDeflateHuffCode* lit) {
    int shortest = kMaxCodeLen;
    for (int i = 0; i < kLitLenCodes; ++i) shortest = std::min<int>(shortest, lit[i].len);
    return shortest;
}

}  // namespace
}  // namespace lum::deflate

extern "C" LumStatus lumsDeflateHuff_8u(const Lum8u* pLitSrc, const Lum16u* pDistSrc, int srcLen,
                                        Lum32u* pCode, int* pCodeLenBits,
                                        const LumDeflateHuffCode pLitHuffCodes[286],
                                        const LumDeflateHuffCode pDistHuffCodes[30], Lum8u* pDst,
                                        int* pDstIdx) {
    using namespace lum::deflate;
    if (!pLitSrc || !pDistSrc || !pCode || !pCodeLenBits || !pLitHuffCodes || !pDistHuffCodes ||
        !pDst || !pDstIdx)
        return lumStsNullPtrErr;
    if (srcLen < 0 || *pDstIdx < 0) return lumStsSizeErr;
    if (*pCodeLenBits < 0 || *pCodeLenBits > 32) return lumStsBadArgErr;
    if (!codesUsable(pLitHuffCodes, kLitLenCodes) || !codesUsable(pDistHuffCodes, kDistCodes))
        return lumStsBadArgErr;
    // Distances beyond the deflate window cannot be coded; reject them before writing.
    unsigned tooFar = 0;
    for (int i = 0; i < srcLen; ++i) tooFar |= pDistSrc[i] > kMaxDistance;
    if (tooFar) return lumStsBadArgErr;

    BitWriter w(*pCode, *pCodeLenBits, pDst + *pDstIdx);
    const JoinedCodes codes(pLitHuffCodes, pDistHuffCodes);
    // While the symbols still to come are sure to add 8 more bytes, whole 8-byte words are
    // stored after each symbol (at most 48 bits on top of fewer than 8 pending) and the
    // output advances by the complete bytes; the bytes past them are written again later.
    const int shortest = shortestCode(pLitHuffCodes);
    const int fastEnd = shortest == 0 ? 0 : srcLen - (64 + shortest - 1) / shortest;
    int i = 0;
    if (fastEnd > 0) w.flushBytes();
    for (; i < fastEnd; ++i) {
        const int dist = pDistSrc[i];
        w.put(codes.first(pLitSrc[i], dist != 0));
        if (dist != 0) w.put(codes.distance(dist));
        w.storeWord();
    }
    for (; i < srcLen; ++i) {
        const int dist = pDistSrc[i];
        w.flushWord();
        w.put(codes.first(pLitSrc[i], dist != 0));
        if (dist == 0) continue;
        // A length code and its extra bits take at most 20 bits, a distance at most 28.
        w.flushWord();
        w.put(codes.distance(dist));
    }
    w.flushBytes();
    *pCode = w.code();
    *pCodeLenBits = w.bits();
    *pDstIdx = static_cast<int>(w.out() - pDst);
    return lumStsNoErr;
}
