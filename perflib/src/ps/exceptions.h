// psException, the one error type that stops a test or a parameter, and tsSignal,
// the process-wide trap that turns SIGSEGV, SIGFPE and SIGILL inside a guarded
// region into a psException. psWatchdog stops a guarded region that does not
// return in time through the same trap.
#ifndef PS_EXCEPTIONS_H
#define PS_EXCEPTIONS_H

#include "psstring.h"

#include <csetjmp>

// The description of a trapped signal, kept apart from plain texts so that a
// literal error text can never be taken for a signal.
struct psSignalText {
    const char* text;
};
// The whole message of a region stopped from outside (the watchdog).
struct psStopText {
    const char* text;
};

class psException {
public:
    // An error with a text of the caller: "--LUM. Exception: <text>".
    explicit psException(const psString& text);
    explicit psException(const char* text) : psException(psString(text)) {}
    // A trapped signal: "--LUM. Signal: <description>".
    explicit psException(psSignalText signal);
    // A region stopped by the watchdog: the text is the message as it stands.
    explicit psException(psStopText stop);
    virtual ~psException() {}

    const char* msg() const { return m_msg; }
    const char* info() const { return m_info; }

private:
    char m_msg[1024];
    char m_info[960];
};

class tsSignal {
public:
    tsSignal();  // installs the handler for SIGFPE, SIGILL and SIGSEGV

    static void sig_fpe(int code);
    static int code() { return m_code; }
    static const char* getInfo();
    // What the armed trap throws for the last trapped code.
    static psException exception();

    static sigjmp_buf m_jmpbuf;
    static volatile int m_code;
};

// Keeps the trap context of an enclosing guarded region and gives it back when
// the inner region ends, so that arming never leaves a dead frame behind.
class psTrapKeeper {
public:
    psTrapKeeper();
    ~psTrapKeeper();
    psTrapKeeper(const psTrapKeeper&) = delete;
    psTrapKeeper& operator=(const psTrapKeeper&) = delete;

private:
    sigjmp_buf m_saved;
};

// Arms the trap in the calling frame: a signal raised later inside the guarded
// work jumps back here and is rethrown as a psException with its description.
#define PS_ARM_SIGNAL_TRAP()                                  \
    do {                                                      \
        if (sigsetjmp(tsSignal::m_jmpbuf, 1) != 0)            \
            throw tsSignal::exception();                      \
    } while (0)

// A countdown on the thread that arms it: when it runs out before stop(), the
// thread is stopped through the signal trap (its armed region throws "-- Test
// stopped after N seconds without returning"). Starting costs one system call, so
// it is started around a whole sequence of measured calls, never inside one.
class psWatchdog {
public:
    // (Re)starts the countdown of the calling thread; seconds <= 0 stops it.
    static void start(int seconds);
    static void stop();
    // The seconds of the countdown last started (0: none).
    static int seconds() { return m_seconds; }

private:
    static int m_seconds;
};

#endif
