// The bzip2 block CRC (most significant bit first): portable kernel, code paths and the
// public function.
#include "checksums/checksum_paths.h"
#include "checksums/crc_model.h"

namespace lum::checksums {

Lum32u crc32Bz2Portable(Lum32u crc, const Lum8u* p, std::size_t n) {
    return ~CrcBz2Model::tableUpdate(~crc, p, n);
}

namespace {
constexpr ChecksumPath kPaths[] = {
#if defined(__x86_64__)
    {"vpclmul512", kNeedsVpclmul512, crc32Bz2Vpclmul512},
    {"vpclmul256", kNeedsVpclmul256, crc32Bz2Vpclmul256},
    {"clmul128", kNeedsClmul, crc32Bz2Clmul},
#endif
    {"portable", 0, crc32Bz2Portable},
};
}  // namespace

const ChecksumSlot& crc32Bz2Slot() {
    static ChecksumSlot slot(kPaths);
    return slot;
}

}  // namespace lum::checksums

extern "C" LumStatus lumsCRC32_BZ2_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32) {
    return lum::checksums::updateChecksum(lum::checksums::crc32Bz2Slot(), pSrc, len, pCRC32);
}
