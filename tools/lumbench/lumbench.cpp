// lumbench: time-stamp counter ticks per byte of each lum checksum on each of its code
// paths, through the public function (fastest path, then forced to the baseline), and of
// zlib and libdeflate, all on the same buffers: 16 KiB and 256 KiB of random bytes and
// every corpus file cut to 102400 bytes. Each figure is the best of several repetitions.
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
    for (const Impl& impl : impls) std::printf(" %12s", impl.label.c_str());
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
            std::printf(" %12.4f", t);
        }
        std::printf("\n");
    }
    std::printf("%-14s", "mean");
    for (double s : sums) std::printf(" %12.4f", s / buffers.size());
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
    return 0;
}
