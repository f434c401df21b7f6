// The floating-point guard. A measured function must leave the floating-point
// environment as it found it and must not raise exceptions on valid data, so the
// harness sets the x87 and SSE units to known defaults, clears their flags around
// each measurement, accumulates the control and status words afterwards and
// calls a status "bad" when any flag other than inexact was raised. It also fills
// the vector registers with all-ones so that a function reading a register it
// never wrote computes with NaNs and raises the invalid flag.
#ifndef PS_FPGUARD_H
#define PS_FPGUARD_H

#include "../ps/psstring.h"

// ---- register access
// Sets the x87 control word to (old & ~mask) | (value & mask); returns the old word.
unsigned ps_set_cw_fpu(unsigned value, unsigned mask);
unsigned ps_get_cw_fpu();
unsigned ps_get_sw_fpu();
// Reads the x87 status word, then clears the exception flags; returns the word read.
unsigned ps_clear_fpu();
// Sets MXCSR to (old & ~mask) | (value & mask); returns the old value.
unsigned ps_set_ssx(unsigned value, unsigned mask);
unsigned ps_get_ssx();
// Fills the sixteen vector registers with all-ones (256-bit when the OS enabled AVX state).
void ps_destroy_ssx();
// Whether the processor reports SSE, and whether 256-bit registers are usable.
bool ps_cpu_has_sse();
bool ps_cpu_has_avx_state();

// ---- x87 settings shared by all guards
class ts87Base {
public:
    void setDefault();
    void set(unsigned value, unsigned mask);
    void disableExceptions() { set(63, 63); }
    void enableExceptions() { set(0, 63); }
    void disableInexactException() { set(32, 32); }

    static unsigned Precision;  // 0x200: 53 bits
    static unsigned Rounding;   // 0: to nearest
    static unsigned Exception;  // 59: all masked but zero-divide
};

// ---- SSE settings shared by all guards
class tsSSXBase {
public:
    tsSSXBase();
    explicit tsSSXBase(bool hasSSE) : m_hasSSE(hasSSE) {}
    bool hasSSE() const { return m_hasSSE; }
    void setDefault();
    void set(unsigned value, unsigned mask);
    void disableExceptions() { set(8064, 8064); }
    void enableExceptions() { set(0, 8064); }
    void disableInexactException() { set(4096, 4096); }
    void destroy();
    unsigned get() const;

    static unsigned Rounding;   // 0: to nearest
    static unsigned Exception;  // 8064: all six masked
    static unsigned FlushZero;  // 0x8000: flush to zero on

private:
    bool m_hasSSE;
};

// The x87 guard: accumulated control and status words over the measurements.
class ps87 {
public:
    ps87() : m_cw(0), m_sw(0) {}
    ps87(const ps87& o) : m_cw(o.m_cw), m_sw(o.m_sw) {}
    ps87& operator=(const ps87& o);

    static void setExceptionValue(unsigned v) { ts87Base::Exception = v; }
    void init();
    void start();
    void stop();
    void clear();
    psString strCW() const;
    psString strSW() const;
    bool badStatus() const { return strSW().contains("?"); }
    unsigned controlWord() const { return m_cw; }
    unsigned statusWord() const { return m_sw; }
    void setWords(unsigned cw, unsigned sw) { m_cw = cw; m_sw = sw; }

private:
    ts87Base m_base;
    unsigned m_cw;
    unsigned m_sw;
};

// The SSE guard: accumulated MXCSR over the measurements.
class psSSX {
public:
    psSSX() : m_mxcsr(0) {}
    explicit psSSX(bool hasSSE) : m_base(hasSSE), m_mxcsr(0) {}
    psSSX(const psSSX& o) : m_base(o.m_base.hasSSE()), m_mxcsr(o.m_mxcsr) {}
    psSSX& operator=(const psSSX& o);

    static void setExceptionValue(unsigned v) { tsSSXBase::Exception = v; }
    void init();
    void start();
    void stop();
    void clear();
    void destroy() { m_base.destroy(); }
    unsigned get() const { return m_base.get(); }
    psString strCW() const;
    psString strExceptionState() const;
    bool badStatus() const;
    bool hasSSE() const { return m_base.hasSSE(); }
    unsigned accumulated() const { return m_mxcsr; }
    void setAccumulated(unsigned v) { m_mxcsr = v; }

private:
    tsSSXBase m_base;
    unsigned m_mxcsr;
};

extern ps87 g_ctrl87;
extern psSSX g_ssx;

// Bad-status helpers used by the timing engine and the tests.
bool psBadCtrlStatus(bool& x87, bool& sse);
// At the warning level: "-- Status    87: ..." and/or "-- Status    SSX: ..." for the parts asked.
void psPrintCtrlStatus(bool x87, bool sse);
// Clears both guards' accumulated words, refills the vector registers and clears the MXCSR flags.
void psClearCtrlStatus();

#endif
