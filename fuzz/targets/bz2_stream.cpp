// A .bz2 reader assembled from the lum stages against libbz2's BZ2_bzBuffToBuffDecompress
// on the same bytes: what libbz2 refuses the reader refuses, what it accepts the reader
// decodes to the same bytes (except the two kinds of block the reader deliberately
// refuses, see bz2::Verdict).
#include <bzlib.h>

#include "bz2_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr unsigned kCap = 4 << 20;
    static Bytes ref(kCap), out;
    Bytes in(data, data + size);
    unsigned refLen = kCap;
    const int refSt = BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(ref.data()), &refLen,
                                                 reinterpret_cast<char*>(in.data()), unsigned(size), 0, 0);
    const bz2::Verdict v = bz2::decompress(in, out, kCap);
    if (refSt == BZ_OUTBUFF_FULL || v == bz2::Verdict::tooLarge) return 0;  // beyond the room: no verdict
    const bool ok = v == bz2::Verdict::ok;
    char what[64];
    std::snprintf(what, sizeof what, "reader verdict %d, libbz2 %d", int(v), refSt);
    if (ok) {
        FUZZ_CHECK(refSt == BZ_OK, what);
        FUZZ_CHECK(out.size() == refLen && std::equal(out.begin(), out.end(), ref.begin()), "the same bytes");
    } else if (refSt == BZ_OK) {
        FUZZ_CHECK(v == bz2::Verdict::randomised || v == bz2::Verdict::badContext, what);
    }
    return 0;
}
