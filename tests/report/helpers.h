// Shared by the report tests: small tables and run records written in the tests.
// (Temporary folders and program runs: the black-box runner.)
#ifndef TESTS_REPORT_HELPERS_H
#define TESTS_REPORT_HELPERS_H

#include "runner.h"
#include "table.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

// A table in perfdc's layout: the title lines of one run, the header and the
// given result lines ("function,parm,comment,clocks" shorthand is expanded by row()).
std::string runTitle(const std::string& start = "Mon Nov 23 08:35:20 2026");
// One result line: function, first parameter cell and clocks; the other cells as perfdc writes them.
std::string row(const std::string& function, const std::string& parm, const std::string& clocks,
                const std::string& comment = "nLps=5");
report::Table tableOf(const std::string& text, const std::string& name = "t.csv");

// One line of a run record as perfdc writes it: a quiet host with 1.5 core clocks
// per TSC tick of 2.5 GHz, and the named tests, flagged disturbed as given.
nlohmann::json recordOf(const std::string& start, const std::vector<std::pair<std::string, bool>>& tests);
// A table read as the report reads it, with the record lines attached.
report::Table recordedTableOf(const std::string& text, const std::vector<nlohmann::json>& record,
                              const std::string& name = "t.csv");

#endif
