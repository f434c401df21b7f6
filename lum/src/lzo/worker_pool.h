// The library-wide pool of worker threads that runs the parallel parts of the LZO "MT"
// method. Starting threads on every call made the cost of a call jump from one call to
// the next; the pool starts its workers once, on the first call that needs them, and keeps
// them waiting on a condition variable between calls.
#ifndef LUM_LZO_WORKER_POOL_H
#define LUM_LZO_WORKER_POOL_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "core/export.h"

namespace lum::lzo {

class LUM_INTERNAL WorkerPool {
public:
    using Task = std::function<void(int task, int worker)>;

    // The pool of the library. It is never destroyed, so a call made from another
    // library's exit code still finds it; its workers are joined when this library is
    // unloaded or the process exits, and later calls run on the calling thread.
    static WorkerPool& instance();

    // Runs task(i, worker) for i in [0, tasks) on up to `threads` threads, the calling
    // thread (worker 0) included; the other threads are workers 1.. of the pool, which
    // grows to what the call needs and never holds more than budget - 1 workers. A worker
    // that cannot be started leaves its share to the others. One job runs at a time: a
    // call that finds the pool busy runs its tasks on the calling thread alone.
    void run(int tasks, int threads, int budget, const Task& task);

    // Workers currently started.
    int size();

    // Stops and joins every worker; later calls run on the calling thread.
    void shutdown();

private:
    WorkerPool() = default;
    void resize(int workers);  // with jobLock_ held
    void forgetIfForked();     // with jobLock_ held
    void workerLoop(int index, unsigned seen);
    void drain(int worker);

    std::mutex jobLock_;  // held by the caller that owns the current job
    std::mutex m_;        // guards everything below
    std::condition_variable wake_;  // a new job, a resize or shutdown
    std::condition_variable idle_;  // the last active worker left the job
    std::vector<std::thread> threads_;
    int pid_ = 0;           // process that started threads_
    bool closed_ = false;   // shut down: no more workers
    int limit_ = 0;         // workers with an index at or above it leave
    unsigned job_ = 0;      // number of the current job
    bool open_ = false;     // workers may still join the current job
    int participants_ = 0;  // workers 0..participants_-1 of the pool may join it
    int active_ = 0;        // workers inside the current job
    int tasks_ = 0;
    const Task* task_ = nullptr;
    std::atomic<int> next_{0};  // next task to hand out
};

}  // namespace lum::lzo

#endif
