// Canonical Huffman decoding tables for inflate.
#include "deflate/inflate_table.h"

#include <algorithm>

namespace lum::deflate {
namespace {

int primaryBits(Alphabet a) {
    return a == Alphabet::LitLen ? kLitLenBits : a == Alphabet::Dist ? kDistBits : kCodeLenBits;
}

// The entry of symbol s without its code bits (a code of length len adds len * 0x101).
Lum32u symbolEntry(Alphabet a, int s) {
    switch (a) {
    case Alphabet::LitLen:
        if (s < 256) return makeEntry(kLiteral, 0, 0, static_cast<unsigned>(s));
        if (s == kEndOfBlock) return makeEntry(kEndCode, 0, 0, 0);
        if (s < kLitLenCodes) return makeEntry(kBase, 0, kLengthExtra[s - 257], kLengthBase[s - 257]);
        return makeEntry(kInvalid, 0, 0, 0);  // 286 and 287 take part in the code only
    case Alphabet::Dist:
        if (s < kDistCodes) return makeEntry(kBase, 0, kDistExtra[s], kDistBase[s]);
        return makeEntry(kInvalid, 0, 0, 0);
    case Alphabet::CodeLen:
        break;
    }
    return makeEntry(kLiteral, 0, 0, static_cast<unsigned>(s));
}

unsigned reverseBits(unsigned code, int len) {
    unsigned r = 0;
    for (int i = 0; i < len; ++i, code >>= 1) r = (r << 1) | (code & 1);
    return r;
}

}  // namespace

bool buildDecodeTable(Alphabet alphabet, const Lum8u* lengths, int n, Lum32u* table, int capacity) {
    const int pb = primaryBits(alphabet);
    int count[kMaxCodeLen + 1] = {};
    for (int s = 0; s < n; ++s) ++count[lengths[s]];
    count[0] = 0;
    int left = 1;
    for (int len = 1; len <= kMaxCodeLen; ++len) {
        left = (left << 1) - count[len];
        if (left < 0) return false;  // over-subscribed
    }
    unsigned next[kMaxCodeLen + 2] = {};
    for (int len = 1; len <= kMaxCodeLen; ++len) next[len + 1] = (next[len] + count[len]) << 1;

    // An unassigned index decodes as invalid once all of its index bits are present.
    std::fill(table, table + (1 << pb), makeEntry(kInvalid, pb, 0, 0));
    unsigned reversed[288];
    int longest[1 << kLitLenBits];  // per primary index: longest code behind it
    std::fill(longest, longest + (1 << pb), 0);
    for (int s = 0; s < n; ++s) {
        const int len = lengths[s];
        if (len == 0) continue;
        reversed[s] = reverseBits(next[len]++, len);
        if (len <= pb) {
            const Lum32u e = symbolEntry(alphabet, s) + static_cast<Lum32u>(len) * 0x101;
            for (unsigned i = reversed[s]; i < (1u << pb); i += 1u << len) table[i] = e;
        } else {
            int& l = longest[reversed[s] & ((1u << pb) - 1)];
            l = std::max(l, len);
        }
    }
    // Second-level tables, one per primary index that long codes share.
    int used = 1 << pb;
    for (int s = 0; s < n; ++s) {
        const int len = lengths[s];
        if (len <= pb) continue;
        const unsigned prefix = reversed[s] & ((1u << pb) - 1);
        const int sub = longest[prefix] - pb;
        if (entryKind(table[prefix]) != kLink) {
            if (used + (1 << sub) > capacity) return false;
            table[prefix] = makeEntry(kLink, static_cast<unsigned>(sub), 0, static_cast<unsigned>(used));
            std::fill(table + used, table + used + (1 << sub), makeEntry(kInvalid, pb + sub, 0, 0));
            used += 1 << sub;
        }
        Lum32u* subTable = table + entryValue(table[prefix]);
        const Lum32u e = symbolEntry(alphabet, s) + static_cast<Lum32u>(len) * 0x101;
        for (unsigned i = reversed[s] >> pb; i < (1u << sub); i += 1u << (len - pb)) subTable[i] = e;
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
        buildDecodeTable(Alphabet::LitLen, lengths, 288, t.litLen, kLitLenTableSize);
        std::fill(lengths, lengths + 32, 5);
        buildDecodeTable(Alphabet::Dist, lengths, 32, t.dist, kDistTableSize);
        return t;
    }();
    return tables;
}

}  // namespace lum::deflate
