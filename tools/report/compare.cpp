#include "compare.h"

#include "mann_whitney.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>

namespace report {

namespace {

int fewestRuns(const SetComparison& s) { return std::min(s.base.count, s.cur.count); }

Verdict beyond(double ratio, double floor) {
    if (ratio > 1 + floor) return Verdict::Slower;
    if (ratio < 1 / (1 + floor)) return Verdict::Faster;
    return Verdict::Noise;
}

}  // namespace

const char* verdictWord(Verdict v) {
    switch (v) {
    case Verdict::Faster: return "faster";
    case Verdict::Slower: return "slower";
    case Verdict::Unknown: return "spread unknown";
    case Verdict::Disturbed: return "disturbed";
    default: return "within noise";
    }
}

Verdict judge(Range base, Range cur, double noiseFloor) {
    const double down = 1 - noiseFloor / 2, up = 1 + noiseFloor / 2;
    if (cur.high * up < base.low * down) return Verdict::Faster;
    if (cur.low * down > base.high * up) return Verdict::Slower;
    return Verdict::Noise;
}

Verdict judgeSet(const Sample& base, const Sample& cur, double noiseFloor, double* p) {
    if (p) *p = -1;
    if (base.onlyDisturbed || cur.onlyDisturbed) return Verdict::Disturbed;
    const double ratio = cur.best / base.best;
    if (base.count >= kMinRuns && cur.count >= kMinRuns) {
        const double pValue = mannWhitneyU(base.figures, cur.figures).p;
        if (p) *p = pValue;
        const bool apart = cur.best > base.worst || cur.worst < base.best;
        if (pValue >= kAlpha && !apart) return Verdict::Noise;
        return beyond(ratio, std::max({noiseFloor, base.typicalSpread(), cur.typicalSpread()}));
    }
    const Verdict ranges = judge({base.best, base.worst}, {cur.best, cur.worst}, noiseFloor);
    if (ranges == Verdict::Noise && (base.count > 1 || cur.count > 1)) return Verdict::Noise;
    const Verdict change = beyond(ratio, kUnknownSpreadFloor);
    return change != Verdict::Noise && change == ranges ? change : Verdict::Unknown;
}

Range bootstrapInterval(const std::vector<const SetComparison*>& sets, double level, int draws) {
    if (sets.empty()) return {};
    std::mt19937_64 rng(20261124);
    auto pick = [&rng](size_t n) { return static_cast<size_t>(rng() % n); };
    auto drawnBest = [&pick](const std::vector<double>& figures) {
        double best = figures[pick(figures.size())];
        for (size_t i = 1; i < figures.size(); ++i) best = std::min(best, figures[pick(figures.size())]);
        return best;
    };
    std::vector<double> means;
    means.reserve(draws);
    for (int d = 0; d < draws; ++d) {
        double logSum = 0;
        for (size_t i = 0; i < sets.size(); ++i) {
            const SetComparison& s = *sets[pick(sets.size())];
            logSum += std::log(drawnBest(s.cur.figures) / drawnBest(s.base.figures));
        }
        means.push_back(std::exp(logSum / static_cast<double>(sets.size())));
    }
    std::sort(means.begin(), means.end());
    const double tail = (1 - level) / 2;
    auto at = [&means](double q) {
        return means[std::min(means.size() - 1, static_cast<size_t>(q * static_cast<double>(means.size())))];
    };
    return {at(tail), at(1 - tail)};
}

Verdict judgeFunction(FunctionComparison& f, const std::vector<const SetComparison*>& sets, double noiseFloor) {
    if (sets.empty()) return Verdict::Disturbed;
    int fewest = kMinRuns;
    std::vector<double> spreads;
    for (const SetComparison* s : sets) {
        fewest = std::min(fewest, fewestRuns(*s));
        spreads.push_back(std::max(s->base.typicalSpread(), s->cur.typicalSpread()));
    }
    if (fewest == 1) {
        const Verdict change = beyond(f.ratio, kUnknownSpreadFloor);
        return change == Verdict::Noise ? Verdict::Unknown : change;
    }
    f.interval = bootstrapInterval(sets, 0.95);
    const bool holdsOne = f.interval.low <= 1 && f.interval.high >= 1;
    if (holdsOne) return Verdict::Noise;
    if (fewest >= kMinRuns) return beyond(f.ratio, std::max(noiseFloor, median(spreads)));
    const Verdict change = beyond(f.ratio, kUnknownSpreadFloor);
    return change == Verdict::Noise ? Verdict::Unknown : change;
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
        SetComparison s{b.key, b.label, b.sample, n, n.best / b.sample.best, Verdict::Noise, -1};
        s.verdict = judgeSet(b.sample, n, noiseFloor, &s.p);
        c.disturbedSets += s.verdict == Verdict::Disturbed;
        c.unknownSets += s.verdict == Verdict::Unknown;
        c.sets.push_back(std::move(s));
    }
    for (const Measured& n : c.cur.sets)
        if (!matched.count(n.key)) c.onlyNew.push_back(n);
    if (c.sets.empty())
        throw TableError(fmt::format("{} and {} have no function and parameter set in common: nothing to compare",
                                     base.name, cur.name));

    // Per function, in the base table's order.
    std::vector<double> functionRatios;
    for (const FunctionFigure& ff : c.base.functions) {
        FunctionComparison f;
        f.function = ff.function;
        f.module = ff.module;
        std::vector<const SetComparison*> judged;
        std::vector<double> all, ratios, baseLow, baseHigh, curLow, curHigh, baseCore, curCore;
        for (const SetComparison& s : c.sets) {
            if (s.key.function != ff.function) continue;
            ++f.sets;
            all.push_back(s.ratio);
            if (s.verdict == Verdict::Disturbed) continue;
            judged.push_back(&s);
            ratios.push_back(s.ratio);
            baseLow.push_back(s.base.best);
            baseHigh.push_back(s.base.worst);
            curLow.push_back(s.cur.best);
            curHigh.push_back(s.cur.worst);
            baseCore.push_back(s.base.bestCore());
            curCore.push_back(s.cur.bestCore());
        }
        if (!f.sets) continue;
        f.judged = static_cast<int>(judged.size());
        f.ratio = geomean(judged.empty() ? all : ratios);
        if (!judged.empty()) {
            f.base = {geomean(baseLow), geomean(baseHigh)};
            f.cur = {geomean(curLow), geomean(curHigh)};
            f.baseCore = geomeanIfKnown(baseCore);
            f.curCore = geomeanIfKnown(curCore);
        }
        f.verdict = judgeFunction(f, judged, noiseFloor);
        functionRatios.push_back(f.ratio);
        c.functions.push_back(f);
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
