// The deflate Huffman stage: LZ77 symbols to bits with the caller's codes and the RFC's
// extra bits, least significant bit first.
#include "deflate/deflate_tables.h"

namespace lum::deflate {
namespace {

// Pending bits live in a 64-bit buffer; whole 32-bit words go out once 32 bits are
// pending, so only complete bytes are ever stored.
class BitWriter {
public:
    BitWriter(Lum32u code, int bits, Lum8u* out) : buf_(code), bits_(bits), out_(out) {
        if (bits_ < 32) buf_ &= (Lum64u{1} << bits_) - 1;
    }
    void put(Lum32u value, int n) {
        buf_ |= Lum64u{value} << bits_;
        bits_ += n;
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
    for (int i = 0; i < srcLen; ++i) {
        const int dist = pDistSrc[i];
        const int lit = pLitSrc[i];
        w.flushWord();
        if (dist == 0) {
            w.put(pLitHuffCodes[lit].code, pLitHuffCodes[lit].len);
            continue;
        }
        // Length code and extra bits (at most 20 bits), then the distance (at most 28).
        const int lc = lengthCode(lit + kMinMatch);
        const LumDeflateHuffCode& lcode = pLitHuffCodes[257 + lc];
        w.put(lcode.code, lcode.len);
        w.put(static_cast<Lum32u>(lit + kMinMatch - kLengthBase[lc]), kLengthExtra[lc]);
        w.flushWord();
        const int dc = distCode(dist);
        w.put(pDistHuffCodes[dc].code, pDistHuffCodes[dc].len);
        w.put(static_cast<Lum32u>(dist - kDistBase[dc]), kDistExtra[dc]);
    }
    w.flushBytes();
    *pCode = w.code();
    *pCodeLenBits = w.bits();
    *pDstIdx = static_cast<int>(w.out() - pDst);
    return lumStsNoErr;
}
