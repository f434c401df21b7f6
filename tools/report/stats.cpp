#include "stats.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace report {

bool RowKey::operator<(const RowKey& o) const {
    if (function != o.function) return function < o.function;
    return parms < o.parms;
}

void Sample::add(double clocks) {
    best = count ? std::min(best, clocks) : clocks;
    worst = count ? std::max(worst, clocks) : clocks;
    ++count;
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

std::vector<Measured> collect(const Table& table) {
    std::vector<Measured> sets;
    std::map<RowKey, size_t> index;
    for (const Row& row : table.rows) {
        RowKey key{row.function, row.parms};
        auto [it, fresh] = index.emplace(key, sets.size());
        if (fresh) sets.push_back(Measured{key, parmLabel(table, key), Sample{}});
        sets[it->second].sample.add(row.clocks);
    }
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
    std::vector<std::vector<double>> perFunction, perModule;
    for (const Measured& m : s.sets) {
        size_t f = slotOf(s.functions, perFunction, &FunctionFigure::function,
                          FunctionFigure{m.key.function, moduleOf(m.key.function), 0, 0});
        ++s.functions[f].sets;
        perFunction[f].push_back(m.sample.best);
    }
    for (size_t i = 0; i < s.functions.size(); ++i) {
        FunctionFigure& f = s.functions[i];
        f.value = geomean(perFunction[i]);
        size_t m = slotOf(s.modules, perModule, &ModuleFigure::module, ModuleFigure{f.module, 0, 0});
        ++s.modules[m].functions;
        perModule[m].insert(perModule[m].end(), perFunction[i].begin(), perFunction[i].end());
    }
    for (size_t i = 0; i < s.modules.size(); ++i) s.modules[i].value = geomean(perModule[i]);
    return s;
}

}  // namespace report
