// Shared helpers of the block-sorting tests: repeated units, bit flushing and a streaming
// driver; byte vectors, corpus files and work areas come from the lum tests' helpers, the
// forward chain of a block and the .bz2 stream from the fuzz targets' bz2_format.h.
#ifndef TESTS_LUM_BZ2_TEST_BZ2_COMMON_H
#define TESTS_LUM_BZ2_TEST_BZ2_COMMON_H

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "../lum_test.h"
#include "lumdc.h"

namespace bz2test {

using namespace lumtest;
using Symbols = std::vector<Lum16u>;

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

// Appends the pending bits of a bit buffer (left-aligned), top byte first.
inline void flushBits(Lum32u& code, int& bits, Bytes& out) {
    for (; bits > 0; bits -= 8, code <<= 8) out.push_back(static_cast<Lum8u>(code >> 24));
    bits = 0;
}

// Calls `step(&src, &left, dst, &written)` over `in` with `room` elements of room per call,
// resuming after every lumStsDstFullWrn, and returns all that was written.
template <class Out, class In, class Step>
std::vector<Out> drain(std::vector<In> in, int room, Step step) {
    std::vector<Out> out, buf(static_cast<size_t>(room));
    In* p = ptr(in);
    int left = static_cast<int>(in.size());
    for (LumStatus sts = lumStsDstFullWrn; sts == lumStsDstFullWrn;) {
        const int before = left;
        int n = room;
        sts = step(&p, &left, buf.data(), &n);
        EXPECT_TRUE(sts == lumStsNoErr || sts == lumStsDstFullWrn) << sts;
        out.insert(out.end(), buf.begin(), buf.begin() + n);
        if (sts == lumStsDstFullWrn && n == 0 && left == before) {
            ADD_FAILURE() << "a full destination without progress";
            break;
        }
    }
    EXPECT_EQ(left, 0);
    return out;
}

}  // namespace bz2test

#endif
