// Figures of one table and the comparison of two: grouping of repeated runs,
// geometric means, matching, ratios, the noise verdict and the exit codes.
#include "compare.h"
#include "helpers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

using namespace report;

namespace {

TEST(ReportFigures, ModulesOfFunctionNames) {
    const std::pair<const char*, const char*> cases[] = {
        {"lumsCRC32_8u", "Checksum"}, {"lumsAdler32_8u", "Checksum"}, {"lumsCRC32_BZ2_8u", "Checksum"},
        {"lumsEncodeHuff_BZ2_16u8u", "BZ2 Huffman"}, {"lumsBWTFwd_8u", "BZ2"}, {"lumsEncodeRLE_BZ2_8u", "BZ2"},
        {"lumsDeflateLZ77_8u", "Deflate"}, {"lumsInflate_8u", "Deflate"}, {"lumsDecodeLZOSafe_8u", "LZO"},
        {"lumsEncodeLZSS_8u", "LZSS"}, {"__psOrvexCpuTest", "Other"},
    };
    for (const auto& [function, module] : cases) EXPECT_EQ(moduleOf(function), module) << function;
}

TEST(ReportFigures, BestAndSpreadOfRepeatsAndGeometricMeans) {
    // Two runs: each parameter set twice; the best (lowest) figure counts.
    std::string text = runTitle() + row("lumsCRC32_8u", "1", "0.5") + row("lumsCRC32_8u", "2", "2") +
                       row("lumsInflate_8u", "book1", "8") + runTitle() + row("lumsCRC32_8u", "1", "0.4") +
                       row("lumsCRC32_8u", "2", "3") + row("lumsInflate_8u", "book1", "9");
    Summary s = summarize(tableOf(text));
    EXPECT_EQ(s.runs, 2);
    ASSERT_EQ(s.sets.size(), 3u);
    EXPECT_DOUBLE_EQ(s.sets[0].sample.best, 0.4);
    EXPECT_DOUBLE_EQ(s.sets[0].sample.worst, 0.5);
    EXPECT_DOUBLE_EQ(s.sets[0].sample.spread(), 0.25);
    EXPECT_EQ(s.sets[0].sample.count, 2);
    ASSERT_EQ(s.functions.size(), 2u);
    EXPECT_NEAR(s.functions[0].value, std::sqrt(0.4 * 2), 1e-12);
    ASSERT_EQ(s.modules.size(), 2u);
    EXPECT_EQ(s.modules[1].module, "Deflate");
    EXPECT_NEAR(s.modules[1].value, 8, 1e-12);
    EXPECT_TRUE(std::isnan(geomean({})));
    EXPECT_NEAR(geomean({1, 100}), 10, 1e-12);
}

TEST(ReportCompare, VerdictNeverCallsOverlappingRangesReal) {
    struct Case {
        Range base, cur;
        double floor;
        Verdict expected;
    };
    const Case cases[] = {
        {{1.0, 1.2}, {0.8, 0.9}, 0, Verdict::Faster},
        {{1.0, 1.2}, {1.3, 1.4}, 0, Verdict::Slower},
        {{1.0, 1.2}, {0.9, 1.0}, 0, Verdict::Noise},     // touching ranges
        {{1.0, 1.2}, {0.5, 1.1}, 0, Verdict::Noise},     // best far lower, but the ranges overlap
        {{1.0, 1.0}, {1.01, 1.01}, 0.02, Verdict::Noise},  // single figures inside the floor
        {{1.0, 1.0}, {1.03, 1.03}, 0.02, Verdict::Slower},
        {{1.0, 1.0}, {0.97, 0.97}, 0.02, Verdict::Faster},
    };
    for (const Case& c : cases)
        EXPECT_EQ(judge(c.base, c.cur, c.floor), c.expected)
            << c.base.low << ".." << c.base.high << " vs " << c.cur.low << ".." << c.cur.high;
}

// Base: two functions; new: one of them faster, one set only in each table.
const std::string kBase = runTitle() + row("lumsCRC32_8u", "16384", "0.4") + row("lumsCRC32_8u", "32768", "0.2") +
                          row("lumsAdler32_8u", "16384", "0.1") + row("lumsAdler32_8u", "65536", "0.3");
const std::string kNew = runTitle() + row("lumsCRC32_8u", "16384", "0.2") + row("lumsCRC32_8u", "32768", "0.05") +
                         row("lumsAdler32_8u", "16384", "0.1") + row("lumsAdler32_8u", "131072", "0.3");

TEST(ReportCompare, MatchesSetsAndTakesGeometricMeansOfRatios) {
    Comparison c = compareTables(tableOf(kBase, "base.csv"), tableOf(kNew, "new.csv"), 0.02);
    ASSERT_EQ(c.sets.size(), 3u);
    EXPECT_DOUBLE_EQ(c.sets[0].ratio, 0.5);
    EXPECT_DOUBLE_EQ(c.sets[1].ratio, 0.25);
    ASSERT_EQ(c.functions.size(), 2u);
    EXPECT_EQ(c.functions[0].function, "lumsCRC32_8u");
    EXPECT_NEAR(c.functions[0].ratio, std::sqrt(0.5 * 0.25), 1e-12);
    EXPECT_EQ(c.functions[0].verdict, Verdict::Faster);
    EXPECT_EQ(c.functions[1].sets, 1);
    EXPECT_EQ(c.functions[1].verdict, Verdict::Unknown);  // one run a side, no change: the spread is unknown
    EXPECT_NEAR(c.overall, std::sqrt(std::sqrt(0.125) * 1.0), 1e-12);
    ASSERT_EQ(c.onlyBase.size(), 1u);
    EXPECT_EQ(c.onlyBase[0].label, "65536");
    ASSERT_EQ(c.onlyNew.size(), 1u);
    EXPECT_EQ(c.onlyNew[0].label, "131072");
    // The other way round the same change is slower, by the inverse ratio.
    Comparison back = compareTables(tableOf(kNew), tableOf(kBase), 0.02);
    EXPECT_EQ(back.functions[0].verdict, Verdict::Slower);
    EXPECT_NEAR(back.functions[0].ratio * c.functions[0].ratio, 1, 1e-12);
}

TEST(ReportCompare, RepeatedRunsThatOverlapAreWithinNoise) {
    // The new best is 20% lower, but the runs of both tables overlap.
    std::string base = runTitle() + row("lumsCRC32_8u", "1", "1.0") + runTitle() + row("lumsCRC32_8u", "1", "1.5");
    std::string cur = runTitle() + row("lumsCRC32_8u", "1", "0.8") + runTitle() + row("lumsCRC32_8u", "1", "1.2");
    Comparison c = compareTables(tableOf(base), tableOf(cur), 0);
    EXPECT_DOUBLE_EQ(c.sets[0].ratio, 0.8);
    EXPECT_EQ(c.sets[0].verdict, Verdict::Noise);
    EXPECT_EQ(c.functions[0].verdict, Verdict::Noise);
}

}  // namespace
