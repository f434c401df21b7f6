// Two tables side by side: parameter sets matched by function and parameter
// cells, the new/base ratio per set and the geometric mean of the ratios per
// function (with a bootstrap interval) and overall, and verdicts that call a
// change real only when the runs' own spread cannot explain it.
#ifndef PERFDC_REPORT_COMPARE_H
#define PERFDC_REPORT_COMPARE_H

#include "stats.h"

#include <string>
#include <vector>

namespace report {

// Spread unknown: fewer than kMinRuns figures on a side and a change below the
// conservative floor. Disturbed: every figure of a side comes from a disturbed run.
enum class Verdict { Faster, Slower, Noise, Unknown, Disturbed };
const char* verdictWord(Verdict v);

// Figures per set needed on each side for a judgement from the runs' spread.
constexpr int kMinRuns = 3;
// The change a set or function must exceed to be judged with fewer runs: run to
// run changes of several percent are common on shared and virtual machines.
constexpr double kUnknownSpreadFloor = 0.10;
// Significance level of the rank test.
constexpr double kAlpha = 0.05;

// A range of clocks per unit, [low, high].
struct Range {
    double low = 0;
    double high = 0;
};

// Faster when the new range lies wholly below the base range, slower when wholly
// above, within noise when they overlap. Each range is first widened by half the
// noise floor on both sides, so that single figures closer than the floor are
// never told apart.
Verdict judge(Range base, Range cur, double noiseFloor);

// The verdict on one parameter set from the figures of its runs:
// - a side whose every figure is disturbed: Disturbed;
// - at least kMinRuns figures on each side: a change when the Mann-Whitney U test
//   finds the samples different (p < kAlpha) or their ranges do not overlap, and
//   the ratio of the best figures exceeds the floor: the larger of `noiseFloor`
//   and the two sides' typical spreads (median / best - 1);
// - fewer: within noise when the ranges overlap, a change when the ratio exceeds
//   kUnknownSpreadFloor and the ranges (widened by the noise floor) do not,
//   otherwise spread unknown.
// `p` receives the U test's p-value, or -1 when it was not run.
Verdict judgeSet(const Sample& base, const Sample& cur, double noiseFloor, double* p = nullptr);

struct SetComparison {
    RowKey key;
    std::string label;
    Sample base;
    Sample cur;
    double ratio = 0;  // new best / base best; below 1 is faster
    Verdict verdict = Verdict::Noise;
    double p = -1;     // the U test's p-value, -1 when not run
};

struct FunctionComparison {
    std::string function;
    std::string module;
    int sets = 0;       // sets matched
    int judged = 0;     // of them not disturbed
    double ratio = 0;   // geometric mean of the judged sets' ratios (of all when none is judged)
    Range interval;     // 95% bootstrap interval of `ratio`; 0..0 when not computed
    Range base, cur;    // geometric means of the sets' best and worst figures
    double baseCore = 0, curCore = 0;  // geometric means of the best figures in core clocks, 0 unknown
    Verdict verdict = Verdict::Noise;
};

struct Comparison {
    std::vector<SetComparison> sets;
    std::vector<FunctionComparison> functions;
    double overall = 0;            // geometric mean of the functions' ratios
    std::vector<Measured> onlyBase;
    std::vector<Measured> onlyNew;
    Summary base, cur;
    double noiseFloor = 0;
    int disturbedSets = 0, unknownSets = 0;  // sets not judged, by reason
};

// Throws TableError when the tables share no parameter set.
Comparison compareTables(const Table& base, const Table& cur, double noiseFloor);

// Interval of the geometric mean of new/base ratios over the sets, by bootstrap:
// the sets are drawn again with replacement, and within each the runs of both
// sides, the ratio of the drawn best figures taken. The draws are seeded, so a
// report is the same each time. `level` is the share inside, e.g. 0.95.
Range bootstrapInterval(const std::vector<const SetComparison*>& sets, double level, int draws = 2000);

// The per-function verdict from its judged sets:
// - at least kMinRuns figures per side in every set: a change when the bootstrap
//   interval excludes 1 and the ratio exceeds the floor, the larger of
//   `noiseFloor` and the median over the sets of their typical spreads;
// - two figures on a side somewhere: within noise when the interval holds 1,
//   else as for one figure;
// - one figure: a change when the ratio exceeds kUnknownSpreadFloor, otherwise
//   spread unknown.
Verdict judgeFunction(FunctionComparison& f, const std::vector<const SetComparison*>& sets, double noiseFloor);

// Functions judged slower by more than the fraction `limit`.
std::vector<FunctionComparison> slowerThan(const Comparison& c, double limit);

}  // namespace report

#endif
