// The persistent worker pool of the LZO "MT" method.
#include "lzo/worker_pool.h"

#include <unistd.h>

#include <algorithm>
#include <new>
#include <system_error>

namespace lum::lzo {

namespace {

// Joins the workers at library unload or process exit (static destruction), while the
// pool object itself stays valid for any later call.
struct PoolReaper {
    WorkerPool* pool;
    ~PoolReaper() { pool->shutdown(); }
};

}  // namespace

WorkerPool& WorkerPool::instance() {
    static WorkerPool* const pool = new WorkerPool;
    static const PoolReaper reaper{pool};
    return *pool;
}

int WorkerPool::size() {
    std::lock_guard<std::mutex> lk(m_);
    return int(threads_.size());
}

void WorkerPool::drain(int worker) {
    for (int i = next_.fetch_add(1); i < tasks_; i = next_.fetch_add(1)) (*task_)(i, worker);
}

void WorkerPool::workerLoop(int index, unsigned seen) {
    std::unique_lock<std::mutex> lk(m_);
    for (;;) {
        wake_.wait(lk, [&] { return index >= limit_ || (open_ && job_ != seen); });
        if (index >= limit_) return;
        seen = job_;
        if (index >= participants_) continue;
        ++active_;
        lk.unlock();
        drain(index + 1);
        lk.lock();
        if (--active_ == 0) idle_.notify_all();
    }
}

void WorkerPool::forgetIfForked() {
    // A child process inherits the thread objects but not the threads: joining them would
    // never return, so they are left behind and the child starts its own.
    const int pid = int(getpid());
    if (threads_.empty() || pid_ == pid) {
        pid_ = pid;
        return;
    }
    static auto* const orphans = new std::vector<std::thread>;
    for (auto& t : threads_) orphans->push_back(std::move(t));
    // Nor the waiters its lock and condition variables still record (a broadcast would
    // wait for them for ever): the child starts with fresh ones, the old ones are left as
    // they are, like the threads.
    new (&m_) std::mutex;
    new (&wake_) std::condition_variable;
    new (&idle_) std::condition_variable;
    std::lock_guard<std::mutex> lk(m_);
    threads_.clear();
    limit_ = 0;
    pid_ = pid;
}

void WorkerPool::resize(int workers) {
    const int have = int(threads_.size());
    if (workers < have) {
        {
            std::lock_guard<std::mutex> lk(m_);
            limit_ = workers;
        }
        wake_.notify_all();
        for (int w = workers; w < have; ++w) threads_[w].join();
        std::lock_guard<std::mutex> lk(m_);
        threads_.resize(workers);
        return;
    }
    if (workers == have) return;
    std::unique_lock<std::mutex> lk(m_);
    limit_ = workers;
    const unsigned seen = job_;
    lk.unlock();
    std::vector<std::thread> started;
    for (int w = have; w < workers; ++w) {
        try {
            started.emplace_back(&WorkerPool::workerLoop, this, w, seen);
        } catch (const std::system_error&) {
            break;  // the workers already running (and the caller) take the rest
        }
    }
    lk.lock();
    for (auto& t : started) threads_.push_back(std::move(t));
    limit_ = int(threads_.size());
}

void WorkerPool::run(int tasks, int threads, int budget, const Task& task) {
    const int want = std::min({threads, tasks, budget}) - 1;
    std::unique_lock<std::mutex> job(jobLock_, std::try_to_lock);
    if (job.owns_lock() && !closed_) {
        forgetIfForked();
        // Never more workers than the budget allows; grow to what this call can use.
        if (int(threads_.size()) > budget - 1) resize(std::max(0, budget - 1));
        if (int(threads_.size()) < want) resize(want);
    }
    if (!job.owns_lock() || closed_ || want < 1 || threads_.empty()) {
        for (int i = 0; i < tasks; ++i) task(i, 0);
        return;
    }
    {
        std::lock_guard<std::mutex> lk(m_);
        task_ = &task;
        tasks_ = tasks;
        next_.store(0);
        participants_ = std::min(want, int(threads_.size()));
        open_ = true;
        ++job_;
    }
    wake_.notify_all();
    drain(0);
    // Workers that have not woken yet stay out; the caller waits only for those at work.
    std::unique_lock<std::mutex> lk(m_);
    open_ = false;
    idle_.wait(lk, [&] { return active_ == 0; });
    task_ = nullptr;
}

void WorkerPool::shutdown() {
    std::lock_guard<std::mutex> job(jobLock_);
    forgetIfForked();
    resize(0);
    closed_ = true;
}

}  // namespace lum::lzo
