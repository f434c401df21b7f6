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

// The figures of one parameter set in a table: one per run (the run's lowest, if
// the set appears twice in it). Figures of runs whose test the run record flags as
// disturbed are left out while quiet ones remain; when every run was disturbed
// they are all kept and the sample is marked so.
struct Sample {
    std::vector<double> figures;  // clocks per unit, in run order
    std::vector<double> core;     // the same in core clocks, 0 where the run's ratio is unknown
    int disturbed = 0;            // runs flagged as disturbed
    bool onlyDisturbed = false;   // every run was disturbed; `figures` holds them all
    double best = 0;              // lowest and highest of `figures`
    double worst = 0;
    int count = 0;                // size of `figures`

    // Spread of the figures relative to the best one (0 for a single figure).
    double spread() const { return count ? worst / best - 1 : 0; }
    // The typical distance of a figure from the best: median / best - 1. Unlike
    // the spread, one outlying run does not widen it.
    double typicalSpread() const;
    // Lowest figure in core clocks; 0 unless every figure has its core ratio.
    double bestCore() const;
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
// Geometric mean of the figures if all are positive, else 0 (unknown).
double geomeanIfKnown(const std::vector<double>& values);

// The parameter set of a key as shown to the reader; cells written as "-" are left out.
std::string parmLabel(const Table& table, const RowKey& key);

// The parameter sets of a table in first-appearance order.
std::vector<Measured> collect(const Table& table);

struct FunctionFigure {
    std::string function;
    std::string module;
    int sets = 0;
    double value = 0;   // geometric mean over the function's parameter sets
    double core = 0;    // the same in core clocks, 0 when not known for every set
    double spread = 0;  // median of the sets' spreads
    int disturbed = 0;  // sets with a figure from a disturbed run
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
    int recorded = 0;  // runs matched with their line in the run record
};

// Median of a list of figures; NaN for an empty list.
double median(std::vector<double> values);

Summary summarize(const Table& table);

}  // namespace report

#endif
