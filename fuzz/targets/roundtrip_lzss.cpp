// The LZSS encoder in pieces of source and room, flushed, from a work area at any offset:
// the plain decoder gives the data back.
#include "fuzz.h"
#include "plain.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    Bytes s = in.payload;
    const int n = int(s.size());
    const int srcPiece = in.piece(n + 1), dstPiece = in.piece(2 * n + 64);
    fuzz::Area<LumLZSSState_8u> st(lumsLZSSGetSize_8u, in.params.ConsumeIntegralInRange(0, 15));
    FUZZ_CHECK(lumsEncodeLZSSInit_8u(st.get()) == lumStsNoErr, "init");
    Bytes z(size_t(n) * 9 / 8 + 64);
    Lum8u* src = fuzz::ptr(s);
    Lum8u* const end = src + n;
    Lum8u* dst = z.data();
    LumStatus r = lumStsNoErr;
    for (int calls = 0; src < end || r == lumStsDstFullWrn; ++calls) {
        FUZZ_CHECK(calls < 4 * int(z.size()) + n + 8, "progress");
        int srcLen = int(std::min<long>(srcPiece, end - src)), room = int(std::min<long>(dstPiece, z.data() + z.size() - dst));
        Lum8u* before = src;
        r = lumsEncodeLZSS_8u(&src, &srcLen, &dst, &room, st.get());
        FUZZ_CHECK(r == lumStsNoErr || r == lumStsDstFullWrn, "encode status");
        FUZZ_CHECK(r == lumStsDstFullWrn || src == before + std::min<long>(srcPiece, end - before), "takes all input");
    }
    do {
        int room = int(std::min<long>(dstPiece, z.data() + z.size() - dst));
        r = lumsEncodeLZSSFlush_8u(&dst, &room, st.get());
        FUZZ_CHECK(r == lumStsNoErr || (r == lumStsDstFullWrn && dst < z.data() + z.size()), "flush status");
    } while (r == lumStsDstFullWrn);
    z.resize(size_t(dst - z.data()));
    FUZZ_CHECK(plain::lzssDecode(z) == in.payload, "the plain decoder gives the data back");
    return 0;
}
