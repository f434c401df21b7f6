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

// A fact of the tables' run records: the distinct texts over a table's runs,
// "-" where no run has it.
using RecordFact = std::function<std::string(const RunRecord&)>;
std::string recordText(const Table& t, const RecordFact& fact) {
    std::vector<std::string> texts;
    for (const RunInfo& run : t.runs) {
        if (!run.record) continue;
        std::string text = fact(*run.record);
        if (!text.empty() && std::find(texts.begin(), texts.end(), text) == texts.end()) texts.push_back(text);
    }
    std::string joined;
    for (const std::string& text : texts) joined += (joined.empty() ? "" : " | ") + text;
    return joined.empty() ? "-" : joined;
}

std::string hostText(const RunRecord& r) {
    std::string text = r.cpu.empty() ? "CPU unknown" : r.cpu;
    if (r.logicalCpus > 0) text += fmt::format("; {} logical CPUs", r.logicalCpus);
    if (!r.hypervisor.empty()) text += "; hypervisor " + r.hypervisor;
    if (r.tscHz > 0) text += fmt::format("; TSC {:.3f} GHz", r.tscHz / 1e9);
    if (!r.hostName.empty()) text = r.hostName + ": " + text;
    return text;
}

std::string buildText(const RunRecord& r) {
    if (r.compiler.empty() && r.buildType.empty()) return {};
    return (r.buildType.empty() ? "build type unknown" : r.buildType) + (r.compiler.empty() ? "" : ", " + r.compiler);
}

std::string coreText(const RunRecord& r) {
    return r.corePerTick() > 0 ? fmt::format("{:.3f}", r.corePerTick()) : std::string();
}

const std::pair<const char*, RecordFact> kRecordFacts[] = {
    {"Host", hostText},
    {"Build", buildText},
    {"Lum path", [](const RunRecord& r) { return r.lumPath; }},
    {"Preload", [](const RunRecord& r) { return r.preload; }},
    {"Core/tick", coreText},
};

bool anyRecord(const std::vector<const Table*>& tables) {
    for (const Table* t : tables)
        for (const RunInfo& run : t->runs)
            if (run.record) return true;
    return false;
}

// The record's facts beside the title lines; the record file, or why there is none.
void addRecordFacts(Document& d, const std::vector<const Table*>& tables) {
    if (!anyRecord(tables)) return;
    for (const auto& [label, fact] : kRecordFacts) {
        std::vector<std::string> values;
        for (const Table* t : tables) values.push_back(recordText(*t, fact));
        d.facts.emplace_back(label, values);
    }
    std::vector<std::string> matched;
    for (const Table* t : tables) {
        int n = 0;
        for (const RunInfo& run : t->runs) n += run.record.has_value();
        matched.push_back(fmt::format("{} of {} run(s)", n, t->runs.size()));
    }
    d.facts.emplace_back("Recorded", matched);
}

// Warnings when the two sides ran on different processors, builds or code paths:
// a ratio then measures the machines as much as the change.
void addMismatchWarnings(Document& d, const Table& base, const Table& cur, const Comparison& c) {
    const std::pair<const char*, RecordFact> compared[] = {
        {"CPU", [](const RunRecord& r) { return r.cpu; }},
        {"build type", [](const RunRecord& r) { return r.buildType; }},
        {"lum path", [](const RunRecord& r) { return r.lumPath; }},
    };
    for (const auto& [what, fact] : compared) {
        const std::string a = recordText(base, fact), b = recordText(cur, fact);
        if (a != "-" && b != "-" && a != b)
            d.headline.push_back(fmt::format("Warning: the tables differ in {}: {} (base) and {} (new); the ratios "
                                             "compare these as well as the change",
                                             what, a, b));
    }
    auto fewest = [](const Summary& s) {
        int n = 1 << 30;
        for (const Measured& m : s.sets) n = std::min(n, m.sample.count);
        return n;
    };
    const int nb = fewest(c.base), nc = fewest(c.cur);
    if ((nb < kMinRuns) != (nc < kMinRuns))
        d.headline.push_back(fmt::format("Note: the fewest runs judged for a parameter set are {} in {} and {} in {} "
                                         "(runs of disturbed tests left out): with fewer than {} on a side a change "
                                         "counts only beyond {:.0f}%",
                                         nb, base.name, nc, cur.name, kMinRuns, 100 * kUnknownSpreadFloor));
}

std::string spreadText(const Sample& s) { return s.count > 1 ? fmt::format("{:.1f}%", 100 * s.spread()) : "-"; }

// "2 of 3" when runs of the set were disturbed, "all 3" when every one was.
std::string disturbedText(const Sample& s) {
    if (!s.disturbed) return "-";
    if (s.onlyDisturbed) return fmt::format("all {}", s.count);
    return fmt::format("{} of {}", s.disturbed, s.count + s.disturbed);
}

Cell disturbedCell(const Sample& s, const char* side = "") {
    if (!s.disturbed) return {"-"};
    return {std::string(side) + disturbedText(s), Tone::Disturbed};
}

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
    if (!(v > 0) || !std::isfinite(v)) return "-";
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
    case Verdict::Disturbed: return Tone::Disturbed;
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

Document summaryDocument(const Table& table, bool functionsOnly) {
    Summary s = summarize(table);
    Document d;
    d.title = "perfdc results: " + table.name;
    addFacts(d, {&table});
    addRecordFacts(d, {&table});
    const std::string per = "clocks/" + s.unit;
    d.headline.push_back(fmt::format("{} functions, {} parameter sets, {} run(s); figures are the best of the runs in {}",
                                     s.functions.size(), s.sets.size(), s.runs, per));
    bool core = false;
    int disturbed = 0;
    for (const FunctionFigure& f : s.functions) {
        core = core || f.core > 0;
        disturbed += f.disturbed;
    }
    if (disturbed)
        d.headline.push_back(fmt::format("{} parameter sets have figures from runs the record flags as disturbed: "
                                         "their best figure is taken from the quiet runs where there are any",
                                         disturbed));

    Section modules{"Modules (geometric mean over all parameter sets)", {"Module", "Functions", per}, {}, 1};
    for (const ModuleFigure& m : s.modules)
        modules.rows.push_back({{m.module}, {std::to_string(m.functions)}, {formatClocks(m.value)}});
    Section functions{"Functions (geometric mean over their parameter sets; spread: median over the sets)",
                      {"Module", "Function", "Sets", per, "Spread"}, {}, 2};
    if (core) functions.head.push_back("core " + per);
    if (s.recorded) functions.head.push_back("Disturbed sets");
    for (const FunctionFigure& f : s.functions) {
        std::vector<Cell> row{{f.module}, {f.function}, {std::to_string(f.sets)}, {formatClocks(f.value)},
                              {s.runs > 1 ? fmt::format("{:.1f}%", 100 * f.spread) : "-"}};
        if (core) row.push_back({formatClocks(f.core)});
        if (s.recorded) row.push_back(f.disturbed ? Cell{std::to_string(f.disturbed), Tone::Disturbed} : Cell{"-"});
        functions.rows.push_back(row);
    }
    if (functionsOnly) {
        d.sections = {functions};
        return d;
    }
    Section sets{"Parameter sets", {"Function", "Parameters", per + " (best)", "Worst", "Spread", "Figures"}, {}, 2};
    if (core) sets.head.push_back("core " + per);
    if (s.recorded) sets.head.push_back("Disturbed runs");
    for (const Measured& m : s.sets) {
        std::vector<Cell> row{{m.key.function}, {m.label}, {formatClocks(m.sample.best)}, {formatClocks(m.sample.worst)},
                              {spreadText(m.sample)}, {std::to_string(m.sample.count)}};
        if (core) row.push_back({formatClocks(m.sample.bestCore())});
        if (s.recorded) row.push_back(disturbedCell(m.sample));
        sets.rows.push_back(row);
    }
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
    d.sourceLabels = {"base", "new"};
    addRecordFacts(d, {&base, &cur});
    const std::string per = "clocks/" + c.base.unit;
    int faster = 0, slower = 0, noise = 0;
    for (const FunctionComparison& f : c.functions) {
        faster += f.verdict == Verdict::Faster;
        slower += f.verdict == Verdict::Slower;
        noise += f.verdict == Verdict::Noise;
    }
    const int others = static_cast<int>(c.functions.size()) - faster - slower - noise;
    d.headline.push_back(fmt::format("Overall new/base ratio {} ({} time): {} faster, {} slower, {} within noise{} "
                                     "of {} functions compared",
                                     formatRatio(c.overall), formatChange(c.overall), faster, slower, noise,
                                     others ? fmt::format(", {} not judged", others) : "", c.functions.size()));
    d.headline.push_back(fmt::format("{} parameter sets matched, {} only in the base table, {} only in the new one; "
                                     "noise floor {:.1f}%",
                                     c.sets.size(), c.onlyBase.size(), c.onlyNew.size(), 100 * c.noiseFloor));
    if (c.disturbedSets || c.unknownSets)
        d.headline.push_back(fmt::format("Not judged: {} parameter sets disturbed (every run of a side flagged by the "
                                         "run record), {} with the spread unknown (fewer than {} runs on a side and "
                                         "a change within {:.0f}%)",
                                         c.disturbedSets, c.unknownSets, kMinRuns, 100 * kUnknownSpreadFloor));
    addMismatchWarnings(d, base, cur, c);

    bool core = false, recorded = c.base.recorded || c.cur.recorded;
    for (const FunctionComparison& f : c.functions) core = core || f.baseCore > 0 || f.curCore > 0;
    Section functions{"Functions (geometric means over the matched parameter sets, 95% bootstrap interval)",
                      {"Module", "Function", "Sets", "Base " + per, "New " + per},
                      {},
                      2};
    if (core) functions.head.insert(functions.head.end(), {"Base core", "New core"});
    functions.head.insert(functions.head.end(), {"New/base", "Interval", "Change", "Verdict"});
    for (const FunctionComparison& f : c.functions) {
        Tone tone = toneOf(f.verdict);
        std::vector<Cell> row{{f.module}, {f.function},
                              {f.judged == f.sets ? std::to_string(f.sets) : fmt::format("{} of {}", f.judged, f.sets)},
                              {formatClocks(f.base.low)}, {formatClocks(f.cur.low)}};
        if (core) row.insert(row.end(), {{formatClocks(f.baseCore)}, {formatClocks(f.curCore)}});
        const std::string interval = f.interval.high > 0 ? formatRatio(f.interval.low) + ".." + formatRatio(f.interval.high)
                                                         : "-";
        row.insert(row.end(), {{formatRatio(f.ratio), tone}, {interval}, {formatChange(f.ratio), tone},
                               {verdictWord(f.verdict), tone}});
        functions.rows.push_back(row);
    }
    std::vector<Cell> all{{"All"}, {"(geometric mean of the functions)"}, {std::to_string(c.sets.size())}, {"-"}, {"-"}};
    if (core) all.insert(all.end(), {{"-"}, {"-"}});
    all.insert(all.end(), {{formatRatio(c.overall)}, {"-"}, {formatChange(c.overall)}, {"-"}});
    functions.rows.push_back(all);

    Section sets{"Parameter sets",
                 {"Function", "Parameters", "Base best", "Base spread", "New best", "New spread"},
                 {},
                 2};
    if (core) sets.head.insert(sets.head.end(), {"Base core", "New core"});
    sets.head.insert(sets.head.end(), {"New/base", "Verdict", "Runs", "U test p"});
    if (recorded) sets.head.push_back("Disturbed");
    for (const SetComparison& s : c.sets) {
        Tone tone = toneOf(s.verdict);
        std::vector<Cell> row{{s.key.function}, {s.label}, {formatClocks(s.base.best)}, {spreadText(s.base)},
                              {formatClocks(s.cur.best)}, {spreadText(s.cur)}};
        if (core) row.insert(row.end(), {{formatClocks(s.base.bestCore())}, {formatClocks(s.cur.bestCore())}});
        row.insert(row.end(), {{formatRatio(s.ratio), tone}, {verdictWord(s.verdict), tone},
                               {fmt::format("{}/{}", s.base.count, s.cur.count)},
                               {s.p >= 0 ? fmt::format("{:.3f}", s.p) : "-"}});
        if (recorded) {
            std::string text;
            if (s.base.disturbed) text += "base " + disturbedText(s.base);
            if (s.cur.disturbed) text += (text.empty() ? "" : ", ") + ("new " + disturbedText(s.cur));
            row.push_back(text.empty() ? Cell{"-"} : Cell{text, Tone::Disturbed});
        }
        sets.rows.push_back(row);
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
