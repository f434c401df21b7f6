#include "progress.h"

#include "parameter.h"

#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

psProgress g_progress;

void psProgress::start(int selected)
{
    m_active = isatty(m_fd) == 1;
    m_shown = false;
    m_total = selected;
    m_done = 0;
    m_start = m_testStart = Clock::now();
}

void psProgress::testStarted() { m_testStart = Clock::now(); }

void psProgress::testSkipped()
{
    if (m_total > m_done) --m_total;
}

void psProgress::testDone() { ++m_done; }

double psProgress::since(Clock::time_point t) const
{
    return std::chrono::duration<double>(Clock::now() - t).count();
}

void psProgress::measuring(const psString& func, const psString& parms)
{
    if (!m_active) return;
    const double elapsed = since(m_start);
    // The finished tests give the pace; the current test's own time is already spent.
    double left = -1;
    if (m_done > 0) {
        left = elapsed / m_done * (m_total - m_done) - since(m_testStart);
        if (left < 0) left = 0;
    }
    winsize ws{};
    int width = (ioctl(m_fd, TIOCGWINSZ, &ws) == 0 && ws.ws_col > 0) ? ws.ws_col : 80;
    // Whatever the console wrote so far goes out before the line is drawn.
    std::fflush(stdout);
    put("\r" + line(m_done, m_total, func.str(), parms.str(), elapsed, left, width) + "\x1b[K");
    m_shown = true;
}

void psProgress::clear()
{
    if (!m_shown) return;
    put("\r\x1b[K");
    m_shown = false;
}

void psProgress::note(const std::string& lines)
{
    if (!m_active) return;
    clear();
    std::fflush(stdout);
    put(lines);
    m_shown = true;  // erased like a drawn line, so the terminal's last word stays the erase
}

void psProgress::finish()
{
    clear();
    m_active = false;
}

void psProgress::put(const std::string& text) const
{
    size_t at = 0;
    while (at < text.size()) {
        ssize_t n = write(m_fd, text.data() + at, text.size() - at);
        if (n <= 0) return;  // a status line is not worth a retry loop or an error
        at += static_cast<size_t>(n);
    }
}

std::string psProgress::clockText(double seconds)
{
    long s = static_cast<long>(seconds + 0.5);
    char buf[32];
    if (s >= 3600)
        std::snprintf(buf, sizeof buf, "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
    else
        std::snprintf(buf, sizeof buf, "%ld:%02ld", s / 60, s % 60);
    return buf;
}

std::string psProgress::line(int done, int total, const std::string& func, const std::string& parms,
                             double elapsed, double left, int width)
{
    std::string text = "[" + std::to_string(done) + "/" + std::to_string(total) + "] " + func;
    if (!parms.empty()) text += " " + parms;
    std::string times = "  " + clockText(elapsed) + " elapsed, ";
    times += left < 0 ? std::string("estimating") : clockText(left) + " left";
    // One column short of the width, so the terminal never wraps the line; the
    // function and parameters give way first, so the times stay in sight.
    const size_t room = width > 1 ? static_cast<size_t>(width - 1) : 0;
    if (room && text.size() + times.size() > room) text.resize(room > times.size() ? room - times.size() : 0);
    text += times;
    if (room && text.size() > room) text.resize(room);
    return text;
}

psString psProgress::parmsText(psList<psParameter*>& parms)
{
    psString text;
    for (psParameter* p : parms) {
        if (!text.empty()) text << " ";
        text << p->getName() << "=" << p->valueString();
    }
    return text;
}
