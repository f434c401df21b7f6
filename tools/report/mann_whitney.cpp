#include "mann_whitney.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace report {

namespace {

// Number of orderings of m and n values (no ties) whose U is at most u, divided
// by the number of all orderings: the exact lower tail P(U <= u).
double exactLowerTail(int m, int n, int u) {
    if (u < 0) return 0;
    // count[i][k]: orderings of i values of the first and j of the second sample
    // with U == k, built up one j at a time by the recurrence
    // c(i, j, k) = c(i - 1, j, k - j) + c(i, j - 1, k).
    const int maxU = m * n;
    std::vector<std::vector<double>> prev(m + 1, std::vector<double>(maxU + 1, 0)), cur = prev;
    for (int i = 0; i <= m; ++i) prev[i][0] = 1;  // j = 0: one ordering, U = 0
    for (int j = 1; j <= n; ++j) {
        for (int i = 0; i <= m; ++i) {
            for (int k = 0; k <= maxU; ++k) {
                double c = prev[i][k];
                if (i > 0 && k >= j) c += cur[i - 1][k - j];
                cur[i][k] = c;
            }
        }
        std::swap(prev, cur);
    }
    double below = 0, all = 0;
    for (int k = 0; k <= maxU; ++k) {
        all += prev[m][k];
        if (k <= u) below += prev[m][k];
    }
    return below / all;
}

}  // namespace

UTest mannWhitneyU(const std::vector<double>& a, const std::vector<double>& b) {
    UTest t;
    const size_t m = a.size(), n = b.size();
    if (!m || !n) return t;

    // Ranks of the pooled sample, ties given their mean rank.
    std::vector<std::pair<double, bool>> pooled;  // value, from the first sample
    for (double v : a) pooled.emplace_back(v, true);
    for (double v : b) pooled.emplace_back(v, false);
    std::sort(pooled.begin(), pooled.end(), [](const auto& x, const auto& y) { return x.first < y.first; });
    double rankSumA = 0, tieTerm = 0;
    for (size_t i = 0; i < pooled.size();) {
        size_t j = i;
        while (j < pooled.size() && pooled[j].first == pooled[i].first) ++j;
        const double rank = (i + 1 + j) / 2.0, ties = static_cast<double>(j - i);
        tieTerm += ties * ties * ties - ties;
        for (size_t k = i; k < j; ++k)
            if (pooled[k].second) rankSumA += rank;
        i = j;
    }
    const double mn = static_cast<double>(m * n);
    t.u = rankSumA - m * (m + 1) / 2.0;
    const double high = std::max(t.u, mn - t.u);  // the larger of the two samples' U

    if ((m <= 8 || n <= 8) && tieTerm == 0) {
        // P(U >= high) equals P(U <= mn - high) by symmetry.
        t.exact = true;
        t.p = std::min(1.0, 2 * exactLowerTail(static_cast<int>(m), static_cast<int>(n),
                                               static_cast<int>(mn - high)));
        return t;
    }
    const double total = static_cast<double>(m + n);
    const double sigma = std::sqrt(mn / 12 * ((total + 1) - tieTerm / (total * (total - 1))));
    if (!(sigma > 0)) return t;  // every value equal: nothing tells the samples apart
    const double z = (high - mn / 2 - 0.5) / sigma;
    t.p = std::min(1.0, std::erfc(z / std::sqrt(2.0)));
    return t;
}

}  // namespace report
