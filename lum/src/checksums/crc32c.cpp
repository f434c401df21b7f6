// CRC-32C (Castagnoli): portable kernel, code paths and the public function.
#include "checksums/checksum_paths.h"
#include "checksums/crc_model.h"

namespace lum::checksums {

Lum32u crc32cPortable(Lum32u crc, const Lum8u* p, std::size_t n) {
    return ~Crc32cModel::tableUpdate(~crc, p, n);
}

namespace {
constexpr ChecksumPath kPaths[] = {
#if defined(__x86_64__)
    {"vpclmul512+crc32", kNeedsVpclmul512Sse42, crc32cVpclmul512Sse42},  // 4% faster on AMD Zen at 256 KiB
    {"vpclmul512", kNeedsVpclmul512, crc32cVpclmul512},
    {"vpclmul256", kNeedsVpclmul256, crc32cVpclmul256},
    {"sse42x3", kNeedsSse42Crc, crc32cSse42},  // twice the speed of 128-bit folding
    {"clmul128", kNeedsClmul, crc32cClmul},
#endif
    {"portable", 0, crc32cPortable},
};
}  // namespace

const ChecksumSlot& crc32cSlot() {
    static ChecksumSlot slot(kPaths);
    return slot;
}

}  // namespace lum::checksums

extern "C" LumStatus lumsCRC32C_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32C) {
    return lum::checksums::updateChecksum(lum::checksums::crc32cSlot(), pSrc, len, pCRC32C);
}
