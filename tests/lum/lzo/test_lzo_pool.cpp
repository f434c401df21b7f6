// The worker pool behind the LZO "MT" method: it follows the thread budget up and down,
// and callers on several threads at once (one of them finds the pool busy) all get the
// same container as a lone caller.
#include <gtest/gtest.h>

#include <random>
#include <thread>
#include <vector>

#include "lumdc.h"
#include "lzo/lzo_mt.h"
#include "lzo/worker_pool.h"

namespace {

using Bytes = std::vector<Lum8u>;

Bytes repetitive(size_t n) {
    std::mt19937 gen(7);
    Bytes b(n);
    for (auto& c : b) c = Lum8u('a' + gen() % 5);
    return b;
}

Bytes encodeMt(const Bytes& src) {
    int size = 0;
    lumsEncodeLZOGetSize(lumLZO1XMT, int(src.size()), &size);
    Bytes area(size), dst(2 * src.size() + 256);
    auto* st = reinterpret_cast<LumLZOState_8u*>(area.data());
    int len = int(dst.size());
    if (lumsEncodeLZOInit_8u(lumLZO1XMT, int(src.size()), st) != lumStsNoErr ||
        lumsEncodeLZO_8u(src.data(), int(src.size()), dst.data(), &len, st) != lumStsNoErr)
        return {};
    dst.resize(len);
    return dst;
}

Bytes decodeMt(const Bytes& stream, size_t n) {
    Bytes out(n + 1);
    int len = int(out.size());
    if (lumsDecodeLZOSafe_8u(stream.data(), int(stream.size()), out.data(), &len) != lumStsNoErr)
        return {};
    out.resize(len);
    return out;
}

TEST(LzoPool, FollowsTheBudgetAndServesConcurrentCallers) {
    int saved = 1;
    ASSERT_EQ(lumGetNumThreads(&saved), lumStsNoErr);
    const Bytes src = repetitive(8 * lum::lzo::kMinSegmentLen + 123);  // room for 8 segments
    auto& pool = lum::lzo::WorkerPool::instance();

    // Up, down to one thread and up again: the pool never holds more than budget - 1
    // workers and the container always comes back whole.
    for (int budget : {4, 2, 1, 6, 3}) {
        SCOPED_TRACE("budget " + std::to_string(budget));
        ASSERT_EQ(lumSetNumThreads(budget), lumStsNoErr);
        const Bytes mt = encodeMt(src);
        ASSERT_FALSE(mt.empty());
        EXPECT_EQ(int(mt[2]), budget);  // segment count follows the budget
        EXPECT_EQ(decodeMt(mt, src.size()), src);
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
                outputs[c] = decodeMt(streams[c], src.size());
            }
        });
    }
    for (auto& t : callers) t.join();
    for (int c = 0; c < 4; ++c) {
        EXPECT_EQ(streams[c], alone) << "caller " << c;
        EXPECT_EQ(outputs[c], src) << "caller " << c;
    }
    lumSetNumThreads(saved);
}

}  // namespace
