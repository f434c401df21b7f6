// The run record: one JSON object per run, on one line, in X.runs.jsonl beside each
// performance table X.csv, holding the conditions the run measured under (machine,
// build, core clock per counter tick, and per test the load of the rest of the
// machine). Also the lines that warn on a terminal when those conditions spoil the
// figures. Everything here is handed the facts it writes.
#ifndef PS_RUNRECORD_H
#define PS_RUNRECORD_H

#include "coreclock.h"
#include "hostfacts.h"
#include "loadprobe.h"
#include "pslist.h"
#include "psstring.h"

struct psBuildFacts {
    psString compiler;
    psString buildType;
    bool debug = false;            // built without optimisation
    psFact<psString> lumPath;      // the library's code path in force
    psFact<psString> preload;      // LD_PRELOAD at start
};

struct psClockFacts {
    psCoreClock start, end;
    psString cycleCounter;         // "perf_event" or "unavailable: <reason>"
};

struct psTestRecord {
    psString function;
    psTestLoad load;
};

struct psRunRecord {
    psString start;                // the table's Start text
    psStringList command;
    psRunHost host;
    psBuildFacts build;
    psClockFacts clock;
    psList<psTestRecord> tests;    // in the order they ran
    double probeSeconds = 0;       // processor time of the probes and the record itself
};

// The record of one run as one line of JSON (no line end).
psString psRunRecordLine(const psRunRecord& run);

// The record beside a table: "X.csv" gives "X.runs.jsonl", any other name gets
// ".runs.jsonl" appended.
psString psRunRecordPath(const psString& tablePath);

// Writes the line and a line end, starting the file afresh or appending; on failure
// `error` says why and the file is left as it was where possible.
bool psWriteRunRecord(const psString& path, const psString& line, bool append, psString& error);

// The warning about conditions known to spoil figures, one line ending in "\n";
// empty when there are none.
psString psSpoilingConditions(const psRunHost& host, const psBuildFacts& build);
// The warning after a disturbed test, one line ending in "\n"; empty when it was not.
psString psDisturbedWarning(const psTestRecord& test);

#endif
