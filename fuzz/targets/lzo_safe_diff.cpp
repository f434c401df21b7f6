// lum's safe LZO decoder against liblzo2's lzo1x_decompress_safe with the same room: the
// same verdict and the same bytes. A payload starting with 0x10 is an MT container; lum
// must then decode it exactly as liblzo2 decodes the segments its header lists.
#include <lzo/lzo1x.h>

#include <cstring>

#include "fuzz.h"

namespace {

Lum32u le32(const Lum8u* p) { return Lum32u(p[0]) | Lum32u(p[1]) << 8 | Lum32u(p[2]) << 16 | Lum32u(p[3]) << 24; }

// liblzo2 over a plain stream; false when it refuses it or the room is short.
bool refDecode(const Lum8u* src, size_t len, Lum8u* dst, lzo_uint* room) {
    return lzo1x_decompress_safe(src, len, dst, room, nullptr) == LZO_E_OK;
}

// The container's segments through liblzo2, following the documented layout.
bool refContainer(const Bytes& in, Bytes& out, size_t room) {
    if (in.size() < 8 || in[1] != 1) return false;
    const size_t k = in[2] | in[3] << 8, total = le32(&in[4]);
    if (k == 0 || in.size() < 8 + 8 * k || total > room) return false;
    size_t at = 8 + 8 * k, sum = 0;
    out.assign(total, 0);
    for (size_t i = 0; i < k; ++i) {
        const size_t u = le32(&in[8 + 8 * i]), c = le32(&in[12 + 8 * i]);
        lzo_uint got = u;
        if (c > in.size() - at || u > total - sum || !refDecode(&in[at], c, out.data() + sum, &got) || got != u)
            return false;
        at += c, sum += u;
    }
    return at == in.size() && sum == total;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = lzo_init() == LZO_E_OK;
    FUZZ_CHECK(ready, "lzo_init");
    fuzz::Input in(data, size);
    const int room = in.piece(int(in.payload.size()) * 4 + 256, 1 << 20);
    Bytes lum(size_t(room) + 1), ref(size_t(room) + 1);
    int lumLen = room;
    const LumStatus st = lumsDecodeLZOSafe_8u(fuzz::ptr(in.payload), int(in.payload.size()), lum.data(), &lumLen);
    FUZZ_CHECK(st == lumStsNoErr || st == lumStsCorruptDataErr || st == lumStsSizeErr ||
                   st == lumStsUnsupportedModeErr, "status");
    const bool ok = st == lumStsNoErr;
    FUZZ_CHECK(ok ? lumLen >= 0 && lumLen <= room : lumLen == 0, "decoded length");

    bool refOk;
    size_t refLen;
    if (!in.payload.empty() && in.payload[0] == 0x10) {
        refOk = refContainer(in.payload, ref, size_t(room));
        refLen = ref.size();
    } else {
        lzo_uint len = lzo_uint(room);
        refOk = refDecode(fuzz::ptr(in.payload), in.payload.size(), ref.data(), &len);
        refLen = len;
    }
    FUZZ_CHECK(ok == refOk, ok ? "lum accepts what liblzo2 refuses" : "lum refuses what liblzo2 accepts");
    if (ok) FUZZ_CHECK(size_t(lumLen) == refLen && std::memcmp(lum.data(), ref.data(), refLen) == 0, "same bytes");
    return 0;
}
