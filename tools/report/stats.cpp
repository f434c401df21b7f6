#include "stats.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace report {

bool RowKey::operator<(const RowKey& o) const {
    if (function != o.function) return function < o.function;
    return parms < o.parms;
}

double Sample::typicalSpread() const { return count ? median(figures) / best - 1 : 0; }

double Sample::bestCore() const {
    double best = 0;
    for (double c : core) {
        if (!(c > 0)) return 0;
        best = best > 0 ? std::min(best, c) : c;
    }
    return best;
}

std::string moduleOf(const std::string& f) {
    auto has = [&f](const char* part) { return f.find(part) != std::string::npos; };
    // Order matters: the BZ2 Huffman functions also carry "BZ2".
    if (has("Huff") && has("BZ2")) return "BZ2 Huffman";
    if (has("CRC") || has("Adler")) return "Checksum";
    if (has("LZO")) return "LZO";
    if (has("LZSS")) return "LZSS";
    if (has("Deflate") || has("Inflate")) return "Deflate";
    if (has("BZ2") || has("BWT") || has("MTF") || has("RLE") || has("Dictionary")) return "BZ2";
    return "Other";
}

double geomean(const std::vector<double>& values) {
    if (values.empty()) return std::nan("");
    double logSum = 0;
    for (double v : values) logSum += std::log(v);
    return std::exp(logSum / static_cast<double>(values.size()));
}

double geomeanIfKnown(const std::vector<double>& values) {
    for (double v : values)
        if (!(v > 0)) return 0;
    return values.empty() ? 0 : geomean(values);
}

double median(std::vector<double> values) {
    if (values.empty()) return std::nan("");
    std::sort(values.begin(), values.end());
    const size_t mid = values.size() / 2;
    return values.size() % 2 ? values[mid] : (values[mid - 1] + values[mid]) / 2;
}

std::string parmLabel(const Table& table, const RowKey& key) {
    const std::vector<std::string>* names = table.namesOf(key.function);
    std::string label;
    for (size_t i = 0; i < key.parms.size(); ++i) {
        if (key.parms[i] == "-" || key.parms[i].empty()) continue;
        if (!label.empty()) label += ", ";
        if (names && i < names->size() && (*names)[i] != "-" && !(*names)[i].empty()) label += (*names)[i] + "=";
        label += key.parms[i];
    }
    return label.empty() ? "-" : label;
}

namespace {

// One run's figure for a parameter set.
struct RunFigure {
    int run = 0;
    double clocks = 0, core = 0;
    bool disturbed = false;
};

Sample sampleOf(const std::vector<RunFigure>& perRun) {
    Sample s;
    for (const RunFigure& f : perRun) s.disturbed += f.disturbed;
    s.onlyDisturbed = s.disturbed == static_cast<int>(perRun.size());
    for (const RunFigure& f : perRun) {
        if (f.disturbed && !s.onlyDisturbed) continue;
        s.figures.push_back(f.clocks);
        s.core.push_back(f.core);
    }
    s.count = static_cast<int>(s.figures.size());
    s.best = *std::min_element(s.figures.begin(), s.figures.end());
    s.worst = *std::max_element(s.figures.begin(), s.figures.end());
    return s;
}

}  // namespace

std::vector<Measured> collect(const Table& table) {
    std::vector<Measured> sets;
    std::vector<std::vector<RunFigure>> perRun;
    std::map<RowKey, size_t> index;
    for (const Row& row : table.rows) {
        RowKey key{row.function, row.parms};
        auto [it, fresh] = index.emplace(key, sets.size());
        if (fresh) {
            sets.push_back(Measured{key, parmLabel(table, key), Sample{}});
            perRun.emplace_back();
        }
        std::vector<RunFigure>& runs = perRun[it->second];
        const double core = row.corePerTick > 0 ? row.clocks * row.corePerTick : 0;
        if (!runs.empty() && runs.back().run == row.run) {
            // The set twice in one run: its lower figure counts.
            RunFigure& f = runs.back();
            if (row.clocks < f.clocks) f = RunFigure{row.run, row.clocks, core, f.disturbed || row.disturbed};
            f.disturbed = f.disturbed || row.disturbed;
        } else {
            runs.push_back(RunFigure{row.run, row.clocks, core, row.disturbed});
        }
    }
    for (size_t i = 0; i < sets.size(); ++i) sets[i].sample = sampleOf(perRun[i]);
    return sets;
}

namespace {

// Position of the named figure in the list, appended (with an empty value list
// beside it) on first sight, so figures keep their first-appearance order.
template <class Figure>
size_t slotOf(std::vector<Figure>& figures, std::vector<std::vector<double>>& values, std::string Figure::*name,
              const Figure& fresh) {
    for (size_t i = 0; i < figures.size(); ++i)
        if (figures[i].*name == fresh.*name) return i;
    figures.push_back(fresh);
    values.emplace_back();
    return figures.size() - 1;
}

}  // namespace

Summary summarize(const Table& table) {
    Summary s;
    s.sets = collect(table);
    s.runs = static_cast<int>(table.runs.size());
    s.unit = table.rows.front().unit;
    for (const RunInfo& run : table.runs) s.recorded += run.record.has_value();
    std::vector<std::vector<double>> perFunction, perModule, core(0), spreads(0);
    for (const Measured& m : s.sets) {
        size_t f = slotOf(s.functions, perFunction, &FunctionFigure::function,
                          FunctionFigure{m.key.function, moduleOf(m.key.function)});
        if (core.size() < perFunction.size()) {
            core.emplace_back();
            spreads.emplace_back();
        }
        ++s.functions[f].sets;
        s.functions[f].disturbed += m.sample.disturbed > 0;
        perFunction[f].push_back(m.sample.best);
        core[f].push_back(m.sample.bestCore());
        spreads[f].push_back(m.sample.spread());
    }
    for (size_t i = 0; i < s.functions.size(); ++i) {
        FunctionFigure& f = s.functions[i];
        f.value = geomean(perFunction[i]);
        f.core = geomeanIfKnown(core[i]);
        f.spread = median(spreads[i]);
        size_t m = slotOf(s.modules, perModule, &ModuleFigure::module, ModuleFigure{f.module});
        ++s.modules[m].functions;
        perModule[m].insert(perModule[m].end(), perFunction[i].begin(), perFunction[i].end());
    }
    for (size_t i = 0; i < s.modules.size(); ++i) s.modules[i].value = geomean(perModule[i]);
    return s;
}

}  // namespace report
