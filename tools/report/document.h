// What a report shows, independent of its form: the runs' header facts, tables of
// cells (with a tone for coloured ratio cells), charts and notes. The terminal,
// markdown and HTML writers each render one Document.
#ifndef PERFDC_REPORT_DOCUMENT_H
#define PERFDC_REPORT_DOCUMENT_H

#include "compare.h"

#include <string>
#include <utility>
#include <vector>

namespace report {

enum class Tone { None, Faster, Slower, Noise, Disturbed };

struct Cell {
    std::string text;
    Tone tone = Tone::None;
};

struct Section {
    std::string title;
    std::vector<std::string> head;
    std::vector<std::vector<Cell>> rows;
    size_t textColumns = 2;  // the leading columns hold names; the rest are figures
};

struct ChartSeries {
    std::string name;
    std::vector<double> values;  // one per category; NaN where the series has none
};

// Clocks per unit for the parameter sets of one module, one series per run.
struct Chart {
    std::string title;
    std::string unit;
    std::vector<std::string> categories;
    std::vector<ChartSeries> series;
};

struct Document {
    std::string title;
    std::vector<std::string> sources;       // the table files, one column of facts each
    std::vector<std::string> sourceLabels;  // their short names ("base", "new"), when several
    std::vector<std::pair<std::string, std::vector<std::string>>> facts;
    std::vector<std::string> headline;  // the conclusion in a few lines
    std::vector<Section> sections;
    std::vector<Chart> charts;
    std::vector<std::string> notes;
};

// Clocks per unit with about three significant digits; "-" for no figure (0 or NaN).
std::string formatClocks(double v);
std::string formatRatio(double r);
// A ratio as a change in time: 0.8 -> "-20.0%".
std::string formatChange(double r);
Tone toneOf(Verdict v);

// The facts as rows of text: label, then one value per source.
std::vector<std::vector<std::string>> factRows(const Document& d);

// `functionsOnly`: the per-function figures without the module and set sections.
Document summaryDocument(const Table& table, bool functionsOnly = false);
Document compareDocument(const Table& base, const Table& cur, const Comparison& c);

}  // namespace report

#endif
