// Complete .bz2 streams both ways: streams written by the lum block-sorting stages alone
// are decompressed by libbz2, and libbz2's own streams (block sizes 1 and 9) are read back
// by the reader built from the lum decoders (both from the fuzz targets' bz2_format.h); on
// the corpus and on edge inputs.
#include <bzlib.h>

#include "bz2_format.h"
#include "test_bz2_common.h"

namespace {

using namespace bz2test;

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
    const Bytes ours = bz2::compress(data, 9, blockBytes, lumBWTAutoSort);
    EXPECT_TRUE(bz2Decompress(ours, data.size()) == data) << "libbz2 reading the lum stream";
    for (int level : {1, 9}) {
        Bytes back;
        EXPECT_EQ(int(bz2::decompress(bz2Compress(data, level), back, data.size() + 1)), int(bz2::Verdict::ok))
            << "lum reading libbz2 level " << level;
        EXPECT_TRUE(back == data) << "lum reading libbz2 level " << level;
    }
}

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
