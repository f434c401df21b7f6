// Deflate family: our LZ77 + fixed-code Huffman stages at levels 1, 6 and 9 beside
// libdeflate's whole compressor and zlib's deflate with fixed codes (ticks per input byte,
// the three timed in turns, best of each; and compressed size). Inflate has its own file.
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
            size_t ourN = 0, ldN = 0, zN = 0;
            // The three compressors in turns, so that all see the same machine load; a turn is
            // the best of 3 calls, so that each is timed with its own data in the caches.
            double ourBest = 1e300, ldBest = 1e300, zBest = 1e300;
            for (int r = 0; r < reps; ++r) {
                ourBest = std::min(ourBest, bestTicksPerByte([&] { ourN = ours.compress(in.data, out, level); },
                                                             in.data.size(), 3));
                ldBest = std::min(ldBest, bestTicksPerByte([&] {
                    ldN = libdeflate_deflate_compress(comp, in.data.data(), in.data.size(), out.data(), out.size());
                }, in.data.size(), 3));
                zBest = std::min(zBest, bestTicksPerByte([&] { zN = zlibFixed(in.data, out, level); }, in.data.size(), 3));
            }
            ourT.values.push_back(ourBest);
            ldT.values.push_back(ldBest);
            zT.values.push_back(zBest);
            ourS.values.push_back(double(ourN));
            ldS.values.push_back(double(ldN));
            zS.values.push_back(double(zN));
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

    std::printf("\ndeflate targets (geometric means, same run):\n");
    for (int level : levels) {
        const auto [ourCol, ldCol] = ratioCheck[level];
        const double r = geomean(time[ourCol].values) / geomean(time[ldCol].values);
        const double target = level == 9 ? 0.85 : 0.90;
        std::printf("  LZ77+Huff / libdeflate, level %d  %6.3f  (target <= %.2f) %s\n", level, r, target,
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
