// The .bz2 stream assembled from the lum block-sorting stages: the forward chain of one
// block, a stream writer, and a reader that refuses what libbz2 refuses (block sizes,
// origin pointer, selectors, CRCs) and reports why.
#pragma once

#include <algorithm>
#include <cstring>

#include "plain.h"

namespace bz2 {

using Symbols = std::vector<Lum16u>;

// One block through RLE, the in-use table, reduction, BWT (with the hint), MTF and Z1Z2;
// without `rle` the block is taken as first-stage data as it is.
struct Chain {
    Lum8u inUse[256] = {};
    int sizeDictionary = 0, index = 0;
    Bytes bwt;
    Symbols symbols;
};

inline Chain encodeChain(Bytes s, LumBWTSortAlgorithmHint hint = lumBWTAutoSort, bool rle = true) {
    Chain c;
    Bytes work = s;
    if (rle) {
        fuzz::Area<LumRLEState_BZ2> st(lumsRLEGetSize_BZ2_8u);
        FUZZ_CHECK(lumsEncodeRLEInit_BZ2_8u(st.get()) == lumStsNoErr, "RLE init");
        work.assign(s.size() * 5 / 4 + 16, 0);
        Lum8u* p = fuzz::ptr(s);
        int left = int(s.size()), len = int(work.size());
        FUZZ_CHECK(lumsEncodeRLE_BZ2_8u(&p, &left, work.data(), &len, st.get()) == lumStsNoErr, "RLE encode");
        int flushed = int(work.size()) - len;
        FUZZ_CHECK(lumsEncodeRLEFlush_BZ2_8u(work.data() + len, &flushed, st.get()) == lumStsNoErr, "RLE flush");
        work.resize(size_t(len + flushed));
        FUZZ_CHECK(lumsRLEGetInUseTable_8u(c.inUse, st.get()) == lumStsNoErr, "in-use table");
    } else {
        for (Lum8u b : work) c.inUse[b] = 1;
    }
    const int n = int(work.size());
    FUZZ_CHECK(lumsReduceDictionary_8u_I(c.inUse, fuzz::ptr(work), n, &c.sizeDictionary) == lumStsNoErr, "reduce");
    fuzz::Area<> bwt([&](int* size) { return lumsBWTFwdGetSize_8u(n, size); });
    if (n > 0)
        FUZZ_CHECK(lumsBWTFwd_SelectSort_8u(work.data(), work.data(), n, &c.index, bwt.get(), hint) == lumStsNoErr,
                   "BWT");
    c.bwt = work;
    fuzz::Area<LumMTFState_8u> mtf(lumsMTFGetSize_8u);
    FUZZ_CHECK(lumsMTFInit_8u(mtf.get()) == lumStsNoErr, "MTF init");
    FUZZ_CHECK(lumsMTFFwd_8u(fuzz::ptr(work), fuzz::ptr(work), n, mtf.get()) == lumStsNoErr, "MTF");
    c.symbols.resize(size_t(n) + 1);
    Lum32u freq[258];
    Lum8u* p = fuzz::ptr(work);
    int left = n, len = n + 1;
    FUZZ_CHECK(lumsEncodeZ1Z2_BZ2_8u16u(&p, &left, c.symbols.data(), &len, freq) == lumStsNoErr, "Z1Z2");
    c.symbols.resize(size_t(len));
    return c;
}

inline Lum32u combineCrc(Lum32u combined, Lum32u block) { return ((combined << 1) | (combined >> 31)) ^ block; }
constexpr Lum32u kBlockHi = 0x314159, kBlockLo = 0x265359, kEndHi = 0x177245, kEndLo = 0x385090;

// Bits most significant first, pending bits left-aligned as the lum Huffman coders keep them.
struct BitSink {
    Bytes out;
    Lum32u code = 0;
    int bits = 0;
    void put(Lum32u v, int n) {  // n <= 24
        code |= v << (32 - bits - n);
        for (bits += n; bits >= 8; bits -= 8, code <<= 8) out.push_back(Lum8u(code >> 24));
    }
    void put32(Lum32u v) { put(v >> 16, 16), put(v & 0xFFFF, 16); }
    void flush() {
        for (; bits > 0; bits -= 8, code <<= 8) out.push_back(Lum8u(code >> 24));
        bits = 0;
    }
};

struct BitSource {
    Lum32u code = 0;
    int bits = 0;
    const Lum8u* p;
    int left;
    bool get(int n, Lum32u& v) {  // n <= 24
        for (; bits < n; bits += 8, --left) {
            if (left == 0) return false;
            code |= Lum32u(*p++) << (24 - bits);
        }
        v = code >> (32 - n);
        code <<= n;
        bits -= n;
        return true;
    }
};

// A .bz2 stream of `data` in blocks of `blockBytes` (level = the header digit), coded by
// the lum stages alone; without `rle` the blocks are first-stage data as they are, with
// the CRC of what the plain RLE decoder makes of them.
inline Bytes compress(const Bytes& data, int level, size_t blockBytes, LumBWTSortAlgorithmHint hint, bool rle = true) {
    BitSink sink;
    sink.out = {'B', 'Z', 'h', Lum8u('0' + level)};
    Lum32u combined = 0;
    for (size_t at = 0; at < data.size(); at += blockBytes) {
        const Bytes block(data.begin() + long(at), data.begin() + long(std::min(data.size(), at + blockBytes)));
        Bytes text = rle ? block : plain::rleDecode(block);
        Lum32u crc = 0;
        FUZZ_CHECK(lumsCRC32_BZ2_8u(fuzz::ptr(text), int(text.size()), &crc) == lumStsNoErr, "CRC");
        combined = combineCrc(combined, crc);
        Chain c = encodeChain(block, hint, rle);
        c.symbols.push_back(Lum16u(c.sizeDictionary + 1));
        const int n = int(c.symbols.size());
        fuzz::Area<LumEncodeHuffState_BZ2> huff([&](int* size) { return lumsEncodeHuffGetSize_BZ2_16u8u(n, size); });
        FUZZ_CHECK(lumsEncodeHuffInit_BZ2_16u8u(c.sizeDictionary, nullptr, c.symbols.data(), n, huff.get()) ==
                       lumStsNoErr, "Huffman init");
        sink.put(kBlockHi, 24), sink.put(kBlockLo, 24), sink.put32(crc), sink.put(0, 1), sink.put(Lum32u(c.index), 24);
        Lum32u ranges = 0;
        for (int i = 0; i < 256; ++i) ranges |= c.inUse[i] ? 0x8000u >> (i / 16) : 0;
        sink.put(ranges, 16);
        for (int r = 0; r < 16; ++r) {
            Lum32u map = 0;
            for (int i = 0; i < 16; ++i) map |= c.inUse[16 * r + i] ? 0x8000u >> i : 0;
            if (ranges & (0x8000u >> r)) sink.put(map, 16);
        }
        Bytes room(size_t(n) * 3 + 8192);
        int len = int(room.size());
        FUZZ_CHECK(lumsPackHuffContext_BZ2_16u8u(&sink.code, &sink.bits, room.data(), &len, huff.get()) == lumStsNoErr,
                   "pack context");
        sink.out.insert(sink.out.end(), room.begin(), room.begin() + len);
        const Lum16u* s = c.symbols.data();
        int left = n;
        len = int(room.size());
        FUZZ_CHECK(lumsEncodeHuff_BZ2_16u8u(&sink.code, &sink.bits, &s, &left, room.data(), &len, huff.get()) ==
                       lumStsNoErr && left == 0, "Huffman encode");
        sink.out.insert(sink.out.end(), room.begin(), room.begin() + len);
    }
    sink.put(kEndHi, 24), sink.put(kEndLo, 24), sink.put32(combined);
    sink.flush();
    return sink.out;
}

// Why the reader refused a stream. libbz2 also refuses all of them but the two marked.
enum class Verdict {
    ok, truncated, badHeader, badMagic, badBlockCrc, badStreamCrc, noSymbolsInUse,
    randomised,  // libbz2 derandomises such (obsolete) blocks; this reader does not
    badContext,  // lum also refuses code lengths that overfill the code space
    badSymbols, noEndOfBlock, blockTooLarge, badBlock, runWithoutCount, tooLarge
};

// True when first-stage data ends with four equal bytes whose count byte is missing.
inline bool endsInsideRun(const Lum8u* p, int n) {
    int run = 0, last = -1;
    for (int i = 0; i < n; ++i) {
        if (run == 4) {
            run = 0, last = -1;
            continue;
        }
        run = p[i] == last ? run + 1 : 1;
        last = p[i];
    }
    return run == 4;
}

// The reader's buffers, sized for the largest block, kept between streams.
struct Workspace {
    fuzz::Area<LumDecodeHuffState_BZ2> huff{[](int* size) { return lumsDecodeHuffGetSize_BZ2_8u16u(900000, size); }};
    fuzz::Area<> bwt{[](int* size) { return lumsBWTInvGetSize_8u(900000, size); }};
    fuzz::Area<LumRLEState_BZ2> rle{lumsRLEGetSize_BZ2_8u};
    Symbols sym = Symbols(900001);
    Bytes block = Bytes(900000);
};

// Reads the first stream of `in` (libbz2's BZ2_bzBuffToBuffDecompress ignores what
// follows it) into `out`, at most `cap` bytes.
inline Verdict decompress(const Bytes& in, Bytes& out, size_t cap) {
    static Workspace ws;
    out.clear();
    if (in.size() < 4 || in[0] != 'B' || in[1] != 'Z' || in[2] != 'h' || in[3] < '1' || in[3] > '9')
        return in.size() < 4 ? Verdict::truncated : Verdict::badHeader;
    const int maxBlock = (in[3] - '0') * 100000;
    BitSource src{0, 0, in.data() + 4, int(in.size()) - 4};
    auto& huff = ws.huff;
    auto& bwt = ws.bwt;
    auto& rle = ws.rle;
    Symbols& sym = ws.sym;
    Bytes& block = ws.block;
    Lum32u combined = 0, hi, lo, v;
    for (;;) {
        if (!src.get(24, hi) || !src.get(24, lo)) return Verdict::truncated;
        if (hi == kEndHi && lo == kEndLo) break;
        if (hi != kBlockHi || lo != kBlockLo) return Verdict::badMagic;
        Lum32u crc, randomised, index, ranges;
        if (!src.get(16, hi) || !src.get(16, lo) || !src.get(1, randomised) || !src.get(24, index) || !src.get(16, ranges))
            return Verdict::truncated;
        crc = hi << 16 | lo;
        if (randomised) return Verdict::randomised;
        Lum8u inUse[256] = {};
        int sizeDictionary = 0;
        for (int r = 0; r < 16; ++r) {
            if (!(ranges & (0x8000u >> r))) continue;
            if (!src.get(16, v)) return Verdict::truncated;
            for (int i = 0; i < 16; ++i)
                if (v & (0x8000u >> i)) inUse[16 * r + i] = 1, ++sizeDictionary;
        }
        if (sizeDictionary == 0) return Verdict::noSymbolsInUse;
        FUZZ_CHECK(lumsDecodeHuffInit_BZ2_8u16u(sizeDictionary, huff.get()) == lumStsNoErr, "Huffman decoder init");
        BitSource peek = src;  // the selector count, which the decoder keeps to itself
        Lum32u selectors = 0;
        if (!peek.get(3, v) || !peek.get(15, selectors)) return Verdict::truncated;
        LumStatus st = lumsUnpackHuffContext_BZ2_8u16u(&src.code, &src.bits, &src.p, &src.left, huff.get());
        if (st != lumStsNoErr) return st == lumStsSrcEndWrn ? Verdict::truncated : Verdict::badContext;
        // Room for one symbol more than a block may hold: using it means the block is too large.
        int symbols = maxBlock + 1;
        st = lumsDecodeHuff_BZ2_8u16u(&src.code, &src.bits, &src.p, &src.left, sym.data(), &symbols, huff.get());
        if (st == lumStsSrcEndWrn) return Verdict::truncated;
        if (st == lumStsDstFullWrn || symbols > maxBlock) return Verdict::blockTooLarge;
        if (st != lumStsNoErr) return Verdict::badSymbols;
        if (symbols == 50 * int(selectors)) return Verdict::noEndOfBlock;  // the last group ended first
        int blockLen = maxBlock;
        st = lumsDecodeBlock_BZ2_16u8u(sym.data(), symbols, block.data(), &blockLen, int(index), sizeDictionary, inUse,
                                       bwt.get());
        if (st == lumStsSizeErr) return Verdict::blockTooLarge;
        if (st != lumStsNoErr) return Verdict::badBlock;
        // The RLE decoder would wait for the count; libbz2 refuses a block that lacks it.
        if (endsInsideRun(block.data(), blockLen)) return Verdict::runWithoutCount;
        FUZZ_CHECK(lumsEncodeRLEInit_BZ2_8u(rle.get()) == lumStsNoErr, "RLE init");
        Lum8u* bp = block.data();
        int bLeft = blockLen;
        const size_t start = out.size();
        const size_t end = std::min(cap, start + 52 * size_t(blockLen) + 16);  // a run grows 5 bytes to 259
        out.resize(end);
        Lum8u* dst = out.data() + start;
        int room = int(end - start);
        st = lumsDecodeRLEState_BZ2_8u(&bp, &bLeft, &dst, &room, rle.get());
        out.resize(end - size_t(room));
        if (st == lumStsDstFullWrn) return Verdict::tooLarge;
        FUZZ_CHECK(st == lumStsNoErr && bLeft == 0, "RLE decoding takes any bytes");
        Lum32u got = 0;
        FUZZ_CHECK(lumsCRC32_BZ2_8u(fuzz::ptr(out) + start, int(out.size() - start), &got) == lumStsNoErr, "CRC");
        if (got != crc) return Verdict::badBlockCrc;
        combined = combineCrc(combined, got);
    }
    if (!src.get(16, hi) || !src.get(16, lo)) return Verdict::truncated;
    return (hi << 16 | lo) == combined ? Verdict::ok : Verdict::badStreamCrc;
}

}  // namespace bz2
