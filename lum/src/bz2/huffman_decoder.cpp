// bzip2 block Huffman decoder: reading the packed table context and table-driven
// decoding of a block's symbols, safe on any bit sequence.
#include <algorithm>
#include <cstddef>

#include "bz2/huffman_codes.h"

namespace lum::bz2 {
namespace {

constexpr Lum32u kDecoderTag = 0x4C484544;  // marks a work area prepared by Init

// Codes of up to kLookupBits bits are found with one look-up of the next kLookupBits
// bits; longer ones (and bit patterns no code starts with) by the canonical ranges.
constexpr int kLookupBits = 10;
constexpr int kMaxLen = kHuffDecodeMaxLen;

// The work area: this header, one decoding table per Huffman table, the selectors.
struct DecoderHeader {
    Lum32u tag;
    int alphaSize;
    int nTables;
    int nSelectors;
    int group;        // selector group of the next symbol
    int inGroup;      // symbols of that group already decoded
    int haveContext;  // a context was unpacked
};
// One decoding table: look-up entries (symbol << 5 | length, 0 = not a short code), per
// length the first canonical code, the number of codes and their start in the
// symbols-by-code list, and that list.
constexpr std::size_t kLutOffset = 0;
constexpr std::size_t kFirstOffset = kLutOffset + (std::size_t{2} << kLookupBits);
constexpr std::size_t kCountOffset = kFirstOffset + 4 * (kMaxLen + 1);
constexpr std::size_t kStartOffset = kCountOffset + 4 * (kMaxLen + 1);
constexpr std::size_t kPermOffset = kStartOffset + 4 * (kMaxLen + 1);
constexpr std::size_t kTableBytes = (kPermOffset + 2 * kHuffMaxAlpha + 63) & ~std::size_t{63};
constexpr std::size_t kTablesOffset = 64;
constexpr std::size_t kSelectorOffset = kTablesOffset + kHuffMaxTables * kTableBytes;
constexpr std::size_t kDecoderSize = kSelectorOffset + kHuffMaxSelectors;
static_assert(sizeof(DecoderHeader) <= kTablesOffset, "header overlaps the tables");

Lum8u* areaOf(LumDecodeHuffState_BZ2* s) { return reinterpret_cast<Lum8u*>(s); }

LumStatus openDecoder(const LumDecodeHuffState_BZ2* pState, DecoderHeader& h) {
    if (pState == nullptr) return lumStsNullPtrErr;
    h = lum::loadRecord<DecoderHeader>(pState);
    return h.tag == kDecoderTag ? lumStsNoErr : lumStsContextMatchErr;
}

// The caller's bit buffer and source as a 64-bit left-aligned reader. Bits below the
// count may already hold the next source bytes (the fast refill loads eight at once);
// they are the same bytes a later refill brings in, so they are harmless.
struct BitReader {
    Lum64u buf;
    int n;
    const Lum8u* p;
    int left;  // source bytes not yet counted in n

    BitReader(Lum32u code, int bits, const Lum8u* src, int len)
        : buf(bits ? (static_cast<Lum64u>(code) << 32) & (~Lum64u{0} << (64 - bits)) : 0),
          n(bits), p(src), left(len) {}

    // Brings the count above 56 with one unaligned load; needs eight source bytes.
    void refillFast() {
        buf |= loadBE64(p) >> n;
        const int step = (63 - n) >> 3;
        p += step;
        left -= step;
        n |= 56;
    }
    void refill() {
        if (left >= 8) {
            refillFast();
            return;
        }
        while (n <= 56 && left > 0) {
            buf |= static_cast<Lum64u>(*p++) << (56 - n);
            n += 8;
            --left;
        }
    }
    bool ensure(int bits) {
        if (n < bits) refill();
        return n >= bits;
    }
    Lum32u take(int bits) {
        const Lum32u v = static_cast<Lum32u>(buf >> (64 - bits));
        buf <<= bits;
        n -= bits;
        return v;
    }
    // Returns whole unused bytes to the source so that at most 32 bits stay pending, and
    // hands the rest back as the caller's left-aligned buffer.
    void giveBack(Lum32u* pCode, int* pCodeLenBits) {
        while (n > 32) {
            --p;
            ++left;
            n -= 8;
        }
        *pCode = n ? static_cast<Lum32u>(buf >> 32) & (~Lum32u{0} << (32 - n)) : 0;
        *pCodeLenBits = n;
    }
};

// Builds the decoding table of one set of code lengths (1..20 each); false when the
// lengths overfill the code space.
bool buildTable(const Lum8u* lengths, int alphaSize, Lum8u* table) {
    Lum32u codes[kHuffMaxAlpha];
    if (!huffCanonicalCodes(lengths, alphaSize, codes)) return false;
    Lum32u count[kMaxLen + 1] = {};
    for (int v = 0; v < alphaSize; ++v) ++count[lengths[v]];
    Lum32u start[kMaxLen + 1] = {};
    for (int len = 1; len < kMaxLen; ++len) start[len + 1] = start[len] + count[len];
    std::memset(table + kLutOffset, 0, std::size_t{2} << kLookupBits);
    Lum32u next[kMaxLen + 1];
    std::copy(start, start + kMaxLen + 1, next);
    for (int v = 0; v < alphaSize; ++v) {
        const int len = lengths[v];
        storeU16(table + kPermOffset + 2 * next[len]++, static_cast<Lum16u>(v));
        if (len <= kLookupBits) {
            const Lum16u entry = static_cast<Lum16u>((v << 5) | len);
            const Lum32u first = codes[v] << (kLookupBits - len);
            for (Lum32u i = 0; i < (1u << (kLookupBits - len)); ++i) storeU16(table + kLutOffset + 2 * (first + i), entry);
        }
    }
    for (int len = 0; len <= kMaxLen; ++len) {
        // First code of each length: the codes of that length are consecutive.
        Lum32u first = 0;
        for (int v = 0; v < alphaSize; ++v)
            if (lengths[v] == len) {
                first = codes[v];
                break;
            }
        storeU32(table + kFirstOffset + 4 * len, first);
        storeU32(table + kCountOffset + 4 * len, len ? count[len] : 0);
        storeU32(table + kStartOffset + 4 * len, start[len]);
    }
    return true;
}

constexpr int kNeedMore = -1;  // the source ended inside a code
constexpr int kBadCode = -2;   // no code starts with these bits

// Decodes the next symbol of the reader with one table without consuming it: the symbol
// and its length, or kNeedMore / kBadCode.
inline int peekSymbol(const Lum8u* table, const BitReader& r, int& len) {
    const Lum16u e = loadU16(table + kLutOffset + 2 * (r.buf >> (64 - kLookupBits)));
    if (e != 0) {
        len = e & 31;
        return len <= r.n ? e >> 5 : kNeedMore;
    }
    for (int l = kLookupBits + 1; l <= kMaxLen; ++l) {
        if (l > r.n) return kNeedMore;
        const Lum32u code = static_cast<Lum32u>(r.buf >> (64 - l));
        const Lum32u k = code - loadU32(table + kFirstOffset + 4 * l);
        if (k < loadU32(table + kCountOffset + 4 * l)) {
            len = l;
            return loadU16(table + kPermOffset + 2 * (loadU32(table + kStartOffset + 4 * l) + k));
        }
    }
    return kBadCode;
}

// Reads the packed context into the work area: false with `corrupt` set for malformed
// data, false with it clear when the source ends first.
bool unpackContext(BitReader& r, DecoderHeader& h, Lum8u* area, bool& corrupt) {
    corrupt = false;
    auto fail = [&corrupt](bool isCorrupt) {
        corrupt = isCorrupt;
        return false;
    };
    if (!r.ensure(18)) return fail(false);
    h.nTables = static_cast<int>(r.take(3));
    h.nSelectors = static_cast<int>(r.take(15));
    if (h.nTables < kHuffMinTables || h.nTables > kHuffMaxTables || h.nSelectors < 1) return fail(true);
    Lum8u order[kHuffMaxTables] = {0, 1, 2, 3, 4, 5};
    for (int i = 0; i < h.nSelectors; ++i) {
        int j = 0;
        for (;;) {
            if (!r.ensure(1)) return fail(false);
            if (r.take(1) == 0) break;
            if (++j >= h.nTables) return fail(true);
        }
        const Lum8u s = order[j];
        for (int k = j; k > 0; --k) order[k] = order[k - 1];
        order[0] = s;
        area[kSelectorOffset + i] = s;
    }
    for (int t = 0; t < h.nTables; ++t) {
        Lum8u lengths[kHuffMaxAlpha];
        if (!r.ensure(5)) return fail(false);
        int curr = static_cast<int>(r.take(5));
        for (int v = 0; v < h.alphaSize; ++v) {
            for (;;) {
                if (curr < 1 || curr > kMaxLen) return fail(true);
                if (!r.ensure(1)) return fail(false);
                if (r.take(1) == 0) break;
                if (!r.ensure(1)) return fail(false);
                curr += r.take(1) ? -1 : 1;
            }
            lengths[v] = static_cast<Lum8u>(curr);
        }
        if (!buildTable(lengths, h.alphaSize, area + kTablesOffset + t * kTableBytes)) return fail(true);
    }
    return true;
}

}  // namespace
}  // namespace lum::bz2

using namespace lum::bz2;

extern "C" {

LumStatus lumsDecodeHuffGetSize_BZ2_8u16u(int wndSize, int* pSize) {
    if (pSize == nullptr) return lumStsNullPtrErr;
    if (wndSize < 0 || wndSize > kHuffMaxBlockSymbols) return lumStsSizeErr;
    *pSize = static_cast<int>(kDecoderSize);
    return lumStsNoErr;
}

LumStatus lumsDecodeHuffInit_BZ2_8u16u(int sizeDictionary, LumDecodeHuffState_BZ2* pState) {
    if (pState == nullptr) return lumStsNullPtrErr;
    if (sizeDictionary < 0 || sizeDictionary > 256) return lumStsBadArgErr;
    lum::storeRecord(pState, DecoderHeader{kDecoderTag, sizeDictionary + 2, 0, 0, 0, 0, 0});
    return lumStsNoErr;
}

LumStatus lumsUnpackHuffContext_BZ2_8u16u(Lum32u* pCode, int* pCodeLenBits, const Lum8u** ppSrc,
                                          int* pSrcLen, LumDecodeHuffState_BZ2* pState) {
    if (ppSrc == nullptr || pSrcLen == nullptr || pState == nullptr) return lumStsNullPtrErr;
    if (*ppSrc == nullptr && *pSrcLen > 0) return lumStsNullPtrErr;
    if (LumStatus st = checkBitBuffer(pCode, pCodeLenBits); st != lumStsNoErr) return st;
    if (*pSrcLen < 0) return lumStsSizeErr;
    DecoderHeader h;
    if (LumStatus st = openDecoder(pState, h); st != lumStsNoErr) return st;
    // A failed unpack leaves no usable context; the caller's buffer and source stay as
    // they were, so a truncated context can be read again with more data.
    h.haveContext = 0;
    h.group = 0;
    h.inGroup = 0;
    BitReader r(*pCode, *pCodeLenBits, *ppSrc, *pSrcLen);
    bool corrupt = false;
    const bool ok = unpackContext(r, h, areaOf(pState), corrupt);
    h.haveContext = ok ? 1 : 0;
    lum::storeRecord(pState, h);
    if (!ok) return corrupt ? lumStsCorruptDataErr : lumStsSrcEndWrn;
    r.giveBack(pCode, pCodeLenBits);
    *ppSrc = r.p;
    *pSrcLen = r.left;
    return lumStsNoErr;
}

LumStatus lumsDecodeHuff_BZ2_8u16u(Lum32u* pCode, int* pCodeLenBits, const Lum8u** ppSrc,
                                   int* pSrcLen, Lum16u* pDst, int* pDstLen,
                                   LumDecodeHuffState_BZ2* pState) {
    if (ppSrc == nullptr || pSrcLen == nullptr || pDst == nullptr || pDstLen == nullptr || pState == nullptr)
        return lumStsNullPtrErr;
    if (*ppSrc == nullptr && *pSrcLen > 0) return lumStsNullPtrErr;
    if (LumStatus st = checkBitBuffer(pCode, pCodeLenBits); st != lumStsNoErr) return st;
    if (*pSrcLen < 0 || *pDstLen < 0) return lumStsSizeErr;
    DecoderHeader h;
    if (LumStatus st = openDecoder(pState, h); st != lumStsNoErr) return st;
    if (!h.haveContext) return lumStsContextMatchErr;

    const Lum8u* area = areaOf(pState);
    BitReader r(*pCode, *pCodeLenBits, *ppSrc, *pSrcLen);
    Lum16u* dst = pDst;
    Lum16u* const dstEnd = pDst + *pDstLen;
    const int eob = h.alphaSize - 1;
    // Source bytes that always cover the rest of a group: 50 codes of 20 bits and a load.
    constexpr int kGroupSource = (kHuffGroupSize * kMaxLen) / 8 + 16;
    LumStatus status = lumStsNoErr;
    bool blockEnd = false;

    while (!blockEnd) {
        if (h.inGroup == kHuffGroupSize) {
            h.inGroup = 0;
            if (++h.group >= h.nSelectors) {
                blockEnd = true;
                break;
            }
        }
        const Lum8u* table = area + kTablesOffset + area[kSelectorOffset + h.group] * kTableBytes;
        const int want = kHuffGroupSize - h.inGroup;
        if (dstEnd - dst >= want && r.left >= kGroupSource) {
            // Fast path: neither the source nor the room can run out in this group.
            int i = 0;
            for (; i < want; ++i) {
                if (r.n < kMaxLen) r.refillFast();
                int len = 0;
                const int sym = peekSymbol(table, r, len);
                if (sym < 0) {
                    status = lumStsCorruptDataErr;
                    break;
                }
                r.take(len);
                if (sym == eob) {
                    blockEnd = true;
                    break;
                }
                *dst++ = static_cast<Lum16u>(sym);
            }
            h.inGroup += i;
            if (status != lumStsNoErr) break;
            continue;
        }
        // Careful path, one symbol at a time.
        r.refill();
        int len = 0;
        const int sym = peekSymbol(table, r, len);
        if (sym == kNeedMore) {
            status = lumStsSrcEndWrn;
            break;
        }
        if (sym == kBadCode) {
            status = lumStsCorruptDataErr;
            break;
        }
        if (sym == eob) {
            r.take(len);
            blockEnd = true;
            break;
        }
        if (dst == dstEnd) {
            status = lumStsDstFullWrn;
            break;
        }
        r.take(len);
        *dst++ = static_cast<Lum16u>(sym);
        ++h.inGroup;
    }
    if (blockEnd) {
        h.group = 0;
        h.inGroup = 0;
    }
    r.giveBack(pCode, pCodeLenBits);
    *ppSrc = r.p;
    *pSrcLen = r.left;
    *pDstLen = static_cast<int>(dst - pDst);
    lum::storeRecord(pState, h);
    return status;
}

}  // extern "C"
