// Decoding tables for inflate: canonical Huffman codes given by their lengths become a
// primary table indexed by the next bits of the stream (least significant bit first),
// with second-level tables for the codes longer than the primary index.
#ifndef LUM_DEFLATE_INFLATE_TABLE_H
#define LUM_DEFLATE_INFLATE_TABLE_H

#include "deflate/deflate_tables.h"

namespace lum::deflate {

// One table entry: bits 0..7 all the bits it consumes (its code and the extra bits that
// follow), bits 8..11 the code length (a link: the index bits of its second-level table),
// bits 12..15 the kind, bits 16..31 the value (literal byte, length or distance base, or a
// link's table offset). Second-level entries hold the whole code length, so a decoder
// consumes the same way whichever level an entry came from.
enum EntryKind : Lum32u { kLiteral = 0, kBase = 1, kEndCode = 2, kLink = 3, kInvalid = 4 };

constexpr Lum32u makeEntry(EntryKind kind, unsigned codeBits, unsigned extra, unsigned value) {
    return (Lum32u{value} << 16) | (Lum32u{kind} << 12) | (codeBits << 8) | (codeBits + extra);
}
inline unsigned entryBits(Lum32u e) { return (e >> 8) & 0xF; }
inline unsigned entryTotal(Lum32u e) { return e & 0xFF; }
inline unsigned entryExtra(Lum32u e) { return entryTotal(e) - entryBits(e); }
inline EntryKind entryKind(Lum32u e) { return static_cast<EntryKind>((e >> 12) & 0xF); }
inline unsigned entryValue(Lum32u e) { return e >> 16; }

inline constexpr int kLitLenBits = 11;
inline constexpr int kDistBits = 8;
inline constexpr int kCodeLenBits = 7;
// Room for the primary table and one 32-entry second-level table per symbol, more than
// any set of lengths that passes the Kraft check can use.
inline constexpr int kLitLenTableSize = (1 << kLitLenBits) + 288 * 32;
inline constexpr int kDistTableSize = (1 << kDistBits) + 32 * 128;
inline constexpr int kCodeLenTableSize = 1 << kCodeLenBits;

enum class Alphabet { LitLen, Dist, CodeLen };

// Builds the table of an alphabet from n code lengths (0 = unused). Returns false for an
// over-subscribed set of lengths; codes left unassigned by an incomplete set decode as
// kInvalid entries. `capacity` is the table's size in entries.
bool buildDecodeTable(Alphabet alphabet, const Lum8u* lengths, int n, Lum32u* table, int capacity);

// The tables of the fixed codes (RFC 1951, 3.2.6), built once.
struct FixedTables {
    Lum32u litLen[kLitLenTableSize];
    Lum32u dist[kDistTableSize];
};
const FixedTables& fixedTables();

}  // namespace lum::deflate

#endif  // LUM_DEFLATE_INFLATE_TABLE_H
