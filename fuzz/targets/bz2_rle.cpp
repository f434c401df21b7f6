// RLE state decoding in pieces of source and room equals the plain decoder.
#include "fuzz.h"
#include "plain.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    const Bytes want = plain::rleDecode(in.payload);
    const int srcPiece = in.piece(int(in.payload.size()) + 1), dstPiece = in.piece(int(want.size()) + 1);
    fuzz::Area<LumRLEState_BZ2> st(lumsRLEGetSize_BZ2_8u, in.params.ConsumeIntegralInRange(0, 15));
    FUZZ_CHECK(lumsEncodeRLEInit_BZ2_8u(st.get()) == lumStsNoErr, "init");
    Bytes out(want.size() + 1);
    Lum8u* src = fuzz::ptr(in.payload);
    Lum8u* const srcEnd = src + in.payload.size();
    Lum8u* dst = out.data();
    for (int calls = 0;; ++calls) {
        FUZZ_CHECK(calls <= int(want.size() + in.payload.size()) + 2, "progress");
        int srcLen = int(std::min<long>(srcPiece, srcEnd - src));
        int room = int(std::min<long>(dstPiece, out.data() + want.size() - dst));
        const LumStatus s = lumsDecodeRLEState_BZ2_8u(&src, &srcLen, &dst, &room, st.get());
        FUZZ_CHECK(s == lumStsNoErr || s == lumStsDstFullWrn, "status");
        FUZZ_CHECK(src <= srcEnd && dst <= out.data() + want.size(), "pointers");
        if (src == srcEnd && s == lumStsNoErr) break;
    }
    FUZZ_CHECK(size_t(dst - out.data()) == want.size() && std::equal(want.begin(), want.end(), out.begin()),
               "decoded bytes");
    return 0;
}
