// The floating-point guard: word texts, the bad-status rule, and real flags raised
// by SSE and x87 code.
#include "fpguard.h"

#include "exceptions.h"

#include <gtest/gtest.h>

#include <string>

namespace {

void sseInvalid() {
    volatile double zero = 0.0;
    volatile double r = zero / zero;
    (void)r;
}

void sseInexact() {
    volatile double one = 1.0, three = 3.0;
    volatile double r = one / three;
    (void)r;
}

// 1 / 0 on the x87 unit; the fwait delivers a pending unmasked exception.
void x87ZeroDivide() { __asm__ __volatile__("fld1\n\tfldz\n\tfdivrp\n\tfstp %%st(0)\n\tfwait" ::: "st"); }

// Runs f with the signal trap armed; the trapped message, or empty when f returned.
std::string trapMessage(void (*f)()) {
    try {
        PS_ARM_SIGNAL_TRAP();
        f();
    } catch (const psException& e) {
        return e.msg();
    }
    return std::string();
}

const char* const fpSignal = "--LUM. Signal: FP error, such as overflow, division by zero, invalid operation.";

// The guard's state before every test: defaults applied, nothing accumulated.
class FpGuardTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedCW = ps_get_cw_fpu();
        savedMXCSR = ps_get_ssx();
        g_ctrl87.init();
        g_ssx.init();
    }
    void TearDown() override {
        ps87::setExceptionValue(59);
        psSSX::setExceptionValue(8064);
        ps_clear_fpu();
        ps_set_cw_fpu(savedCW, 0xFFFF);
        ps_set_ssx(savedMXCSR, 0xFFFF);
    }
    unsigned savedCW = 0, savedMXCSR = 0;
};

}  // namespace

TEST(FpGuardWords, ControlAndStatusTexts) {
    struct Case { unsigned cw, sw; const char* control; const char* status; };
    const Case cases[] = {
        {0x27F, 0, "Near 53 Invalid Denormal Zerodivide Overflow Underflow Inexact ", "Ok"},
        {0xC00 | 0x300 | 0x20, 0x20, "Zero 64 Inexact ", "_Inexact "},
        {0x400, 0x1 | 0x4 | 0x20, "Down 24 ", "?Invalid ?Zerodivide _Inexact "},
        {0x800 | 0x3B, 0x1F, "Up 24 Invalid Denormal Overflow Underflow Inexact ",
         "?Invalid ?Denormal ?Zerodivide ?Overflow ?Underflow "},
    };
    for (const Case& c : cases) {
        ps87 g;
        g.setWords(c.cw, c.sw);
        EXPECT_STREQ(c.control, g.strCW());
        EXPECT_STREQ(c.status, g.strSW());
        EXPECT_EQ(psString(c.status).contains("?"), g.badStatus());
    }

    psSSX sse(true);
    sse.setAccumulated(0x8000 | 0x1F80 | 0x20);
    EXPECT_STREQ("Near Invalid Denormal Zerodivide Overflow Underflow Inexact FlushToZero ", sse.strCW());
    EXPECT_STREQ("_Inexact ", sse.strExceptionState());
    EXPECT_FALSE(sse.badStatus());
    sse.setAccumulated(0x6000 | 0x2);
    EXPECT_STREQ("Zero NoFlushToZero ", sse.strCW());
    EXPECT_STREQ("?Denormal ", sse.strExceptionState());
    EXPECT_TRUE(sse.badStatus());
}

TEST(FpGuardWords, WithoutSseTheSsePartIsNeverBad) {
    psSSX none(false);
    none.setAccumulated(0x1);
    EXPECT_STREQ("cpu has not SSX extension", none.strCW());
    EXPECT_STREQ("cpu has not SSX extension", none.strExceptionState());
    EXPECT_FALSE(none.badStatus());
    EXPECT_EQ(0u, none.get());
}

TEST_F(FpGuardTest, DefaultsSetTheRegisters) {
    EXPECT_EQ(59u | 512u, ps_get_cw_fpu() & 3903u);
    EXPECT_EQ(8064u | 32768u, ps_get_ssx() & 65471u);
    g_ctrl87.stop();
    g_ssx.stop();
    EXPECT_STREQ("Near 53 Invalid Denormal Overflow Underflow Inexact ", g_ctrl87.strCW());
    EXPECT_STREQ("Near Invalid Denormal Zerodivide Overflow Underflow Inexact FlushToZero ", g_ssx.strCW());
}

TEST_F(FpGuardTest, MeasuredCodeRaisingFlagsIsCaughtBetweenStartAndStop) {
    struct Case { void (*code)(); const char* status; bool bad; };
    const Case cases[] = {{sseInexact, "_Inexact ", false}, {sseInvalid, "?Invalid ", true}};
    for (const Case& c : cases) {
        psClearCtrlStatus();
        g_ssx.start();
        c.code();
        g_ssx.stop();
        EXPECT_STREQ(c.status, g_ssx.strExceptionState());
        bool x87 = true, sse = false;
        EXPECT_EQ(c.bad, psBadCtrlStatus(x87, sse));
        EXPECT_EQ(c.bad, sse);
        EXPECT_FALSE(x87);
    }
    psClearCtrlStatus();
    EXPECT_STREQ("Ok", g_ssx.strExceptionState());
    EXPECT_EQ(0u, ps_get_ssx() & 63u) << "clearing also clears the register's flags";
}

TEST_F(FpGuardTest, AccumulatedControlWordIsAnOrOverMeasurements) {
    g_ctrl87.clear();
    g_ctrl87.stop();
    unsigned old = ps_set_cw_fpu(0x400, 0xC00);  // round down for one measurement
    g_ctrl87.stop();
    ps_set_cw_fpu(old, 0xFFFF);
    g_ctrl87.stop();
    EXPECT_EQ(0x400u, g_ctrl87.controlWord() & 0xC00u);
    EXPECT_EQ(0, psString(g_ctrl87.strCW()).find("Down "));
}

TEST_F(FpGuardTest, UnmaskedX87ZeroDivideTrapsAndMaskedOnlyFlags) {
    // Default x87 settings leave zero-divide unmasked: the division traps.
    EXPECT_EQ(fpSignal, trapMessage(x87ZeroDivide));
    ps_clear_fpu();

    // All masked: the same division only raises the flag.
    g_ctrl87.init();
    ts87Base().disableExceptions();
    g_ctrl87.start();
    x87ZeroDivide();
    g_ctrl87.stop();
    EXPECT_STREQ("?Zerodivide ", g_ctrl87.strSW());
    EXPECT_TRUE(g_ctrl87.badStatus());
}
