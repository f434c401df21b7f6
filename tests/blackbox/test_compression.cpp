// Black-box runs of the compression modules (BZ2 pipeline, BZ2 Huffman, deflate,
// LZO, LZSS): their table lines and parameter cells, the console's parameter
// lines, the corpus loading rules on a made-up corpus folder, and a reduced run of
// the whole suite whose console, tables and summary must agree.
#include "runner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace {

const std::string kCorpus = PERFDC_CORPUS_DIR;

// Under the sanitizers the program is many times slower: fewer corpus files.
#ifdef __SANITIZE_ADDRESS__
const char* const kFiles = "progc";
#else
const char* const kFiles = "progc;trans";
#endif

// The PS Summary counts no failure, warning or undefined result.
bool clean(const RunResult& r) {
    for (const char* row : {"| .Failures                0 ", "| ...Warnings              0 ", "| ...Undefined             0 "})
        if (r.count(row) != 1) return false;
    return true;
}

std::string fileSize(const std::string& name) {
    return std::to_string(std::filesystem::file_size(kCorpus + "/" + name));
}

class CompressionRun : public ::testing::Test {
protected:
    void needCorpus() {
        if (!std::filesystem::exists(kCorpus + "/progc")) GTEST_SKIP() << "no corpus in " << kCorpus;
    }
    // A Manual-timing run of the selection, writing perfdc.csv (and the name table);
    // every test must end OK.
    std::vector<std::vector<std::string>> measure(std::vector<std::string> args, const std::string& dir) {
        std::vector<std::string> all = {"-B", "-LPERF", "-dMethod=Manual", "-dNumLoops=2", "-r", "-q", "-p" + dir + "/"};
        all.insert(all.end(), args.begin(), args.end());
        last = box.run(all);
        EXPECT_EQ(0, last.exitCode) << last.output;
        EXPECT_TRUE(clean(last)) << last.output;
        EXPECT_EQ(0, last.count("-- Output check failed")) << last.output;
        return resultLines(box.read("perfdc.csv"));
    }
    Sandbox box;
    RunResult last;
};

// Checks one table line: function, parameter cells, the Manual loop cell, the unit.
void expectLine(const std::vector<std::string>& c, const std::vector<std::string>& head) {
    ASSERT_EQ(14u, c.size());
    for (size_t i = 0; i < head.size(); ++i) EXPECT_EQ(head[i], c[i]) << "cell " << i;
    for (size_t i = head.size(); i <= 8; ++i) EXPECT_EQ("-", c[i]) << "cell " << i;
    EXPECT_EQ("nLps=2", c[9]);
    EXPECT_EQ("e", c[11]);
}

}  // namespace

TEST_F(CompressionRun, Bz2PipelineOneLinePerFileAndHint) {
    needCorpus();
    auto lines = measure({"-mp_dcbz2_ia", std::string("-dCodeFile=") + kFiles}, kCorpus);
    const std::vector<std::string> files = kFiles == std::string("progc") ? std::vector<std::string>{"progc"}
                                                                          : std::vector<std::string>{"progc", "trans"};
    const char* const hints[] = {"lumBWTItohTanakaLimSort", "lumBWTItohTanakaUnlimSort", "lumBWTSuffixSort",
                                 " lumBWTAutoSort"};
    ASSERT_EQ(16 * files.size(), lines.size()) << last.output;
    std::map<std::string, size_t> perFunc;
    for (const auto& c : lines) {
        SCOPED_TRACE(c[0]);
        const size_t n = perFunc[c[0]]++;
        if (c[0] == "lumsBWTFwd_SelectSort_8u")
            expectLine(c, {c[0], fileSize(files[n / 4]), files[n / 4], hints[n % 4]});
        else
            expectLine(c, {c[0], fileSize(files[n]), files[n]});  // files shorter than 102400 are measured whole
    }
    EXPECT_EQ(13u, perFunc.size());
    EXPECT_TRUE(last.hasLine(" length=39611 CodeFile=progc ")) << last.output;
    EXPECT_NE(std::string::npos, box.read("perfdc_name.csv").find("lumsBWTFwd_SelectSort_8u,CodeLength,CodeFile,"
                                                                  "LumBWTSortAlgorithmHint"));
}

TEST_F(CompressionRun, HintWordIsTakenWithoutItsBlank) {
    needCorpus();
    // List items are trimmed, so the last word is given without its leading blank.
    auto lines = measure({"-f=lumsBWTFwd_SelectSort_8u", "-dCodeFile=progc",
                          "-dLumBWTSortAlgorithmHint=lumBWTSuffixSort; lumBWTAutoSort"},
                         kCorpus);
    ASSERT_EQ(2u, lines.size()) << last.output;
    EXPECT_EQ("lumBWTSuffixSort", lines[0][3]);
    EXPECT_EQ(" lumBWTAutoSort", lines[1][3]);
}

TEST_F(CompressionRun, HuffmanRunsOnSymbolLengthsNotOnTheCorpus) {
    // The module makes its own data and bounds "HuffLength" to 64 .. 1024 itself.
    auto lines = measure({"-mp_dcbz2huff_vl"}, box.root());
    const char* const funcs[] = {"lumsDecodeHuff_BZ2_8u16u", "lumsEncodeHuff_BZ2_16u8u"};  // sorted by name
    const char* const lengths[] = {"64", "128", "256", "512", "1024"};
    ASSERT_EQ(10u, lines.size()) << last.output;
    for (size_t i = 0; i < lines.size(); ++i) expectLine(lines[i], {funcs[i / 5], lengths[i % 5]});
}

TEST_F(CompressionRun, DeflateMeasuresEveryLevel) {
    needCorpus();
    auto lines = measure({"-mp_dclz77deflate_ia", "-dCodeFile=progc"}, kCorpus);
    const char* const funcs[] = {"lumsDeflateHuff_8u", "lumsDeflateLZ77_8u", "lumsInflate_8u"};
    ASSERT_EQ(9u, lines.size()) << last.output;
    const char* const levels[] = {"1", "6", "9"};
    for (size_t i = 0; i < lines.size(); ++i) expectLine(lines[i], {funcs[i / 3], "39611", "progc", levels[i % 3]});
    EXPECT_TRUE(last.hasLine(" length=39611 CodeFile=progc comprLevel=9 ")) << last.output;
}

TEST_F(CompressionRun, LzoAndLzssFollowCodeLengthAndMethod) {
    needCorpus();
    // progc has 39611 bytes: 65536 measures it whole, 131072 is passed over.
    auto lines = measure({"-mp_dclzo_ia", "-mp_dclzss_ia", "-dCodeFile=progc", "-dCodeLength=16384 131072 *2"}, kCorpus);
    const char* const lengths[] = {"16384", "32768", "39611"};
    ASSERT_EQ(3u * 6 + 2u * 3, lines.size()) << last.output;
    std::map<std::string, int> perFunc;
    for (const auto& c : lines) {
        SCOPED_TRACE(c[0]);
        const int n = perFunc[c[0]]++;
        if (c[0].find("LZO") != std::string::npos)
            expectLine(c, {c[0], lengths[n / 2], "progc", n % 2 ? "MT" : "ST"});
        else
            expectLine(c, {c[0], lengths[n], "progc"});
    }
    EXPECT_EQ(5u, perFunc.size());
    EXPECT_TRUE(last.hasLine("length=16384 CodeLength=16384 CodeFile=progc method=MT ")) << last.output;
    EXPECT_TRUE(last.hasLine("length=39611 CodeLength=65536 CodeFile=progc ")) << last.output;
}

TEST_F(CompressionRun, ShortAndMissingFilesArePassedOver) {
    // A made-up corpus: "bib" of 20000 bytes, "geo" of exactly 32768, "news" missing.
    box.write("data/bib", std::string(20000, 'b'));
    box.write("data/geo", std::string(32768, 'g'));
    auto lines = measure({"-mp_dclzss_ia", "-dCodeFile=bib;geo;news", "-dCodeLength=16384 65536 *2"},
                         box.path("data"));
    const std::vector<std::vector<std::string>> expected = {
        {"16384", "bib"}, {"16384", "geo"}, {"20000", "bib"}, {"32768", "geo"}};
    ASSERT_EQ(2 * expected.size(), lines.size()) << last.output;
    for (size_t i = 0; i < lines.size(); ++i)
        expectLine(lines[i], {i < 4 ? "lumsDecodeLZSS_8u" : "lumsEncodeLZSS_8u", expected[i % 4][0],
                              expected[i % 4][1]});
    EXPECT_EQ(2 * 3, last.count("-- Can't open file " + box.path("data/news"))) << last.output;
    EXPECT_EQ(0, last.count("duplicate lines")) << last.output;
}

TEST_F(CompressionRun, WholeSuiteOnOneFileAgreesWithItsTables) {
    needCorpus();
    RunResult r = box.run({"-B", "-LPERF", "-dMethod=Manual", "-dNumLoops=1", "-dCodeFile=progc",
                           "-dCodeLength=16384", "-p" + kCorpus + "/", "-r", "-u", "-q"});
    ASSERT_EQ(0, r.exitCode) << r.output;
    // checksums 4, BZ2 12 + 4 hints, Huffman 2 x 5 lengths of its own, deflate 3 x 3 levels,
    // LZO 3 x 2 methods, LZSS 2
    const size_t kLines = 4 + 16 + 10 + 9 + 6 + 2;
    auto lines = resultLines(box.read("perfdc.csv"));
    EXPECT_EQ(kLines, lines.size()) << r.output;
    EXPECT_EQ(static_cast<int>(kLines), r.count("nLps=1    perf=")) << r.output;  // one console line each
    for (const auto& c : lines) EXPECT_EQ("e", c[11]) << c[0];

    const std::string sum = box.read("perfdc_sum.csv");
    EXPECT_NE(std::string::npos, sum.find("\n.Number of tests,28\n")) << sum;
    EXPECT_NE(std::string::npos, sum.find("\n.Successes,28\n")) << sum;
    EXPECT_TRUE(clean(r)) << r.output;
    EXPECT_EQ(0, r.count("duplicate lines")) << r.output;

    // the name table: one line per test, each function once
    std::map<std::string, int> names;
    for (const std::string& line : splitLines(box.read("perfdc_name.csv")))
        if (line.rfind("lums", 0) == 0) ++names[cells(line)[0]];
    EXPECT_EQ(27u, names.size());
    for (const auto& [func, n] : names) EXPECT_EQ(1, n) << func;
}
