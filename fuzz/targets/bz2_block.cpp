// Block decoding (Z1Z2, inverse MTF, inverse BWT with any index, expansion) against the
// plain stages. The payload is a 32-byte in-use bitmap and the symbols (16 bits, little
// endian); the tail gives the index and the room.
#include "fuzz.h"
#include "plain.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr int kCap = 1 << 18;
    fuzz::Input in(data, size);
    if (in.payload.size() < 32) return 0;
    Lum8u inUse[256], values[256];
    int sizeDictionary = 0;
    for (int i = 0; i < 256; ++i)
        if ((inUse[i] = in.payload[size_t(i / 8)] >> (i % 8) & 1)) values[sizeDictionary++] = Lum8u(i);
    std::vector<Lum16u> sym((in.payload.size() - 32) / 2);
    for (size_t i = 0; i < sym.size(); ++i) sym[i] = Lum16u(in.payload[32 + 2 * i] | in.payload[33 + 2 * i] << 8);
    const long long index = in.params.ConsumeIntegral<uint32_t>();
    const int room = in.piece(kCap, kCap);

    // The plain stages; ok false where the block is corrupt or larger than the room.
    Bytes want;
    bool over = false, ok = sizeDictionary > 0 && plain::z1z2Decode(sym, want, size_t(room), &over) && !over;
    for (Lum16u s : sym) ok &= s <= sizeDictionary;
    ok &= index < (long long)want.size();
    if (ok && !want.empty()) {
        Lum8u list[256];
        std::iota(list, list + 256, 0);
        want = plain::bwtDecode(plain::mtfDecode(want, list), int(index));
        for (Lum8u& b : want) b = b < sizeDictionary ? values[b] : b;
    }

    static fuzz::Area<> buff([](int* s) { return lumsBWTInvGetSize_8u(kCap, s); });
    static Bytes out(kCap + 1);
    out[size_t(room)] = 0xA5;
    int len = room;
    static const Lum16u none = 0;
    const LumStatus st = lumsDecodeBlock_BZ2_16u8u(sym.empty() ? &none : sym.data(), int(sym.size()), out.data(), &len,
                                                   int(index), sizeDictionary, inUse, buff.get());
    FUZZ_CHECK(out[size_t(room)] == 0xA5, "writes inside the room");
    FUZZ_CHECK((st == lumStsNoErr) == ok, ok ? "lum refuses a valid block" : "lum accepts a corrupt block");
    if (ok) FUZZ_CHECK(size_t(len) == want.size() && std::equal(want.begin(), want.end(), out.begin()), "decoded bytes");
    return 0;
}
