#include "fpguard.h"

#include "../ps/streams.h"

#include <cpuid.h>

// ---------------------------------------------------------------- registers

unsigned ps_set_cw_fpu(unsigned value, unsigned mask)
{
    unsigned short old, cw;
    __asm__ __volatile__("fnstcw %0" : "=m"(old));
    cw = static_cast<unsigned short>((old & ~mask) | (value & mask));
    __asm__ __volatile__("fldcw %0" : : "m"(cw));
    return old;
}

unsigned ps_get_cw_fpu()
{
    unsigned short cw;
    __asm__ __volatile__("fnstcw %0" : "=m"(cw));
    return cw;
}

unsigned ps_get_sw_fpu()
{
    unsigned short sw;
    __asm__ __volatile__("fnstsw %0" : "=m"(sw));
    return sw;
}

unsigned ps_clear_fpu()
{
    unsigned short sw;
    __asm__ __volatile__("fnstsw %0\n\tfnclex" : "=m"(sw));
    return sw;
}

unsigned ps_set_ssx(unsigned value, unsigned mask)
{
    unsigned old, cur;
    __asm__ __volatile__("stmxcsr %0" : "=m"(old));
    cur = (old & ~mask) | (value & mask);
    __asm__ __volatile__("ldmxcsr %0" : : "m"(cur));
    return old;
}

unsigned ps_get_ssx()
{
    unsigned v;
    __asm__ __volatile__("stmxcsr %0" : "=m"(v));
    return v;
}

bool ps_cpu_has_sse()
{
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
    return (d & bit_SSE) != 0;
}

// OSXSAVE and AVX reported by CPUID, and XCR0 says the OS saves SSE and AVX state.
static bool detectAvxState()
{
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
    if (!(c & bit_OSXSAVE) || !(c & bit_AVX)) return false;
    unsigned lo, hi;
    __asm__ __volatile__("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (lo & 6) == 6;
}

bool ps_cpu_has_avx_state()
{
    static const bool avx = detectAvxState();
    return avx;
}

#define PS_XMM_CLOBBERS \
    "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15"

// All-ones come from comparisons of zeros (integer compare for SSE, an always-true
// compare for AVX), so filling never raises a floating-point flag itself.
void ps_destroy_ssx()
{
    if (ps_cpu_has_avx_state()) {
        __asm__ __volatile__(
            "vxorps %%ymm0, %%ymm0, %%ymm0\n\t"
            "vcmpps $0x0f, %%ymm0, %%ymm0, %%ymm0\n\t"
            "vmovaps %%ymm0, %%ymm1\n\tvmovaps %%ymm0, %%ymm2\n\tvmovaps %%ymm0, %%ymm3\n\t"
            "vmovaps %%ymm0, %%ymm4\n\tvmovaps %%ymm0, %%ymm5\n\tvmovaps %%ymm0, %%ymm6\n\t"
            "vmovaps %%ymm0, %%ymm7\n\tvmovaps %%ymm0, %%ymm8\n\tvmovaps %%ymm0, %%ymm9\n\t"
            "vmovaps %%ymm0, %%ymm10\n\tvmovaps %%ymm0, %%ymm11\n\tvmovaps %%ymm0, %%ymm12\n\t"
            "vmovaps %%ymm0, %%ymm13\n\tvmovaps %%ymm0, %%ymm14\n\tvmovaps %%ymm0, %%ymm15\n\t"
            "vzeroupper"
            :
            :
            : PS_XMM_CLOBBERS);
    } else {
        __asm__ __volatile__(
            "pcmpeqd %%xmm0, %%xmm0\n\tpcmpeqd %%xmm1, %%xmm1\n\tpcmpeqd %%xmm2, %%xmm2\n\t"
            "pcmpeqd %%xmm3, %%xmm3\n\tpcmpeqd %%xmm4, %%xmm4\n\tpcmpeqd %%xmm5, %%xmm5\n\t"
            "pcmpeqd %%xmm6, %%xmm6\n\tpcmpeqd %%xmm7, %%xmm7\n\tpcmpeqd %%xmm8, %%xmm8\n\t"
            "pcmpeqd %%xmm9, %%xmm9\n\tpcmpeqd %%xmm10, %%xmm10\n\tpcmpeqd %%xmm11, %%xmm11\n\t"
            "pcmpeqd %%xmm12, %%xmm12\n\tpcmpeqd %%xmm13, %%xmm13\n\tpcmpeqd %%xmm14, %%xmm14\n\t"
            "pcmpeqd %%xmm15, %%xmm15"
            :
            :
            : PS_XMM_CLOBBERS);
    }
}

// ---------------------------------------------------------------- word tables

namespace {

struct WordEntry {
    unsigned bits;
    const char* word;
};

const WordEntry x87Rounding[] = {{0xC00, "Zero "}, {0x800, "Up "}, {0x400, "Down "}, {0, "Near "}};
const WordEntry x87Precision[] = {{0, "24 "}, {0x200, "53 "}, {0x300, "64 "}};
const WordEntry x87Masks[] = {{0x1, "Invalid "},   {0x2, "Denormal "},  {0x4, "Zerodivide "},
                              {0x8, "Overflow "},  {0x10, "Underflow "}, {0x20, "Inexact "}};
const WordEntry ssxRounding[] = {{0x6000, "Zero "}, {0x4000, "Up "}, {0x2000, "Down "}, {0, "Near "}};
const WordEntry ssxMasks[] = {{0x80, "Invalid "},    {0x100, "Denormal "},  {0x200, "Zerodivide "},
                              {0x400, "Overflow "},  {0x800, "Underflow "}, {0x1000, "Inexact "}};
const WordEntry ssxFlush[] = {{0x8000, "FlushToZero "}, {0, "NoFlushToZero "}};
// Shared by both units: '?' marks a flag that makes the status bad.
const WordEntry statusFlags[] = {{0x1, "?Invalid "},    {0x2, "?Denormal "},  {0x4, "?Zerodivide "},
                                 {0x8, "?Overflow "},   {0x10, "?Underflow "}, {0x20, "_Inexact "}};

const char* const noSSX = "cpu has not SSX extension";

// The word of the entry whose bits equal (word & field).
template <size_t N>
psString fieldWord(const WordEntry (&table)[N], unsigned field, unsigned word)
{
    for (const WordEntry& e : table)
        if ((word & field) == e.bits) return e.word;
    return psString();
}

// The words of all entries whose bit is set, in table order.
template <size_t N>
psString flagWords(const WordEntry (&table)[N], unsigned word)
{
    psString s;
    for (const WordEntry& e : table)
        if (word & e.bits) s += e.word;
    return s;
}

psString statusText(unsigned word)
{
    psString s = flagWords(statusFlags, word);
    return s.empty() ? psString("Ok") : s;
}

}  // namespace

// ---------------------------------------------------------------- x87

unsigned ts87Base::Precision = 512;
unsigned ts87Base::Rounding = 0;
unsigned ts87Base::Exception = 59;

void ts87Base::setDefault()
{
    ps_clear_fpu();
    ps_set_cw_fpu(Exception | Precision | Rounding, 3903);
}

void ts87Base::set(unsigned value, unsigned mask)
{
    ps_clear_fpu();
    ps_set_cw_fpu(value, mask);
}

ps87& ps87::operator=(const ps87& o)
{
    m_cw = o.m_cw;
    m_sw = o.m_sw;
    m_base = ts87Base();
    return *this;
}

void ps87::init()
{
    m_cw = m_sw = 0;
    m_base.setDefault();
}

void ps87::start() { ps_clear_fpu(); }

void ps87::stop()
{
    m_sw |= ps_get_sw_fpu();
    m_cw |= ps_get_cw_fpu();
}

void ps87::clear()
{
    m_cw = m_sw = 0;
    ps_clear_fpu();
}

psString ps87::strCW() const
{
    return fieldWord(x87Rounding, 0xC00, m_cw) + fieldWord(x87Precision, 0x300, m_cw) + flagWords(x87Masks, m_cw);
}

psString ps87::strSW() const { return statusText(m_sw); }

// ---------------------------------------------------------------- SSE

unsigned tsSSXBase::Rounding = 0;
unsigned tsSSXBase::Exception = 8064;
unsigned tsSSXBase::FlushZero = 32768;

tsSSXBase::tsSSXBase() : m_hasSSE(ps_cpu_has_sse()) {}

void tsSSXBase::setDefault()
{
    if (m_hasSSE) ps_set_ssx(Rounding | Exception | FlushZero, 65471);
}

void tsSSXBase::set(unsigned value, unsigned mask)
{
    if (!m_hasSSE) return;
    ps_set_ssx(0, 63);
    ps_set_ssx(value, mask);
}

void tsSSXBase::destroy()
{
    if (m_hasSSE) ps_destroy_ssx();
}

unsigned tsSSXBase::get() const { return m_hasSSE ? ps_get_ssx() : 0; }

psSSX& psSSX::operator=(const psSSX& o)
{
    m_mxcsr = o.m_mxcsr;
    m_base = tsSSXBase(o.m_base.hasSSE());
    return *this;
}

void psSSX::init()
{
    m_mxcsr = 0;
    m_base.destroy();
    m_base.setDefault();
}

void psSSX::start()
{
    if (m_base.hasSSE()) ps_set_ssx(0, 63);
}

void psSSX::stop() { m_mxcsr |= m_base.get(); }

void psSSX::clear()
{
    m_mxcsr = 0;
    m_base.destroy();
    if (m_base.hasSSE()) ps_set_ssx(0, 63);
}

psString psSSX::strCW() const
{
    if (!m_base.hasSSE()) return noSSX;
    return fieldWord(ssxRounding, 0x6000, m_mxcsr) + flagWords(ssxMasks, m_mxcsr) + fieldWord(ssxFlush, 0x8000, m_mxcsr);
}

psString psSSX::strExceptionState() const
{
    if (!m_base.hasSSE()) return noSSX;
    return statusText(m_mxcsr);
}

bool psSSX::badStatus() const { return m_base.hasSSE() && strExceptionState().contains("?"); }

// ---------------------------------------------------------------- process-wide guards

ps87 g_ctrl87;
psSSX g_ssx;

bool psBadCtrlStatus(bool& x87, bool& sse)
{
    x87 = g_ctrl87.badStatus();
    sse = g_ssx.badStatus();
    return x87 || sse;
}

void psPrintCtrlStatus(bool x87, bool sse)
{
    if (!x87 && !sse) return;
    g_ostrm << WARN;
    if (x87) g_ostrm << "-- Status    87: " << g_ctrl87.strSW() << "\n";
    if (sse) g_ostrm << "-- Status    SSX: " << g_ssx.strExceptionState() << "\n";
    g_ostrm << END_MSG;
}

void psClearCtrlStatus()
{
    g_ctrl87.clear();
    g_ssx.clear();
}
