// The clock ticker: the frequency snapping rule and the process priority, which only
// the superuser may change. (A counter that does not advance gives no positive clock
// cell in the black-box checksum run.)
#include "ticker.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(Ticker, EstimateSnapsToANominalFrequencyWithinThreePercent) {
    const unsigned cases[][2] = {
        {2993, 3060},  // 2.2 % below 3060
        {3200, 3200},  // 4.4 % above 3060: kept
        {2400, 2400},  // exact
        {2450, 2400},  // as close to 2400 as to 2500: the lower one wins
        {5000, 5000},  // far above the table
        {0, 0},
    };
    for (const auto& c : cases) EXPECT_EQ(c[1], psCpuTicker::nominalFreqMHz(c[0])) << c[0];
}

namespace {

// Runs f in a child process (so priority changes stay there); returns its exit code.
template <class F>
int inChild(F f) {
    pid_t pid = fork();
    if (pid == 0) _exit(f());
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 99;
}

int priority() { return getpriority(PRIO_PROCESS, 0); }

}  // namespace

TEST(Ticker, PriorityChangesOnlyForTheSuperuser) {
    if (getuid() != 0) GTEST_SKIP() << "the superuser's case needs root";
    // Low priority while measuring, the old one afterwards.
    EXPECT_EQ(0, inChild([] {
        int before = priority();
        psSetPriority(3);
        if (priority() != 10) return 1;
        psResetPriority();
        return priority() == before ? 0 : 2;
    }));
    // Level 0 forgets the saved priority: the reset restores nothing.
    EXPECT_EQ(0, inChild([] {
        psSetPriority(3);
        psSetPriority(0);
        psResetPriority();
        return priority() == 10 ? 0 : 1;
    }));
    // Another user keeps the priority it has.
    EXPECT_EQ(0, inChild([] {
        if (setuid(65534) != 0) return 3;
        int before = priority();
        psSetPriority(1);
        if (priority() != before) return 1;
        psResetPriority();
        return priority() == before ? 0 : 2;
    }));
}
