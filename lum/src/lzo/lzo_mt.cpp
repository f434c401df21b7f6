// The "MT" container of the LZO family: segment planning, parallel coding, header checks.
#include "lzo/lzo_mt.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "lzo/worker_pool.h"

namespace lum::lzo {

namespace {

Lum32u load32(const Lum8u* p) {
    return Lum32u(p[0]) | Lum32u(p[1]) << 8 | Lum32u(p[2]) << 16 | Lum32u(p[3]) << 24;
}

void store32(Lum8u* p, Lum32u v) {
    for (int i = 0; i < 4; ++i) p[i] = Lum8u(v >> (8 * i));
}

}  // namespace

int threadBudget() {
    int n = 1;
    if (lumGetNumThreads(&n) != lumStsNoErr || n < 1) return 1;
    return n;
}

void runParallel(int tasks, int threads, const std::function<void(int, int)>& task) {
    WorkerPool::instance().run(tasks, threads, threadBudget(), task);
}

int segmentCount(int n, int threads, int workMems) {
    const int bySize = n / kMinSegmentLen;
    return std::max(1, std::min({threads, bySize, workMems, kMaxSegments}));
}

LumStatus encodeContainer(const Lum8u* src, int n, Lum8u* dst, int* pDstLen, int segments,
                          const SegmentCoder& code) {
    const int k = segments;
    const int segLen = int((static_cast<long long>(n) + k - 1) / k);
    std::vector<int> inLen(k), outLen(k);
    std::vector<long long> slot(k + 1);  // reserved output region of each segment
    slot[0] = kMtHeaderLen + static_cast<long long>(kMtEntryLen) * k;
    for (int i = 0; i < k; ++i) {
        inLen[i] = std::max(0, std::min(segLen, n - i * segLen));
        slot[i + 1] = slot[i] + worstCase(inLen[i]);
    }
    if (slot[k] > *pDstLen) return lumStsSizeErr;

    runParallel(k, k, [&](int i, int worker) {
        outLen[i] = code(src + static_cast<long long>(i) * segLen, inLen[i], dst + slot[i], worker);
    });

    // Close the gaps between the reserved regions; the first stream is already in place.
    long long at = slot[0];
    for (int i = 0; i < k; ++i) {
        if (at != slot[i]) std::memmove(dst + at, dst + slot[i], outLen[i]);
        at += outLen[i];
    }
    dst[0] = kMtMarker;
    dst[1] = kMtVersion;
    dst[2] = Lum8u(k);
    dst[3] = Lum8u(k >> 8);
    store32(dst + 4, Lum32u(n));
    for (int i = 0; i < k; ++i) {
        store32(dst + kMtHeaderLen + kMtEntryLen * i, Lum32u(inLen[i]));
        store32(dst + kMtHeaderLen + kMtEntryLen * i + 4, Lum32u(outLen[i]));
    }
    *pDstLen = int(at);
    return lumStsNoErr;
}

LumStatus decodeContainer(const Lum8u* src, int srcLen, Lum8u* dst, int* pDstLen,
                          const SegmentDecoder& decode) {
    if (srcLen < kMtHeaderLen || src[0] != kMtMarker) return lumStsCorruptDataErr;
    if (src[1] != kMtVersion) return lumStsUnsupportedModeErr;
    const int k = src[2] | src[3] << 8;
    const long long tableEnd = kMtHeaderLen + static_cast<long long>(kMtEntryLen) * k;
    if (k == 0 || tableEnd > srcLen) return lumStsCorruptDataErr;

    // Every length is checked before anything is written: the streams must fill the
    // source exactly and the segments add up to the total, which must fit the room.
    std::vector<long long> inAt(k + 1), outAt(k + 1);
    inAt[0] = tableEnd;
    outAt[0] = 0;
    for (int i = 0; i < k; ++i) {
        const Lum8u* e = src + kMtHeaderLen + kMtEntryLen * i;
        outAt[i + 1] = outAt[i] + load32(e);
        inAt[i + 1] = inAt[i] + load32(e + 4);
    }
    if (inAt[k] != srcLen || outAt[k] != load32(src + 4)) return lumStsCorruptDataErr;
    if (outAt[k] > *pDstLen) return lumStsSizeErr;

    std::vector<LumStatus> status(k, lumStsNoErr);
    runParallel(k, threadBudget(), [&](int i, int) {
        status[i] = decode(src + inAt[i], int(inAt[i + 1] - inAt[i]), dst + outAt[i],
                           int(outAt[i + 1] - outAt[i]));
    });
    for (LumStatus s : status) {
        if (s != lumStsNoErr) return s;
    }
    *pDstLen = int(outAt[k]);
    return lumStsNoErr;
}

}  // namespace lum::lzo
