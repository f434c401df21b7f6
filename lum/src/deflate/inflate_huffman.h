// The symbol decoder of inflate's Huffman blocks, shared by its code paths: the reader and
// the writer of one call, and the loop that decodes literal/length and distance codes
// until the end of the block, the end of the source or a full destination.
#ifndef LUM_DEFLATE_INFLATE_HUFFMAN_H
#define LUM_DEFLATE_INFLATE_HUFFMAN_H

#include <algorithm>
#include <cstddef>

#include "core/dispatch.h"
#include "core/export.h"
#include "deflate/inflate_table.h"

namespace lum::deflate {

inline Lum64u lowBits(unsigned n) { return n >= 64 ? ~Lum64u{0} : (Lum64u{1} << n) - 1; }

// The bit buffer: pending bits in the low `cnt` bits; bits above them are zero or the
// stream's next bits in their place, so refilling over them is harmless.
struct BitReader {
    const Lum8u* in;
    const Lum8u* inEnd;
    const Lum8u* inStart;  // where this call's source began: bytes read since may go back
    Lum64u buf;
    unsigned cnt;

    // At least 56 pending bits, or all the source has.
    void refill() {
        if (inEnd - in >= 8) {  // one word; the bits above cnt become the stream's next bits
            buf |= load64le(in) << cnt;
            in += (63 - cnt) >> 3;
            cnt |= 56;
            return;
        }
        while (cnt < 56 && in < inEnd) {
            buf |= Lum64u{*in++} << cnt;
            cnt += 8;
        }
    }
    void consume(unsigned n) {
        buf >>= n;
        cnt -= n;
    }
    // The same position with the whole bytes read in this call given back to the source,
    // which leaves at most 32 pending bits (those carried into the call, or fewer than 8).
    BitReader normalized() const {
        BitReader r = *this;
        const unsigned back = static_cast<unsigned>(std::min<std::ptrdiff_t>(cnt >> 3, in - inStart));
        r.in -= back;
        r.cnt -= 8 * back;
        r.buf &= lowBits(r.cnt);
        return r;
    }
};

// More: the block goes on (a symbol was decoded, or the fast loop reached a buffer's end).
enum class Result { Done, More, SrcEnd, DstFull, Corrupt };

// One call's position in its source and destination, and the match it could not finish.
struct Cursor {
    BitReader br;
    Lum8u* out;
    Lum8u* outEnd;
    const Lum8u* winStart;
    Lum32u pendingLen = 0;  // match bytes still to copy when the destination filled
    Lum32u pendingDist = 0;
};

// Decodes symbols with the given tables up to the end of the block (consumed: Done), the
// end of the source (SrcEnd, stopping before an incomplete code) or a full destination
// (DstFull, the rest of a cut match in pendingLen/pendingDist).
using HuffmanDecoder = Result (*)(Cursor& c, const Lum32u* litLen, const Lum32u* dist);

// Copies a match of len bytes from dist back exactly, as far as the destination allows
// (the rest becomes pending: DstFull); Corrupt for a distance before the window.
Result copyMatch(Cursor& c, unsigned len, unsigned dist);
// Copies the pending match as far as the destination allows.
Result copyPending(Cursor& c);

// The decoder's code paths, fastest first, and the one selected for this processor.
LUM_INTERNAL const DispatchSlot<HuffmanDecoder>& huffmanDecoderSlot();

Result decodeHuffmanPortable(Cursor& c, const Lum32u* litLen, const Lum32u* dist);
#if defined(__x86_64__)
Result decodeHuffmanBmi2(Cursor& c, const Lum32u* litLen, const Lum32u* dist);
#endif

}  // namespace lum::deflate

#endif  // LUM_DEFLATE_INFLATE_HUFFMAN_H
