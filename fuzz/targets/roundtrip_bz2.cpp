// A .bz2 stream of the lum block-sorting stages on fuzzer-chosen data, block size and BWT
// hint: libbz2 and the lum reader both give the data back. When the tail says so, the
// data are taken as first-stage (RLE) data as they are, which need not be valid: libbz2
// and the lum reader must then agree on them.
#include <bzlib.h>

#include "bz2_format.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    const auto hint = LumBWTSortAlgorithmHint(in.params.ConsumeIntegralInRange(0, 3));
    const int level = in.params.ConsumeIntegralInRange(0, 8) + 1;
    const size_t block = size_t(in.piece(60000, 60000));  // RLE data stays below 100000 bytes
    const bool raw = in.params.ConsumeIntegralInRange(0, 3) == 3;
    const Bytes z = bz2::compress(in.payload, level, block, hint, !raw);
    Bytes back(in.payload.size() * 64 + 1), ours;
    unsigned len = unsigned(back.size());
    if (raw) {
        const int st = BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(back.data()), &len,
                                                  const_cast<char*>(reinterpret_cast<const char*>(z.data())),
                                                  unsigned(z.size()), 0, 0);
        const bz2::Verdict v = bz2::decompress(z, ours, back.size());
        FUZZ_CHECK((st == BZ_OK) == (v == bz2::Verdict::ok), "libbz2 and the lum reader agree on first-stage data");
        FUZZ_CHECK(st != BZ_OK || (ours.size() == len && std::equal(ours.begin(), ours.end(), back.begin())),
                   "the same bytes");
        return 0;
    }
    FUZZ_CHECK(BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(back.data()), &len,
                                          const_cast<char*>(reinterpret_cast<const char*>(z.data())), unsigned(z.size()),
                                          0, 0) == BZ_OK && len == in.payload.size() &&
                   std::equal(in.payload.begin(), in.payload.end(), back.begin()), "libbz2 gives the data back");
    FUZZ_CHECK(bz2::decompress(z, back, in.payload.size() + 1) == bz2::Verdict::ok && back == in.payload,
               "the lum reader gives the data back");
    return 0;
}
