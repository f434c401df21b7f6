// Decoding tables for inflate: canonical Huffman codes given by their lengths become a
// primary table indexed by the next bits of the stream (least significant bit first),
// with second-level tables for the codes longer than the primary index.
#ifndef LUM_DEFLATE_INFLATE_TABLE_H
#define LUM_DEFLATE_INFLATE_TABLE_H

#include "deflate/deflate_tables.h"

namespace lum::deflate {

// One table entry:
//   bits 0..7    bits it consumes: its code and the extra bits that follow (a link: the
//                primary index bits)
//   bits 8..11   its code length (a link: the index bits of its second-level table)
//   bit 12       link to a second-level table, whose entries count only the bits after
//                the primary index
//   bit 13       end of block
//   bit 14       invalid code (unassigned, or a symbol the format does not define)
//   bits 16..30  value: literal byte, length or distance base, or a link's table offset
//   bit 31       literal
// The decoder can consume an entry by shifting the bit buffer by its low byte and test
// a literal by the sign, and reads extra bits as (bits & mask(total)) >> code length.
inline constexpr Lum32u kLinkFlag = 0x1000;
inline constexpr Lum32u kEndFlag = 0x2000;
inline constexpr Lum32u kInvalidFlag = 0x4000;
inline constexpr Lum32u kExceptional = kLinkFlag | kEndFlag | kInvalidFlag;
inline constexpr Lum32u kLiteralFlag = 0x80000000u;

constexpr Lum32u makeEntry(Lum32u flags, unsigned codeBits, unsigned extra, unsigned value) {
    return (Lum32u{value} << 16) | flags | (codeBits << 8) | (codeBits + extra);
}
inline unsigned entryTotal(Lum32u e) { return e & 0xFF; }
inline unsigned entryBits(Lum32u e) { return (e >> 8) & 0xF; }
inline unsigned entryValue(Lum32u e) { return (e >> 16) & 0x7FFF; }

inline constexpr int kLitLenBits = 11;
inline constexpr int kDistBits = 8;
inline constexpr int kCodeLenBits = 7;
// The largest tables a complete code (the only kind with second-level tables) can need
// with these primary sizes: 288 symbols of at most 15 bits behind an 11-bit index, 32
// behind an 8-bit index.
inline constexpr int kLitLenTableSize = 2342;
inline constexpr int kDistTableSize = 402;
inline constexpr int kCodeLenTableSize = 1 << kCodeLenBits;

enum class Alphabet { LitLen, Dist, CodeLen };

// Builds the table of an alphabet from n code lengths (0 = unused), the rules zlib and
// libdeflate share: a set with more than one used code must be complete (neither over-
// subscribed nor incomplete); a single used code of length 1 is accepted (its code is 0,
// the bit 1 decodes as invalid); a set with no used code is accepted (every index decodes
// as invalid). Returns false for any other set.
bool buildDecodeTable(Alphabet alphabet, const Lum8u* lengths, int n, Lum32u* table);

// The tables of the fixed codes (RFC 1951, 3.2.6), built once.
struct FixedTables {
    Lum32u litLen[kLitLenTableSize];
    Lum32u dist[kDistTableSize];
};
const FixedTables& fixedTables();

}  // namespace lum::deflate

#endif  // LUM_DEFLATE_INFLATE_TABLE_H
