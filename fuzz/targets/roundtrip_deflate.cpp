// The deflate encoder stages on fuzzer-chosen data and settings (level, window, hash size,
// the flush of the middle calls, source pieces) make a fixed-code block that zlib's raw
// inflate must decode to the data.
#include <zlib.h>

#include "deflate_fixed.h"
#include "fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    const Bytes& s = in.payload;
    const int n = int(s.size());
    const int level = in.params.ConsumeIntegralInRange(0, 8) + 1;  // a zero tail is level 1... 9
    const int winSize = 32768 >> in.params.ConsumeIntegralInRange(0, 7);
    const int hashSize = in.params.ConsumeIntegralInRange(0, 65535) + 1;
    const auto middle = LumLZ77Flush(in.params.ConsumeIntegralInRange(0, 2));
    const int piece = in.piece(n + 1);
    const Bytes out = deflate_fixed::compress(s, level, winSize, hashSize, middle, piece,
                                              std::vector<Lum32s>(size_t(winSize), 0x5A5A5A5A));

    Bytes back(size_t(n) + 1);
    z_stream z{};
    FUZZ_CHECK(inflateInit2(&z, -15) == Z_OK, "zlib");
    z.next_in = const_cast<Lum8u*>(out.data()), z.avail_in = unsigned(out.size());
    z.next_out = back.data(), z.avail_out = unsigned(back.size());
    const int zst = inflate(&z, Z_FINISH);
    inflateEnd(&z);
    FUZZ_CHECK(zst == Z_STREAM_END && z.total_out == uLong(n) && std::equal(s.begin(), s.end(), back.begin()),
               "zlib decodes the data");
    return 0;
}
