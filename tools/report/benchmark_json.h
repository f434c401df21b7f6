// A table in Google Benchmark's JSON format, so that the tools users already have
// for that format (its compare.py among them) read perfdc's figures: a "context"
// with the machine and build, and one "benchmarks" entry per function, parameter
// set and run, plus mean, median and standard deviation entries when the table
// holds several runs. Times are nanoseconds per element, from the clocks and the
// TSC rate of the run.
#ifndef PERFDC_REPORT_BENCHMARK_JSON_H
#define PERFDC_REPORT_BENCHMARK_JSON_H

#include "table.h"

#include <ostream>
#include <string>

namespace report {

// The benchmark name of a row: the function and its parameter cells joined by
// "/", cells written as "-" left out ("lumsInflate_8u/102400/book1/6").
std::string benchmarkName(const std::string& function, const std::vector<std::string>& parms);

// `tscHz` is used for runs whose record gives no TSC rate; 0 for none. Throws
// TableError naming the run when a run has no rate either way.
void writeBenchmarkJson(std::ostream& out, const Table& table, double tscHz);

}  // namespace report

#endif
