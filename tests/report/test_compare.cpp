// Figures of one table and the comparison of two: grouping of repeated runs,
// geometric means, matching, ratios, the noise verdict and the exit codes.
#include "compare.h"
#include "helpers.h"
#include "mann_whitney.h"

#include <gtest/gtest.h>

#include <algorithm>
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

TEST(ReportStatistics, MannWhitneyAgreesWithScipy) {
    // U and p from scipy 1.10.1: scipy.stats.mannwhitneyu(a, b, alternative='two-sided'),
    // which takes the exact distribution for small samples without ties and the
    // normal approximation (tie and continuity corrected) otherwise.
    struct Case {
        const char* what;
        std::vector<double> a, b;
        double u, p;
        bool exact;
    };
    const Case cases[] = {
        {"3 v 3 apart", {1, 2, 3}, {4, 5, 6}, 0, 0.1, true},
        {"3 v 3 interleaved", {1, 2, 3}, {1.5, 2.5, 3.5}, 3, 0.7, true},
        {"4 v 4 apart", {1, 2, 3, 4}, {5, 6, 7, 8}, 0, 0.02857142857142857, true},
        {"5 v 5", {1.0, 1.1, 1.2, 1.3, 1.4}, {1.25, 1.35, 1.45, 1.55, 1.65}, 3, 0.05555555555555555, true},
        {"ties", {1, 2, 2, 3, 3, 3, 4}, {2, 3, 4, 4, 5, 5, 6}, 8.5, 0.043051432728945134, false},
        {"10 v 10 with ties", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {5, 6, 7, 8, 9, 10, 11, 12, 13, 14}, 18,
         0.017006577801423665, false},
        {"12 v 12 with ties", {1, 1, 2, 2, 2, 3, 3, 4, 5, 6, 7, 8}, {2, 3, 3, 4, 4, 5, 6, 7, 8, 9, 9, 10}, 37.5,
         0.048163878841202976, false},
        {"all equal", {3, 3, 3}, {3, 3, 3}, 4.5, 1.0, false},
    };
    for (const Case& c : cases) {
        UTest t = mannWhitneyU(c.a, c.b);
        EXPECT_DOUBLE_EQ(t.u, c.u) << c.what;
        EXPECT_NEAR(t.p, c.p, 1e-12) << c.what;
        EXPECT_EQ(t.exact, c.exact) << c.what;
    }
    EXPECT_EQ(mannWhitneyU({}, {1, 2}).p, 1);
}

// A sample of the given per-run figures; `disturbed` more runs were left out.
Sample sample(std::vector<double> figures, int disturbed = 0, bool onlyDisturbed = false) {
    Sample s;
    s.figures = figures;
    s.core.assign(figures.size(), 0);
    s.count = static_cast<int>(figures.size());
    s.best = *std::min_element(figures.begin(), figures.end());
    s.worst = *std::max_element(figures.begin(), figures.end());
    s.disturbed = disturbed;
    s.onlyDisturbed = onlyDisturbed;
    return s;
}

TEST(ReportCompare, SetVerdictsFromTheRunsOwnSpread) {
    struct Case {
        const char* what;
        Sample base, cur;
        Verdict expected;
    };
    const Case cases[] = {
        {"3 v 3 apart by 10%", sample({1.0, 1.01, 1.02}), sample({1.1, 1.11, 1.12}), Verdict::Slower},
        {"3 v 3 apart, faster", sample({1.1, 1.11, 1.12}), sample({1.0, 1.01, 1.02}), Verdict::Faster},
        {"3 v 3 overlapping", sample({1.0, 1.05, 1.1}), sample({1.02, 1.08, 1.12}), Verdict::Noise},
        {"3 v 3 apart but within the new spread", sample({1.0, 1.01, 1.02}), sample({1.03, 1.07, 1.09}),
         Verdict::Noise},
        {"3 v 3 apart but within the floor", sample({1.0, 1.0, 1.0}), sample({1.01, 1.01, 1.01}), Verdict::Noise},
        {"5 v 5 rank test, ranges overlapping", sample({1.0, 1.01, 1.02, 1.03, 1.21}),
         sample({1.2, 1.22, 1.23, 1.24, 1.25}), Verdict::Slower},
        {"1 v 1 beyond 10%", sample({1.0}), sample({1.2}), Verdict::Slower},
        {"1 v 1 within 10%", sample({1.0}), sample({1.05}), Verdict::Unknown},
        {"3 v 1 within 10%", sample({1.0, 1.0, 1.01}), sample({1.08}), Verdict::Unknown},
        {"2 v 2 overlapping, 20% apart at best", sample({1.0, 1.5}), sample({0.8, 1.2}), Verdict::Noise},
        {"2 v 2 apart by 30%", sample({1.0, 1.02}), sample({1.3, 1.32}), Verdict::Slower},
        {"every new run disturbed", sample({1.0, 1.0, 1.0}), sample({2.0, 2.0, 2.0}, 3, true), Verdict::Disturbed},
        {"quiet runs remain", sample({1.0, 1.0, 1.01}), sample({1.0, 1.01}, 1), Verdict::Noise},
    };
    for (const Case& c : cases) {
        double p = 0;
        EXPECT_EQ(judgeSet(c.base, c.cur, 0.02, &p), c.expected) << c.what;
        EXPECT_EQ(p >= 0, c.base.count >= kMinRuns && c.cur.count >= kMinRuns && !c.cur.onlyDisturbed) << c.what;
    }
}

// Three rounds of the checksums; `scale` multiplies the CRC-32 figures, and the
// figures wobble by up to 4% from round to round.
std::string rounds(double scale, const std::vector<std::string>& starts) {
    const double wobble[] = {1.0, 1.04, 1.02};
    std::string text;
    for (size_t r = 0; r < starts.size(); ++r) {
        text += runTitle(starts[r]);
        for (int len : {16384, 32768, 65536, 131072}) {
            text += row("lumsCRC32_8u", std::to_string(len), std::to_string(0.05 * scale * wobble[r] * (1 + len / 1e6)));
            text += row("lumsAdler32_8u", std::to_string(len), std::to_string(0.03 * wobble[(r + 1) % 3]));
        }
    }
    return text;
}

TEST(ReportCompare, RoundsGiveFunctionVerdictsAndDisturbedRunsNeverFail) {
    const std::vector<std::string> a{"a1", "a2", "a3"}, b{"b1", "b2", "b3"};
    const Table base = tableOf(rounds(1, a), "base.csv");
    // The same figures in another order of rounds: within noise everywhere.
    Comparison same = compareTables(base, tableOf(rounds(1, {"b3", "b1", "b2"}), "new.csv"), 0.02);
    for (const FunctionComparison& f : same.functions) {
        EXPECT_EQ(f.verdict, Verdict::Noise) << f.function;
        EXPECT_LE(f.interval.low, 1);
        EXPECT_GE(f.interval.high, 1);
    }
    EXPECT_TRUE(slowerThan(same, 0.05).empty());

    // CRC-32 40% slower: slower, with an interval above 1; Adler-32 unchanged.
    Comparison slower = compareTables(base, tableOf(rounds(1.4, b), "new.csv"), 0.02);
    EXPECT_EQ(slower.functions[0].verdict, Verdict::Slower);
    EXPECT_GT(slower.functions[0].interval.low, 1.2);
    EXPECT_EQ(slower.functions[1].verdict, Verdict::Noise);
    ASSERT_EQ(slowerThan(slower, 0.05).size(), 1u);

    // The same slowdown, but the record flags every new CRC-32 test as disturbed.
    std::vector<nlohmann::json> record;
    for (const std::string& start : b) record.push_back(recordOf(start, {{"lumsCRC32_8u", true}}));
    Comparison disturbed = compareTables(base, recordedTableOf(rounds(1.4, b), record, "new.csv"), 0.02);
    EXPECT_EQ(disturbed.functions[0].verdict, Verdict::Disturbed);
    EXPECT_EQ(disturbed.disturbedSets, 4);
    EXPECT_TRUE(slowerThan(disturbed, 0.05).empty());

    // One disturbed round of three: judged on the two quiet ones, beyond the 10% floor.
    record[1]["tests"][0]["disturbed"] = false;
    record[2]["tests"][0]["disturbed"] = false;
    Comparison one = compareTables(base, recordedTableOf(rounds(1.4, b), record, "new.csv"), 0.02);
    EXPECT_EQ(one.sets[0].cur.count, 2);
    EXPECT_EQ(one.sets[0].cur.disturbed, 1);
    EXPECT_NEAR(one.sets[0].ratio, 1.4 * 1.02, 1e-3) << "the best quiet round against the best base round";
    EXPECT_EQ(one.functions[0].verdict, Verdict::Slower);
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

}  // namespace
