// Shared pieces of the fuzz targets: the input split into a payload and a parameter tail,
// a check that aborts (so libFuzzer keeps the input), work areas and piecewise driving.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

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

// Every input is a payload followed by a tail of kTail parameter bytes (fewer when the
// input is short). Seeds carry a tail of zeros, which every target reads as its plainest
// setting (whole pieces, the default level...).
constexpr size_t kTail = 8;

struct Input {
    Input(const uint8_t* data, size_t size)
        : tail(size < kTail ? size : kTail), payload(data, data + size - tail),
          params(data + size - tail, tail) {}
    size_t tail;
    Bytes payload;
    FuzzedDataProvider params;
    // A piece size: 0 in the tail means no limit (`whole`).
    int piece(int whole, int most = 65535) {
        const int p = params.ConsumeIntegralInRange(0, most);
        return p == 0 || p > whole ? whole : p;
    }
};

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
