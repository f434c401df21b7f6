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
    std::vector<std::string> tables;  // one table; base and new with `compare`; two or more with `machines`
    bool compare = false;
    bool machines = false;
    bool markdown = false;
    bool functionsOnly = false;       // summary: the per-function figures only
    std::string html;                 // page to write, empty for none
    std::string json;                 // Google Benchmark JSON file to write, empty for none
    double failAbove = -1;            // percent; negative: no limit
    double noise = 2;                 // noise floor in percent
    double tscGhz = 0;                // TSC rate for runs without a recorded one; 0: none
};

int runReport(const Options& options, std::ostream& out, std::ostream& err);

}  // namespace report

#endif
