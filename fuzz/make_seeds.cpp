// Makes the seed corpora of the fuzz targets from the Calgary corpus: the starts of its
// files compressed by the reference libraries (zlib, liblzo2, libbz2) and, where no
// reference writes the format, by the lum encoders; each seed ends with the parameter
// tail of zeros (whole pieces, default settings) unless its target takes none.
// Usage: fuzz_seeds <corpus folder> <output folder>
#include <bzlib.h>
#include <lzo/lzo1x.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "bz2_format.h"
#include "fuzz.h"

namespace {

namespace fs = std::filesystem;
fs::path g_out;

void save(const std::string& target, const std::string& name, Bytes data, Bytes tail = Bytes(fuzz::kTail, 0)) {
    fs::create_directories(g_out / target);
    data.insert(data.end(), tail.begin(), tail.end());
    std::ofstream(g_out / target / name, std::ios::binary).write(reinterpret_cast<const char*>(data.data()), long(data.size()));
}

Bytes deflateRaw(const Bytes& in, int level, int strategy) {
    z_stream z{};
    deflateInit2(&z, level, Z_DEFLATED, -15, 8, strategy);
    Bytes out(deflateBound(&z, uLong(in.size())));
    z.next_in = const_cast<Lum8u*>(in.data());
    z.avail_in = unsigned(in.size());
    z.next_out = out.data();
    z.avail_out = unsigned(out.size());
    deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

Bytes lzo(const Bytes& in, bool best) {
    Bytes out(in.size() + in.size() / 16 + 67), work(LZO1X_999_MEM_COMPRESS);
    lzo_uint len = out.size();
    (best ? lzo1x_999_compress : lzo1x_1_compress)(in.data(), in.size(), out.data(), &len, work.data());
    out.resize(len);
    return out;
}

Bytes lumLzo(Bytes in) {
    int size = 0;
    lumsEncodeLZOGetSize(lumLZO1XMT, int(in.size()), &size);
    Bytes state(static_cast<size_t>(size)), out(in.size() * 2 + 256);
    int len = int(out.size());
    lumsEncodeLZOInit_8u(lumLZO1XMT, int(in.size()), reinterpret_cast<LumLZOState_8u*>(state.data()));
    lumsEncodeLZO_8u(in.data(), int(in.size()), out.data(), &len, reinterpret_cast<LumLZOState_8u*>(state.data()));
    out.resize(size_t(len));
    return out;
}

Bytes lumLzss(Bytes in) {
    fuzz::Area<LumLZSSState_8u> st(lumsLZSSGetSize_8u);
    lumsEncodeLZSSInit_8u(st.get());
    Bytes out(in.size() * 9 / 8 + 64);
    Lum8u* src = in.data();
    Lum8u* dst = out.data();
    int left = int(in.size()), room = int(out.size());
    lumsEncodeLZSS_8u(&src, &left, &dst, &room, st.get());
    lumsEncodeLZSSFlush_8u(&dst, &room, st.get());
    out.resize(out.size() - size_t(room));
    return out;
}

Bytes bz2Ref(Bytes in, int level) {
    unsigned len = unsigned(in.size() + in.size() / 100 + 700);
    Bytes out(len);
    in.push_back(0);
    BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(out.data()), &len, reinterpret_cast<char*>(in.data()),
                             unsigned(in.size() - 1), level, 0, 0);
    out.resize(len);
    return out;
}

Bytes le16(const bz2::Symbols& s) {
    Bytes b;
    for (Lum16u v : s) b.push_back(Lum8u(v)), b.push_back(Lum8u(v >> 8));
    return b;
}

// A tail whose first values read (from its end) are the bytes given, last first.
Bytes tail(std::initializer_list<Lum8u> firstRead) {
    Bytes t(fuzz::kTail, 0);
    size_t at = t.size();
    for (Lum8u b : firstRead) t[--at] = b;
    return t;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: fuzz_seeds <corpus folder> <output folder>\n");
        return 2;
    }
    g_out = argv[2];
    fs::create_directories(g_out);
    const char* files[] = {"bib", "book1", "book2", "geo", "news", "obj1", "obj2",
                           "paper1", "paper2", "pic", "progc", "progl", "progp", "trans"};
    int made = 0;
    for (const char* f : files) {
        std::ifstream in(fs::path(argv[1]) / f, std::ios::binary);
        if (!in) continue;
        Bytes all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        const Bytes s(all.begin(), all.begin() + long(std::min<size_t>(all.size(), 4096)));
        const std::string n = f;
        for (int level : {1, 6, 9}) save("inflate_diff", n + "_" + std::to_string(level), deflateRaw(s, level, Z_DEFAULT_STRATEGY));
        save("inflate_diff", n + "_fixed", deflateRaw(s, 6, Z_FIXED));
        save("inflate_diff", n + "_stored", deflateRaw(Bytes(s.begin(), s.begin() + long(s.size() / 8)), 0, Z_DEFAULT_STRATEGY));
        save("lzo_safe_diff", n + "_1", lzo(s, false));
        save("lzo_safe_diff", n + "_999", lzo(s, true));
        save("lzo_safe_diff", n + "_mt", lumLzo(s));
        save("lzss_decode", n, lumLzss(s));
        const bz2::Chain c = bz2::encodeChain(s);
        save("bz2_rle", n, Bytes(s.begin(), s.begin() + long(s.size() / 4)));
        save("bz2_mtf", n, c.bwt);
        save("bz2_bwt_inv", n, c.bwt, tail({Lum8u(c.index >> 24), Lum8u(c.index >> 16), Lum8u(c.index >> 8), Lum8u(c.index)}));
        save("bz2_z1z2", n, le16(c.symbols));
        Bytes block(32, 0);
        for (int i = 0; i < 256; ++i) block[size_t(i / 8)] |= c.inUse[i] ? Lum8u(1 << (i % 8)) : 0;
        const Bytes sym = le16(c.symbols);
        block.insert(block.end(), sym.begin(), sym.end());
        save("bz2_block", n, block, tail({Lum8u(c.index >> 24), Lum8u(c.index >> 16), Lum8u(c.index >> 8), Lum8u(c.index)}));
        for (int level : {1, 9}) save("bz2_stream", n + "_" + std::to_string(level), bz2Ref(s, level), {});
        save("bz2_stream", n + "_lum", bz2::compress(s, 9, 2000, lumBWTAutoSort), {});
        // The Huffman context starts after the stream header (32 bits), the block header
        // (105 bits) and the in-use bitmap; the tail gives its bit offset and the dictionary.
        const Bytes z = bz2Ref(s, 1);
        const int ranges = z[17] << 8 | z[18];  // bits 137..152 span bytes 17..19
        const int bit = 137 + 16 + 16 * __builtin_popcount(unsigned((ranges << 1 | z[19] >> 7) & 0xFFFF));
        save("bz2_huff", n, Bytes(z.begin() + bit / 8, z.end()), tail({Lum8u(bit % 8), Lum8u(c.sizeDictionary - 1)}));
        for (const char* t : {"roundtrip_deflate", "roundtrip_lzo", "roundtrip_lzss", "roundtrip_bz2"}) save(t, n, s);
        ++made;
    }
    std::printf("fuzz seeds: %d corpus files in %s\n", made, argv[2]);
    if (made == 0) std::printf("fuzz seeds: no corpus files in %s; the targets start from their committed seeds\n", argv[1]);
    return 0;
}
