// psProgress: one status line on standard error while the tests are measured,
// only when standard error is a terminal: tests done of selected, the function
// and parameter set being timed, elapsed time and an estimate of the time left.
// The line is drawn just before a timing and erased right after it, so it never
// meets the console text; it goes straight to the descriptor and so never
// reaches the listing, the tables or a redirected standard error.
#ifndef PS_PROGRESS_H
#define PS_PROGRESS_H

#include "psstring.h"
#include "pslist.h"

#include <chrono>
#include <string>

class psParameter;

class psProgress {
public:
    explicit psProgress(int fd = 2) : m_fd(fd) {}

    // A run of `selected` tests begins; the line is shown only if the
    // descriptor is a terminal now.
    void start(int selected);
    void testStarted();
    void testSkipped();   // a selected test that will not run after all (-F)
    void testDone();
    // Draws the line for the parameter set about to be timed.
    void measuring(const psString& func, const psString& parms);
    // Erases the line (before anything else is written to the console).
    void clear();
    // Writes whole lines (a warning) to the terminal in place of the status line;
    // the run still ends with the status line erased.
    void note(const std::string& lines);
    void finish();

    bool active() const { return m_active; }

    // The status text for given facts, cut to `width` columns.
    static std::string line(int done, int total, const std::string& func, const std::string& parms,
                            double elapsed, double left, int width);
    // "name=value" of each parameter, joined by blanks.
    static psString parmsText(psList<psParameter*>& parms);
    // Seconds as h:mm:ss or m:ss.
    static std::string clockText(double seconds);

private:
    using Clock = std::chrono::steady_clock;
    double since(Clock::time_point t) const;
    void put(const std::string& text) const;

    int m_fd;
    bool m_active = false;
    bool m_shown = false;
    int m_total = 0;
    int m_done = 0;
    Clock::time_point m_start, m_testStart;
};

// The session's progress line.
extern psProgress g_progress;

#endif
