// Complete .bz2 streams both ways: streams assembled from the lum block-sorting functions
// alone are decompressed by libbz2, and libbz2's own streams (block sizes 1 and 9) are
// read back with the lum unpack, Huffman, block and RLE decoders; on the corpus and on
// edge inputs.
#include <bzlib.h>

#include "test_bz2_common.h"

namespace {

using namespace bz2test;

constexpr Lum32u kBlockMagicHi = 0x314159, kBlockMagicLo = 0x265359;
constexpr Lum32u kEndMagicHi = 0x177245, kEndMagicLo = 0x385090;

Lum32u blockCrc(const Lum8u* p, size_t n) {
    Lum32u crc = 0;
    EXPECT_EQ(lumsCRC32_BZ2_8u(p, int(n), &crc), lumStsNoErr);
    return crc;
}

Lum32u combineCrc(Lum32u combined, Lum32u block) { return ((combined << 1) | (combined >> 31)) ^ block; }

// ---- Writing: the stream framing in the lum bit-buffer convention ----------------------

struct BitSink {
    Bytes out;
    Lum32u code = 0;  // pending bits, left-aligned
    int bits = 0;

    void put(Lum32u value, int n) {  // n <= 24
        code |= value << (32 - bits - n);
        bits += n;
        for (; bits >= 8; bits -= 8, code <<= 8) out.push_back(Lum8u(code >> 24));
    }
    void put32(Lum32u v) {
        put(v >> 16, 16);
        put(v & 0xFFFF, 16);
    }
};

// One block: the forward chain and the end-of-block symbol, Huffman coded behind the block
// header.
void writeBlock(const Bytes& block, BitSink& sink, Lum32u& combined) {
    const Lum32u crc = blockCrc(block.data(), block.size());
    combined = combineCrc(combined, crc);
    Chain c = encodeChain(block);
    Symbols& sym = c.symbols;
    sym.push_back(static_cast<Lum16u>(c.sizeDictionary + 1));
    Area<LumEncodeHuffState_BZ2> huff([&](int* size) { return lumsEncodeHuffGetSize_BZ2_16u8u(int(sym.size()), size); });
    ASSERT_EQ(lumsEncodeHuffInit_BZ2_16u8u(c.sizeDictionary, c.freq, sym.data(), int(sym.size()), huff.get()), lumStsNoErr);
    const Lum8u* inUse = c.inUse;

    sink.put(kBlockMagicHi, 24);
    sink.put(kBlockMagicLo, 24);
    sink.put32(crc);
    sink.put(0, 1);  // not randomised
    sink.put(Lum32u(c.index), 24);
    Lum32u ranges = 0;
    for (int i = 0; i < 256; ++i)
        if (inUse[i]) ranges |= 0x8000u >> (i / 16);
    sink.put(ranges, 16);
    for (int r = 0; r < 16; ++r) {
        if (!(ranges & (0x8000u >> r))) continue;
        Lum32u map = 0;
        for (int i = 0; i < 16; ++i)
            if (inUse[16 * r + i]) map |= 0x8000u >> i;
        sink.put(map, 16);
    }
    ASSERT_EQ(huffEncode(huff.get(), sym, sink.code, sink.bits, sink.out), lumStsNoErr);
}

Bytes lumCompress(const Bytes& data, size_t blockBytes) {
    BitSink sink;
    sink.out = {'B', 'Z', 'h', '9'};
    Lum32u combined = 0;
    for (size_t at = 0; at < data.size(); at += blockBytes) {
        writeBlock(Bytes(data.begin() + long(at), data.begin() + long(std::min(data.size(), at + blockBytes))), sink, combined);
        if (testing::Test::HasFatalFailure()) return {};
    }
    sink.put(kEndMagicHi, 24);
    sink.put(kEndMagicLo, 24);
    sink.put32(combined);
    flushBits(sink.code, sink.bits, sink.out);
    return sink.out;
}

// ---- Reading: libbz2's streams through the lum decoders --------------------------------

struct BitSource {
    Lum32u code = 0;  // pending bits, left-aligned, as the lum decoders take them
    int bits = 0;
    const Lum8u* p;
    int left;

    bool get(int n, Lum32u& v) {  // n <= 24
        for (; bits < n; bits += 8, --left) {
            if (left == 0) return false;
            code |= Lum32u(*p++) << (24 - bits);
        }
        v = code >> (32 - n);
        code = n == 32 ? 0 : code << n;
        bits -= n;
        return true;
    }
    bool get32(Lum32u& v) {
        Lum32u hi = 0, lo = 0;
        if (!get(16, hi) || !get(16, lo)) return false;
        v = (hi << 16) | lo;
        return true;
    }
};

// One block after its magic: header, Huffman context and symbols, block decoding and the
// RLE decoder, appended to `out`; its CRC is checked.
void readBlock(BitSource& in, int level, Bytes& out, Lum32u& combined) {
    Lum32u crc, randomised, index, ranges;
    ASSERT_TRUE(in.get32(crc) && in.get(1, randomised) && in.get(24, index) && in.get(16, ranges));
    ASSERT_EQ(randomised, 0u);
    Lum8u inUse[256] = {};
    int sizeDictionary = 0;
    for (int r = 0; r < 16; ++r) {
        if (!(ranges & (0x8000u >> r))) continue;
        Lum32u map;
        ASSERT_TRUE(in.get(16, map));
        for (int i = 0; i < 16; ++i)
            if (map & (0x8000u >> i)) {
                inUse[16 * r + i] = 1;
                ++sizeDictionary;
            }
    }
    const int maxBlock = level * 100000;
    Area<LumDecodeHuffState_BZ2> huff([&](int* size) { return lumsDecodeHuffGetSize_BZ2_8u16u(maxBlock, size); });
    ASSERT_EQ(lumsDecodeHuffInit_BZ2_8u16u(sizeDictionary, huff.get()), lumStsNoErr);
    Symbols sym(size_t(maxBlock) + 1);
    ASSERT_EQ(huffDecode(huff.get(), in.code, in.bits, in.p, in.left, sym), lumStsNoErr);

    Area<> buff([&](int* size) { return lumsBWTInvGetSize_8u(maxBlock, size); });
    Bytes rleData(size_t(maxBlock) + 1);
    int rleLen = int(rleData.size());
    ASSERT_EQ(lumsDecodeBlock_BZ2_16u8u(sym.data(), int(sym.size()), rleData.data(), &rleLen, int(index), sizeDictionary,
                                        inUse, buff.get()), lumStsNoErr);

    // The RLE decoder, resuming while the destination is full.
    Area<LumRLEState_BZ2> rle(lumsRLEGetSize_BZ2_8u);
    ASSERT_EQ(lumsEncodeRLEInit_BZ2_8u(rle.get()), lumStsNoErr);
    const size_t start = out.size();
    Lum8u* src = rleData.data();
    int srcLen = rleLen;
    for (LumStatus st = lumStsDstFullWrn; st == lumStsDstFullWrn;) {
        const size_t at = out.size();
        out.resize(at + 65536);
        Lum8u* dst = out.data() + at;
        int room = 65536;
        st = lumsDecodeRLEState_BZ2_8u(&src, &srcLen, &dst, &room, rle.get());
        ASSERT_TRUE(st == lumStsNoErr || st == lumStsDstFullWrn) << st;
        out.resize(at + 65536 - size_t(room));
    }
    ASSERT_EQ(srcLen, 0);
    const Lum32u got = blockCrc(out.data() + start, out.size() - start);
    EXPECT_EQ(got, crc);
    combined = combineCrc(combined, got);
}

Bytes lumDecompress(const Bytes& stream) {
    EXPECT_GE(stream.size(), 4u);
    EXPECT_TRUE(stream.size() >= 4 && stream[0] == 'B' && stream[1] == 'Z' && stream[2] == 'h');
    if (stream.size() < 4) return {};
    const int level = stream[3] - '0';
    BitSource in{0, 0, stream.data() + 4, int(stream.size()) - 4};
    Bytes out;
    Lum32u combined = 0;
    for (;;) {
        Lum32u hi = 0, lo = 0;
        EXPECT_TRUE(in.get(24, hi) && in.get(24, lo));
        if (hi == kEndMagicHi && lo == kEndMagicLo) break;
        EXPECT_TRUE(hi == kBlockMagicHi && lo == kBlockMagicLo);
        if (testing::Test::HasFailure()) return {};
        readBlock(in, level, out, combined);
        if (testing::Test::HasFailure()) return {};
    }
    Lum32u stored = 0;
    EXPECT_TRUE(in.get32(stored));
    EXPECT_EQ(stored, combined);
    return out;
}

// ---- libbz2 ----------------------------------------------------------------------------

Bytes bz2Compress(const Bytes& data, int level) {
    Bytes src = data;
    src.push_back(0);  // never empty: libbz2 refuses a null source even of length 0
    unsigned int len = unsigned(data.size() + data.size() / 100 + 700);
    Bytes out(len);
    EXPECT_EQ(BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(out.data()), &len,
                                       reinterpret_cast<char*>(src.data()), unsigned(data.size()), level, 0, 0), BZ_OK);
    out.resize(len);
    return out;
}

Bytes bz2Decompress(Bytes stream, size_t expected) {
    unsigned int len = unsigned(expected + 1);
    Bytes out(len);
    EXPECT_EQ(BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(out.data()), &len,
                                         reinterpret_cast<char*>(stream.data()), unsigned(stream.size()), 0, 0), BZ_OK);
    out.resize(len);
    return out;
}

// Both directions on one input.
void checkBothWays(const Bytes& data, size_t blockBytes) {
    const Bytes ours = lumCompress(data, blockBytes);
    ASSERT_FALSE(testing::Test::HasFatalFailure());
    EXPECT_TRUE(bz2Decompress(ours, data.size()) == data) << "libbz2 reading the lum stream";
    for (int level : {1, 9}) {
        EXPECT_TRUE(lumDecompress(bz2Compress(data, level)) == data) << "lum reading libbz2 level " << level;
        if (testing::Test::HasFailure()) return;
    }
}

// ---- Edge inputs -------------------------------------------------------------------------

Bytes runs(std::initializer_list<std::pair<int, int>> valueCount) {
    Bytes b;
    for (auto [value, count] : valueCount) b.insert(b.end(), size_t(count), Lum8u(value));
    return b;
}

Bytes allValues() {
    Bytes b(256 * 3);
    for (size_t i = 0; i < b.size(); ++i) b[i] = Lum8u(i / 256 % 2 ? 255 - i % 256 : i % 256);
    return b;
}

TEST(Bz2Stream, EdgeInputsBothWays) {
    const struct { const char* name; Bytes data; size_t blockBytes; } cases[] = {
        {"empty", {}, 100000}, {"one byte", {'x'}, 100000}, {"one value repeated", runs({{'a', 30000}}), 100000},
        {"runs of 4 5 255 256 259 260", runs({{1, 4}, {2, 5}, {3, 255}, {4, 256}, {5, 259}, {6, 260}, {1, 3}}), 100000},
        {"run of 4 at the end", runs({{7, 1}, {9, 4}}), 100000},
        {"runs cut by blocks", runs({{'z', 2500}, {'y', 1}, {'z', 999}}), 1000},
        {"periodic", repeated("abcab", 8000), 100000},
        {"periodic long unit", repeated("the quick brown fox jumps ", 2000), 100000},
        {"all 256 values", allValues(), 100000}, {"random three blocks", randomBytes(230000, 1), 100000},
        {"random two values", randomBytes(60000, 2, 2), 100000}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        checkBothWays(c.data, c.blockBytes);
        if (HasFailure()) return;
    }
}

// The corpus in blocks of 100000 bytes; the sanitizer build reads a few files only.
TEST(Bz2Stream, CorpusBothWays) {
#ifdef __SANITIZE_ADDRESS__
    const char* const files[] = {"paper1", "progc", "obj1"};
#else
    const auto& files = kCorpusFiles;
#endif
    for (const char* name : files) {
        const Bytes data = corpusFile(name, 1u << 30);
        if (data.empty()) GTEST_SKIP() << "corpus file " << name << " not found in " << PERFDC_CORPUS_DIR;
        SCOPED_TRACE(name);
        checkBothWays(data, 100000);
    }
}

}  // namespace
