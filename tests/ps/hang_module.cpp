// A test module for the watchdog test: lumsHang_8u measures a function that never
// returns, lumsQuick_8u one that does. Linked with the framework's main into a
// program of its own.
#include "registry.h"

namespace {

psResult hangLoop(int, long long*)
{
    volatile unsigned long spins = 0;
    for (;;) ++spins;
}

psResult quickLoop(int numLoops, long long* clocks)
{
    *clocks = 100LL * numLoops;
    return OK;
}

const int s_hang = psRegTest(new psTest(hangLoop, nullptr, "lumsHang_8u", "hang_module.cpp", "TimHang//PP_REG"));
const int s_quick = psRegTest(new psTest(quickLoop, nullptr, "lumsQuick_8u", "hang_module.cpp", "TimQuick//PP_REG"));

}  // namespace
