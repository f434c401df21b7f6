// Huffman context unpacking and symbol decoding of one block, with the source and the
// room in pieces: the pieces change nothing, and the symbols stay inside the alphabet.
// The tail gives the bit offset of the context in the first byte and the dictionary size.
#include <algorithm>

#include "fuzz.h"

namespace {

struct Decoded {
    LumStatus unpack = lumStsNoErr, last = lumStsNoErr;
    std::vector<Lum16u> symbols;
};

Decoded decode(const Bytes& in, int skip, int sizeDictionary, int srcPiece, int dstPiece, int offset) {
    constexpr int kRoom = 1 << 16;
    Decoded d;
    fuzz::Area<LumDecodeHuffState_BZ2> st([](int* s) { return lumsDecodeHuffGetSize_BZ2_8u16u(kRoom, s); }, offset);
    FUZZ_CHECK(lumsDecodeHuffInit_BZ2_8u16u(sizeDictionary, st.get()) == lumStsNoErr, "init");
    const Lum8u* src = in.data() + 1;
    const Lum8u* const end = in.data() + in.size();
    const Lum8u* given = src;
    Lum32u code = Lum32u(in[0]) << (24 + skip);
    int bits = 8 - skip;
    do {  // the context, with more source after each lumStsSrcEndWrn
        given = std::min(end, given + srcPiece);
        int left = int(given - src);
        const Lum8u* before = src;
        d.unpack = lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &left, st.get());
        FUZZ_CHECK(d.unpack == lumStsNoErr || src == before, "a failed unpack consumes nothing");
    } while (d.unpack == lumStsSrcEndWrn && given < end);
    if (d.unpack != lumStsNoErr) return d;
    d.symbols.resize(kRoom);
    int done = 0;
    for (int calls = 0;; ++calls) {
        FUZZ_CHECK(calls < 4 * (kRoom + int(in.size())), "progress");
        given = std::min(end, std::max(given, src) + srcPiece);
        int left = int(given - src), room = std::min(dstPiece, kRoom - done);
        const int before = room;
        d.last = lumsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &left, &d.symbols[size_t(done)], &room, st.get());
        FUZZ_CHECK(room >= 0 && room <= before && bits >= 0 && bits <= 32 && src <= end, "lengths");
        done += room;
        if (d.last == lumStsSrcEndWrn && given < end) continue;
        if (d.last != lumStsDstFullWrn || done == kRoom) break;
    }
    d.symbols.resize(size_t(done));
    for (Lum16u s : d.symbols) FUZZ_CHECK(s <= sizeDictionary, "symbols inside the alphabet, end-of-block not written");
    return d;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input in(data, size);
    if (in.payload.empty()) return 0;
    const int skip = in.params.ConsumeIntegralInRange(0, 7);
    const int sizeDictionary = in.params.ConsumeIntegralInRange(1, 256);
    const int srcPiece = in.piece(int(in.payload.size())), dstPiece = in.piece(1 << 16);
    const int offset = in.params.ConsumeIntegralInRange(0, 15);
    const Decoded whole = decode(in.payload, skip, sizeDictionary, int(in.payload.size()), 1 << 16, 0);
    const Decoded pieces = decode(in.payload, skip, sizeDictionary, srcPiece, dstPiece, offset);
    FUZZ_CHECK(whole.unpack == pieces.unpack, "the context's verdict");
    FUZZ_CHECK(whole.last == pieces.last, "the block's verdict");
    FUZZ_CHECK(whole.symbols == pieces.symbols, "the same symbols in pieces");
    return 0;
}
