// LZSS: encode (one call and the flush) and decode ticks per input byte and the size.
#include "lumdc.h"
#include "lzbench.h"

namespace lzbench {

void benchLzss(const std::vector<Input>& inputs, int reps) {
    int size = 0;
    lumsLZSSGetSize_8u(&size);
    Bytes state(size);
    auto* st = reinterpret_cast<LumLZSSState_8u*>(state.data());
    std::printf("\nLZSS (4096-byte ring): ticks per input byte; targets: encode < 25, decode < 3\n");
    printRow("file", {"encode", "decode", "size %"});
    std::vector<double> enc, dec;
    size_t total = 0, packed = 0;
    for (const auto& input : inputs) {
        const Bytes& in = input.data;
        Bytes stream(2 * in.size() + 64), out(2 * in.size());
        int streamLen = 0;
        enc.push_back(bestTicksPerByte([&] {
            lumsEncodeLZSSInit_8u(st);
            Lum8u* src = const_cast<Lum8u*>(in.data());
            Lum8u* dst = stream.data();
            int srcLen = int(in.size()), dstLen = int(stream.size());
            lumsEncodeLZSS_8u(&src, &srcLen, &dst, &dstLen, st);
            lumsEncodeLZSSFlush_8u(&dst, &dstLen, st);
            streamLen = int(stream.size()) - dstLen;
        }, in.size(), reps));
        int outLen = 0;
        dec.push_back(bestTicksPerByte([&] {
            lumsDecodeLZSSInit_8u(st);
            Lum8u* src = stream.data();
            Lum8u* dst = out.data();
            int srcLen = streamLen, dstLen = int(out.size());
            lumsDecodeLZSS_8u(&src, &srcLen, &dst, &dstLen, st);
            outLen = int(out.size()) - dstLen;
        }, in.size(), reps));
        if (outLen != int(in.size()) || !std::equal(in.begin(), in.end(), out.begin()))
            std::printf("  MISMATCH in the decoded %s\n", input.name.c_str());
        total += in.size();
        packed += size_t(streamLen);
        printRow(input.name, {fixed(enc.back()), fixed(dec.back()), fixed(100.0 * streamLen / in.size(), 1)});
    }
    printRow("geometric mean", {fixed(geomean(enc)), fixed(geomean(dec)), fixed(100.0 * packed / total, 1)});
}

}  // namespace lzbench
