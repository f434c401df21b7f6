// Inflate: our decoder beside libdeflate_deflate_decompress and zlib's raw inflate on zlib
// level-6 raw streams of each input, timed in interleaved pairs (ours, then the
// reference, repeated; best of each), per file and as a geometric mean, with our
// portable code path beside the one selected for the processor; then streaming:
// book1 whole, given 1, 16 and 64 KiB of output room per call, against one call.
#include <libdeflate.h>
#include <zlib.h>

#include <fstream>
#include <iterator>
#include <tuple>

#include "lumcore.h"
#include "lumdc.h"
#include "lzbench.h"

namespace lzbench {
namespace {

Bytes zlibLevel6(const Bytes& in) {
    z_stream z{};
    deflateInit2(&z, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    Bytes out(deflateBound(&z, in.size()));
    z.next_in = const_cast<Bytef*>(in.data());
    z.avail_in = static_cast<uInt>(in.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

bool zlibInflate(const Bytes& in, Bytes& out) {
    z_stream z{};
    inflateInit2(&z, -15);
    z.next_in = const_cast<Bytef*>(in.data());
    z.avail_in = static_cast<uInt>(in.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    const bool ok = inflate(&z, Z_FINISH) == Z_STREAM_END;
    inflateEnd(&z);
    return ok;
}

// Our inflate of the whole stream with `room` bytes of output room per call (0: all of
// it at once), as a streaming caller runs it: a call that stops inside a dynamic block
// leaves the source at the block's header and the next call is given the source from
// there. Returns the number of calls, 0 on an error or a wrong length.
long ourInflate(const Bytes& in, Bytes& out, int room = 0) {
    const Lum8u* src = in.data();
    Lum8u* const base = out.data();
    Lum8u* dst = base;
    Lum32u code = 0;
    int bits = 0;
    LumInflateMode mode = lumInflateBlockHeader;
    LumInflateState state{};
    long calls = 0;
    while (mode != lumInflateStreamEnd) {
        int srcLen = static_cast<int>(in.data() + in.size() - src);
        const int left = static_cast<int>(base + out.size() - dst);
        int dstLen = room > 0 ? std::min(room, left) : left;
        const LumStatus st =
            lumsInflate_8u(&src, &srcLen, &code, &bits, static_cast<int>(base - dst), &dst, &dstLen, 0, &mode, &state);
        ++calls;
        if (st < 0 || (st == lumStsDstFullWrn && dst == base + out.size()) || st == lumStsSrcEndWrn) return 0;
    }
    return dst == base + out.size() ? calls : 0;
}

// Best ticks per byte of two runs timed alternately, so both see the same machine load.
std::pair<double, double> interleaved(const std::function<void()>& a, const std::function<void()>& b, size_t bytes,
                                      int reps) {
    double bestA = 1e300, bestB = 1e300;
    for (int r = 0; r < reps; ++r) {
        bestA = std::min(bestA, bestTicksPerByte(a, bytes, 1));
        bestB = std::min(bestB, bestTicksPerByte(b, bytes, 1));
    }
    return {bestA, bestB};
}

void perFile(const std::vector<Input>& inputs, int reps) {
    std::printf("\ninflate of zlib level-6 raw streams; ticks per output byte, interleaved pairs\n");
    printRow("file", {"lum", "libdeflate", "lum/ldefl", "zlib", "lum/zlib", "portable", "port/ldefl"});
    std::vector<double> ours, ld, z, toLd, toZ, port, portToLd;
    const Lum64u features = lumGetEnabledCpuFeatures();
    libdeflate_decompressor* dec = libdeflate_alloc_decompressor();
    bool allOk = true;
    for (const Input& in : inputs) {
        const Bytes stream = zlibLevel6(in.data);
        Bytes out(in.data.size());
        bool ok = true;
        const auto [o, l] = interleaved(
            [&] { ok &= ourInflate(stream, out) == 1; },
            [&] { libdeflate_deflate_decompress(dec, stream.data(), stream.size(), out.data(), out.size(), nullptr); },
            in.data.size(), reps);
        allOk &= ok && out == in.data;
        const double zt = interleaved([&] { ourInflate(stream, out); }, [&] { zlibInflate(stream, out); },
                                      in.data.size(), reps).second;
        // The portable code path: the processor features of the fast paths switched off.
        double p = 0, pl = 0;
        if (lumSetCpuFeatures(features & ~lumCpuFeatureBMI2) == lumStsNoErr) {
            std::tie(p, pl) = interleaved(
                [&] { ourInflate(stream, out); },
                [&] { libdeflate_deflate_decompress(dec, stream.data(), stream.size(), out.data(), out.size(), nullptr); },
                in.data.size(), reps);
            lumSetCpuFeatures(features);
            allOk &= out == in.data;
        }
        ours.push_back(o);
        ld.push_back(l);
        z.push_back(zt);
        toLd.push_back(o / l);
        toZ.push_back(o / zt);
        if (p > 0) {
            port.push_back(p);
            portToLd.push_back(p / pl);
        }
        printRow(in.name, {fixed(o), fixed(l), fixed(o / l, 3), fixed(zt), fixed(o / zt, 3), p > 0 ? fixed(p) : "-",
                           p > 0 ? fixed(p / pl, 3) : "-"});
    }
    libdeflate_free_decompressor(dec);
    printRow("geomean", {fixed(geomean(ours)), fixed(geomean(ld)), fixed(geomean(toLd), 3), fixed(geomean(z)),
                         fixed(geomean(toZ), 3), fixed(geomean(port)), fixed(geomean(portToLd), 3)});
    if (!allOk) std::printf("inflate: OUR OUTPUT DIFFERED FROM THE INPUT\n");
    const double r = geomean(toLd);
    std::printf("  inflate / libdeflate (geometric mean of per-file ratios) %5.3f  (target <= 1.05) %s\n", r,
                r <= 1.05 ? "met" : "NOT met");
}

void streaming(const std::string& corpus, int reps) {
    std::ifstream f(corpus + "/book1", std::ios::binary);
    const Bytes data((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    if (data.empty()) {
        std::printf("\ninflate streaming: book1 not found in %s, skipped\n", corpus.c_str());
        return;
    }
    const Bytes stream = zlibLevel6(data);
    Bytes out(data.size());
    std::printf("\ninflate streaming: book1 (%zu bytes), zlib level 6, output room per call; ticks per output byte\n",
                data.size());
    printRow("room", {"calls", "one call", "pieces", "ratio"});
    double worst = 0;
    for (int room : {1024, 16384, 65536}) {
        long calls = 0;
        const auto [whole, pieces] = interleaved([&] { ourInflate(stream, out); },
                                                 [&] { calls = ourInflate(stream, out, room); }, data.size(), reps);
        const bool ok = calls > 0 && out == data;
        printRow(std::to_string(room / 1024) + " KiB",
                 {std::to_string(calls), fixed(whole), fixed(pieces), ok ? fixed(pieces / whole, 3) : "WRONG"});
        if (room == 1024) worst = ok ? pieces / whole : 1e9;
    }
    std::printf("  1 KiB per call / one call %5.3f  (target <= 1.5) %s\n", worst, worst <= 1.5 ? "met" : "NOT met");
}

}  // namespace

void benchInflate(const std::vector<Input>& inputs, const std::string& corpus, int reps) {
    perFile(inputs, reps);
    streaming(corpus, reps);
}

}  // namespace lzbench
