// Adler-32 as zlib computes it: portable kernel, code paths and the public function.
#include <algorithm>

#include "checksums/adler32_base.h"
#include "checksums/checksum_paths.h"

namespace lum::checksums {

Lum32u adler32Portable(Lum32u adler, const Lum8u* p, std::size_t n) {
    // Both sums stay below 2^32 over kAdlerMaxRun bytes when they start reduced.
    Lum32u s1 = (adler & 0xFFFF) % kAdlerBase;
    Lum32u s2 = (adler >> 16) % kAdlerBase;
    while (n > 0) {
        std::size_t run = std::min(n, kAdlerMaxRun);
        n -= run;
        for (; run >= 8; run -= 8, p += 8) {
            for (int i = 0; i < 8; ++i) {
                s1 += p[i];
                s2 += s1;
            }
        }
        for (; run > 0; --run, ++p) {
            s1 += *p;
            s2 += s1;
        }
        s1 %= kAdlerBase;
        s2 %= kAdlerBase;
    }
    return (s2 << 16) | s1;
}

namespace {
constexpr ChecksumPath kPaths[] = {
#if defined(__x86_64__)
    {"avx512", kNeedsAvx512, adler32Avx512},
    {"avx2", kNeedsAvx2, adler32Avx2},
    {"ssse3", kNeedsSsse3, adler32Ssse3},
#endif
    {"portable", 0, adler32Portable},
};
}  // namespace

const ChecksumSlot& adler32Slot() {
    static ChecksumSlot slot(kPaths);
    return slot;
}

}  // namespace lum::checksums

extern "C" LumStatus lumsAdler32_8u(const Lum8u* pSrc, int len, Lum32u* pAdler32) {
    return lum::checksums::updateChecksum(lum::checksums::adler32Slot(), pSrc, len, pAdler32);
}
