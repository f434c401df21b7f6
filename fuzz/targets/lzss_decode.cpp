// The LZSS decoder fed its source and room in pieces against the plain decoder: any byte
// sequence is a stream, and the pieces must not change what comes out.
#include "fuzz.h"
#include "plain.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    const Bytes want = plain::lzssDecode(in.payload);
    const int srcPiece = in.piece(int(in.payload.size()) + 1), dstPiece = in.piece(int(want.size()) + 1);
    fuzz::Area<LumLZSSState_8u> st(lumsLZSSGetSize_8u, in.params.ConsumeIntegralInRange(0, 15));
    FUZZ_CHECK(lumsDecodeLZSSInit_8u(st.get()) == lumStsNoErr, "init");
    Bytes out(want.size() + 8 * 18 + 64);
    Lum8u* src = fuzz::ptr(in.payload);
    Lum8u* const srcEnd = src + in.payload.size();
    Lum8u* dst = out.data();
    for (int calls = 0;; ++calls) {
        FUZZ_CHECK(calls < 4 * int(out.size() + in.payload.size()) + 8, "progress");
        int srcLen = int(std::min<long>(srcPiece, srcEnd - src));
        int room = int(std::min<long>(dstPiece, out.data() + out.size() - dst));
        Lum8u* const before = dst;
        const LumStatus s = lumsDecodeLZSS_8u(&src, &srcLen, &dst, &room, st.get());
        FUZZ_CHECK(s == lumStsNoErr || s == lumStsSrcEndWrn || s == lumStsDstFullWrn, "status");
        FUZZ_CHECK(dst >= before && src <= srcEnd && room >= 0 && srcLen >= 0, "pointers");
        if (src == srcEnd && s != lumStsDstFullWrn) break;
    }
    FUZZ_CHECK(size_t(dst - out.data()) == want.size(), "decoded length");
    FUZZ_CHECK(std::equal(want.begin(), want.end(), out.begin()), "decoded bytes");
    return 0;
}
