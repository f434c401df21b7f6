// Two tables side by side: parameter sets matched by function and parameter
// cells, the new/base ratio per set, geometric means of the ratios per function
// and overall, and a verdict per function that calls a change real only when the
// ranges of the two runs do not overlap.
#ifndef PERFDC_REPORT_COMPARE_H
#define PERFDC_REPORT_COMPARE_H

#include "stats.h"

#include <string>
#include <vector>

namespace report {

enum class Verdict { Faster, Slower, Noise };
const char* verdictWord(Verdict v);

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

struct SetComparison {
    RowKey key;
    std::string label;
    Sample base;
    Sample cur;
    double ratio = 0;  // new best / base best; below 1 is faster
    Verdict verdict = Verdict::Noise;
};

struct FunctionComparison {
    std::string function;
    std::string module;
    int sets = 0;
    double ratio = 0;   // geometric mean of the sets' ratios
    Range base, cur;    // geometric means of the sets' best and worst figures
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
};

// Throws TableError when the tables share no parameter set.
Comparison compareTables(const Table& base, const Table& cur, double noiseFloor);

// Functions slower (by their verdict) by more than the fraction `limit`.
std::vector<FunctionComparison> slowerThan(const Comparison& c, double limit);

}  // namespace report

#endif
