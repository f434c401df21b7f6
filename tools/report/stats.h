// Figures of one table: the result lines grouped by function and parameter cells
// (a table holding several runs has each parameter set several times), the best
// value and the spread per set, and geometric means per function and per module.
#ifndef PERFDC_REPORT_STATS_H
#define PERFDC_REPORT_STATS_H

#include "table.h"

#include <string>
#include <vector>

namespace report {

// Function name and parameter cells: what identifies a measured parameter set.
struct RowKey {
    std::string function;
    std::vector<std::string> parms;
    bool operator<(const RowKey& o) const;
    bool operator==(const RowKey& o) const { return function == o.function && parms == o.parms; }
};

// All figures of one parameter set: best (lowest) and worst clocks per unit.
struct Sample {
    double best = 0;
    double worst = 0;
    int count = 0;
    void add(double clocks);
    // Spread of the repeats relative to the best value (0 for a single figure).
    double spread() const { return count ? worst / best - 1 : 0; }
};

struct Measured {
    RowKey key;
    std::string label;  // parameter set as shown: "CodeLength=16384" or "book1, 9"
    Sample sample;
};

// The family a function belongs to, from its name ("Checksum", "BZ2", ...).
std::string moduleOf(const std::string& function);

// Geometric mean of positive figures; NaN for an empty list.
double geomean(const std::vector<double>& values);

// The parameter set of a key as shown to the reader; cells written as "-" are left out.
std::string parmLabel(const Table& table, const RowKey& key);

// The parameter sets of a table in first-appearance order.
std::vector<Measured> collect(const Table& table);

struct FunctionFigure {
    std::string function;
    std::string module;
    int sets = 0;
    double value = 0;  // geometric mean over the function's parameter sets
};

struct ModuleFigure {
    std::string module;
    int functions = 0;
    double value = 0;  // geometric mean over every parameter set of the module
};

struct Summary {
    std::vector<Measured> sets;
    std::vector<FunctionFigure> functions;
    std::vector<ModuleFigure> modules;
    std::string unit;  // unit word of the Clocks column ("e": per byte)
    int runs = 0;
};

Summary summarize(const Table& table);

}  // namespace report

#endif
