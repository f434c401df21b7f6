// Shared helpers of the block-sorting tests: byte vectors, corpus access, work areas and
// whole-rotation references of the BWT.
#ifndef TESTS_LUM_BZ2_TEST_BZ2_COMMON_H
#define TESTS_LUM_BZ2_TEST_BZ2_COMMON_H

#include <algorithm>
#include <fstream>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "lumdc.h"

namespace bz2test {

using Bytes = std::vector<Lum8u>;
using Symbols = std::vector<Lum16u>;

inline Bytes randomBytes(size_t n, unsigned seed, int alphabet = 256) {
    std::mt19937 gen(seed);
    Bytes b(n);
    for (auto& x : b) x = static_cast<Lum8u>(gen() % static_cast<unsigned>(alphabet));
    return b;
}

inline Bytes repeated(const std::string& unit, size_t times) {
    Bytes b;
    for (size_t i = 0; i < times; ++i) b.insert(b.end(), unit.begin(), unit.end());
    return b;
}

// A real pointer for every buffer, empty ones included (the library refuses null ones).
template <class T>
T* ptr(std::vector<T>& v) {
    static T none[1];
    return v.empty() ? none : v.data();
}

// The sanitizer build (it defines __SANITIZE_ADDRESS__) uses shorter corpus pieces.
#ifdef __SANITIZE_ADDRESS__
constexpr size_t kCorpusCut = 20000;
#else
constexpr size_t kCorpusCut = 102400;
#endif

inline const char* const kCorpusFiles[] = {"bib", "book1", "book2", "geo", "news", "obj1", "obj2",
                                           "paper1", "paper2", "pic", "progc", "progl", "progp", "trans"};

// A corpus file cut to at most kCorpusCut bytes; empty when the corpus is absent.
inline Bytes corpusFile(const std::string& name) {
    std::ifstream in(std::string(PERFDC_CORPUS_DIR) + "/" + name, std::ios::binary);
    Bytes b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    b.resize(std::min(b.size(), kCorpusCut));
    return b;
}

// A work area of the size a GetSize function reports.
template <class GetSize>
Bytes workArea(GetSize getSize) {
    int size = 0;
    getSize(&size);
    return Bytes(static_cast<size_t>(size));
}

// Sorts the rotations by comparing them whole, equal ones by start position.
inline Bytes naiveBwt(const Bytes& s, int* index) {
    const size_t n = s.size();
    std::vector<size_t> rot(n);
    std::iota(rot.begin(), rot.end(), 0);
    std::stable_sort(rot.begin(), rot.end(), [&](size_t a, size_t b) {
        for (size_t k = 0; k < n; ++k)
            if (s[(a + k) % n] != s[(b + k) % n]) return s[(a + k) % n] < s[(b + k) % n];
        return false;
    });
    Bytes last(n);
    *index = 0;
    for (size_t k = 0; k < n; ++k) {
        last[k] = s[(rot[k] + n - 1) % n];
        if (rot[k] == 0) *index = static_cast<int>(k);
    }
    return last;
}

// Inverse by the single "next row" chain.
inline Bytes naiveInverseBwt(const Bytes& last, int index) {
    std::vector<size_t> order(last.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return last[a] < last[b]; });
    Bytes out(last.size());
    for (size_t k = 0, row = static_cast<size_t>(index); k < out.size(); ++k) out[k] = last[row = order[row]];
    return out;
}

}  // namespace bz2test

#endif
