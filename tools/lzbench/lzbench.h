// lzbench: time-stamp counter ticks per input byte of the lum deflate, LZO and LZSS
// functions beside the reference libraries, on the corpus files cut to 102400 bytes.
// Shared pieces of the program: the inputs, the timer and the table printer; each family
// has its own file with one entry function.
#pragma once

#include <x86intrin.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace lzbench {

using Bytes = std::vector<uint8_t>;

struct Input {
    std::string name;
    Bytes data;
};

// Best ticks per input byte over `reps` timings of `run`, which processes `bytes` bytes.
inline double bestTicksPerByte(const std::function<void()>& run, size_t bytes, int reps) {
    double best = 1e300;
    for (int r = 0; r < reps; ++r) {
        unsigned aux;
        _mm_lfence();
        const unsigned long long start = __rdtsc();
        _mm_lfence();
        run();
        const unsigned long long stop = __rdtscp(&aux);
        _mm_lfence();
        best = std::min(best, double(stop - start) / double(std::max<size_t>(bytes, 1)));
    }
    return best;
}

// Geometric mean of positive values (0 for an empty list).
double geomean(const std::vector<double>& values);

// One printed row: a label and its cells, already formatted.
void printRow(const std::string& label, const std::vector<std::string>& cells, int width = 12);
std::string fixed(double v, int decimals = 2);

void benchDeflate(const std::vector<Input>& inputs, int reps);
void benchInflate(const std::vector<Input>& inputs, const std::string& corpus, int reps);
void benchLzo(const std::vector<Input>& inputs, int reps);
void benchLzss(const std::vector<Input>& inputs, int reps);

}  // namespace lzbench
