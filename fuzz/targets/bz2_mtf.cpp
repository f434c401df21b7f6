// Inverse MTF in pieces, the list carried in the state, equals the plain decoder.
#include "fuzz.h"
#include "plain.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    Lum8u list[256];
    std::iota(list, list + 256, 0);
    const Bytes want = plain::mtfDecode(in.payload, list);
    const int piece = in.piece(int(in.payload.size()) + 1);
    fuzz::Area<LumMTFState_8u> st(lumsMTFGetSize_8u, in.params.ConsumeIntegralInRange(0, 15));
    FUZZ_CHECK(lumsMTFInit_8u(st.get()) == lumStsNoErr, "init");
    Bytes out = in.payload;  // decoded in place
    for (size_t at = 0; at < out.size(); at += size_t(piece)) {
        const int n = int(std::min(out.size() - at, size_t(piece)));
        FUZZ_CHECK(lumsMTFInv_8u(&out[at], &out[at], n, st.get()) == lumStsNoErr, "status");
    }
    FUZZ_CHECK(out == want, "decoded bytes");
    return 0;
}
