// The Mann-Whitney U test (Wilcoxon rank-sum): do two samples come from one
// distribution? Used on the per-run figures of a parameter set in two tables.
#ifndef PERFDC_REPORT_MANN_WHITNEY_H
#define PERFDC_REPORT_MANN_WHITNEY_H

#include <vector>

namespace report {

struct UTest {
    double u = 0;       // U of the first sample: pairs (a, b) with a > b, ties counting one half
    double p = 1;       // two-sided p-value
    bool exact = false; // from the exact distribution, else the normal approximation
};

// Exact distribution when both samples are small (at most 8, or one of them) and
// hold no ties; otherwise the normal approximation with the tie correction of the
// variance and a continuity correction. Empty samples give p = 1.
UTest mannWhitneyU(const std::vector<double>& a, const std::vector<double>& b);

}  // namespace report

#endif
