// Thread budget of the library.
#include <unistd.h>

#include <atomic>

#include "lumcore.h"

namespace {

constexpr int kMaxThreads = 1024;

int onlineProcessors() {
    const long n = sysconf(_SC_NPROCESSORS_ONLN);
    if (n < 1) return 1;
    return n > kMaxThreads ? kMaxThreads : static_cast<int>(n);
}

std::atomic<int>& budget() {
    static std::atomic<int> threads{onlineProcessors()};
    return threads;
}

}  // namespace

extern "C" {

LumStatus lumSetNumThreads(int n) {
    if (n < 1 || n > kMaxThreads) return lumStsBadArgErr;
    budget().store(n, std::memory_order_relaxed);
    return lumStsNoErr;
}

LumStatus lumGetNumThreads(int* pNumThreads) {
    if (pNumThreads == nullptr) return lumStsNullPtrErr;
    *pNumThreads = budget().load(std::memory_order_relaxed);
    return lumStsNoErr;
}

}  // extern "C"
