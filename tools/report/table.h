// Reading perfdc performance tables (.csv written with -r or appended with -R).
// A table holds one or more runs; each run starts with its title lines
// ("Computer,...", "Library,...", ...) and the header line "function,Parm1,...",
// followed by one line per measured parameter set. Cells are separated by commas
// and never escaped; a parameter may write its value as a blank and a quoted text.
#ifndef PERFDC_REPORT_TABLE_H
#define PERFDC_REPORT_TABLE_H

#include "record.h"

#include <istream>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace report {

// A table that cannot be used; the text names the file and the line.
class TableError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// One result line of the table.
struct Row {
    std::string function;
    std::vector<std::string> parms;  // parameter cells, "-" for an empty one
    std::string comment;
    double clocks = 0;               // clocks per unit; 0 when the cell was empty
    std::string unit;
    int run = 0;                     // index of the run in the table
    int line = 0;                    // line number in the file, from 1
    bool disturbed = false;          // the run record flags the row's test as disturbed
    double corePerTick = 0;          // core clocks per TSC tick of the row's run, 0 when unknown
};

// The title lines of one run, in file order (a label may repeat).
struct RunInfo {
    std::vector<std::pair<std::string, std::string>> facts;
    int line = 0;  // first line of the run
    std::optional<RunRecord> record;  // the run's line in the run record, when matched
};

struct Table {
    std::string name;                          // file name, for messages
    std::vector<RunInfo> runs;
    std::vector<std::string> parmHeaders;      // header cells of the parameter columns
    std::vector<Row> rows;
    // Parameter names from name lines (-q+), per function.
    std::vector<std::pair<std::string, std::vector<std::string>>> parmNames;
    std::vector<std::string> notes;            // lines left out, with the reason

    // The first text of a title label in the first run, empty when absent.
    std::string fact(const std::string& label) const;
    const std::vector<std::string>* namesOf(const std::string& function) const;
};

// Splits a line at its commas; no quoting rules apply.
std::vector<std::string> splitCells(const std::string& line);
// The value of a parameter cell: a quoted value (' "text"') loses its blank and
// quotes. Throws TableError (with the context text) on an unbalanced quote.
std::string unquoteCell(const std::string& cell, const std::string& context);

Table parseTable(std::istream& in, const std::string& name);
Table readTable(const std::string& path);

}  // namespace report

#endif
