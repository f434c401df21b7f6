// Prints the cost of the harness's own machinery in CPU clocks: two back-to-back
// counter reads, the per-call overhead of the loop and per-call kernels around an
// empty function, and the spread of five Auto measurements of a fixed workload.
// It asserts nothing; the figures are for reading.
#include "fpguard.h"
#include "ticker.h"
#include "timing.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

__attribute__((noinline)) int emptyCall()
{
    __asm__ __volatile__("");
    return 0;
}

// A loop kernel written the way the test modules write theirs.
psResult emptyLoop(int n, long long* clocks)
{
    emptyCall();
    const unsigned long long t0 = lum_get_vantor_counter();
    for (int i = 0; i < n; ++i) emptyCall();
    *clocks = static_cast<long long>(lum_get_vantor_counter() - t0) * psCpuTicker::getClockFactor();
    return OK;
}

// The fixed workload: a 16 KiB copy.
const int kCopyBytes = 16384;
std::vector<unsigned char> g_src(kCopyBytes, 7), g_dst(kCopyBytes);

int copyCall()
{
    std::memcpy(g_dst.data(), g_src.data(), kCopyBytes);
    __asm__ __volatile__("" : : "r"(g_dst.data()) : "memory");
    return 0;
}

struct Stats {
    double min, median, max;
};

Stats stats(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return {v.front(), v[v.size() / 2], v.back()};
}

void counterReads()
{
    std::vector<double> d;
    for (int i = 0; i < 100000; ++i) {
        unsigned long long a = lum_get_vantor_counter();
        unsigned long long b = lum_get_vantor_counter();
        d.push_back(static_cast<double>(b - a));
    }
    Stats s = stats(d);
    std::printf("two back-to-back counter reads      : min %6.1f  median %6.1f  max %8.1f clocks (100000 pairs)\n",
                s.min, s.median, s.max);
}

// Clocks per call of the empty function through one engine configuration, repeated.
Stats overhead(psLoopFunc loop, psCallFunc call, int method, int count)
{
    std::vector<double> v;
    for (int r = 0; r < 21; ++r) {
        psTool t;
        if (method == psTool::MANUAL)
            t.setMethodLoop(count);
        else
            t.setMethodStat(count, 0);
        t.timing(loop, nullptr, call, nullptr);
        v.push_back(t.getFuncClocks());
    }
    return stats(v);
}

void kernelOverheads()
{
    struct Row {
        const char* what;
        psLoopFunc loop;
        psCallFunc call;
        int method;
        int count;
    };
    const Row rows[] = {
        {"module loop kernel, 10000 loops     ", emptyLoop, nullptr, psTool::MANUAL, 10000},
        {"engine loop from call, 10000 loops  ", nullptr, emptyCall, psTool::MANUAL, 10000},
        {"engine per-call timing, 1000 calls  ", nullptr, emptyCall, psTool::STATISTIC, 1000},
    };
    for (const Row& r : rows) {
        Stats s = overhead(r.loop, r.call, r.method, r.count);
        std::printf("empty function, %s: min %6.2f  median %6.2f  max %6.2f clocks per call (21 runs)\n", r.what,
                    s.min, s.median, s.max);
    }
}

void autoSpread()
{
    std::vector<double> v;
    std::printf("Auto method on a %d-byte memcpy      :", kCopyBytes);
    for (int r = 0; r < 5; ++r) {
        psTool t;
        g_ctrl87.init();
        g_ssx.init();
        psResult res = t.timing(nullptr, nullptr, copyCall, nullptr);
        v.push_back(t.getFuncClocks());
        std::printf(" %.0f (%s, %s)", t.getFuncClocks(), t.getComment().c_str(), psResultWord(res));
    }
    Stats s = stats(v);
    std::printf("\n  spread of five Auto measurements  : max/min = %.3f, %.3f clocks per byte at the best\n",
                s.max / s.min, s.min / kCopyBytes);
}

}  // namespace

int main()
{
    std::printf("harnessbench: cost of the measurement machinery (clock factor %d)\n", psCpuTicker::getClockFactor());
    counterReads();
    kernelOverheads();
    autoSpread();
    return 0;
}
