// The two measurement kernels every test module hands to the timing engine, as
// templates over the module's one-call function and its optional argument reset,
// so that each module instantiates them instead of writing them out per function.
// Only the library call (and, in the loop kernel, the argument reset) lies
// between the two counter reads.
#ifndef DC_KERNELS_H
#define DC_KERNELS_H

#include "pp.h"
#include "ticker.h"

// No argument reset: the module's calls take their arguments as they stand.
inline void dcNoReset() {}

// Statistic kernel: times every call separately until at least *count calls and
// *clocks clocks were timed. The first call is an untimed warm-up; a negative
// status stops at once, a positive one is kept and checked at the end.
template <int (*Call)(), void (*Reset)() = dcNoReset>
psResult dcStatKernel(int* count, long long* clocks, const char* funcName)
{
    const long long factor = psCpuTicker::getClockFactor();
    int i = -1;
    long long ticks = 0;
    int kept = 0;
    for (;;) {
        if (i >= *count && factor * ticks >= *clocks) break;
        Reset();
        unsigned long long t0 = lum_get_vantor_counter();
        int status = Call();
        unsigned long long t1 = lum_get_vantor_counter();
        ticks += static_cast<long long>(t1 - t0);
        if (status != 0) kept = status;
        if (status < 0) break;
        if (++i == 0) {
            (void)lum_get_vantor_counter();
            ticks = 0;  // the warm-up call never counts
        }
    }
    *count = i;
    *clocks = factor * ticks;
    return ppTest::checkStatus(kept, funcName);
}

// Loop kernel: one untimed warm-up call, then count calls (each after its
// argument reset) between two counter reads. Only the last status survives.
template <int (*Call)(), void (*Reset)() = dcNoReset>
psResult dcLoopKernel(int count, long long* clocks, const char* funcName)
{
    Reset();
    int status = Call();
    unsigned long long t0 = lum_get_vantor_counter();
    for (int k = 0; k < count; ++k) {
        Reset();
        status = Call();
    }
    unsigned long long t1 = lum_get_vantor_counter();
    *clocks = psCpuTicker::getClockFactor() * static_cast<long long>(t1 - t0);
    return ppTest::checkStatus(status, funcName);
}

// Declares the kernel family of one measured function whose one-call function
// tcall_<func> (and, with an argument reset, i_<func>) the module defines.
#define DC_KERNELS(func)                                                                      \
    static psResult tim_##func##_stat(int* count, long long* clocks)                          \
    {                                                                                         \
        return dcStatKernel<tcall_##func>(count, clocks, #func);                              \
    }                                                                                         \
    static psResult tim_##func##_loop(int count, long long* clocks)                           \
    {                                                                                         \
        return dcLoopKernel<tcall_##func>(count, clocks, #func);                              \
    }

#define DC_KERNELS_I(func)                                                                    \
    static int tinit_##func()                                                                 \
    {                                                                                         \
        i_##func();                                                                           \
        return 0;                                                                             \
    }                                                                                         \
    static psResult tim_##func##_stat(int* count, long long* clocks)                          \
    {                                                                                         \
        return dcStatKernel<tcall_##func, i_##func>(count, clocks, #func);                    \
    }                                                                                         \
    static psResult tim_##func##_loop(int count, long long* clocks)                           \
    {                                                                                         \
        return dcLoopKernel<tcall_##func, i_##func>(count, clocks, #func);                    \
    }

#endif
