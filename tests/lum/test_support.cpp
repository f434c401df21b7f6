// Support functions: zero, copy and the Gaussian byte generator.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <tuple>
#include <vector>

#include "lums.h"

namespace {

using Bytes = std::vector<Lum8u>;

TEST(ZeroCopy, BadArguments) {
    Lum8u a[4] = {1, 2, 3, 4};
    Lum8u b[4] = {5, 6, 7, 8};
    EXPECT_EQ(lumsZero_8u(nullptr, 4), lumStsNullPtrErr);
    EXPECT_EQ(lumsZero_8u(a, -1), lumStsSizeErr);
    EXPECT_EQ(lumsCopy_8u(nullptr, b, 4), lumStsNullPtrErr);
    EXPECT_EQ(lumsCopy_8u(a, nullptr, 4), lumStsNullPtrErr);
    EXPECT_EQ(lumsCopy_8u(a, b, -1), lumStsSizeErr);
    EXPECT_EQ(lumsZero_8u(a, 0), lumStsNoErr);
    EXPECT_EQ(lumsCopy_8u(a, b, 0), lumStsNoErr);
    EXPECT_EQ(a[0], 1);
    EXPECT_EQ(b[0], 5);
}

TEST(ZeroCopy, TouchExactlyTheRequestedBytes) {
    for (int len : {1, 7, 64, 1000}) {
        Bytes buf(len + 2, 0xAB);
        ASSERT_EQ(lumsZero_8u(buf.data() + 1, len), lumStsNoErr);
        EXPECT_EQ(buf.front(), 0xAB);
        EXPECT_EQ(buf.back(), 0xAB);
        EXPECT_EQ(std::count(buf.begin() + 1, buf.end() - 1, 0), len);
    }
}

// Overlapping ranges in both directions behave as memmove.
TEST(ZeroCopy, CopyHandlesOverlap) {
    for (int shift : {-5, 0, 5}) {
        Bytes data(300), expected;
        std::iota(data.begin(), data.end(), 0);
        expected = data;
        std::memmove(expected.data() + 50 + shift, expected.data() + 50, 200);
        ASSERT_EQ(lumsCopy_8u(data.data() + 50, data.data() + 50 + shift, 200), lumStsNoErr);
        EXPECT_EQ(data, expected) << shift;
    }
}

// ---- Gaussian generator ----------------------------------------------------------------

class Gauss : public testing::Test {
protected:
    void SetUp() override {
        int size = 0;
        ASSERT_EQ(lumsRandGaussGetSize_8u(&size), lumStsNoErr);
        ASSERT_GT(size, 0);
        area.assign(size + 1, 0);
    }
    // The work area starts one byte into the buffer: callers need not align it.
    LumsRandGaussState_8u* state() { return reinterpret_cast<LumsRandGaussState_8u*>(area.data() + 1); }

    Bytes generate(Lum8u mean, Lum8u stdDev, unsigned seed, int len) {
        Bytes out(len);
        EXPECT_EQ(lumsRandGaussInit_8u(state(), mean, stdDev, seed), lumStsNoErr);
        EXPECT_EQ(lumsRandGauss_8u(out.data(), len, state()), lumStsNoErr);
        return out;
    }

    Bytes area;
};

// The generator as the header documents it, with the platform's own logarithm. The two
// logarithms differ at most in the last bit, which moves no byte across a rounding edge
// in practice.
Bytes documentedGenerator(double mean, double stdDev, Lum64u state, int len) {
    auto next = [&state] {
        state += 0x9E3779B97F4A7C15ull;
        Lum64u z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    };
    auto uniform = [&next] { return (static_cast<double>(next() >> 11) - 4503599627370496.0) / 4503599627370496.0; };
    Bytes out;
    while (static_cast<int>(out.size()) < len) {
        const double u = uniform(), v = uniform(), s = u * u + v * v;
        if (s >= 1.0 || s == 0.0) continue;
        const double f = std::sqrt(-2.0 * std::log(s) / s);
        for (double g : {u * f, v * f}) {
            const double r = std::floor(mean + stdDev * g + 0.5);
            out.push_back(static_cast<Lum8u>(std::min(255.0, std::max(0.0, r))));
        }
    }
    out.resize(len);
    return out;
}

TEST_F(Gauss, BadArguments) {
    int size = 0;
    Lum8u out[4];
    EXPECT_EQ(lumsRandGaussGetSize_8u(nullptr), lumStsNullPtrErr);
    EXPECT_EQ(lumsRandGaussInit_8u(nullptr, 1, 1, 1), lumStsNullPtrErr);
    EXPECT_EQ(lumsRandGauss_8u(out, 4, state()), lumStsContextMatchErr) << "area never initialised";
    ASSERT_EQ(lumsRandGaussInit_8u(state(), 100, 10, 1), lumStsNoErr);
    EXPECT_EQ(lumsRandGauss_8u(nullptr, 4, state()), lumStsNullPtrErr);
    EXPECT_EQ(lumsRandGauss_8u(out, 4, nullptr), lumStsNullPtrErr);
    EXPECT_EQ(lumsRandGauss_8u(out, -1, state()), lumStsSizeErr);
    EXPECT_EQ(lumsRandGauss_8u(out, 0, state()), lumStsNoErr);
    EXPECT_EQ(lumsRandGaussGetSize_8u(&size), lumStsNoErr);
}

TEST_F(Gauss, FollowsTheDocumentedGenerator) {
    // Deviates past either end of the byte range saturate; a zero deviation gives the mean.
    for (const auto& [mean, sd, seed] : {std::tuple{128, 30, 1u}, {0, 200, 77u}, {250, 40, 123456u}, {77, 0, 3u}}) {
        EXPECT_EQ(generate(mean, sd, seed, 20000), documentedGenerator(mean, sd, seed, 20000))
            << int(mean) << " " << int(sd) << " " << seed;
    }
}

TEST_F(Gauss, SameSeedSameBytesAcrossCallsAndMovedWorkAreas) {
    const Bytes whole = generate(128, 25, 42, 1000);
    EXPECT_NE(whole, generate(128, 25, 43, 1000));

    // 333 bytes (an odd count leaves the second deviate pending), then the work area is
    // copied elsewhere and continues there.
    Bytes pieces(1000);
    ASSERT_EQ(lumsRandGaussInit_8u(state(), 128, 25, 42), lumStsNoErr);
    ASSERT_EQ(lumsRandGauss_8u(pieces.data(), 333, state()), lumStsNoErr);
    Bytes moved(area.size() + 7);
    std::memcpy(moved.data() + 7, area.data() + 1, area.size() - 1);
    auto* other = reinterpret_cast<LumsRandGaussState_8u*>(moved.data() + 7);
    ASSERT_EQ(lumsRandGauss_8u(pieces.data() + 333, 667, other), lumStsNoErr);
    EXPECT_EQ(pieces, whole);
}

}  // namespace
