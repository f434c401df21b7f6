// The worker pool behind the LZO "MT" method: it follows the thread budget up and down,
// serves callers on several threads at once (the one that finds it busy works alone),
// survives budget changes during calls and a fork, and still works after shutdown.
// The thread-sanitizer build (make test-thread) runs these tests to find data races and
// lock-order problems; a deadlock shows as the test's time limit.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <random>
#include <thread>
#include <vector>

#include "lumdc.h"
#include "lzo/lzo_mt.h"
#include "lzo/worker_pool.h"
#include "lzo_test.h"

// A child of a multi-threaded process starts threads of its own here, on purpose; a
// race report fails the test at once.
extern "C" const char* __tsan_default_options() { return "die_after_fork=0:halt_on_error=1"; }

namespace {

using lzotest::Bytes;
using lum::lzo::WorkerPool;

Bytes repetitive(size_t n) {
    std::mt19937 gen(7);
    Bytes b(n);
    for (auto& c : b) c = Lum8u('a' + gen() % 5);
    return b;
}

// Room for 8 segments of the smallest size.
const Bytes& source() {
    static const Bytes src = repetitive(8 * lum::lzo::kMinSegmentLen + 123);
    return src;
}

Bytes encodeMt(const Bytes& src) { return lzotest::encode(lumLZO1XMT, src); }

int segments(const Bytes& mt) { return mt.size() < 4 ? 0 : mt[2] | mt[3] << 8; }

// Restores the thread budget the test found.
class LzoPool : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(lumGetNumThreads(&saved), lumStsNoErr); }
    void TearDown() override { lumSetNumThreads(saved); }
    int saved = 1;
};

TEST_F(LzoPool, FollowsTheBudgetAndServesConcurrentCallers) {
    const Bytes& src = source();
    WorkerPool& pool = WorkerPool::instance();

    // Up, down to one thread and up again: the pool never holds more than budget - 1
    // workers and the container always comes back whole.
    for (int budget : {4, 2, 1, 6, 3}) {
        SCOPED_TRACE("budget " + std::to_string(budget));
        ASSERT_EQ(lumSetNumThreads(budget), lumStsNoErr);
        const Bytes mt = encodeMt(src);
        ASSERT_FALSE(mt.empty());
        EXPECT_EQ(segments(mt), budget);
        EXPECT_EQ(lzotest::decodeSafe(mt, src.size()), src);
        EXPECT_LE(pool.size(), budget - 1);
    }

    // Four callers at once with a budget of four: byte-identical containers and outputs.
    ASSERT_EQ(lumSetNumThreads(4), lumStsNoErr);
    const Bytes alone = encodeMt(src);
    std::vector<Bytes> streams(4), outputs(4);
    std::vector<std::thread> callers;
    for (int c = 0; c < 4; ++c) {
        callers.emplace_back([&, c] {
            for (int round = 0; round < 3; ++round) {
                streams[c] = encodeMt(src);
                outputs[c] = lzotest::decodeSafe(streams[c], src.size());
            }
        });
    }
    for (auto& t : callers) t.join();
    for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(streams[c], alone) << "caller " << c;
        EXPECT_EQ(outputs[c], src) << "caller " << c;
    }
}

// A caller that finds a job running does all its own tasks on its own thread, at once:
// the first job cannot end before the second caller is done.
TEST_F(LzoPool, BusyPoolRunsTheSecondCallerAlone) {
    WorkerPool& pool = WorkerPool::instance();
    std::atomic<bool> firstStarted{false}, secondDone{false};
    std::vector<int> secondWorkers(16, -1);
    std::vector<std::thread::id> secondThreads(16);
    std::thread first([&] {
        pool.run(4, 4, 4, [&](int, int) {
            firstStarted = true;
            while (!secondDone) std::this_thread::yield();
        });
    });
    while (!firstStarted) std::this_thread::yield();
    pool.run(16, 4, 4, [&](int task, int worker) {
        secondWorkers[task] = worker;
        secondThreads[task] = std::this_thread::get_id();
    });
    secondDone = true;
    first.join();
    for (int task = 0; task < 16; ++task) {
        EXPECT_EQ(secondWorkers[task], 0) << task;
        EXPECT_EQ(secondThreads[task], std::this_thread::get_id()) << task;
    }
    // The pool is free again: every task of the next job runs, on workers 0..3.
    std::vector<std::atomic<int>> done(64);
    pool.run(64, 4, 4, [&](int task, int worker) { done[task] += worker >= 0 && worker < 4 ? 1 : 100; });
    for (int task = 0; task < 64; ++task) EXPECT_EQ(done[task].load(), 1) << task;
}

// The budget moves between 1 and 8 while four callers encode and decode: every container
// is the one a lone caller makes with its segment count, and decodes.
TEST_F(LzoPool, BudgetChangesDuringCalls) {
    const Bytes& src = source();
    std::map<int, Bytes> expected;
    for (int budget = 1; budget <= 8; ++budget) {
        ASSERT_EQ(lumSetNumThreads(budget), lumStsNoErr);
        const Bytes mt = encodeMt(src);
        expected[segments(mt)] = mt;
    }
    std::atomic<bool> stop{false};
    std::thread changer([&] {
        std::mt19937 gen(3);
        while (!stop) {
            lumSetNumThreads(1 + int(gen() % 8));
            std::this_thread::yield();
        }
    });
    std::vector<int> mismatches(4, 0), calls(4, 0);
    std::vector<std::thread> callers;
    for (int c = 0; c < 4; ++c) {
        callers.emplace_back([&, c] {
            for (int round = 0; round < 6; ++round, ++calls[c]) {
                const Bytes mt = encodeMt(src);
                const auto it = expected.find(segments(mt));
                if (it == expected.end() || it->second != mt || lzotest::decodeSafe(mt, src.size()) != src) ++mismatches[c];
            }
        });
    }
    for (auto& t : callers) t.join();
    stop = true;
    changer.join();
    for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(calls[c], 6);
        EXPECT_EQ(mismatches[c], 0) << "caller " << c;
    }
}

// A child forked while the pool has workers inherits their thread objects but not the
// threads: its calls must start workers of its own, not wait for the parent's.
TEST_F(LzoPool, ChildProcessStartsItsOwnWorkers) {
    const Bytes& src = source();
    ASSERT_EQ(lumSetNumThreads(4), lumStsNoErr);
    const Bytes before = encodeMt(src);
    ASSERT_GT(WorkerPool::instance().size(), 0);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        const Bytes mt = encodeMt(src);
        const bool ok = mt == before && lzotest::decodeSafe(mt, src.size()) == src && WorkerPool::instance().size() == 3;
        _exit(ok ? 0 : 1);
    }
    // A child stuck on the parent's workers would never end: it gets 60 seconds.
    int status = 0;
    pid_t done = 0;
    for (int waited = 0; waited < 6000 && (done = waitpid(pid, &status, WNOHANG)) == 0; ++waited) usleep(10000);
    if (done == 0) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
        FAIL() << "the child hung";
    }
    ASSERT_EQ(done, pid);
    ASSERT_TRUE(WIFEXITED(status)) << "the child did not finish";
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(encodeMt(src), before) << "the parent's pool still works";
}

// After shutdown (as at library unload) calls still complete, on the calling thread.
TEST_F(LzoPool, ShutdownLeavesCallsOnTheCallingThread) {
    const Bytes& src = source();
    ASSERT_EQ(lumSetNumThreads(4), lumStsNoErr);
    const Bytes mt = encodeMt(src);
    WorkerPool& pool = WorkerPool::instance();
    pool.shutdown();
    EXPECT_EQ(pool.size(), 0);
    std::vector<int> workers(8, -1);
    pool.run(8, 4, 4, [&](int task, int worker) { workers[task] = worker; });
    EXPECT_EQ(workers, std::vector<int>(8, 0));
    EXPECT_EQ(encodeMt(src), mt);
    EXPECT_EQ(lzotest::decodeSafe(mt, src.size()), src);
    EXPECT_EQ(pool.size(), 0);
}

}  // namespace
