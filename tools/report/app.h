// The program's work once its arguments are parsed: read the tables, build the
// report and write it in the asked forms. Kept apart from main() so that tests
// run it with their own streams.
#ifndef PERFDC_REPORT_APP_H
#define PERFDC_REPORT_APP_H

#include <ostream>
#include <string>
#include <vector>

namespace report {

enum ExitCode { kOk = 0, kBadInput = 1, kUsage = 2, kSlower = 3 };

struct Options {
    std::vector<std::string> tables;  // one table, or base and new with `compare`
    bool compare = false;
    bool markdown = false;
    std::string html;                 // page to write, empty for none
    double failAbove = -1;            // percent; negative: no limit
    double noise = 2;                 // noise floor in percent
};

int runReport(const Options& options, std::ostream& out, std::ostream& err);

}  // namespace report

#endif
