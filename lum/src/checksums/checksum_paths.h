// Internal interface of the checksum families: the kernel type, every family's dispatch
// slot (its code paths, fastest first, and the one in force) and the kernels themselves.
// Tests and benchmarks use it to run one particular path.
#ifndef LUM_CHECKSUMS_CHECKSUM_PATHS_H
#define LUM_CHECKSUMS_CHECKSUM_PATHS_H

#include <cstddef>

#include "core/dispatch.h"
#include "lumdc.h"

namespace lum::checksums {

// Continues a checksum given in its public form (as stored by the lums... functions)
// over n bytes and returns the new value.
using ChecksumFn = Lum32u (*)(Lum32u value, const Lum8u* p, std::size_t n);
using ChecksumPath = CodePath<ChecksumFn>;
using ChecksumSlot = DispatchSlot<ChecksumFn>;

LUM_INTERNAL const ChecksumSlot& crc32Slot();
LUM_INTERNAL const ChecksumSlot& crc32cSlot();
LUM_INTERNAL const ChecksumSlot& crc32Bz2Slot();
LUM_INTERNAL const ChecksumSlot& adler32Slot();

struct ChecksumFamily {
    const char* name;                            // the public function's name
    const ChecksumSlot& (*slot)();
    LumStatus (*entry)(const Lum8u*, int, Lum32u*);  // the public function
    Lum32u initial;                              // value of an empty checksum
};

inline constexpr ChecksumFamily kChecksumFamilies[] = {
    {"lumsCRC32_8u", crc32Slot, lumsCRC32_8u, 0},
    {"lumsCRC32C_8u", crc32cSlot, lumsCRC32C_8u, 0},
    {"lumsCRC32_BZ2_8u", crc32Bz2Slot, lumsCRC32_BZ2_8u, 0},
    {"lumsAdler32_8u", adler32Slot, lumsAdler32_8u, 1},
};

// The argument checks and the call shared by the four public functions.
inline LumStatus updateChecksum(const ChecksumSlot& slot, const Lum8u* pSrc, int len,
                                Lum32u* pValue) {
    if (pSrc == nullptr || pValue == nullptr) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    if (len > 0) *pValue = slot.fn()(*pValue, pSrc, static_cast<std::size_t>(len));
    return lumStsNoErr;
}

// Kernels (public-form value in and out).
Lum32u crc32Portable(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32cPortable(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32Bz2Portable(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u adler32Portable(Lum32u adler, const Lum8u* p, std::size_t n);

#if defined(__x86_64__)
Lum32u crc32Clmul(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32cClmul(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32Bz2Clmul(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32Vpclmul256(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32cVpclmul256(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32Bz2Vpclmul256(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32Vpclmul512(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32cVpclmul512(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32cVpclmul512Sse42(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32Bz2Vpclmul512(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u crc32cSse42(Lum32u crc, const Lum8u* p, std::size_t n);
Lum32u adler32Ssse3(Lum32u adler, const Lum8u* p, std::size_t n);
Lum32u adler32Avx2(Lum32u adler, const Lum8u* p, std::size_t n);
Lum32u adler32Avx512(Lum32u adler, const Lum8u* p, std::size_t n);

// Features each x86 kernel executes.
constexpr Lum64u kNeedsClmul = lumCpuFeatureSSSE3 | lumCpuFeatureSSE41 | lumCpuFeatureCLMUL;
constexpr Lum64u kNeedsVpclmul256 = kNeedsClmul | lumCpuFeatureAVX | lumCpuFeatureAVX2 |
                                    lumCpuFeatureVPCLMUL;
constexpr Lum64u kNeedsVpclmul512 = kNeedsVpclmul256 | lumCpuFeatureAVX512F |
                                    lumCpuFeatureAVX512BW | lumCpuFeatureAVX512VL;
constexpr Lum64u kNeedsSse42Crc = lumCpuFeatureSSE42 | lumCpuFeatureCLMUL;
constexpr Lum64u kNeedsVpclmul512Sse42 = kNeedsVpclmul512 | kNeedsSse42Crc;
constexpr Lum64u kNeedsSsse3 = lumCpuFeatureSSSE3;
constexpr Lum64u kNeedsAvx2 = lumCpuFeatureAVX | lumCpuFeatureAVX2;
constexpr Lum64u kNeedsAvx512 = kNeedsAvx2 | lumCpuFeatureAVX512F | lumCpuFeatureAVX512BW;
#endif

}  // namespace lum::checksums

#endif
