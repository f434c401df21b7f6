// lumbench: time-stamp counter ticks per byte of each lum checksum on each of its code
// paths, through the public function (fastest path, then forced to the baseline), and of
// zlib, libdeflate and ISA-L, all on the same buffers: 16 KiB and 256 KiB of random bytes
// and every corpus file cut to 102400 bytes. Each figure is the best of several
// repetitions. Last, CRC-32 and CRC-32C at 256 KiB against ISA-L side by side: the two
// timed in turns, best of each, as a ratio.
//
//   lumbench [corpus-folder] [repetitions]     (default ../shared/corpus/calgary, 15)
#include <x86intrin.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#ifdef LUMBENCH_HAVE_LIBDEFLATE
#include <libdeflate.h>
#endif
#ifdef LUMBENCH_HAVE_ISAL
#include <isa-l/crc.h>
#endif

#include "checksums/checksum_paths.h"
#include "lumdc.h"

namespace {

using Bytes = std::vector<Lum8u>;
using Kernel = std::function<Lum32u(Lum32u, const Lum8u*, size_t)>;

struct Buffer {
    std::string name;
    Bytes data;
};

struct Impl {
    std::string label;
    Kernel run;
};

constexpr size_t kCorpusCut = 102400;
constexpr size_t kBytesPerRepetition = 1u << 20;  // calls are repeated up to about 1 MiB

std::vector<Buffer> makeBuffers(const std::string& corpus) {
    std::vector<Buffer> buffers;
    std::mt19937 gen(2024);
    for (size_t size : {size_t{16} << 10, size_t{256} << 10}) {
        Bytes b(size);
        for (auto& x : b) x = static_cast<Lum8u>(gen());
        buffers.push_back({std::to_string(size >> 10) + " KiB random", std::move(b)});
    }
    const char* files[] = {"bib", "book1", "book2", "geo", "news", "obj1", "obj2",
                           "paper1", "paper2", "pic", "progc", "progl", "progp", "trans"};
    int found = 0;
    for (const char* file : files) {
        std::ifstream in(corpus + "/" + file, std::ios::binary);
        if (!in) continue;
        Bytes b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (b.size() > kCorpusCut) b.resize(kCorpusCut);
        buffers.push_back({file, std::move(b)});
        ++found;
    }
    if (found == 0) std::printf("Corpus not found in %s: measuring the random buffers only.\n", corpus.c_str());
    return buffers;
}

// Best ticks per byte over `repetitions` timings of ~1 MiB of calls each.
double ticksPerByte(const Kernel& run, const Bytes& data, int repetitions, Lum32u& value) {
    const size_t calls = std::max<size_t>(1, kBytesPerRepetition / std::max<size_t>(1, data.size()));
    double best = 1e30;
    for (int r = 0; r < repetitions; ++r) {
        unsigned aux;
        _mm_lfence();
        const unsigned long long start = __rdtsc();
        _mm_lfence();
        for (size_t c = 0; c < calls; ++c) value = run(value, data.data(), data.size());
        const unsigned long long stop = __rdtscp(&aux);
        _mm_lfence();
        best = std::min(best, double(stop - start) / double(calls * data.size()));
    }
    return best;
}

Kernel publicEntry(LumStatus (*entry)(const Lum8u*, int, Lum32u*)) {
    return [entry](Lum32u v, const Lum8u* p, size_t n) {
        entry(p, static_cast<int>(n), &v);
        return v;
    };
}

#ifdef LUMBENCH_HAVE_ISAL
// ISA-L's CRCs continuing a value in the public form of the lum functions: the gzip CRC
// takes and gives it as it is, the iSCSI one works on the register (the value inverted).
Lum32u isalCrc32(Lum32u v, const Lum8u* p, size_t n) { return crc32_gzip_refl(v, p, n); }
Lum32u isalCrc32c(Lum32u v, const Lum8u* p, size_t n) {
    return ~crc32_iscsi(const_cast<Lum8u*>(p), static_cast<int>(n), ~v);
}
#endif

// Reference libraries measured beside the lum family of the same name.
std::vector<Impl> references(const std::string& family) {
    std::vector<Impl> refs;
    if (family == "lumsCRC32_8u") {
        refs.push_back({"zlib", [](Lum32u v, const Lum8u* p, size_t n) {
                            return static_cast<Lum32u>(crc32(v, p, static_cast<uInt>(n)));
                        }});
#ifdef LUMBENCH_HAVE_LIBDEFLATE
        refs.push_back({"libdeflate", [](Lum32u v, const Lum8u* p, size_t n) { return libdeflate_crc32(v, p, n); }});
#endif
#ifdef LUMBENCH_HAVE_ISAL
        refs.push_back({"isa-l", isalCrc32});
    } else if (family == "lumsCRC32C_8u") {
        refs.push_back({"isa-l", isalCrc32c});
#endif
    } else if (family == "lumsAdler32_8u") {
        refs.push_back({"zlib", [](Lum32u v, const Lum8u* p, size_t n) {
                            return static_cast<Lum32u>(adler32(v, p, static_cast<uInt>(n)));
                        }});
#ifdef LUMBENCH_HAVE_LIBDEFLATE
        refs.push_back({"libdeflate", [](Lum32u v, const Lum8u* p, size_t n) { return libdeflate_adler32(v, p, n); }});
#endif
    }
    return refs;
}

void measureFamily(const lum::checksums::ChecksumFamily& family, const std::vector<Buffer>& buffers,
                   int repetitions) {
    Lum64u detected = 0;
    lumGetCpuFeatures(&detected, nullptr);

    std::vector<Impl> impls;
    const std::string fastest = family.slot().current().name;
    impls.push_back({"public", publicEntry(family.entry)});
    impls.push_back({"public@SSE2", publicEntry(family.entry)});  // run with the baseline forced
    for (const auto& path : family.slot()) {
        if ((path.required & ~detected) == 0) impls.push_back({path.name, path.fn});
    }
    const size_t firstReference = impls.size();
    for (Impl& ref : references(family.name)) impls.push_back(std::move(ref));

    std::printf("\n%s  (public function runs path \"%s\"; ticks per byte, best of %d)\n", family.name,
                fastest.c_str(), repetitions);
    std::printf("%-14s", "buffer");
    int width = 12;  // wide enough for the longest label
    for (const Impl& impl : impls) width = std::max(width, static_cast<int>(impl.label.size()));
    for (const Impl& impl : impls) std::printf(" %*s", width, impl.label.c_str());
    std::printf("\n");

    std::vector<double> sums(impls.size(), 0.0);
    Lum32u value = family.initial;
    for (const Buffer& buffer : buffers) {
        std::printf("%-14s", buffer.name.c_str());
        for (size_t i = 0; i < impls.size(); ++i) {
            const bool baseline = impls[i].label == "public@SSE2";
            if (baseline) lumSetCpuFeatures(lumCpuLevelSSE2);
            const double t = ticksPerByte(impls[i].run, buffer.data, repetitions, value);
            if (baseline) lumInit();
            sums[i] += t;
            std::printf(" %*.4f", width, t);
        }
        std::printf("\n");
    }
    std::printf("%-14s", "mean");
    for (double s : sums) std::printf(" %*.4f", width, s / buffers.size());
    std::printf("\n");

    // The public function against the best figure of anything measured in this run.
    double best = 1e30;
    std::string bestLabel;
    for (size_t i = 0; i < sums.size(); ++i) {
        if (impls[i].label == "public@SSE2" || impls[i].label == "public") continue;
        if (sums[i] < best) {
            best = sums[i];
            bestLabel = impls[i].label;
        }
    }
    double bestReference = 1e30;
    for (size_t i = firstReference; i < sums.size(); ++i) bestReference = std::min(bestReference, sums[i]);
    std::printf("public / best (%s): %.2fx", bestLabel.c_str(), sums[0] / best);
    if (firstReference < sums.size()) std::printf("   best reference / public: %.2fx", bestReference / sums[0]);
    std::printf("   (checksum %08X)\n", value);
}

#ifdef LUMBENCH_HAVE_ISAL
// A lum CRC against ISA-L's on one buffer: both must give the same value first; then they
// are timed in turns, best of each, so that both see the same machine load.
void sideBySide(const char* label, LumStatus (*entry)(const Lum8u*, int, Lum32u*), const Kernel& isal,
                const Bytes& data, int repetitions, double target) {
    const Kernel ours = publicEntry(entry);
    const Lum32u a = ours(0, data.data(), data.size()), b = isal(0, data.data(), data.size());
    if (a != b) {
        std::printf("  %-8s lum %08X, ISA-L %08X: the values differ, not timed\n", label, a, b);
        return;
    }
    double bestOurs = 1e30, bestIsal = 1e30;
    Lum32u value = 0;
    for (int r = 0; r < repetitions; ++r) {
        bestOurs = std::min(bestOurs, ticksPerByte(ours, data, 1, value));
        bestIsal = std::min(bestIsal, ticksPerByte(isal, data, 1, value));
    }
    const double ratio = bestOurs / bestIsal;
    std::printf("  %-8s lum %.4f  ISA-L %.4f  lum / ISA-L %.3f  (target <= %.2f) %s\n", label, bestOurs, bestIsal,
                ratio, target, ratio <= target ? "met" : "NOT met");
}
#endif

}  // namespace

int main(int argc, char** argv) {
    const std::string corpus = argc > 1 ? argv[1] : "../shared/corpus/calgary";
    const int repetitions = argc > 2 ? std::max(1, std::atoi(argv[2])) : 15;

    lumInit();
    const LumLibraryVersion* v = lumdcGetLibVersion();
    Lum64u detected = 0;
    lumGetCpuFeatures(&detected, nullptr);
    std::printf("%s %s, built %s; detected features 0x%llX\n", v->Name, v->Version, v->BuildDate,
                static_cast<unsigned long long>(detected));
    std::printf("Columns: public = lums... function (dispatched), public@SSE2 = the same with the\n"
                "baseline forced by lumSetCpuFeatures, then each path, then reference libraries.\n");

    const std::vector<Buffer> buffers = makeBuffers(corpus);
    for (const auto& family : lum::checksums::kChecksumFamilies) measureFamily(family, buffers, repetitions);
#ifdef LUMBENCH_HAVE_ISAL
    const Bytes& large = buffers[1].data;  // 256 KiB of random bytes
    std::printf("\nCRC at %zu KiB against ISA-L, in turns, ticks per byte (best of %d):\n", large.size() >> 10,
                repetitions);
    sideBySide("CRC-32", lumsCRC32_8u, isalCrc32, large, repetitions, 0.85);
    sideBySide("CRC-32C", lumsCRC32C_8u, isalCrc32c, large, repetitions, 0.85);
#else
    std::printf("\nISA-L not built in: no side-by-side CRC figures.\n");
#endif
    return 0;
}
