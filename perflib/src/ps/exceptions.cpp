#include "exceptions.h"

#include <csignal>
#include <cstdio>
#include <cstring>

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

psTrapKeeper::psTrapKeeper() { std::memcpy(&m_saved, &tsSignal::m_jmpbuf, sizeof m_saved); }
psTrapKeeper::~psTrapKeeper() { std::memcpy(&tsSignal::m_jmpbuf, &m_saved, sizeof m_saved); }

// The one trap of the process, installed during static initialisation.
tsSignal _g_signal;
