// Shared by the report tests: small tables written in the tests, a temporary
// folder, and programs run with their standard output and error captured.
#ifndef TESTS_REPORT_HELPERS_H
#define TESTS_REPORT_HELPERS_H

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

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    std::string path(const std::string& rel) const { return m_root + "/" + rel; }
    std::string write(const std::string& rel, const std::string& content) const;  // returns the path
    std::string read(const std::string& rel) const;

private:
    std::string m_root;
};

struct Captured {
    int exitCode = -1;  // -1 when the program did not exit normally
    std::string out, err;
};

std::string slurp(const std::string& file);
// In a forked child: runs the program args[0] with args, or exits with 127.
[[noreturn]] void execArgs(const std::vector<std::string>& args);
// Runs a program with extra environment entries ("NAME=value"); standard input is empty.
Captured runProgram(const std::vector<std::string>& args, const std::string& cwd = ".",
                    const std::vector<std::string>& env = {});

#endif
