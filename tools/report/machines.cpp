#include "machines.h"

#include <fmt/format.h>

#include <map>

namespace report {

std::string machineName(const Table& table) {
    for (const RunInfo& run : table.runs) {
        if (!run.record) continue;
        if (!run.record->hostName.empty()) return run.record->hostName;
        if (!run.record->cpu.empty()) return run.record->cpu;
    }
    const std::string computer = table.fact("Computer");
    return computer.empty() ? table.name : computer;
}

Document machinesDocument(const std::vector<Table>& tables) {
    std::vector<Summary> summaries;
    for (const Table& t : tables) summaries.push_back(summarize(t));

    // The parameter sets every machine measured, in the first table's order.
    std::vector<std::map<RowKey, const Sample*>> byKey(tables.size());
    for (size_t m = 0; m < tables.size(); ++m)
        for (const Measured& s : summaries[m].sets) byKey[m].emplace(s.key, &s.sample);
    std::vector<const Measured*> common;
    size_t partial = 0;
    for (const Measured& s : summaries[0].sets) {
        bool everywhere = true;
        for (size_t m = 1; m < tables.size(); ++m) everywhere = everywhere && byKey[m].count(s.key);
        if (everywhere)
            common.push_back(&s);
        else
            ++partial;
    }
    if (common.empty())
        throw TableError(fmt::format("the {} tables have no function and parameter set in common: nothing to compare",
                                     tables.size()));

    Document d;
    d.title = fmt::format("perfdc on {} machines", tables.size());
    for (size_t m = 0; m < tables.size(); ++m) {
        d.sources.push_back(tables[m].name);
        d.sourceLabels.push_back(fmt::format("M{}", m + 1));
    }
    std::vector<std::string> names, runs;
    for (const Table& t : tables) {
        names.push_back(machineName(t));
        runs.push_back(fmt::format("{} run(s)", t.runs.size()));
    }
    d.facts = {{"Machine", names}, {"Library", {}}, {"Runs", runs}};
    for (const Table& t : tables) d.facts[1].second.push_back(t.fact("Library").empty() ? "-" : t.fact("Library"));
    for (const Table& t : tables) d.notes.insert(d.notes.end(), t.notes.begin(), t.notes.end());

    const std::string per = "clocks/" + summaries[0].unit;
    d.headline.push_back(fmt::format("{} parameter sets measured on every machine; figures are geometric means of "
                                     "their best figures, ratios are to M1",
                                     common.size()));
    if (partial)
        d.headline.push_back(fmt::format("{} parameter sets of {} missing on some machine are left out", partial,
                                         tables[0].name));

    // Per function (first-appearance order) and machine: the sets' best figures.
    std::vector<std::string> functions;
    std::map<std::string, std::vector<std::vector<double>>> best, core;
    for (const Measured* s : common) {
        const std::string& f = s->key.function;
        if (!best.count(f)) {
            functions.push_back(f);
            best[f].resize(tables.size());
            core[f].resize(tables.size());
        }
        for (size_t m = 0; m < tables.size(); ++m) {
            const Sample& sample = *byKey[m].at(s->key);
            best[f][m].push_back(sample.best);
            core[f][m].push_back(sample.bestCore());
        }
    }
    bool anyCore = false;
    for (const auto& [f, perMachine] : core)
        for (const auto& values : perMachine) anyCore = anyCore || geomeanIfKnown(values) > 0;

    Section matrix{"Functions by machine (" + per + (anyCore ? ", core clocks where known" : "") + ")",
                   {"Module", "Function", "Sets"},
                   {},
                   2};
    for (size_t m = 0; m < tables.size(); ++m) {
        matrix.head.push_back(fmt::format("M{} {}", m + 1, per));
        if (anyCore) matrix.head.push_back(fmt::format("M{} core", m + 1));
        if (m) matrix.head.push_back(fmt::format("M{}/M1", m + 1));
    }
    Chart chart{"Functions by machine", per, {}, {}};
    for (size_t m = 0; m < tables.size(); ++m) chart.series.push_back({fmt::format("M{}: {}", m + 1, names[m]), {}});
    for (const std::string& f : functions) {
        std::vector<Cell> row{{moduleOf(f)}, {f}, {std::to_string(best[f][0].size())}};
        const double first = geomean(best[f][0]);
        chart.categories.push_back(f);
        for (size_t m = 0; m < tables.size(); ++m) {
            const double value = geomean(best[f][m]);
            row.push_back({formatClocks(value)});
            if (anyCore) row.push_back({formatClocks(geomeanIfKnown(core[f][m]))});
            if (m) row.push_back({formatRatio(value / first)});
            chart.series[m].values.push_back(value);
        }
        matrix.rows.push_back(row);
    }
    d.sections = {matrix};
    d.charts = {chart};
    return d;
}

}  // namespace report
