// Canonical Huffman decoding tables for inflate.
#include "deflate/inflate_table.h"

#include <algorithm>
#include <cstring>

namespace lum::deflate {
namespace {

int primaryBits(Alphabet a) {
    return a == Alphabet::LitLen ? kLitLenBits : a == Alphabet::Dist ? kDistBits : kCodeLenBits;
}

int tableSize(Alphabet a) {
    return a == Alphabet::LitLen ? kLitLenTableSize : a == Alphabet::Dist ? kDistTableSize : kCodeLenTableSize;
}

// The entry of symbol s for a code of `len` bits.
Lum32u symbolEntry(Alphabet a, int s, unsigned len) {
    switch (a) {
    case Alphabet::LitLen:
        if (s < 256) return makeEntry(kLiteralFlag, len, 0, static_cast<unsigned>(s));
        if (s == kEndOfBlock) return makeEntry(kEndFlag, len, 0, 0);
        if (s < kLitLenCodes) return makeEntry(0, len, kLengthExtra[s - 257], kLengthBase[s - 257]);
        return makeEntry(kInvalidFlag, len, 0, 0);  // 286 and 287 take part in the code only
    case Alphabet::Dist:
        if (s < kDistCodes) return makeEntry(0, len, kDistExtra[s], kDistBase[s]);
        return makeEntry(kInvalidFlag, len, 0, 0);
    case Alphabet::CodeLen:
        break;
    }
    return makeEntry(0, len, 0, static_cast<unsigned>(s));
}

// The low `len` bits of code in reverse order (the stream sends codes most significant
// bit first into a least-significant-bit-first buffer).
unsigned reverseBits(unsigned code, unsigned len) {
    static constexpr auto kReversed = [] {
        std::array<Lum8u, 256> t{};
        for (unsigned i = 0; i < 256; ++i)
            for (unsigned b = 0; b < 8; ++b) t[i] |= static_cast<Lum8u>(((i >> b) & 1) << (7 - b));
        return t;
    }();
    return ((unsigned{kReversed[code & 0xFF]} << 8) | kReversed[(code >> 8) & 0xFF]) >> (16 - len);
}

}  // namespace

bool buildDecodeTable(Alphabet alphabet, const Lum8u* lengths, int n, Lum32u* table) {
    const unsigned pb = static_cast<unsigned>(primaryBits(alphabet));
    int count[kMaxCodeLen + 1] = {};
    for (int s = 0; s < n; ++s) ++count[lengths[s]];
    count[0] = 0;
    int left = 1, used = 0;
    unsigned maxLen = 0;
    for (int len = 1; len <= kMaxCodeLen; ++len) {
        left = (left << 1) - count[len];
        if (left < 0) return false;  // over-subscribed
        used += count[len];
        if (count[len]) maxLen = static_cast<unsigned>(len);
    }
    if (left > 0) {
        // Incomplete: only an empty set or a single code of length 1 (then left is 2^14).
        if (used > 1 || (used == 1 && count[1] != 1)) return false;
        std::fill(table, table + (1u << pb), makeEntry(kInvalidFlag, 1, 0, 0));
    }

    // Symbols in canonical order: by length, then by value.
    int offset[kMaxCodeLen + 2] = {};
    for (int len = 1; len <= kMaxCodeLen; ++len) offset[len + 1] = offset[len] + count[len];
    Lum16u sorted[288];
    for (int s = 0; s < n; ++s)
        if (lengths[s]) sorted[offset[lengths[s]]++] = static_cast<Lum16u>(s);

    // Codes that fit the primary index: once the codes up to len bits are placed, the
    // first 2^len entries are right for a len-bit index, and copying them up doubles that
    // to len + 1 bits (the copy repeats each short code at every index it starts).
    unsigned code = 0, size = 2;
    int i = 0;
    unsigned len = 1;
    for (; len <= std::min(pb, maxLen); ++len, code <<= 1) {
        if (len > 1) {
            std::memcpy(table + size, table, size * sizeof *table);
            size <<= 1;
        }
        for (int k = 0; k < count[len]; ++k, ++code) table[reverseBits(code, len)] = symbolEntry(alphabet, sorted[i++], len);
    }
    for (; size < (1u << pb); size <<= 1) std::memcpy(table + size, table, size * sizeof *table);
    // Longer codes: the codes that share a primary index are consecutive in canonical
    // order; each such group gets a second-level table just large enough for it (the
    // sizing rule of zlib, for which the table sizes above are the worst case).
    unsigned next = 1u << pb, prefix = ~0u, subStart = 0, subBits = 0;
    for (; len <= maxLen; ++len, code <<= 1) {
        for (; count[len] > 0; --count[len], ++code) {
            const unsigned rev = reverseBits(code, len);
            if ((rev & ((1u << pb) - 1)) != prefix) {
                prefix = rev & ((1u << pb) - 1);
                subBits = len - pb;
                int room = 1 << subBits;
                while (subBits + pb < maxLen) {
                    room -= count[subBits + pb];
                    if (room <= 0) break;
                    ++subBits;
                    room <<= 1;
                }
                if (next + (1u << subBits) > static_cast<unsigned>(tableSize(alphabet))) return false;
                table[prefix] = makeEntry(kLinkFlag, subBits, pb - subBits, next);
                subStart = next;
                next += 1u << subBits;
            }
            const Lum32u e = symbolEntry(alphabet, sorted[i++], len - pb);
            for (unsigned x = rev >> pb; x < (1u << subBits); x += 1u << (len - pb)) table[subStart + x] = e;
        }
    }
    return true;
}

const FixedTables& fixedTables() {
    static const FixedTables tables = [] {
        FixedTables t;
        Lum8u lengths[288];
        std::fill(lengths, lengths + 144, 8);
        std::fill(lengths + 144, lengths + 256, 9);
        std::fill(lengths + 256, lengths + 280, 7);
        std::fill(lengths + 280, lengths + 288, 8);
        buildDecodeTable(Alphabet::LitLen, lengths, 288, t.litLen);
        std::fill(lengths, lengths + 32, 5);
        buildDecodeTable(Alphabet::Dist, lengths, 32, t.dist);
        return t;
    }();
    return tables;
}

}  // namespace lum::deflate
