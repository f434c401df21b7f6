// LZO: our ST and MT encoders and both decoders beside liblzo2's LZO1X-1 compressor and
// its two decompressors. Each pair (ours, liblzo2's) is timed in alternation, best of the
// repetitions; the decoders of a pair read the same stream, liblzo2's lzo1x_1 output.
#include <lzo/lzo1x.h>

#include "lumdc.h"
#include "lzbench.h"

namespace lzbench {

namespace {

using Decoder = LumStatus (*)(const Lum8u*, int, Lum8u*, int*);

struct Pair {
    double ours = 1e300, ref = 1e300;
    double ratio() const { return ours / ref; }
};

// Best ticks per byte of two functions timed in turns, `reps` turns each; a turn is the
// best of 3 calls, so that each is timed with its own data in the caches.
Pair interleaved(const std::function<void()>& ours, const std::function<void()>& ref, size_t bytes, int reps) {
    Pair p;
    for (int r = 0; r < reps; ++r) {
        p.ours = std::min(p.ours, bestTicksPerByte(ours, bytes, 3));
        p.ref = std::min(p.ref, bestTicksPerByte(ref, bytes, 3));
    }
    return p;
}

// An encoder state of ours for one method and input size.
struct OurEncoder {
    Bytes state;
    OurEncoder(LumLZOMethod method, size_t n) {
        int size = 0;
        lumsEncodeLZOGetSize(method, int(n), &size);
        state.resize(size);
        lumsEncodeLZOInit_8u(method, int(n), st());
    }
    LumLZOState_8u* st() { return reinterpret_cast<LumLZOState_8u*>(state.data()); }
    void encode(const Bytes& in, Bytes& out) {
        out.resize(2 * in.size() + 256);
        int len = int(out.size());
        lumsEncodeLZO_8u(in.data(), int(in.size()), out.data(), &len, st());
        out.resize(len);
    }
};

// Our decoder on a stream into all of `out`; returns the decoded length (0 on an error).
int ourDecode(Decoder decode, const Bytes& stream, Bytes& out) {
    int len = int(out.size());
    return decode(stream.data(), int(stream.size()), out.data(), &len) == lumStsNoErr ? len : 0;
}

bool decodedIs(const Bytes& out, int len, const Bytes& in) {
    return len == int(in.size()) && std::equal(in.begin(), in.end(), out.begin());
}

}  // namespace

void benchLzo(const std::vector<Input>& inputs, int reps) {
    if (lzo_init() != LZO_E_OK) {
        std::printf("lzo: liblzo2 did not initialise\n");
        return;
    }
    int threads = 1;
    lumGetNumThreads(&threads);
    std::printf("\nLZO1X-1 (%d threads for MT): ticks per input byte; ratio = ours / liblzo2; "
                "decoders read liblzo2's stream\n", threads);
    printRow("file", {"lzo enc", "ST enc", "ratio", "MT enc", "lzo dec", "dec", "ratio", "lzo safe",
                      "safe", "ratio", "MT dec", "lzo %", "size %"}, 9);
    std::vector<double> encRatio, decRatio, safeRatio;
    size_t refTotal = 0, ourTotal = 0;
    bool allOk = true;
    for (const auto& input : inputs) {
        const Bytes& in = input.data;
        Bytes ref(2 * in.size() + 256), wrk(LZO1X_1_MEM_COMPRESS), back(2 * in.size()), st, mt;
        lzo_uint refLen = 0;
        OurEncoder stEncoder(lumLZO1XST, in.size()), mtEncoder(lumLZO1XMT, in.size());
        const Pair enc = interleaved([&] { stEncoder.encode(in, st); },
                                     [&] { lzo1x_1_compress(in.data(), in.size(), ref.data(), &refLen, wrk.data()); },
                                     in.size(), reps);
        ref.resize(refLen);
        const double mtEnc = bestTicksPerByte([&] { mtEncoder.encode(in, mt); }, in.size(), reps);

        // Both decoders of a pair write the same buffer; ours is checked after the timing.
        auto decodePair = [&](Decoder ours, bool safe) {
            const Pair p = interleaved([&] { ourDecode(ours, ref, back); },
                                       [&] {
                                           lzo_uint n = back.size();
                                           if (safe) lzo1x_decompress_safe(ref.data(), ref.size(), back.data(), &n, nullptr);
                                           else lzo1x_decompress(ref.data(), ref.size(), back.data(), &n, nullptr);
                                       },
                                       in.size(), reps);
            allOk &= decodedIs(back, ourDecode(ours, ref, back), in);
            return p;
        };
        const Pair dec = decodePair(lumsDecodeLZO_8u, false);
        const Pair safe = decodePair(lumsDecodeLZOSafe_8u, true);
        const double mtDec = bestTicksPerByte([&] { ourDecode(lumsDecodeLZO_8u, mt, back); }, in.size(), reps);
        allOk &= decodedIs(back, ourDecode(lumsDecodeLZO_8u, mt, back), in);
        allOk &= decodedIs(back, ourDecode(lumsDecodeLZOSafe_8u, st, back), in);

        encRatio.push_back(enc.ratio());
        decRatio.push_back(dec.ratio());
        safeRatio.push_back(safe.ratio());
        refTotal += ref.size();
        ourTotal += st.size();
        printRow(input.name, {fixed(enc.ref), fixed(enc.ours), fixed(enc.ratio(), 3), fixed(mtEnc), fixed(dec.ref),
                              fixed(dec.ours), fixed(dec.ratio(), 3), fixed(safe.ref), fixed(safe.ours),
                              fixed(safe.ratio(), 3), fixed(mtDec), fixed(100.0 * ref.size() / in.size(), 2),
                              fixed(100.0 * st.size() / in.size(), 2)},
                 9);
    }
    if (!allOk) std::printf("lzo: OUR OUTPUT DIFFERED FROM THE INPUT\n");
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
