// Inflate: stored, fixed and dynamic deflate blocks, decoded by a call that can stop at a
// full destination or at the end of its source and resume in a later call.
//
// A call cut off inside a dynamic block hands the source back at the block's header and
// records in the state where it stopped; the next call reads the header again (or finds
// its tables in this thread's cache, after comparing the header's bytes), moves to that
// point and goes on, so streaming with small pieces costs about what one call costs.
#include <cstring>
#include <memory>
#include <new>

#include "deflate/inflate_huffman.h"

namespace lum::deflate {
namespace {

// State word 2 of a stored block whose LEN and NLEN are still to be read.
constexpr Lum32u kStoredLenUnread = 0xFFFFFFFFu;
// State word 3 with this bit set: cut off inside a dynamic block. The low bits of word 3
// are the match bytes still to copy (word 4 their distance), word 5 and the low 3 bits of
// word 2 the bit position where decoding stopped (bytes and bits from the header's first
// source byte), the upper 29 bits of word 2 a check of the header's bits.
constexpr Lum32u kInDynamicBlock = 0x80000000u;
// A dynamic header takes at most 17 + 19 * 3 + 316 * 14 bits.
constexpr unsigned kMaxHeaderBytes = 576;

struct DynamicTables {
    Lum32u litLen[kLitLenTableSize];
    Lum32u dist[kDistTableSize];
};

// The last dynamic block header this thread read: its bits (those pending in the bit
// buffer and the source bytes after them) and its tables.
struct HeaderCache {
    bool valid = false;
    unsigned carried = 0;
    Lum64u carriedBits = 0;
    unsigned end = 0;  // bit position of the header's end, from its first source byte
    Lum32u check = 0;
    Lum8u raw[kMaxHeaderBytes];
    DynamicTables tables;

    bool holds(const BitReader& atHeader, Lum32u wantedCheck) const {
        const unsigned rawLen = (end + 7) / 8;
        return valid && check == wantedCheck && carried == atHeader.cnt && carriedBits == atHeader.buf &&
               static_cast<std::size_t>(atHeader.inEnd - atHeader.in) >= rawLen &&
               std::memcmp(raw, atHeader.in, rawLen) == 0;
    }
};

HeaderCache* threadCache() {
    static thread_local std::unique_ptr<HeaderCache> cache(new (std::nothrow) HeaderCache);
    return cache.get();
}

// A 29-bit check of a header's bits (FNV-1a).
Lum32u headerCheck(unsigned carried, Lum64u carriedBits, const Lum8u* raw, unsigned rawLen) {
    Lum32u h = 2166136261u;
    auto add = [&h](Lum8u b) { h = (h ^ b) * 16777619u; };
    add(static_cast<Lum8u>(carried));
    for (int i = 0; i < 4; ++i) add(static_cast<Lum8u>(carriedBits >> (8 * i)));
    for (unsigned i = 0; i < rawLen; ++i) add(raw[i]);
    return h & 0x1FFFFFFF;
}

// Bit position of the reader from `from` (bits pending there lie before it).
Lum64u bitPosition(const BitReader& br, const Lum8u* from) {
    return Lum64u(br.in - from) * 8 - br.cnt;
}

// The header of a dynamic block after its first 3 bits: the code length code, the code
// lengths, and the tables built from them.
Result readDynamicHeader(BitReader& br, DynamicTables& t) {
    static constexpr Lum8u kOrder[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    br.refill();
    if (br.cnt < 14) return Result::SrcEnd;
    const int nLit = 257 + static_cast<int>(br.buf & 31);
    const int nDist = 1 + static_cast<int>((br.buf >> 5) & 31);
    const int nCodeLen = 4 + static_cast<int>((br.buf >> 10) & 15);
    br.consume(14);
    if (nLit > kLitLenCodes || nDist > kDistCodes) return Result::Corrupt;

    Lum8u lengths[kLitLenCodes + kDistCodes] = {};
    for (int i = 0; i < nCodeLen; ++i) {
        br.refill();
        if (br.cnt < 3) return Result::SrcEnd;
        lengths[kOrder[i]] = static_cast<Lum8u>(br.buf & 7);
        br.consume(3);
    }
    Lum32u clTable[kCodeLenTableSize];
    if (!buildDecodeTable(Alphabet::CodeLen, lengths, 19, clTable)) return Result::Corrupt;

    std::fill(lengths, lengths + 19, 0);
    for (int i = 0; i < nLit + nDist;) {
        br.refill();
        const Lum32u e = clTable[br.buf & ((1u << kCodeLenBits) - 1)];
        const unsigned bits = entryBits(e);
        if (bits > br.cnt) return Result::SrcEnd;
        if (e & kInvalidFlag) return Result::Corrupt;
        const unsigned sym = entryValue(e);
        if (sym < 16) {
            br.consume(bits);
            lengths[i++] = static_cast<Lum8u>(sym);
            continue;
        }
        // 16: copy the previous length 3..6 times; 17: 3..10 zeros; 18: 11..138 zeros.
        const unsigned extra = sym == 16 ? 2 : sym == 17 ? 3 : 7;
        if (bits + extra > br.cnt) return Result::SrcEnd;
        const unsigned repeat = (sym == 18 ? 11 : 3) + static_cast<unsigned>((br.buf >> bits) & ((1u << extra) - 1));
        br.consume(bits + extra);
        if (sym == 16 && i == 0) return Result::Corrupt;
        if (i + static_cast<int>(repeat) > nLit + nDist) return Result::Corrupt;
        const Lum8u value = sym == 16 ? lengths[i - 1] : 0;
        std::fill(lengths + i, lengths + i + repeat, value);
        i += static_cast<int>(repeat);
    }
    if (lengths[kEndOfBlock] == 0) return Result::Corrupt;  // a block must be able to end
    if (!buildDecodeTable(Alphabet::LitLen, lengths, nLit, t.litLen) ||
        !buildDecodeTable(Alphabet::Dist, lengths + nLit, nDist, t.dist))
        return Result::Corrupt;
    return Result::Done;
}

class Inflater {
public:
    Cursor c;
    HuffmanDecoder decode = huffmanDecoderSlot().fn();

    LumStatus blocks(LumInflateMode& mode, Lum32u* word);

private:
    Result dynamicBlock(const BitReader& atHeader, Lum32u* word, bool& pastHeader);
    Result storedBlock(Lum32u& left);
};

// A dynamic block whose first 3 bits were read, from its header or (word 3 says so) from
// where an earlier call stopped. pastHeader: the header was read and the reader is inside
// the block.
Result Inflater::dynamicBlock(const BitReader& atHeader, Lum32u* word, bool& pastHeader) {
    const bool resume = (word[3] & kInDynamicBlock) != 0;
    HeaderCache* cache = threadCache();
    DynamicTables local;  // used only when this thread has no cache
    const DynamicTables* tables;
    Lum64u headerEnd;
    Lum32u check;
    if (resume && cache && cache->holds(atHeader, word[2] >> 3)) {
        tables = &cache->tables;
        headerEnd = cache->end;
        check = cache->check;
    } else {
        DynamicTables* t = cache ? &cache->tables : &local;
        if (cache) cache->valid = false;
        const Result r = readDynamicHeader(c.br, *t);
        if (r != Result::Done) return r;
        headerEnd = bitPosition(c.br, atHeader.in);
        const unsigned rawLen = static_cast<unsigned>((headerEnd + 7) / 8);
        if (rawLen > kMaxHeaderBytes) return Result::Corrupt;  // cannot happen: headers are shorter
        check = headerCheck(atHeader.cnt, atHeader.buf, atHeader.in, rawLen);
        if (resume && check != word[2] >> 3) return Result::Corrupt;  // not the block the state was left in
        if (cache) {
            cache->valid = true;
            cache->carried = atHeader.cnt;
            cache->carriedBits = atHeader.buf;
            cache->end = static_cast<unsigned>(headerEnd);
            cache->check = check;
            std::memcpy(cache->raw, atHeader.in, rawLen);
        }
        tables = t;
    }
    if (resume) {
        const Lum64u stop = Lum64u{word[5]} * 8 + (word[2] & 7);
        if (stop < headerEnd) return Result::Corrupt;
        if (stop / 8 > static_cast<std::size_t>(atHeader.inEnd - atHeader.in)) return Result::SrcEnd;
        c.br = {atHeader.in + stop / 8, atHeader.inEnd, atHeader.inStart, 0, 0};
        c.br.refill();
        if (c.br.cnt < (stop & 7)) return Result::SrcEnd;
        c.br.consume(stop & 7);
        pastHeader = true;
        c.pendingLen = word[3] & ~kInDynamicBlock;
        c.pendingDist = word[4];
        const Result r = copyPending(c);
        if (r != Result::More) return r;
    } else {
        pastHeader = true;
        word[2] = check << 3;
    }
    return decode(c, tables->litLen, tables->dist);
}

Result Inflater::storedBlock(Lum32u& left) {
    BitReader& br = c.br;
    if (left == kStoredLenUnread) {
        br.consume(br.cnt & 7);
        br.refill();
        if (br.cnt < 32) return Result::SrcEnd;
        const Lum32u len = br.buf & 0xFFFF;
        if (((br.buf >> 16) & 0xFFFF) != (~len & 0xFFFF)) return Result::Corrupt;
        br.consume(32);
        left = len;
    }
    if (br.cnt & 7) return Result::Corrupt;
    for (; left > 0 && br.cnt >= 8; --left) {
        if (c.out == c.outEnd) return Result::DstFull;
        *c.out++ = static_cast<Lum8u>(br.buf);
        br.consume(8);
    }
    if (br.cnt == 0) br.buf = 0;  // read-ahead bits of the bytes copied below go stale
    const std::size_t n = std::min<std::size_t>({left, static_cast<std::size_t>(c.outEnd - c.out),
                                                  static_cast<std::size_t>(br.inEnd - br.in)});
    std::copy(br.in, br.in + n, c.out);
    c.out += n;
    br.in += n;
    left -= static_cast<Lum32u>(n);
    if (left == 0) return Result::Done;
    return c.out == c.outEnd ? Result::DstFull : Result::SrcEnd;
}

LumStatus toStatus(Result r) {
    switch (r) {
    case Result::Done:
    case Result::More: return lumStsNoErr;
    case Result::SrcEnd: return lumStsSrcEndWrn;
    case Result::DstFull: return lumStsDstFullWrn;
    case Result::Corrupt: break;
    }
    return lumStsCorruptDataErr;
}

// Decodes from the given mode; the state words and the mode are updated in place.
LumStatus Inflater::blocks(LumInflateMode& mode, Lum32u* word) {
    if (mode == lumInflateStreamEnd) return lumStsNoOperation;
    if (word[3] != 0 && !(word[3] & kInDynamicBlock)) {  // the rest of a fixed block's match
        c.pendingLen = word[3];
        c.pendingDist = word[4];
        word[3] = 0;
        const Result r = copyPending(c);
        if (r != Result::More) {
            word[3] = c.pendingLen;
            return toStatus(r);
        }
    }
    const bool singleBlock = mode != lumInflateBlockHeader;
    for (;;) {
        Result r = Result::Done;
        if (mode == lumInflateBlockHeader) {
            const BitReader atHeader = c.br.normalized();
            c.br.refill();
            if (c.br.cnt < 3) return lumStsSrcEndWrn;
            const Lum32u final = c.br.buf & 1, type = (c.br.buf >> 1) & 3;
            c.br.consume(3);
            if (type == 3) return lumStsCorruptDataErr;
            if ((word[3] & kInDynamicBlock) && (type != 2 || final != word[1]))
                return lumStsCorruptDataErr;  // not the block the state was left in
            word[0] = type;
            word[1] = final;
            if (type == 2) {
                bool pastHeader = false;
                r = dynamicBlock(atHeader, word, pastHeader);
                if (r == Result::SrcEnd || r == Result::DstFull) {
                    if (pastHeader) {
                        const Lum64u stop = bitPosition(c.br, atHeader.in);
                        word[2] = (word[2] & ~7u) | static_cast<Lum32u>(stop & 7);
                        word[3] = kInDynamicBlock | c.pendingLen;
                        word[4] = c.pendingDist;
                        word[5] = static_cast<Lum32u>(stop / 8);
                    }
                    c.br = atHeader;
                    return toStatus(r);
                }
                if (r != Result::Done) return toStatus(r);
                word[3] = 0;
            } else {
                mode = type == 0 ? lumInflateStoredBlock : lumInflateFixedBlock;
                word[2] = kStoredLenUnread;
            }
        }
        if (mode == lumInflateStoredBlock) {
            r = storedBlock(word[2]);
            if (r != Result::Done) return toStatus(r);
        } else if (mode == lumInflateFixedBlock) {
            const FixedTables& f = fixedTables();
            r = decode(c, f.litLen, f.dist);
            if (r != Result::Done) {
                if (r == Result::DstFull && c.pendingLen != 0) {
                    word[3] = c.pendingLen;
                    word[4] = c.pendingDist;
                }
                return toStatus(r);
            }
        }
        mode = word[1] ? lumInflateStreamEnd : lumInflateBlockHeader;
        if (singleBlock || mode == lumInflateStreamEnd) return lumStsNoErr;
    }
}

}  // namespace
}  // namespace lum::deflate

extern "C" LumStatus lumsInflate_8u(const Lum8u** ppSrc, int* pSrcLen, Lum32u* pCode,
                                    int* pCodeLenBits, int winIdx, Lum8u** ppDst, int* pDstLen,
                                    int dstIdx, LumInflateMode* pMode, LumInflateState* pState) {
    using namespace lum::deflate;
    if (!ppSrc || !*ppSrc || !pSrcLen || !pCode || !pCodeLenBits || !ppDst || !*ppDst || !pDstLen ||
        !pMode || !pState)
        return lumStsNullPtrErr;
    if (*pSrcLen < 0 || *pDstLen < 0 || dstIdx < 0) return lumStsSizeErr;
    if (winIdx > dstIdx || *pCodeLenBits < 0 || *pCodeLenBits > 32) return lumStsBadArgErr;
    // The mode may come from C code with any value: read it as the int it is stored in.
    static_assert(sizeof(LumInflateMode) == sizeof(int), "the mode is stored as an int");
    int modeValue;
    std::memcpy(&modeValue, pMode, sizeof modeValue);
    if (modeValue < lumInflateBlockHeader || modeValue > lumInflateStreamEnd) return lumStsBadArgErr;
    LumInflateMode mode = static_cast<LumInflateMode>(modeValue);
    Lum32u* word = pState->word;
    if (mode == lumInflateStoredBlock && word[2] > 0xFFFF && word[2] != kStoredLenUnread)
        return lumStsBadArgErr;
    const bool inDynamic = (word[3] & kInDynamicBlock) != 0;
    if (inDynamic && mode != lumInflateBlockHeader) return lumStsBadArgErr;
    const Lum32u pending = word[3] & ~kInDynamicBlock;
    if (pending > static_cast<Lum32u>(kMaxMatch) || (pending != 0 && (word[4] == 0 || word[4] > kMaxDistance)))
        return lumStsBadArgErr;

    Inflater inf;
    const unsigned carried = static_cast<unsigned>(*pCodeLenBits);
    inf.c.br = {*ppSrc, *ppSrc + *pSrcLen, *ppSrc, Lum64u{*pCode} & lowBits(carried), carried};
    inf.c.out = *ppDst + dstIdx;
    inf.c.outEnd = inf.c.out + *pDstLen;
    inf.c.winStart = *ppDst + winIdx;
    Lum8u* const outStart = inf.c.out;

    LumInflateState state = *pState;
    const LumStatus status = inf.blocks(mode, state.word);
    if (status < 0) return status;

    const BitReader br = inf.c.br.normalized();
    *ppSrc = br.in;
    *pSrcLen = static_cast<int>(br.inEnd - br.in);
    *pCode = static_cast<Lum32u>(br.buf);
    *pCodeLenBits = static_cast<int>(br.cnt);
    const int written = static_cast<int>(inf.c.out - outStart);
    *ppDst += written;
    *pDstLen -= written;
    *pMode = mode;
    *pState = state;
    return status;
}
