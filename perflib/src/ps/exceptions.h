// psException, the one error type that stops a test or a parameter, and tsSignal,
// the process-wide trap that turns SIGSEGV, SIGFPE and SIGILL inside a guarded
// region into a psException.
#ifndef PS_EXCEPTIONS_H
#define PS_EXCEPTIONS_H

#include "psstring.h"

#include <csetjmp>

class psException {
public:
    // An error with a text of the caller: "--LUM. Exception: <text>".
    explicit psException(const psString& text);
    // A trapped signal: "--LUM. Signal: <description>".
    explicit psException(const char* signalText);
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

    static sigjmp_buf m_jmpbuf;
    static volatile int m_code;
};

// Arms the trap in the calling frame: a signal raised later inside the guarded
// work jumps back here and is rethrown as a psException with its description.
#define PS_ARM_SIGNAL_TRAP()                                  \
    do {                                                      \
        if (sigsetjmp(tsSignal::m_jmpbuf, 1) != 0)            \
            throw psException(tsSignal::getInfo());           \
    } while (0)

#endif
