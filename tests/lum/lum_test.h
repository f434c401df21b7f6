// Helpers shared by the lum test programs: byte vectors, corpus files, work areas placed
// at any offset, and tables of argument-error cases in which each case names itself (a
// failure says which call gave the wrong status; a new case can go anywhere).
#ifndef TESTS_LUM_LUM_TEST_H
#define TESTS_LUM_LUM_TEST_H

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "lumcore.h"

namespace lumtest {

using Bytes = std::vector<Lum8u>;

inline Bytes randomBytes(size_t n, unsigned seed, int alphabet = 256) {
    std::mt19937 gen(seed);
    Bytes b(n);
    for (auto& x : b) x = static_cast<Lum8u>(gen() % static_cast<unsigned>(alphabet));
    return b;
}

// The sanitizer build (it defines __SANITIZE_ADDRESS__) uses shorter corpus pieces.
#ifdef __SANITIZE_ADDRESS__
constexpr size_t kCorpusCut = 20000;
#else
constexpr size_t kCorpusCut = 102400;
#endif

inline const char* const kCorpusFiles[] = {"bib", "book1", "book2", "geo", "news", "obj1", "obj2",
                                           "paper1", "paper2", "pic", "progc", "progl", "progp", "trans"};

// A corpus file cut to at most `cut` bytes; empty when the corpus is absent.
inline Bytes corpusFile(const std::string& name, size_t cut = kCorpusCut) {
    std::ifstream in(std::string(PERFDC_CORPUS_DIR) + "/" + name, std::ios::binary);
    Bytes b((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    b.resize(std::min(b.size(), cut));
    return b;
}

// A work area of the size a GetSize function reports, seen as a T, `offset` bytes into its
// buffer (the contract allows any alignment).
template <class T = Lum8u>
struct Area {
    Bytes bytes;
    size_t offset = 0;
    template <class GetSize>
    explicit Area(GetSize getSize, size_t off = 0) : offset(off) {
        int size = 0;
        EXPECT_EQ(getSize(&size), lumStsNoErr);
        bytes.resize(static_cast<size_t>(std::max(size, 1)) + off);
    }
    T* get() { return reinterpret_cast<T*>(bytes.data() + offset); }
    // Copies the state to `other` and takes its place, so that later calls show the state
    // holds no pointers into itself.
    T* moveTo(Area& other) {
        std::copy(bytes.begin() + long(offset), bytes.end(), other.bytes.begin() + long(other.offset));
        std::swap(*this, other);
        return get();
    }
};

struct StatusCase {
    const char* what;
    LumStatus got;   // what the call returned
    LumStatus want;  // what it must return
};

inline void expectStatuses(std::initializer_list<StatusCase> cases) {
    for (const StatusCase& c : cases) EXPECT_EQ(c.got, c.want) << c.what;
}

}  // namespace lumtest

#endif
