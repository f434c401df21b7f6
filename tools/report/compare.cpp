#include "compare.h"

#include <fmt/format.h>

#include <map>

namespace report {

const char* verdictWord(Verdict v) {
    switch (v) {
    case Verdict::Faster: return "faster";
    case Verdict::Slower: return "slower";
    default: return "within noise";
    }
}

Verdict judge(Range base, Range cur, double noiseFloor) {
    const double down = 1 - noiseFloor / 2, up = 1 + noiseFloor / 2;
    if (cur.high * up < base.low * down) return Verdict::Faster;
    if (cur.low * down > base.high * up) return Verdict::Slower;
    return Verdict::Noise;
}

Comparison compareTables(const Table& base, const Table& cur, double noiseFloor) {
    Comparison c;
    c.noiseFloor = noiseFloor;
    c.base = summarize(base);
    c.cur = summarize(cur);
    std::map<RowKey, const Measured*> inNew;
    for (const Measured& m : c.cur.sets) inNew.emplace(m.key, &m);

    std::map<RowKey, bool> matched;
    for (const Measured& b : c.base.sets) {
        auto it = inNew.find(b.key);
        if (it == inNew.end()) {
            c.onlyBase.push_back(b);
            continue;
        }
        const Sample& n = it->second->sample;
        matched[b.key] = true;
        c.sets.push_back(SetComparison{b.key, b.label, b.sample, n, n.best / b.sample.best,
                                       judge({b.sample.best, b.sample.worst}, {n.best, n.worst}, noiseFloor)});
    }
    for (const Measured& n : c.cur.sets)
        if (!matched.count(n.key)) c.onlyNew.push_back(n);
    if (c.sets.empty())
        throw TableError(fmt::format("{} and {} have no function and parameter set in common: nothing to compare",
                                     base.name, cur.name));

    // Per function, in the base table's order.
    std::vector<double> functionRatios;
    for (const FunctionFigure& f : c.base.functions) {
        std::vector<double> ratios, baseLow, baseHigh, curLow, curHigh;
        for (const SetComparison& s : c.sets) {
            if (s.key.function != f.function) continue;
            ratios.push_back(s.ratio);
            baseLow.push_back(s.base.best);
            baseHigh.push_back(s.base.worst);
            curLow.push_back(s.cur.best);
            curHigh.push_back(s.cur.worst);
        }
        if (ratios.empty()) continue;
        FunctionComparison fc{f.function, f.module, static_cast<int>(ratios.size()), geomean(ratios),
                              {geomean(baseLow), geomean(baseHigh)}, {geomean(curLow), geomean(curHigh)},
                              Verdict::Noise};
        fc.verdict = judge(fc.base, fc.cur, noiseFloor);
        functionRatios.push_back(fc.ratio);
        c.functions.push_back(fc);
    }
    c.overall = geomean(functionRatios);
    return c;
}

std::vector<FunctionComparison> slowerThan(const Comparison& c, double limit) {
    std::vector<FunctionComparison> out;
    for (const FunctionComparison& f : c.functions)
        if (f.verdict == Verdict::Slower && f.ratio > 1 + limit) out.push_back(f);
    return out;
}

}  // namespace report
