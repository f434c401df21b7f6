// Inverse BWT of any last column with any index: libbz2's walk for an index inside the
// block, lumStsBadArgErr for one outside it.
#include "fuzz.h"
#include "plain.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    const int n = int(in.payload.size());
    const long long index = in.params.ConsumeIntegral<uint32_t>() % (Lum32u(n) + 2) - (in.params.ConsumeBool() ? 1 : 0);
    fuzz::Area<> buff([&](int* s) { return lumsBWTInvGetSize_8u(n, s); }, in.params.ConsumeIntegralInRange(0, 15));
    Bytes out(size_t(n) + 1, 0xA5);
    const LumStatus st = lumsBWTInv_8u(fuzz::ptr(in.payload), out.data(), n, int(index), buff.get());
    FUZZ_CHECK(out[size_t(n)] == 0xA5, "writes inside the block");
    if (n == 0) return 0;
    if (index < 0 || index >= n) {
        FUZZ_CHECK(st == lumStsBadArgErr, "an index outside the block is refused");
        return 0;
    }
    FUZZ_CHECK(st == lumStsNoErr, "status");
    out.resize(size_t(n));
    FUZZ_CHECK(out == plain::bwtDecode(in.payload, int(index)), "decoded bytes");
    return 0;
}
