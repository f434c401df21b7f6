// Deflate family: our LZ77 + fixed-code Huffman stages at levels 1, 6 and 9 beside
// libdeflate's whole compressor and zlib's deflate with fixed codes (ticks per input byte
// and compressed size), and our inflate beside libdeflate's and zlib's decompressors.
#include <libdeflate.h>
#include <zlib.h>

#include <map>

#include "lzbench.h"
#include "lumdc.h"

namespace lzbench {
namespace {

struct FixedCodes {
    LumDeflateHuffCode lit[288];
    LumDeflateHuffCode dist[30];
};

Lum16u reverseBits(unsigned code, int len) {
    unsigned r = 0;
    for (int i = 0; i < len; ++i, code >>= 1) r = (r << 1) | (code & 1);
    return static_cast<Lum16u>(r);
}

const FixedCodes& fixedCodes() {
    static const FixedCodes codes = [] {
        FixedCodes c{};
        for (int s = 0; s < 288; ++s) {
            const int len = s < 144 ? 8 : s < 256 ? 9 : s < 280 ? 7 : 8;
            const unsigned first = s < 144 ? 0x30 : s < 256 ? 0x190 - 144 : s < 280 ? 0u - 256 : 0xC0 - 280;
            c.lit[s] = {reverseBits(first + s, len), static_cast<Lum16u>(len)};
        }
        for (int d = 0; d < 30; ++d) c.dist[d] = {reverseBits(d, 5), 5};
        return c;
    }();
    return codes;
}

// Our two stages as the benchmark module runs them: fresh hash heads, one LZ77 call with
// FinishFlush, the Huffman stage behind a fixed-block header and the end-of-block code.
struct OurDeflate {
    std::vector<Lum32s> head = std::vector<Lum32s>(32768), prev = std::vector<Lum32s>(32768);
    Bytes lit;
    std::vector<Lum16u> dist;

    size_t compress(const Bytes& in, Bytes& out, int level) {
        lit.resize(in.size());
        dist.resize(in.size());
        std::fill(head.begin(), head.end(), -32768);
        Lum32u litFreq[286] = {}, distFreq[30] = {};
        const Lum8u* src = in.data();
        int srcLen = static_cast<int>(in.size()), srcIdx = 0, room = srcLen;
        lumsDeflateLZ77_8u(&src, &srcLen, &srcIdx, in.data(), 32768, head.data(), prev.data(), 32768, litFreq,
                           distFreq, lit.data(), dist.data(), &room, level, lumLZ77FinishFlush);
        Lum32u code = 3;  // BFINAL = 1, BTYPE = 01
        int bits = 3, idx = 0;
        const FixedCodes& c = fixedCodes();
        lumsDeflateHuff_8u(lit.data(), dist.data(), static_cast<int>(in.size()) - room, &code, &bits, c.lit, c.dist,
                           out.data(), &idx);
        code |= Lum32u{c.lit[256].code} << bits;
        for (bits += c.lit[256].len; bits > 0; bits -= 8, code >>= 8) out[idx++] = static_cast<Lum8u>(code);
        return static_cast<size_t>(idx);
    }
};

size_t zlibFixed(const Bytes& in, Bytes& out, int level) {
    z_stream z{};
    deflateInit2(&z, level, Z_DEFLATED, -15, 8, Z_FIXED);
    z.next_in = const_cast<Bytef*>(in.data());
    z.avail_in = static_cast<uInt>(in.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    const size_t n = z.total_out;
    deflateEnd(&z);
    return n;
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

bool ourInflate(const Bytes& in, Bytes& out) {
    const Lum8u* src = in.data();
    Lum8u* dst = out.data();
    int srcLen = static_cast<int>(in.size()), dstLen = static_cast<int>(out.size()), bits = 0;
    Lum32u code = 0;
    LumInflateMode mode = lumInflateBlockHeader;
    LumInflateState state{};
    return lumsInflate_8u(&src, &srcLen, &code, &bits, 0, &dst, &dstLen, 0, &mode, &state) == lumStsNoErr &&
           mode == lumInflateStreamEnd;
}

struct Column {
    std::string name;
    std::vector<double> values;
};

void printTable(const std::string& title, const std::vector<Input>& inputs, const std::vector<Column>& cols,
                int decimals) {
    std::printf("\n%s\n", title.c_str());
    std::vector<std::string> head;
    for (const auto& c : cols) head.push_back(c.name);
    printRow("file", head);
    for (size_t f = 0; f < inputs.size(); ++f) {
        std::vector<std::string> cells;
        for (const auto& c : cols) cells.push_back(fixed(c.values[f], decimals));
        printRow(inputs[f].name, cells);
    }
    std::vector<std::string> cells;
    for (const auto& c : cols) cells.push_back(fixed(geomean(c.values), decimals));
    printRow("geomean", cells);
}

}  // namespace

void benchDeflate(const std::vector<Input>& inputs, int reps) {
    const int levels[] = {1, 6, 9};
    OurDeflate ours;
    std::vector<Column> time, size;
    std::map<int, std::pair<size_t, size_t>> ratioCheck;  // level: our ticks column, libdeflate's
    for (int level : levels) {
        const std::string l = std::to_string(level);
        Column ourT{"lum" + l, {}}, ldT{"ldefl" + l, {}}, zT{"zfix" + l, {}};
        Column ourS{"lum" + l, {}}, ldS{"ldefl" + l, {}}, zS{"zfix" + l, {}};
        libdeflate_compressor* comp = libdeflate_alloc_compressor(level);
        for (const Input& in : inputs) {
            Bytes out(in.data.size() * 2 + 64);
            size_t n = 0;
            ourT.values.push_back(bestTicksPerByte([&] { n = ours.compress(in.data, out, level); }, in.data.size(), reps));
            ourS.values.push_back(double(n));
            ldT.values.push_back(bestTicksPerByte(
                [&] { n = libdeflate_deflate_compress(comp, in.data.data(), in.data.size(), out.data(), out.size()); },
                in.data.size(), reps));
            ldS.values.push_back(double(n));
            zT.values.push_back(bestTicksPerByte([&] { n = zlibFixed(in.data, out, level); }, in.data.size(), reps));
            zS.values.push_back(double(n));
        }
        libdeflate_free_compressor(comp);
        ratioCheck[level] = {time.size(), time.size() + 1};
        for (Column* c : {&ourT, &ldT, &zT}) time.push_back(*c);
        for (Column* c : {&ourS, &ldS, &zS}) size.push_back(*c);
    }
    printTable("deflate: LZ77 + fixed Huffman (lum), libdeflate whole compressor (ldefl), zlib Z_FIXED (zfix); "
               "ticks per input byte",
               inputs, time, 2);
    printTable("deflate: compressed bytes", inputs, size, 0);

    // Inflate of one stream per file (libdeflate level 6, dynamic blocks) by all three.
    Column ourI{"lum", {}}, ldI{"libdeflate", {}}, zI{"zlib", {}};
    libdeflate_compressor* comp = libdeflate_alloc_compressor(6);
    libdeflate_decompressor* dec = libdeflate_alloc_decompressor();
    bool allOk = true;
    for (const Input& in : inputs) {
        Bytes stream(libdeflate_deflate_compress_bound(comp, in.data.size()));
        stream.resize(libdeflate_deflate_compress(comp, in.data.data(), in.data.size(), stream.data(), stream.size()));
        Bytes out(in.data.size());
        bool ok = true;
        ourI.values.push_back(bestTicksPerByte([&] { ok &= ourInflate(stream, out); }, in.data.size(), reps));
        allOk &= ok && out == in.data;
        ldI.values.push_back(bestTicksPerByte(
            [&] { libdeflate_deflate_decompress(dec, stream.data(), stream.size(), out.data(), out.size(), nullptr); },
            in.data.size(), reps));
        zI.values.push_back(bestTicksPerByte([&] { zlibInflate(stream, out); }, in.data.size(), reps));
    }
    libdeflate_free_decompressor(dec);
    libdeflate_free_compressor(comp);
    printTable("inflate of libdeflate level-6 streams; ticks per output byte", inputs, {ourI, ldI, zI}, 2);
    if (!allOk) std::printf("inflate: OUR OUTPUT DIFFERED FROM THE INPUT\n");

    std::printf("\ndeflate targets (geometric means, same run):\n");
    const double inflateRatio = geomean(ourI.values) / geomean(ldI.values);
    std::printf("  inflate / libdeflate             %6.2f  (target <= 1.20) %s\n", inflateRatio,
                inflateRatio <= 1.2 ? "met" : "NOT met");
    for (int level : levels) {
        const auto [ourCol, ldCol] = ratioCheck[level];
        const double r = geomean(time[ourCol].values) / geomean(time[ldCol].values);
        const double target = level == 9 ? 0.85 : 0.90;
        std::printf("  LZ77+Huff / libdeflate, level %d  %6.2f  (target <= %.2f) %s\n", level, r, target,
                    r <= target ? "met" : "NOT met");
    }
    // The level-1 loop trades ratio for speed only down to the output of the chain-walking
    // greedy matcher it replaced: 529910 bytes over the 14 corpus files cut to 102400.
    constexpr double kLevel1Bound = 529910;
    double level1Total = 0;
    for (double v : size[ratioCheck[1].first].values) level1Total += v;
    if (inputs.size() == 14)
        std::printf("  level-1 output, all files      %8.0f  (bound <= %.0f) %s\n", level1Total, kLevel1Bound,
                    level1Total <= kLevel1Bound ? "met" : "NOT met");
    else
        std::printf("  level-1 output, all files      %8.0f  (the bound of %.0f holds for the 14 corpus files)\n",
                    level1Total, kLevel1Bound);
}

}  // namespace lzbench
