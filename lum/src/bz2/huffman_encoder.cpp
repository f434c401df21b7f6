// bzip2 block Huffman encoder: table construction with selector refinement, the packed
// table context and the coding of a block's symbols, most significant bit first.
#include <algorithm>
#include <cstddef>

#include "bz2/huffman_codes.h"

namespace lum::bz2 {
namespace {

constexpr Lum32u kEncoderTag = 0x4C484545;  // marks a work area prepared by Init

// The work area: this header, then a code entry (code << 8 | length) per table and
// symbol, the lengths again as bytes (for packing) and one selector per group.
struct EncoderHeader {
    Lum32u tag;
    int alphaSize;
    int nTables;
    int nSelectors;
    int nSymbols;  // symbols in the block
    int pos;       // position of the next symbol to code
};
constexpr std::size_t kCodeOffset = 32;
constexpr std::size_t kTableCodeBytes = kHuffMaxAlpha * 4;
constexpr std::size_t kLengthOffset = kCodeOffset + kHuffMaxTables * kTableCodeBytes;
constexpr std::size_t kSelectorOffset = kLengthOffset + kHuffMaxTables * kHuffMaxAlpha;
constexpr std::size_t kEncoderSize = kSelectorOffset + kHuffMaxSelectors;
static_assert(sizeof(EncoderHeader) <= kCodeOffset, "header overlaps the tables");

Lum8u* areaOf(LumEncodeHuffState_BZ2* s) { return reinterpret_cast<Lum8u*>(s); }

// The public bit buffer widened to 64 bits, pending bits left-aligned; n stays below 64.
struct BitWriter {
    Lum64u buf;
    int n;
    BitWriter(Lum32u code, int bits)
        : buf(bits ? (static_cast<Lum64u>(code) << 32) & (~Lum64u{0} << (64 - bits)) : 0), n(bits) {}
    void put(Lum32u value, int len) {  // n + len < 64
        buf |= static_cast<Lum64u>(value) << (64 - n - len);
        n += len;
    }
    // Stores eight bytes and keeps the bits of the last, partial one: needs eight bytes of
    // room, leaves fewer than 8 bits.
    Lum8u* flushFast(Lum8u* dst) {
        storeBE64(dst, buf);
        const int whole = n >> 3;
        buf <<= 8 * whole;
        n &= 7;
        return dst + whole;
    }
    // Writes whole bytes while there is room; returns the bytes written.
    int drainBytes(Lum8u* dst, int room) {
        int written = 0;
        for (; n >= 8 && written < room; n -= 8, buf <<= 8) dst[written++] = static_cast<Lum8u>(buf >> 56);
        return written;
    }
    Lum32u leftAligned() const { return static_cast<Lum32u>(buf >> 32); }  // n <= 32
};

constexpr int kCounterSets = 4;

// Adds the n symbols to four sets of counters in turn (their sum is the count).
void countSymbols(const Lum16u* src, int n, Lum32u* f0, Lum32u* f1, Lum32u* f2, Lum32u* f3) {
    int i = 0;
    for (; i + 3 < n; i += 4) {
        ++f0[src[i]];
        ++f1[src[i + 1]];
        ++f2[src[i + 2]];
        ++f3[src[i + 3]];
    }
    for (; i < n; ++i) ++f0[src[i]];
}

// Initial tables as bzip2 makes them: the alphabet is cut into nTables ranges of roughly
// equal total frequency, and table t gives its range cost 0 and all else cost 15.
void initialLengths(const Lum32u* freq, int alphaSize, int nTables, int nSymbols,
                    Lum8u (*len)[kHuffMaxAlpha]) {
    int remaining = nSymbols;
    int gs = 0;
    for (int part = nTables; part > 0; --part) {
        const int target = remaining / part;
        int ge = gs - 1;
        int got = 0;
        while (got < target && ge < alphaSize - 1) got += static_cast<int>(freq[++ge]);
        if (ge > gs && part != nTables && part != 1 && (nTables - part) % 2 == 1) got -= static_cast<int>(freq[ge--]);
        for (int v = 0; v < alphaSize; ++v) len[part - 1][v] = (v >= gs && v <= ge) ? 0 : 15;
        gs = ge + 1;
        remaining -= got;
    }
}

// One refinement pass: every group takes the table that codes it in the fewest bits, and
// the tables are rebuilt from the symbols of the groups that chose them. The six group
// costs are summed at once in 10-bit fields of one 64-bit word (a group costs at most
// 50 x 17 bits).
void refine(const Lum16u* src, int nSymbols, int alphaSize, int nTables,
            Lum8u (*len)[kHuffMaxAlpha], Lum8u* selectors) {
    Lum64u packed[kHuffMaxAlpha];
    for (int v = 0; v < alphaSize; ++v) {
        Lum64u p = 0;
        for (int t = 0; t < nTables; ++t) p |= static_cast<Lum64u>(len[t][v]) << (10 * t);
        packed[v] = p;
    }
    // Four sets of counters taken in turn: runs of one symbol (common after move-to-front)
    // then do not wait on the previous increment of the same counter.
    Lum32u freq[kCounterSets][kHuffMaxTables][kHuffMaxAlpha] = {};
    int sel = 0;
    for (int gs = 0; gs < nSymbols; gs += kHuffGroupSize, ++sel) {
        const int ge = std::min(gs + kHuffGroupSize, nSymbols);
        Lum64u cost = 0;
        for (int i = gs; i < ge; ++i) cost += packed[src[i]];
        int best = 0;
        Lum32u bestCost = static_cast<Lum32u>(cost & 1023);
        for (int t = 1; t < nTables; ++t) {
            const Lum32u c = static_cast<Lum32u>(cost >> (10 * t)) & 1023;
            if (c < bestCost) {
                bestCost = c;
                best = t;
            }
        }
        selectors[sel] = static_cast<Lum8u>(best);
        countSymbols(src + gs, ge - gs, freq[0][best], freq[1][best], freq[2][best], freq[3][best]);
    }
    for (int t = 0; t < nTables; ++t) {
        for (int v = 0; v < alphaSize; ++v) freq[0][t][v] += freq[1][t][v] + freq[2][t][v] + freq[3][t][v];
        huffCodeLengths(freq[0][t], alphaSize, kHuffEncodeMaxLen, len[t]);
    }
}

// Bits Pack writes for the selectors (in unary after move-to-front) and the tables.
template <typename Sink>
void packContext(const EncoderHeader& h, const Lum8u* area, Sink&& put) {
    put(static_cast<Lum32u>(h.nTables), 3);
    put(static_cast<Lum32u>(h.nSelectors), 15);
    Lum8u order[kHuffMaxTables] = {0, 1, 2, 3, 4, 5};
    const Lum8u* selectors = area + kSelectorOffset;
    for (int i = 0; i < h.nSelectors; ++i) {
        const Lum8u s = selectors[i];
        int j = 0;
        while (order[j] != s) ++j;
        for (int k = j; k > 0; --k) order[k] = order[k - 1];
        order[0] = s;
        // j ones and a zero
        put(((1u << j) - 1) << 1, j + 1);
    }
    for (int t = 0; t < h.nTables; ++t) {
        const Lum8u* len = area + kLengthOffset + static_cast<std::size_t>(t) * kHuffMaxAlpha;
        int curr = len[0];
        put(static_cast<Lum32u>(curr), 5);
        for (int v = 0; v < h.alphaSize; ++v) {
            for (; curr < len[v]; ++curr) put(2, 2);  // 10: one longer
            for (; curr > len[v]; --curr) put(3, 2);  // 11: one shorter
            put(0, 1);
        }
    }
}

LumStatus openEncoder(const LumEncodeHuffState_BZ2* pState, EncoderHeader& h) {
    if (pState == nullptr) return lumStsNullPtrErr;
    h = lum::loadRecord<EncoderHeader>(pState);
    return h.tag == kEncoderTag ? lumStsNoErr : lumStsContextMatchErr;
}

}  // namespace
}  // namespace lum::bz2

using namespace lum::bz2;

extern "C" {

LumStatus lumsEncodeHuffGetSize_BZ2_16u8u(int wndSize, int* pSize) {
    if (pSize == nullptr) return lumStsNullPtrErr;
    if (wndSize < 0 || wndSize > kHuffMaxBlockSymbols) return lumStsSizeErr;
    *pSize = static_cast<int>(kEncoderSize);
    return lumStsNoErr;
}

LumStatus lumsEncodeHuffInit_BZ2_16u8u(int sizeDictionary, const Lum32u* /*freqTable*/,
                                       const Lum16u* pSrc, int srcLen,
                                       LumEncodeHuffState_BZ2* pState) {
    if (pSrc == nullptr || pState == nullptr) return lumStsNullPtrErr;
    if (sizeDictionary < 0 || sizeDictionary > 256) return lumStsBadArgErr;
    if (srcLen < 1 || srcLen > kHuffMaxBlockSymbols) return lumStsSizeErr;
    const int alphaSize = sizeDictionary + 2;
    Lum16u top = 0;
    for (int i = 0; i < srcLen; ++i) top = std::max(top, pSrc[i]);
    if (top >= alphaSize) return lumStsBadArgErr;
    Lum32u freq[kCounterSets][kHuffMaxAlpha] = {};
    countSymbols(pSrc, srcLen, freq[0], freq[1], freq[2], freq[3]);
    for (int v = 0; v < alphaSize; ++v) freq[0][v] += freq[1][v] + freq[2][v] + freq[3][v];

    EncoderHeader h{kEncoderTag, alphaSize, huffTableCount(srcLen), 0, srcLen, 0};
    h.nSelectors = (srcLen + kHuffGroupSize - 1) / kHuffGroupSize;
    Lum8u* area = areaOf(pState);
    Lum8u len[kHuffMaxTables][kHuffMaxAlpha];
    initialLengths(freq[0], alphaSize, h.nTables, srcLen, len);
    for (int pass = 0; pass < kHuffRefinePasses; ++pass)
        refine(pSrc, srcLen, alphaSize, h.nTables, len, area + kSelectorOffset);

    for (int t = 0; t < h.nTables; ++t) {
        Lum32u codes[kHuffMaxAlpha];
        huffCanonicalCodes(len[t], alphaSize, codes);
        Lum8u* entries = area + kCodeOffset + static_cast<std::size_t>(t) * kTableCodeBytes;
        for (int v = 0; v < alphaSize; ++v) storeU32(entries + 4 * v, (codes[v] << 8) | len[t][v]);
        std::memcpy(area + kLengthOffset + static_cast<std::size_t>(t) * kHuffMaxAlpha, len[t],
                    static_cast<std::size_t>(alphaSize));
    }
    lum::storeRecord(area, h);
    return lumStsNoErr;
}

LumStatus lumsPackHuffContext_BZ2_16u8u(Lum32u* pCode, int* pCodeLenBits, Lum8u* pDst,
                                        int* pDstLen, LumEncodeHuffState_BZ2* pState) {
    if (pDst == nullptr || pDstLen == nullptr || pState == nullptr) return lumStsNullPtrErr;
    if (LumStatus st = checkBitBuffer(pCode, pCodeLenBits); st != lumStsNoErr) return st;
    if (*pDstLen < 0) return lumStsSizeErr;
    EncoderHeader h;
    if (LumStatus st = openEncoder(pState, h); st != lumStsNoErr) return st;
    const Lum8u* area = areaOf(pState);
    // The context is written whole or not at all: count its bits first.
    long long bits = *pCodeLenBits;
    packContext(h, area, [&bits](Lum32u, int len) { bits += len; });
    if (bits / 8 > *pDstLen) {
        *pDstLen = 0;
        return lumStsDstFullWrn;
    }
    BitWriter w(*pCode, *pCodeLenBits);
    int written = 0;
    packContext(h, area, [&](Lum32u value, int len) {
        w.put(value, len);
        if (w.n >= 32) written += w.drainBytes(pDst + written, 4);
    });
    written += w.drainBytes(pDst + written, *pDstLen - written);
    *pDstLen = written;
    *pCode = w.leftAligned();
    *pCodeLenBits = w.n;
    return lumStsNoErr;
}

LumStatus lumsEncodeHuff_BZ2_16u8u(Lum32u* pCode, int* pCodeLenBits, const Lum16u** ppSrc,
                                   int* pSrcLen, Lum8u* pDst, int* pDstLen,
                                   LumEncodeHuffState_BZ2* pState) {
    if (ppSrc == nullptr || pSrcLen == nullptr || pDst == nullptr || pDstLen == nullptr || pState == nullptr)
        return lumStsNullPtrErr;
    if (*ppSrc == nullptr && *pSrcLen > 0) return lumStsNullPtrErr;
    if (LumStatus st = checkBitBuffer(pCode, pCodeLenBits); st != lumStsNoErr) return st;
    if (*pSrcLen < 0 || *pDstLen < 0) return lumStsSizeErr;
    EncoderHeader h;
    if (LumStatus st = openEncoder(pState, h); st != lumStsNoErr) return st;

    const Lum8u* area = areaOf(pState);
    const Lum16u* src = *ppSrc;
    const Lum16u* const srcEnd = src + *pSrcLen;
    Lum8u* dst = pDst;
    Lum8u* const dstEnd = pDst + *pDstLen;
    BitWriter w(*pCode, *pCodeLenBits);
    const Lum16u alpha = static_cast<Lum16u>(h.alphaSize);
    // A whole group with the pending bits and the last eight-byte store fits in 128 bytes.
    constexpr std::ptrdiff_t kGroupRoom = (32 + kHuffGroupSize * kHuffEncodeMaxLen) / 8 + 16;
    LumStatus status = lumStsNoErr;

    while (src < srcEnd) {
        const int inGroup = h.pos % kHuffGroupSize;
        const int table = area[kSelectorOffset + h.pos / kHuffGroupSize];
        const Lum8u* entries = area + kCodeOffset + static_cast<std::size_t>(table) * kTableCodeBytes;
        const int count = static_cast<int>(std::min<std::ptrdiff_t>(
            {kHuffGroupSize - inGroup, h.nSymbols - h.pos, srcEnd - src}));
        int done = 0;
        if (dstEnd - dst >= kGroupRoom) {
            // Three codes of at most 17 bits fit behind the 7 bits a flush leaves.
            if (w.n >= 8) dst = w.flushFast(dst);
            for (; done < count; ++done) {
                const Lum16u sym = src[done];
                if (sym >= alpha) break;
                const Lum32u e = loadU32(entries + 4 * sym);
                w.put(e >> 8, static_cast<int>(e & 0xFF));
                if (done % 3 == 2) dst = w.flushFast(dst);
            }
            dst = w.flushFast(dst);
        } else {
            // Near the end of the room: a symbol is coded only if the bits it leaves
            // behind still fit the caller's 32-bit buffer.
            for (; done < count; ++done) {
                const Lum16u sym = src[done];
                if (sym >= alpha) break;
                const Lum32u e = loadU32(entries + 4 * sym);
                const int len = static_cast<int>(e & 0xFF);
                dst += w.drainBytes(dst, static_cast<int>(dstEnd - dst));
                if (w.n + len > 32) {
                    status = lumStsDstFullWrn;
                    break;
                }
                w.put(e >> 8, len);
            }
        }
        src += done;
        h.pos += done;
        if (h.pos == h.nSymbols) h.pos = 0;
        if (done < count) {
            if (status == lumStsNoErr) status = lumStsBadArgErr;  // symbol outside the alphabet
            break;
        }
    }
    dst += w.drainBytes(dst, static_cast<int>(dstEnd - dst));
    if (status == lumStsNoErr && w.n >= 8) status = lumStsDstFullWrn;
    *ppSrc = src;
    *pSrcLen = static_cast<int>(srcEnd - src);
    *pDstLen = static_cast<int>(dst - pDst);
    *pCode = w.leftAligned();
    *pCodeLenBits = w.n;
    lum::storeRecord(areaOf(pState), h);
    return status;
}

}  // extern "C"
