#include "document.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <functional>
#include <limits>
#include <map>

namespace report {

namespace {

const char* const kFactLabels[] = {"Computer", "Library", "Start", "Timing", "Test"};
const double kNone = std::numeric_limits<double>::quiet_NaN();

std::string factText(const Table& t, const std::string& label) {
    std::string text;
    for (const auto& [key, value] : t.runs.front().facts)
        if (key == label) text += (text.empty() ? "" : " | ") + value;
    return text.empty() ? "-" : text;
}

void addFacts(Document& d, const std::vector<const Table*>& tables) {
    for (const Table* t : tables) d.sources.push_back(t->name);
    for (const char* label : kFactLabels) {
        std::vector<std::string> values;
        for (const Table* t : tables) values.push_back(factText(*t, label));
        d.facts.emplace_back(label, values);
    }
    std::vector<std::string> runs;
    for (const Table* t : tables) runs.push_back(fmt::format("{} run(s), {} result lines", t->runs.size(), t->rows.size()));
    d.facts.emplace_back("Table", runs);
    for (const Table* t : tables) d.notes.insert(d.notes.end(), t->notes.begin(), t->notes.end());
}

std::string spreadText(const Sample& s) { return s.count > 1 ? fmt::format("{:.1f}%", 100 * s.spread()) : "-"; }

// One chart per module over the given parameter sets; each series gives a
// figure per set (NaN where it has none).
using SeriesFn = std::function<double(const RowKey&)>;
void addCharts(Document& d, const std::vector<Measured>& sets, const std::string& unit,
               const std::vector<std::pair<std::string, SeriesFn>>& series) {
    std::vector<std::string> modules;
    for (const Measured& m : sets) {
        std::string mod = moduleOf(m.key.function);
        if (std::find(modules.begin(), modules.end(), mod) == modules.end()) modules.push_back(mod);
    }
    for (const std::string& mod : modules) {
        Chart chart{mod, unit, {}, {}};
        for (const auto& [name, fn] : series) chart.series.push_back(ChartSeries{name, {}});
        for (const Measured& m : sets) {
            if (moduleOf(m.key.function) != mod) continue;
            chart.categories.push_back(m.key.function + "  " + m.label);
            for (size_t i = 0; i < series.size(); ++i) chart.series[i].values.push_back(series[i].second(m.key));
        }
        d.charts.push_back(std::move(chart));
    }
}

SeriesFn seriesOf(std::map<RowKey, double> figures) {
    auto shared = std::make_shared<std::map<RowKey, double>>(std::move(figures));
    return [shared](const RowKey& k) {
        auto it = shared->find(k);
        return it == shared->end() ? kNone : it->second;
    };
}

// Best figure per parameter set within one run of a table.
std::map<RowKey, double> bestOfRun(const Table& t, int run) {
    std::map<RowKey, double> best;
    for (const Row& r : t.rows) {
        if (r.run != run) continue;
        auto [it, fresh] = best.emplace(RowKey{r.function, r.parms}, r.clocks);
        if (!fresh) it->second = std::min(it->second, r.clocks);
    }
    return best;
}

}  // namespace

std::string formatClocks(double v) {
    if (std::isnan(v)) return "-";
    if (v >= 100) return fmt::format("{:.0f}", v);
    if (v >= 10) return fmt::format("{:.1f}", v);
    if (v >= 1) return fmt::format("{:.2f}", v);
    return fmt::format("{:.3g}", v);
}

std::string formatRatio(double r) { return fmt::format("{:.3f}", r); }

std::string formatChange(double r) { return fmt::format("{:+.1f}%", 100 * (r - 1)); }

Tone toneOf(Verdict v) {
    switch (v) {
    case Verdict::Faster: return Tone::Faster;
    case Verdict::Slower: return Tone::Slower;
    default: return Tone::Noise;
    }
}

std::vector<std::vector<std::string>> factRows(const Document& d) {
    std::vector<std::vector<std::string>> rows;
    for (const auto& [label, values] : d.facts) {
        rows.push_back({label});
        rows.back().insert(rows.back().end(), values.begin(), values.end());
    }
    return rows;
}

Document summaryDocument(const Table& table) {
    Summary s = summarize(table);
    Document d;
    d.title = "perfdc results: " + table.name;
    addFacts(d, {&table});
    const std::string per = "clocks/" + s.unit;
    d.headline.push_back(fmt::format("{} functions, {} parameter sets, {} run(s); figures are the best of the runs in {}",
                                     s.functions.size(), s.sets.size(), s.runs, per));

    Section modules{"Modules (geometric mean over all parameter sets)", {"Module", "Functions", per}, {}, 1};
    for (const ModuleFigure& m : s.modules)
        modules.rows.push_back({{m.module}, {std::to_string(m.functions)}, {formatClocks(m.value)}});
    Section functions{"Functions (geometric mean over their parameter sets)", {"Module", "Function", "Sets", per}, {}, 2};
    for (const FunctionFigure& f : s.functions)
        functions.rows.push_back({{f.module}, {f.function}, {std::to_string(f.sets)}, {formatClocks(f.value)}});
    Section sets{"Parameter sets", {"Function", "Parameters", per + " (best)", "Worst", "Spread", "Figures"}, {}, 2};
    for (const Measured& m : s.sets)
        sets.rows.push_back({{m.key.function}, {m.label}, {formatClocks(m.sample.best)}, {formatClocks(m.sample.worst)},
                             {spreadText(m.sample)}, {std::to_string(m.sample.count)}});
    d.sections = {modules, functions, sets};

    std::vector<std::pair<std::string, SeriesFn>> series;
    for (int run = 0; run < s.runs; ++run) {
        std::string start;
        for (const auto& [key, value] : table.runs[run].facts)
            if (key == "Start") start = value;
        series.emplace_back(fmt::format("run {}{}", run + 1, start.empty() ? "" : " (" + start + ")"),
                            seriesOf(bestOfRun(table, run)));
    }
    addCharts(d, s.sets, per, series);
    return d;
}

Document compareDocument(const Table& base, const Table& cur, const Comparison& c) {
    Document d;
    d.title = "perfdc comparison: " + base.name + " -> " + cur.name;
    addFacts(d, {&base, &cur});
    const std::string per = "clocks/" + c.base.unit;
    int faster = 0, slower = 0;
    for (const FunctionComparison& f : c.functions) {
        faster += f.verdict == Verdict::Faster;
        slower += f.verdict == Verdict::Slower;
    }
    d.headline.push_back(fmt::format("Overall new/base ratio {} ({} time): {} faster, {} slower, {} within noise "
                                     "of {} functions compared",
                                     formatRatio(c.overall), formatChange(c.overall), faster, slower,
                                     c.functions.size() - faster - slower, c.functions.size()));
    d.headline.push_back(fmt::format("{} parameter sets matched, {} only in the base table, {} only in the new one; "
                                     "noise floor {:.1f}%",
                                     c.sets.size(), c.onlyBase.size(), c.onlyNew.size(), 100 * c.noiseFloor));

    Section functions{"Functions (geometric means over the matched parameter sets)",
                      {"Module", "Function", "Sets", "Base " + per, "New " + per, "New/base", "Change", "Verdict"},
                      {},
                      2};
    for (const FunctionComparison& f : c.functions) {
        Tone tone = toneOf(f.verdict);
        functions.rows.push_back({{f.module}, {f.function}, {std::to_string(f.sets)}, {formatClocks(f.base.low)},
                                  {formatClocks(f.cur.low)}, {formatRatio(f.ratio), tone},
                                  {formatChange(f.ratio), tone}, {verdictWord(f.verdict), tone}});
    }
    functions.rows.push_back({{"All"}, {"(geometric mean of the functions)"}, {std::to_string(c.sets.size())}, {"-"},
                              {"-"}, {formatRatio(c.overall)}, {formatChange(c.overall)}, {"-"}});

    Section sets{"Parameter sets",
                 {"Function", "Parameters", "Base best", "Base spread", "New best", "New spread", "New/base", "Verdict"},
                 {},
                 2};
    for (const SetComparison& s : c.sets) {
        Tone tone = toneOf(s.verdict);
        sets.rows.push_back({{s.key.function}, {s.label}, {formatClocks(s.base.best)}, {spreadText(s.base)},
                             {formatClocks(s.cur.best)}, {spreadText(s.cur)}, {formatRatio(s.ratio), tone},
                             {verdictWord(s.verdict), tone}});
    }
    d.sections = {functions, sets};
    for (const auto& [title, list] : {std::pair{"Only in the base table " + base.name, &c.onlyBase},
                                      std::pair{"Only in the new table " + cur.name, &c.onlyNew}}) {
        if (list->empty()) continue;
        Section only{title, {"Function", "Parameters", per + " (best)"}, {}, 2};
        for (const Measured& m : *list)
            only.rows.push_back({{m.key.function}, {m.label}, {formatClocks(m.sample.best)}});
        d.sections.push_back(only);
    }

    std::map<RowKey, double> baseBest, newBest;
    for (const SetComparison& s : c.sets) {
        baseBest[s.key] = s.base.best;
        newBest[s.key] = s.cur.best;
    }
    std::vector<Measured> matched;
    for (const SetComparison& s : c.sets) matched.push_back(Measured{s.key, s.label, s.base});
    addCharts(d, matched, per, {{"base: " + base.name, seriesOf(baseBest)}, {"new: " + cur.name, seriesOf(newBest)}});
    return d;
}

}  // namespace report
