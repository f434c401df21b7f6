// lum inflate against zlib's raw inflate and libdeflate on the same bytes: where the two
// references agree on validity lum must agree with them, and the bytes it delivers must
// be theirs. lum gets its source and output room in pieces chosen by the tail.
#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>

#include "fuzz.h"

namespace {

constexpr int kCap = 256 * 1024;  // output room of every decoder
constexpr int kMaxCalls = 20000;  // beyond this the run is inconclusive (tiny pieces)

struct Result {
    bool ok = false;
    bool full = false;  // stopped for lack of room or calls: no verdict
    Bytes out;
};

Result zlibInflate(const Bytes& in) {
    Result r;
    r.out.resize(kCap);
    z_stream z{};
    if (inflateInit2(&z, -15) != Z_OK) std::abort();
    z.next_in = const_cast<Bytes::value_type*>(in.data());
    z.avail_in = unsigned(in.size());
    z.next_out = r.out.data();
    z.avail_out = kCap;
    const int st = inflate(&z, Z_FINISH);
    r.ok = st == Z_STREAM_END;
    r.full = st == Z_BUF_ERROR && z.avail_out == 0;
    r.out.resize(kCap - z.avail_out);
    inflateEnd(&z);
    return r;
}

Result libdeflateInflate(const Bytes& in) {
    static libdeflate_decompressor* d = libdeflate_alloc_decompressor();
    Result r;
    r.out.resize(kCap);
    size_t inUsed = 0, outLen = 0;
    const auto st = libdeflate_deflate_decompress_ex(d, in.data(), in.size(), r.out.data(), kCap, &inUsed, &outLen);
    r.ok = st == LIBDEFLATE_SUCCESS;
    r.full = st == LIBDEFLATE_INSUFFICIENT_SPACE;
    r.out.resize(r.ok ? outLen : 0);
    return r;
}

Result lumInflate(Bytes in, int srcPiece, int dstPiece) {
    Result r;
    r.out.resize(kCap);
    Lum8u* base = r.out.data();
    Lum8u* dst = base;
    const Lum8u* src = fuzz::ptr(in);
    const Lum8u* srcEnd = src + in.size();
    const Lum8u* given = src;
    Lum32u code = 0;
    int bits = 0, calls = 0;
    LumInflateMode mode = lumInflateBlockHeader;
    LumInflateState state{};
    LumStatus st;
    do {
        given = std::min(srcEnd, std::max(given, src) + srcPiece);
        int srcLen = int(given - src);
        int dstLen = std::min(dstPiece, int(base + kCap - dst));
        st = lumsInflate_8u(&src, &srcLen, &code, &bits, int(base - dst), &dst, &dstLen, 0, &mode, &state);
        FUZZ_CHECK(st <= 0 || st == lumStsSrcEndWrn || st == lumStsDstFullWrn, "status");
        FUZZ_CHECK(dst >= base && dst <= base + kCap && src <= srcEnd, "pointers inside their buffers");
        if (++calls > kMaxCalls || (st == lumStsDstFullWrn && dst == base + kCap)) r.full = true;
    } while (mode != lumInflateStreamEnd && !r.full &&
             (st == lumStsNoErr || st == lumStsDstFullWrn || (st == lumStsSrcEndWrn && given < srcEnd)));
    r.ok = mode == lumInflateStreamEnd && st == lumStsNoErr;
    r.out.resize(dst - base);
    return r;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    const int srcPiece = in.piece(int(in.payload.size()) + 1);
    const int dstPiece = in.piece(kCap);
    const Result z = zlibInflate(in.payload);
    const Result d = libdeflateInflate(in.payload);
    const Result lum = lumInflate(in.payload, srcPiece, dstPiece);

    const size_t common = std::min(z.out.size(), lum.out.size());
    FUZZ_CHECK(std::memcmp(z.out.data(), lum.out.data(), common) == 0, "lum delivers zlib's bytes");
    if (z.full || d.full || lum.full) return 0;
    if (z.ok == d.ok) FUZZ_CHECK(lum.ok == z.ok, lum.ok ? "lum accepts what zlib and libdeflate refuse"
                                                        : "lum refuses what zlib and libdeflate accept");
    if (lum.ok && z.ok) FUZZ_CHECK(lum.out == z.out, "lum and zlib decode to the same bytes");
    return 0;
}
