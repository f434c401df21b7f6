// psRunRecorder: drives the run record through a run. The session tells it which
// tables are open, when the tests begin, when each test starts and ends, and when
// the run is over; it takes the probes' samples between the tests, warns on a
// terminal, and at the end writes one record line beside every table.
// PERFDC_RUN_RECORD=0 in the environment switches the record and its probes off.
#ifndef PS_RECORDER_H
#define PS_RECORDER_H

#include "runrecord.h"

#include <memory>

class psRunRecorder {
public:
    // `fd` receives the warnings, and only when it is a terminal.
    explicit psRunRecorder(int fd = 2) : m_fd(fd) {}
    ~psRunRecorder();

    // A performance table was opened (created, or appended to with `append`).
    void tableOpened(const psString& tablePath, bool append);
    // The tests are about to run: the command line and the table's Start text.
    void begin(int argc, char** argv, const psString& startText);
    void testStarted();
    void testDone(const psString& function);
    // Measures the closing clock and writes the records; a record that cannot be
    // written is reported on standard error and the run goes on.
    void finish();

    // Compiler and build type of this program, the library's code path in force
    // and LD_PRELOAD of the process.
    static psBuildFacts thisBuild();

private:
    struct Table {
        psString path;
        bool append;
    };
    void warn(const psString& line) const;

    int m_fd;
    bool m_active = false;
    psList<Table> m_tables;
    psRunRecord m_run;
    std::unique_ptr<psCycleCounter> m_counter;
    std::unique_ptr<psLoadProbe> m_probe;
    psString m_migrationsReason;
    psLoadSample m_before;
    unsigned long long m_startTicks = 0;
    double m_startSeconds = 0;
};

// The session's recorder.
extern psRunRecorder g_runRecorder;

#endif
