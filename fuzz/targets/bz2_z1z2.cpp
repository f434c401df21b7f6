// Z1Z2 decoding with the room in pieces equals the plain decoder; corrupt symbols and
// runs are refused with the source at them.
#include "fuzz.h"
#include "plain.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr size_t kCap = 1 << 20;
    fuzz::Input in(data, size);
    std::vector<Lum16u> sym(in.payload.size() / 2);
    for (size_t i = 0; i < sym.size(); ++i) sym[i] = Lum16u(in.payload[2 * i] | in.payload[2 * i + 1] << 8);
    Bytes want;
    bool over = false;
    const bool valid = plain::z1z2Decode(sym, want, kCap, &over);
    const int piece = in.piece(int(kCap));
    static Bytes out(kCap);  // the room, reused
    std::vector<Lum16u> copy = sym;
    Lum16u* src = copy.empty() ? nullptr : copy.data();
    static Lum16u none;
    if (!src) src = &none;
    Lum16u* const srcEnd = src + copy.size();
    int srcLen = int(copy.size());
    size_t done = 0;
    LumStatus st;
    do {
        int room = int(std::min(kCap - done, size_t(piece)));
        Lum16u* before = src;
        st = lumsDecodeZ1Z2_BZ2_16u8u(&src, &srcLen, out.data() + done, &room);
        FUZZ_CHECK(room >= 0 && done + size_t(room) <= kCap && src >= before && src <= srcEnd &&
                       srcLen == srcEnd - src, "lengths and pointers");
        done += size_t(room);
        if (st == lumStsDstFullWrn && (done == kCap || room == 0)) break;  // a run larger than the room
    } while (st == lumStsDstFullWrn);
    if (st == lumStsCorruptDataErr) {
        FUZZ_CHECK(!valid, "lum refuses what is valid");
        FUZZ_CHECK(*src > 256 || *src <= 1, "the source stops at the corrupt symbol or run");
        return 0;
    }
    if (over || st == lumStsDstFullWrn) {
        FUZZ_CHECK(done <= want.size() && std::equal(want.begin(), want.begin() + long(done), out.begin()),
                   "decoded bytes so far");
        return 0;
    }
    FUZZ_CHECK(st == lumStsNoErr && valid, "lum accepts what is corrupt");
    FUZZ_CHECK(done == want.size() && std::equal(want.begin(), want.end(), out.begin()), "decoded bytes");
    return 0;
}
