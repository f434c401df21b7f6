// Inflate: a table-driven decoder of stored, fixed and dynamic deflate blocks that can
// stop at a full destination or at the end of its source and resume in a later call.
//
// Each Huffman block runs a fast loop while at least 8 input bytes and kFastRoom output
// bytes remain (one 64-bit refill per match or up to three literals, matches copied in
// 8- or 16-byte steps that may run a few bytes past the match), and a careful loop that decodes one whole symbol at a time
// near the ends of the buffers.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "deflate/inflate_table.h"

namespace lum::deflate {
namespace {

// State word 3 with this bit set: a dynamic block was cut off and the call resumes at its
// header; the low bits count the bytes of that block already delivered.
constexpr Lum32u kRedecodeFlag = 0x80000000u;
// State word 2 of a stored block whose LEN and NLEN are still to be read.
constexpr Lum32u kStoredLenUnread = 0xFFFFFFFFu;
constexpr std::ptrdiff_t kFastRoom = kMaxMatch + 16;

inline Lum64u lowBits(unsigned n) { return n >= 64 ? ~Lum64u{0} : (Lum64u{1} << n) - 1; }

// The bit buffer: pending bits in the low `cnt` bits; bits above them are zero or the
// stream's next bits in their place, so refilling over them is harmless.
struct BitReader {
    const Lum8u* in;
    const Lum8u* inEnd;
    const Lum8u* inStart;  // where this call's source began: bytes read since may go back
    Lum64u buf;
    unsigned cnt;

    void refillFast() {  // needs 8 readable bytes; leaves at least 56 bits
        buf |= load64le(in) << cnt;
        in += (63 - cnt) >> 3;
        cnt |= 56;
    }
    void refill() {
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

struct Tables {
    const Lum32u* litLen;
    const Lum32u* dist;
};

struct DynamicTables {
    Lum32u litLen[kLitLenTableSize];
    Lum32u dist[kDistTableSize];
};

class Inflater {
public:
    BitReader br;
    Lum8u* out;
    Lum8u* outEnd;
    const Lum8u* winStart;
    Lum32u skip = 0;        // bytes of a re-decoded block that are counted, not written
    Lum32u pendingLen = 0;  // match bytes still to copy when the destination filled
    Lum32u pendingDist = 0;

    Result huffmanBlock(const Tables& t);
    Result storedBlock(Lum32u& left);
    Result dynamicHeader(DynamicTables& t);
    Result copyPending();

private:
    Result fastLoop(const Tables& t);
    Result slowSymbol(const Tables& t);
    Result copyMatch(unsigned len, unsigned dist);
};

// The entry for the next code in buf: the primary entry or, for a long code, the entry of
// its second-level table (which holds the whole code length).
inline Lum32u lookup(const Lum32u* table, int bits, Lum64u buf) {
    const Lum32u e = table[buf & ((1u << bits) - 1)];
    if (entryKind(e) != kLink) return e;
    return table[entryValue(e) + ((buf >> bits) & ((1u << entryBits(e)) - 1))];
}

// A value with extra bits: the entry's base plus the extra bits after its code.
inline unsigned withExtra(Lum32u e, Lum64u buf) {
    return entryValue(e) + static_cast<unsigned>((buf & ((Lum64u{1} << entryTotal(e)) - 1)) >> entryBits(e));
}

// Copies a match in 16- or 8-byte steps; may write up to 15 bytes past its end.
inline Lum8u* copyFast(Lum8u* out, unsigned len, unsigned dist) {
    const Lum8u* src = out - dist;
    Lum8u* const end = out + len;
    if (dist >= 16) {
        do {
            std::memcpy(out, src, 16);
            out += 16;
            src += 16;
        } while (out < end);
    } else if (dist >= 8) {
        do {
            store64le(out, load64le(src));
            store64le(out + 8, load64le(src + 8));
            out += 16;
            src += 16;
        } while (out < end);
    } else if (dist == 1) {
        const Lum64u v = 0x0101010101010101ull * *src;
        do {
            store64le(out, v);
            store64le(out + 8, v);
            out += 16;
        } while (out < end);
    } else {
        // Each overlapping word store leaves `dist` more bytes of the repeating pattern.
        do {
            store64le(out, load64le(src));
            out += dist;
            src += dist;
        } while (out < end);
    }
    return end;
}

// The fast loop keeps the entry of the next code decoded ahead. A refill leaves all 64
// bits of the buffer holding stream bits (at least 56 of them counted), and a symbol takes
// at most 48 (length code, its extra bits, distance code, its extra bits) or three literals
// at most 45, so the 15 bits of the next lookup are always there before the next refill.
Result Inflater::fastLoop(const Tables& t) {
    // Locals, not members: byte stores could otherwise alias the reader and the pointers.
    BitReader b = br;
    Lum8u* o = out;
    const Lum8u* const oEnd = outEnd - kFastRoom;
    const Lum8u* const iEnd = b.inEnd - 8;
    if (b.in > iEnd || o > oEnd) return Result::More;
    b.refillFast();
    Lum32u e = lookup(t.litLen, kLitLenBits, b.buf);
    Result r = Result::More;
    for (;;) {
        if (entryKind(e) == kLiteral) {
            *o++ = static_cast<Lum8u>(entryValue(e));
            b.consume(entryTotal(e));
            e = lookup(t.litLen, kLitLenBits, b.buf);
            if (entryKind(e) == kLiteral) {
                *o++ = static_cast<Lum8u>(entryValue(e));
                b.consume(entryTotal(e));
                e = lookup(t.litLen, kLitLenBits, b.buf);
                if (entryKind(e) == kLiteral) {
                    *o++ = static_cast<Lum8u>(entryValue(e));
                    b.consume(entryTotal(e));
                    e = lookup(t.litLen, kLitLenBits, b.buf);
                }
            }
        } else if (entryKind(e) == kBase) {
            const unsigned len = withExtra(e, b.buf);
            b.consume(entryTotal(e));
            const Lum32u d = lookup(t.dist, kDistBits, b.buf);
            const unsigned dist = withExtra(d, b.buf);
            if (entryKind(d) != kBase || dist > static_cast<std::size_t>(o - winStart)) {
                r = Result::Corrupt;
                break;
            }
            b.consume(entryTotal(d));
            e = lookup(t.litLen, kLitLenBits, b.buf);
            o = copyFast(o, len, dist);
        } else {
            if (entryKind(e) == kEndCode) {
                b.consume(entryBits(e));
                r = Result::Done;
            } else {
                r = Result::Corrupt;
            }
            break;
        }
        if (b.in > iEnd || o > oEnd) break;
        b.refillFast();
    }
    br = b;
    out = o;
    return r;
}

Result Inflater::copyMatch(unsigned len, unsigned dist) {
    const unsigned skipped = std::min(skip, len);
    skip -= skipped;
    len -= skipped;
    if (len == 0) return Result::More;
    if (dist > static_cast<std::size_t>(out - winStart)) return Result::Corrupt;
    const unsigned n = static_cast<unsigned>(std::min<std::ptrdiff_t>(len, outEnd - out));
    for (unsigned i = 0; i < n; ++i, ++out) *out = *(out - dist);
    if (n == len) return Result::More;
    pendingLen = len - n;
    pendingDist = dist;
    return Result::DstFull;
}

Result Inflater::copyPending() {
    const unsigned len = pendingLen;
    pendingLen = 0;
    return copyMatch(len, pendingDist);
}

// One whole symbol, or nothing when its bits are not all in the source.
Result Inflater::slowSymbol(const Tables& t) {
    br.refill();
    const Lum32u e = lookup(t.litLen, kLitLenBits, br.buf);
    if (entryBits(e) > br.cnt) return Result::SrcEnd;
    switch (entryKind(e)) {
    case kLiteral:
        if (skip > 0) {
            --skip;
        } else {
            if (out == outEnd) return Result::DstFull;
            *out++ = static_cast<Lum8u>(entryValue(e));
        }
        br.consume(entryBits(e));
        return Result::More;
    case kEndCode:
        br.consume(entryBits(e));
        return Result::Done;
    case kBase:
        break;
    default:
        return Result::Corrupt;
    }
    const unsigned lenBits = entryTotal(e);
    if (lenBits > br.cnt) return Result::SrcEnd;
    const Lum64u rest = br.buf >> lenBits;
    const Lum32u d = lookup(t.dist, kDistBits, rest);
    if (lenBits + entryBits(d) > br.cnt) return Result::SrcEnd;
    if (entryKind(d) != kBase) return Result::Corrupt;
    if (lenBits + entryTotal(d) > br.cnt) return Result::SrcEnd;
    const unsigned len = withExtra(e, br.buf);
    const unsigned dist = withExtra(d, rest);
    br.consume(lenBits + entryTotal(d));
    return copyMatch(len, dist);
}

Result Inflater::huffmanBlock(const Tables& t) {
    for (;;) {
        if (skip == 0) {
            const Result r = fastLoop(t);
            if (r != Result::More) return r;
        }
        const Result r = slowSymbol(t);
        if (r != Result::More) return r;
    }
}

Result Inflater::storedBlock(Lum32u& left) {
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
        if (out == outEnd) return Result::DstFull;
        *out++ = static_cast<Lum8u>(br.buf);
        br.consume(8);
    }
    if (br.cnt == 0) br.buf = 0;  // read-ahead bits of the bytes copied below go stale
    const std::size_t n = std::min<std::size_t>({left, static_cast<std::size_t>(outEnd - out),
                                                  static_cast<std::size_t>(br.inEnd - br.in)});
    std::copy(br.in, br.in + n, out);
    out += n;
    br.in += n;
    left -= static_cast<Lum32u>(n);
    if (left == 0) return Result::Done;
    return out == outEnd ? Result::DstFull : Result::SrcEnd;
}

Result Inflater::dynamicHeader(DynamicTables& t) {
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
    if (!buildDecodeTable(Alphabet::CodeLen, lengths, 19, clTable, kCodeLenTableSize))
        return Result::Corrupt;

    std::fill(lengths, lengths + 19, 0);
    for (int i = 0; i < nLit + nDist;) {
        br.refill();
        const Lum32u e = clTable[br.buf & ((1u << kCodeLenBits) - 1)];
        const unsigned bits = entryBits(e);
        if (bits > br.cnt) return Result::SrcEnd;
        if (entryKind(e) == kInvalid) return Result::Corrupt;
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
    if (!buildDecodeTable(Alphabet::LitLen, lengths, nLit, t.litLen, kLitLenTableSize) ||
        !buildDecodeTable(Alphabet::Dist, lengths + nLit, nDist, t.dist, kDistTableSize))
        return Result::Corrupt;
    return Result::Done;
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
LumStatus inflateBlocks(Inflater& inf, LumInflateMode& mode, Lum32u* word) {
    if (mode == lumInflateStreamEnd) return lumStsNoOperation;
    if (word[3] != 0 && !(word[3] & kRedecodeFlag)) {
        inf.pendingLen = word[3];
        inf.pendingDist = word[4];
        word[3] = 0;
        const Result r = inf.copyPending();
        if (r != Result::More) {
            word[3] = inf.pendingLen;
            return toStatus(r);
        }
    }
    const bool singleBlock = mode != lumInflateBlockHeader;
    for (;;) {
        Result r;
        if (mode == lumInflateBlockHeader) {
            const BitReader atHeader = inf.br.normalized();
            inf.br.refill();
            if (inf.br.cnt < 3) return lumStsSrcEndWrn;
            word[1] = inf.br.buf & 1;
            word[0] = (inf.br.buf >> 1) & 3;
            inf.br.consume(3);
            if (word[0] == 3) return lumStsCorruptDataErr;
            if (word[0] == 2) {
                // Cut off anywhere, a dynamic block starts again at its header next time.
                inf.skip = word[3] & ~kRedecodeFlag;
                word[3] = 0;
                Lum8u* blockStart = inf.out;
                const Lum32u skipped = inf.skip;
                DynamicTables t;
                r = inf.dynamicHeader(t);
                if (r == Result::Done) r = inf.huffmanBlock({t.litLen, t.dist});
                if (r == Result::SrcEnd || r == Result::DstFull) {
                    inf.br = atHeader;
                    const Lum32u delivered = skipped + static_cast<Lum32u>(inf.out - blockStart);
                    word[3] = delivered ? (delivered & ~kRedecodeFlag) | kRedecodeFlag : 0;
                    inf.pendingLen = 0;
                    return toStatus(r);
                }
                if (r != Result::Done) return toStatus(r);
                if (inf.skip != 0) return lumStsCorruptDataErr;
            } else if (word[3] & kRedecodeFlag) {
                return lumStsCorruptDataErr;  // the cut-off block is not where the state says
            } else {
                mode = word[0] == 0 ? lumInflateStoredBlock : lumInflateFixedBlock;
                word[2] = kStoredLenUnread;
                r = Result::Done;
            }
        }
        if (mode == lumInflateStoredBlock) {
            r = inf.storedBlock(word[2]);
            if (r != Result::Done) return toStatus(r);
        } else if (mode == lumInflateFixedBlock) {
            const FixedTables& f = fixedTables();
            r = inf.huffmanBlock({f.litLen, f.dist});
            if (r != Result::Done) {
                if (r == Result::DstFull && inf.pendingLen != 0) {
                    word[3] = inf.pendingLen;
                    word[4] = inf.pendingDist;
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
    if ((word[3] & kRedecodeFlag) && mode != lumInflateBlockHeader) return lumStsBadArgErr;
    if (word[3] != 0 && !(word[3] & kRedecodeFlag) && (word[4] == 0 || word[4] > kMaxDistance))
        return lumStsBadArgErr;

    Inflater inf;
    const unsigned carried = static_cast<unsigned>(*pCodeLenBits);
    inf.br = {*ppSrc, *ppSrc + *pSrcLen, *ppSrc, Lum64u{*pCode} & lowBits(carried), carried};
    inf.out = *ppDst + dstIdx;
    inf.outEnd = inf.out + *pDstLen;
    inf.winStart = *ppDst + winIdx;
    Lum8u* const outStart = inf.out;

    LumInflateState state = *pState;
    const LumStatus status = inflateBlocks(inf, mode, state.word);
    if (status < 0) return status;

    const BitReader br = inf.br.normalized();
    *ppSrc = br.in;
    *pSrcLen = static_cast<int>(br.inEnd - br.in);
    *pCode = static_cast<Lum32u>(br.buf);
    *pCodeLenBits = static_cast<int>(br.cnt);
    const int written = static_cast<int>(inf.out - outStart);
    *ppDst += written;
    *pDstLen -= written;
    *pMode = mode;
    *pState = state;
    return status;
}
