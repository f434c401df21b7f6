// LZO: our ST and MT encoders and both decoders beside liblzo2's LZO1X-1 compressor and
// its two decompressors, timed side by side on each input.
#include <lzo/lzo1x.h>

#include "lumdc.h"
#include "lzbench.h"

namespace lzbench {

namespace {

// Ticks per byte of our encoder for one method; fills `out` with its output.
double oursEncode(LumLZOMethod method, const Bytes& in, Bytes& out, int reps) {
    int size = 0;
    lumsEncodeLZOGetSize(method, int(in.size()), &size);
    Bytes state(size);
    auto* st = reinterpret_cast<LumLZOState_8u*>(state.data());
    lumsEncodeLZOInit_8u(method, int(in.size()), st);
    out.resize(2 * in.size() + 256);
    int len = 0;
    const double t = bestTicksPerByte([&] {
        len = int(out.size());
        lumsEncodeLZO_8u(in.data(), int(in.size()), out.data(), &len, st);
    }, in.size(), reps);
    out.resize(len);
    return t;
}

double oursDecode(LumStatus (*decode)(const Lum8u*, int, Lum8u*, int*), const Bytes& stream,
                  const Bytes& original, int reps) {
    Bytes out(2 * original.size());
    int len = 0;
    const double t = bestTicksPerByte([&] {
        len = int(out.size());
        decode(stream.data(), int(stream.size()), out.data(), &len);
    }, original.size(), reps);
    if (len != int(original.size()) || !std::equal(original.begin(), original.end(), out.begin()))
        std::printf("  MISMATCH in our decoder output\n");
    return t;
}

}  // namespace

void benchLzo(const std::vector<Input>& inputs, int reps) {
    if (lzo_init() != LZO_E_OK) {
        std::printf("lzo: liblzo2 did not initialise\n");
        return;
    }
    int threads = 1;
    lumGetNumThreads(&threads);
    std::printf("\nLZO1X-1 (%d threads for MT): ticks per input byte; ratio = ours / liblzo2\n", threads);
    printRow("file", {"lzo enc", "ST enc", "ratio", "MT enc", "lzo dec", "dec", "ratio", "lzo safe",
                      "safe", "ratio", "MT dec", "lzo %", "size %"}, 9);
    std::vector<double> encRatio, decRatio, safeRatio;
    size_t refTotal = 0, ourTotal = 0;
    for (const auto& input : inputs) {
        const Bytes& in = input.data;
        Bytes ref(2 * in.size() + 256), wrk(LZO1X_1_MEM_COMPRESS), back(2 * in.size());
        lzo_uint refLen = 0;
        const double lzoEnc = bestTicksPerByte([&] {
            lzo1x_1_compress(in.data(), in.size(), ref.data(), &refLen, wrk.data());
        }, in.size(), reps);
        ref.resize(refLen);
        auto lzoDecode = [&](bool safe) {
            return bestTicksPerByte([&] {
                lzo_uint n = back.size();
                if (safe) lzo1x_decompress_safe(ref.data(), ref.size(), back.data(), &n, nullptr);
                else lzo1x_decompress(ref.data(), ref.size(), back.data(), &n, nullptr);
            }, in.size(), reps);
        };
        const double lzoDec = lzoDecode(false), lzoSafe = lzoDecode(true);

        Bytes st, mt;
        const double stEnc = oursEncode(lumLZO1XST, in, st, reps);
        const double mtEnc = oursEncode(lumLZO1XMT, in, mt, reps);
        const double dec = oursDecode(lumsDecodeLZO_8u, st, in, reps);
        const double safe = oursDecode(lumsDecodeLZOSafe_8u, st, in, reps);
        const double mtDec = oursDecode(lumsDecodeLZO_8u, mt, in, reps);
        encRatio.push_back(stEnc / lzoEnc);
        decRatio.push_back(dec / lzoDec);
        safeRatio.push_back(safe / lzoSafe);
        refTotal += ref.size();
        ourTotal += st.size();
        printRow(input.name, {fixed(lzoEnc), fixed(stEnc), fixed(stEnc / lzoEnc, 3), fixed(mtEnc),
                              fixed(lzoDec), fixed(dec), fixed(dec / lzoDec, 3), fixed(lzoSafe), fixed(safe),
                              fixed(safe / lzoSafe, 3), fixed(mtDec), fixed(100.0 * ref.size() / in.size(), 2),
                              fixed(100.0 * st.size() / in.size(), 2)},
                 9);
    }
    const double sizeRatio = double(ourTotal) / double(refTotal);
    auto verdict = [](double r, double target) { return r <= target ? "met" : "NOT met"; };
    std::printf("\nLZO targets (geometric means of the ratios, same run):\n");
    std::printf("  encode / lzo1x_1_compress        %6.3f  (target <= 0.90) %s\n", geomean(encRatio),
                verdict(geomean(encRatio), 0.9));
    std::printf("  size / lzo1x_1_compress's        %6.4f  (target <= 1.01) %s\n", sizeRatio,
                verdict(sizeRatio, 1.01));
    std::printf("  decode / lzo1x_decompress        %6.3f  (target <= 0.70) %s\n", geomean(decRatio),
                verdict(geomean(decRatio), 0.7));
    std::printf("  safe decode / _decompress_safe   %6.3f  (target <= 0.75) %s\n", geomean(safeRatio),
                verdict(geomean(safeRatio), 0.75));
}

}  // namespace lzbench
