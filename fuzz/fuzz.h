// Shared pieces of the fuzz targets: the input split into a payload and a parameter tail,
// on top of the checks and work areas of check.h.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include "check.h"

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

}  // namespace fuzz
