// The run record perfdc keeps beside a table X.csv: X.runs.jsonl, one JSON object
// per run on one line, with the host, the build, the core clocks per TSC tick and
// per test whether other work disturbed it. The report reads what it finds and
// treats every missing or malformed fact as unknown.
#ifndef PERFDC_REPORT_RECORD_H
#define PERFDC_REPORT_RECORD_H

#include <istream>
#include <string>
#include <vector>

namespace report {

struct Table;

struct TestRecord {
    std::string function;
    bool disturbed = false;
    double otherCpusBusy = -1;  // share of the wall time, -1 when unknown
    double steal = -1;
};

struct RunRecord {
    std::string name;  // "file:line", for messages
    std::string start; // the table's Start text of the run
    std::string executable;
    std::string hostName, cpu, hypervisor, kernel, governor;
    int logicalCpus = 0;         // 0 when unknown
    double tscHz = 0;            // 0 when unknown
    std::string compiler, buildType, lumPath, preload;
    double corePerTickStart = 0, corePerTickEnd = 0;  // 0 when unknown
    std::string cycleCounter;
    std::vector<std::string> caches;  // as the record words them, when it has them
    std::vector<TestRecord> tests;

    // Core clock cycles per TSC tick over the run: the mean of the figures taken at
    // its start and end, either alone when only one is known, 0 when neither is.
    double corePerTick() const;
    // The first test of the function in the run, or null.
    const TestRecord* test(const std::string& function) const;
};

struct RecordFile {
    std::vector<RunRecord> runs;
    std::vector<std::string> notes;  // lines left out, with the reason
};

// Reads the lines of a record; a line that is not a JSON object with a "start"
// text is left out with a note (a run stopped while writing leaves a cut line).
RecordFile parseRecord(std::istream& in, const std::string& name);

// The record file kept beside a table: "X.csv" -> "X.runs.jsonl", a name without
// ".csv" gets ".runs.jsonl" appended ("X.tab" -> "X.tab.runs.jsonl").
std::string recordPathFor(const std::string& tablePath);

// Gives each run of the table its record line, matched by the Start text, and
// marks the rows of disturbed tests; notes every run without a record line and
// every record line without a run.
void attachRecord(Table& table, const RecordFile& record, const std::string& recordName);

// Reads a table and, when there is one beside it, its record. Throws TableError.
Table loadTable(const std::string& path);

}  // namespace report

#endif
