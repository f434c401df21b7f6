// The LZO encoder (ST or MT, one or two threads, the data repeated past the MT segment
// size when the tail asks) with the least room allowed: liblzo2 decodes the plain stream
// or each segment of the container, and both lum decoders give the data back.
#include <lzo/lzo1x.h>

#include <cstring>

#include "fuzz.h"

namespace {
Lum32u le32(const Lum8u* p) { return Lum32u(p[0]) | Lum32u(p[1]) << 8 | Lum32u(p[2]) << 16 | Lum32u(p[3]) << 24; }
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = lzo_init() == LZO_E_OK;
    FUZZ_CHECK(ready, "lzo_init");
    fuzz::Input in(data, size);
    const auto method = LumLZOMethod(in.params.ConsumeIntegralInRange(0, 1));
    FUZZ_CHECK(lumSetNumThreads(in.params.ConsumeIntegralInRange(1, 2)) == lumStsNoErr, "threads");
    Bytes s = in.payload;
    if (in.params.ConsumeIntegralInRange(0, 7) == 7 && !s.empty())  // rarely: several MT segments
        while (s.size() < 300000) s.insert(s.end(), in.payload.begin(), in.payload.end());
    const int n = int(s.size());
    fuzz::Area<LumLZOState_8u> st([&](int* sz) { return lumsEncodeLZOGetSize(method, n, sz); });
    FUZZ_CHECK(lumsEncodeLZOInit_8u(method, n, st.get()) == lumStsNoErr, "init");
    Bytes z(size_t(n + n / 16 + 67));
    int len = int(z.size());
    FUZZ_CHECK(lumsEncodeLZO_8u(fuzz::ptr(s), n, z.data(), &len, st.get()) == lumStsNoErr && len <= int(z.size()),
               "encode");
    z.resize(size_t(len));

    Bytes back(size_t(n) + 1);
    if (!z.empty() && z[0] == 0x10) {  // the container: each segment is a plain stream
        FUZZ_CHECK(method == lumLZO1XMT && z.size() >= 8 && le32(&z[4]) == Lum32u(n), "container header");
        const size_t k = z[2] | z[3] << 8;
        size_t at = 8 + 8 * k, sum = 0;
        for (size_t i = 0; i < k; ++i) {
            const size_t u = le32(&z[8 + 8 * i]), c = le32(&z[12 + 8 * i]);
            lzo_uint got = u;
            FUZZ_CHECK(at + c <= z.size() && sum + u <= size_t(n) &&
                           lzo1x_decompress_safe(&z[at], c, &back[sum], &got, nullptr) == LZO_E_OK && got == u,
                       "liblzo2 decodes a segment");
            at += c, sum += u;
        }
        FUZZ_CHECK(at == z.size() && sum == size_t(n), "segments cover the data");
    } else {
        lzo_uint got = back.size();
        FUZZ_CHECK(lzo1x_decompress_safe(fuzz::ptr(z), z.size(), back.data(), &got, nullptr) == LZO_E_OK &&
                       got == lzo_uint(n), "liblzo2 decodes the stream");
    }
    FUZZ_CHECK(std::memcmp(back.data(), fuzz::ptr(s), size_t(n)) == 0, "liblzo2 gives the data back");
    for (auto decode : {lumsDecodeLZO_8u, lumsDecodeLZOSafe_8u}) {
        int room = n;
        std::memset(back.data(), 0, back.size());
        FUZZ_CHECK(decode(fuzz::ptr(z), int(z.size()), back.data(), &room) == lumStsNoErr && room == n &&
                       std::memcmp(back.data(), fuzz::ptr(s), size_t(n)) == 0, "lum decodes its stream");
    }
    return 0;
}
