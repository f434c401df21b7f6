#include "exceptions.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

psException::psException(const psString& text)
{
    std::snprintf(m_info, sizeof m_info, "%s", text.c_str());
    std::snprintf(m_msg, sizeof m_msg, "--LUM. Exception: %s", m_info);
}

psException::psException(psSignalText signal)
{
    m_info[0] = 0;
    std::snprintf(m_msg, sizeof m_msg, "--LUM. Signal: %s", signal.text ? signal.text : "");
}

psException::psException(psStopText stop)
{
    m_info[0] = 0;
    std::snprintf(m_msg, sizeof m_msg, "%s", stop.text ? stop.text : "");
}

sigjmp_buf tsSignal::m_jmpbuf;
volatile int tsSignal::m_code = 0;

tsSignal::tsSignal()
{
    std::signal(SIGFPE, sig_fpe);
    std::signal(SIGILL, sig_fpe);
    std::signal(SIGSEGV, sig_fpe);
}

void tsSignal::sig_fpe(int code)
{
    m_code = code;
    siglongjmp(m_jmpbuf, -1);
}

const char* tsSignal::getInfo()
{
    switch (m_code) {
    case SIGFPE: return "FP error, such as overflow, division by zero, invalid operation.";
    case SIGSEGV: return "Illegal storage access.";
    case SIGILL: return "Illegal instruction.";
    default: return "Unknown exception";
    }
}

psException tsSignal::exception()
{
    if (m_code != SIGALRM) return psException(psSignalText{getInfo()});
    char text[96];
    std::snprintf(text, sizeof text, "-- Test stopped after %d seconds without returning", psWatchdog::seconds());
    return psException(psStopText{text});
}

psTrapKeeper::psTrapKeeper() { std::memcpy(&m_saved, &tsSignal::m_jmpbuf, sizeof m_saved); }
psTrapKeeper::~psTrapKeeper() { std::memcpy(&tsSignal::m_jmpbuf, &m_saved, sizeof m_saved); }

// The one trap of the process, installed during static initialisation.
tsSignal _g_signal;

// ---------------------------------------------------------------- watchdog

int psWatchdog::m_seconds = 0;

namespace {

// One timer for the process, created on first use. It signals the thread that
// started it, never a library's worker thread, so the jump lands on the stack
// that armed the trap.
timer_t s_timer;
bool s_timerMade = false;
pid_t s_timerThread = 0;

bool makeTimer()
{
    const pid_t self = static_cast<pid_t>(syscall(SYS_gettid));
    if (s_timerMade && s_timerThread == self) return true;
    if (s_timerMade) timer_delete(s_timer);
    s_timerMade = false;
    struct sigaction sa;
    std::memset(&sa, 0, sizeof sa);
    sa.sa_handler = tsSignal::sig_fpe;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGALRM, &sa, nullptr);
    sigevent ev;
    std::memset(&ev, 0, sizeof ev);
    ev.sigev_notify = SIGEV_THREAD_ID;
    ev.sigev_signo = SIGALRM;
    ev._sigev_un._tid = self;
    if (timer_create(CLOCK_MONOTONIC, &ev, &s_timer) != 0) return false;
    s_timerMade = true;
    s_timerThread = self;
    return true;
}

void setTimer(int seconds)
{
    itimerspec when;
    std::memset(&when, 0, sizeof when);
    when.it_value.tv_sec = seconds;
    timer_settime(s_timer, 0, &when, nullptr);
}

}  // namespace

void psWatchdog::start(int seconds)
{
    if (seconds <= 0) {
        stop();
        return;
    }
    if (!makeTimer()) return;
    m_seconds = seconds;
    setTimer(seconds);
}

void psWatchdog::stop()
{
    if (s_timerMade) setTimer(0);
}
