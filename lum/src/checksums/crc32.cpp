// CRC-32 of gzip and zip: portable kernel, code paths and the public function.
#include "checksums/checksum_paths.h"
#include "checksums/crc_model.h"

namespace lum::checksums {

Lum32u crc32Portable(Lum32u crc, const Lum8u* p, std::size_t n) {
    return ~Crc32Model::tableUpdate(~crc, p, n);
}

namespace {
constexpr ChecksumPath kPaths[] = {
#if defined(__x86_64__)
    {"vpclmul512", kNeedsVpclmul512, crc32Vpclmul512},
    {"vpclmul256", kNeedsVpclmul256, crc32Vpclmul256},
    {"clmul128", kNeedsClmul, crc32Clmul},
#endif
    {"portable", 0, crc32Portable},
};
}  // namespace

const ChecksumSlot& crc32Slot() {
    static ChecksumSlot slot(kPaths);
    return slot;
}

}  // namespace lum::checksums

extern "C" LumStatus lumsCRC32_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32) {
    return lum::checksums::updateChecksum(lum::checksums::crc32Slot(), pSrc, len, pCRC32);
}
