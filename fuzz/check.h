// What the fuzz targets and their oracles share apart from the fuzzer: byte vectors, a check
// that aborts (so libFuzzer keeps the input), work areas and a pointer for empty buffers.
// The plain decoders and the .bz2 format build on it alone, so the unit tests use them too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "lumdc.h"

using Bytes = std::vector<Lum8u>;

// A broken promise or a disagreement with a reference library: report and abort.
#define FUZZ_CHECK(cond, what)                                                                \
    do {                                                                                      \
        if (!(cond)) {                                                                        \
            std::fprintf(stderr, "%s:%d: check failed: %s (%s)\n", __FILE__, __LINE__, #cond, \
                         what);                                                               \
            std::abort();                                                                     \
        }                                                                                     \
    } while (0)

namespace fuzz {

// A work area sized by its GetSize function, placed `offset` bytes into its buffer (any
// alignment is allowed).
template <class T = Lum8u>
struct Area {
    template <class GetSize>
    explicit Area(GetSize getSize, int offset = 0) {
        int size = 0;
        FUZZ_CHECK(getSize(&size) == lumStsNoErr && size >= 0, "GetSize");
        buf.assign(size_t(size) + size_t(offset) + 1, 0);
        at = offset;
    }
    T* get() { return reinterpret_cast<T*>(buf.data() + at); }
    Bytes buf;
    int at;
};

// A pointer for every buffer, empty ones included (the library refuses null pointers).
inline Lum8u* ptr(Bytes& b) {
    static Lum8u none;
    return b.empty() ? &none : b.data();
}

}  // namespace fuzz
