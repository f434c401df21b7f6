// bz2bench: time-stamp counter ticks per input byte of every lum block-sorting stage and
// of the whole forward and inverse pipelines, beside libbz2's buffer compressor and
// decompressor (blockSize100k 1) and libdivsufsort's divbwt, all in the same run on the
// corpus files cut to 102400 bytes. Each figure is the best of several repetitions.
//
//   bz2bench [corpus-folder] [repetitions]     (default ../shared/corpus/calgary, 15)
#include <bzlib.h>
#include <divsufsort.h>
#include <x86intrin.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "block_pipeline.h"

namespace {

using bz2bench::BlockPipeline;
using bz2bench::Bytes;

constexpr size_t kCut = 102400;

double threadCpuNs() {
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) * 1e9 + double(ts.tv_nsec);
}

double monotonicNs() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return double(ts.tv_sec) * 1e9 + double(ts.tv_nsec);
}

// Time-stamp counter ticks per nanosecond, measured over 100 ms.
double tscPerNs() {
    const double t0 = monotonicNs();
    const unsigned long long c0 = __rdtsc();
    while (monotonicNs() - t0 < 1e8) {
    }
    return double(__rdtsc() - c0) / (monotonicNs() - t0);
}

// Ticks of one call of `run`. On a busy machine the thread may be descheduled during the
// call, which the counter would count too; the thread's own processor time, converted
// to ticks, is then the smaller figure and is taken instead.
double ticks(const std::function<void()>& run, double ticksPerNs) {
    unsigned aux;
    const double cpu0 = threadCpuNs();
    _mm_lfence();
    const unsigned long long start = __rdtsc();
    _mm_lfence();
    run();
    const unsigned long long stop = __rdtscp(&aux);
    _mm_lfence();
    const double cpu = (threadCpuNs() - cpu0) * ticksPerNs;
    return std::min(double(stop - start), cpu);
}

double geomean(const std::vector<double>& v) {
    double s = 0;
    for (double x : v) s += std::log(std::max(x, 1e-9));
    return v.empty() ? 0 : std::exp(s / double(v.size()));
}

struct Column {
    const char* name;
    std::function<void()> prepare;
    std::function<void()> run;
};

// The references on one input: libbz2 both ways and divbwt on the BWT's own input.
struct References {
    Bytes input, compressed, restored, bwtInput, bwtOut;
    std::vector<saidx_t> work;
    unsigned compressedLen = 0;

    explicit References(const Bytes& in) : input(in), compressed(in.size() * 2 + 1000), restored(in.size() + 1) {}
    void compress() {
        compressedLen = unsigned(compressed.size());
        BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(compressed.data()), &compressedLen,
                                 reinterpret_cast<char*>(input.data()), unsigned(input.size()), 1, 0, 0);
    }
    bool decompress() {
        unsigned len = unsigned(restored.size());
        const int rc = BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(restored.data()), &len,
                                                  reinterpret_cast<char*>(compressed.data()), compressedLen, 0, 0);
        return rc == BZ_OK && len == input.size();
    }
    void divbwt() {
        ::divbwt(bwtInput.data(), bwtOut.data(), work.data(), saidx_t(bwtInput.size()));
    }
};

void printCells(const char* label, const std::vector<double>& cells) {
    std::printf("%-8s", label);
    for (double c : cells) std::printf(c < 10 ? "%7.2f" : "%7.1f", c);
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    const std::string corpus = argc > 1 ? argv[1] : "../shared/corpus/calgary";
    const int reps = argc > 2 ? std::max(1, std::atoi(argv[2])) : 15;
    const char* files[] = {"bib", "book1", "book2", "geo", "news", "obj1", "obj2",
                           "paper1", "paper2", "pic", "progc", "progl", "progp", "trans"};

    std::vector<const char*> names;
    std::vector<std::vector<double>> rows;
    std::vector<std::string> sizes;
    bool headerDone = false;
    const double ticksPerNs = tscPerNs();
    for (const char* file : files) {
        std::ifstream in(corpus + "/" + file, std::ios::binary);
        if (!in) continue;
        Bytes data((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        if (data.size() > kCut) data.resize(kCut);

        BlockPipeline p(data);
        p.forward();
        p.inverse();
        References ref(data);
        ref.compress();
        // divbwt sorts the bytes the lum BWT sorts: the reduced output of the RLE stage.
        ref.bwtInput = p.bwtInput();
        ref.bwtOut.resize(ref.bwtInput.size());
        ref.work.resize(ref.bwtInput.size());
        const std::vector<Column> columns = {
            {"RLE", nullptr, [&] { p.rle(); }},
            {"reduce", [&] { p.prepareReduce(); }, [&] { p.reduce(); }},
            {"BWT", nullptr, [&] { p.bwt(-1); }},
            {"BWT.h0", nullptr, [&] { p.bwt(0); }},
            {"BWT.h1", nullptr, [&] { p.bwt(1); }},
            {"BWT.h2", nullptr, [&] { p.bwt(2); }},
            {"BWT.h3", nullptr, [&] { p.bwt(3); }},
            {"MTF", nullptr, [&] { p.mtf(); }},
            {"Z1Z2", nullptr, [&] { p.z1z2(); }},
            {"HuffEnc", nullptr, [&] { p.huffEncode(); }},
            {"HuffDec", nullptr, [&] { p.huffDecode(); }},
            {"BlkDec", nullptr, [&] { p.blockDecode(); }},
            {"RLEDec", nullptr, [&] { p.rleDecode(); }},
            {"Forward", nullptr, [&] { p.forward(); }},
            {"Inverse", nullptr, [&] { p.inverse(); }},
            {"bz2C", nullptr, [&] { ref.compress(); }},
            {"bz2D", nullptr, [&] { ref.decompress(); }},
            {"divbwt", nullptr, [&] { ref.divbwt(); }},
        };
        if (!headerDone) {
            std::printf("TSC ticks per input byte (%.3f per ns), best of %d (a repetition interrupted by the "
                        "scheduler counts its thread time);\ncorpus files cut to %zu bytes; libbz2 with "
                        "blockSize100k 1\n%-8s", ticksPerNs, reps, kCut, "file");
            for (const auto& c : columns) std::printf("%7.7s", c.name);
            std::printf("\n");
            headerDone = true;
        }
        // Repetitions go round all columns, so that a busy moment of the machine touches
        // the lum stages and the references alike; each column keeps its best.
        std::vector<double> row(columns.size(), 1e300);
        for (int r = 0; r < reps; ++r)
            for (size_t i = 0; i < columns.size(); ++i) {
                if (columns[i].prepare) columns[i].prepare();
                row[i] = std::min(row[i], ticks(columns[i].run, ticksPerNs) / double(data.size()));
            }
        const bool ok = p.error().empty() && p.roundTripOk() && ref.decompress() &&
                        std::equal(data.begin(), data.end(), ref.restored.begin());
        printCells(file, row);
        char line[200];
        std::snprintf(line, sizeof line, "%-8s %7zu bytes -> lum %7d, libbz2 %7u%s%s", file, data.size(),
                      p.codedBytes(), ref.compressedLen, ok ? "" : "  CHECK FAILED ", p.error().c_str());
        sizes.push_back(line);
        names.push_back(file);
        rows.push_back(row);
    }
    if (rows.empty()) {
        std::printf("No corpus file found in %s: nothing to measure (run 'make corpus').\n", corpus.c_str());
        return 0;
    }
    std::vector<double> mean;
    for (size_t c = 0; c < rows[0].size(); ++c) {
        std::vector<double> col;
        for (const auto& r : rows) col.push_back(r[c]);
        mean.push_back(geomean(col));
    }
    printCells("geomean", mean);
    std::printf("\nCoded sizes (lum: block contents without stream framing)\n");
    for (const auto& s : sizes) std::printf("%s\n", s.c_str());
    // Columns: 2 BWT, 13 Forward, 14 Inverse, 15 bz2C, 16 bz2D, 17 divbwt.
    std::printf("\nRatios of the geometric means (target):\n"
                "  forward BWT / divbwt                 %.2f  (<= 1.05)\n"
                "  forward pipeline / libbz2 compress   %.2f  (<= 0.75)\n"
                "  inverse pipeline / libbz2 decompress %.2f  (<= 0.75)\n",
                mean[2] / mean[17], mean[13] / mean[15], mean[14] / mean[16]);
    return 0;
}
