// Helpers shared by the LZO test files: a coder state in a work area, one encode call
// and the safe decoder's output.
#ifndef TESTS_LUM_LZO_LZO_TEST_H
#define TESTS_LUM_LZO_LZO_TEST_H

#include <gtest/gtest.h>

#include <vector>

#include "lumdc.h"

namespace lzotest {

using Bytes = std::vector<Lum8u>;

inline LumLZOState_8u* initState(Bytes& area, LumLZOMethod method, int n) {
    int size = 0;
    EXPECT_EQ(lumsEncodeLZOGetSize(method, n, &size), lumStsNoErr);
    area.resize(size);
    auto* st = reinterpret_cast<LumLZOState_8u*>(area.data());
    EXPECT_EQ(lumsEncodeLZOInit_8u(method, n, st), lumStsNoErr);
    return st;
}

// One encode call into a room of 2n + 256 unless given (enough for the container), with
// a fresh state unless one is given; empty when the call fails.
inline Bytes encode(LumLZOMethod method, const Bytes& src, int room = -1, LumLZOState_8u* st = nullptr) {
    Bytes area;
    if (st == nullptr) st = initState(area, method, int(src.size()));
    Bytes dst(room < 0 ? 2 * src.size() + 256 : room);
    const Lum8u none = 0;
    int len = int(dst.size());
    const LumStatus s = lumsEncodeLZO_8u(src.empty() ? &none : src.data(), int(src.size()), dst.data(), &len, st);
    EXPECT_EQ(s, lumStsNoErr);
    dst.resize(s == lumStsNoErr ? len : 0);
    return dst;
}

// The safe decoder's output with room for one byte more than n; empty when it fails.
inline Bytes decodeSafe(const Bytes& stream, size_t n) {
    Bytes out(n + 1);
    int len = int(out.size());
    if (lumsDecodeLZOSafe_8u(stream.data(), int(stream.size()), out.data(), &len) != lumStsNoErr) return {};
    out.resize(len);
    return out;
}

}  // namespace lzotest

#endif
