// The "MT" container of the LZO family: the input cut into segments that are compressed
// and decompressed as independent LZO1X-1 streams by several threads.
//
// Layout, all numbers little-endian:
//   offset 0   1 byte    marker 0x10 (no LZO1X compressor starts a stream with it)
//   offset 1   1 byte    container version, 1
//   offset 2   2 bytes   segment count k, 1..65535
//   offset 4   4 bytes   total uncompressed length
//   offset 8   8k bytes  per segment: uncompressed length, compressed length (4 bytes each)
//   then the k LZO1X-1 streams back to back, in segment order.
#ifndef LUM_LZO_LZO_MT_H
#define LUM_LZO_LZO_MT_H

#include <functional>

#include "lumdc.h"

namespace lum::lzo {

constexpr Lum8u kMtMarker = 0x10;
constexpr Lum8u kMtVersion = 1;
constexpr int kMtHeaderLen = 8;
constexpr int kMtEntryLen = 8;
// Segments are at least this long: shorter ones cost more in waking and waiting for the
// workers than the parallel work saves, and lose matches across their borders.
constexpr int kMinSegmentLen = 131072;
// At most this many segments, hence work memories, per encoder state.
constexpr int kMaxSegments = 16;

// Worst-case LZO1X-1 output for n input bytes.
constexpr long long worstCase(long long n) { return n + n / 16 + 64 + 3; }

// Compression of one segment into dst with the work memory of `worker`; returns the
// compressed length.
using SegmentCoder = std::function<int(const Lum8u* src, int len, Lum8u* dst, int worker)>;

// Segments for n bytes with `threads` threads and `workMems` work memories: 1 or more.
int segmentCount(int n, int threads, int workMems);

// Writes the container for src[0, n) into dst; *pDstLen is the room in and the length out.
// Returns lumStsSizeErr, leaving dst alone, when the room cannot hold the worst case of
// the container.
LumStatus encodeContainer(const Lum8u* src, int n, Lum8u* dst, int* pDstLen, int segments,
                          const SegmentCoder& code);

// Decoding of one segment: lumStsNoErr when exactly `len` bytes came out.
using SegmentDecoder = std::function<LumStatus(const Lum8u* src, int srcLen, Lum8u* dst, int len)>;

// Checks the container's header against srcLen and the room *pDstLen, then decodes its
// segments in parallel; *pDstLen becomes the total length on success.
LumStatus decodeContainer(const Lum8u* src, int srcLen, Lum8u* dst, int* pDstLen,
                          const SegmentDecoder& decode);

// Runs task(i, worker) for i in [0, tasks) on up to `threads` threads (and no more than the
// thread budget), the calling thread included, the others taken from the library's worker
// pool; worker (0..threads-1) tells the threads apart. A thread that cannot be started
// leaves its share to the others.
void runParallel(int tasks, int threads, const std::function<void(int task, int worker)>& task);

// The library's thread budget (1 when it cannot be read).
int threadBudget();

}  // namespace lum::lzo

#endif
