// Normally distributed random bytes: SplitMix64 uniforms, Marsaglia's polar method, and a
// logarithm of our own so that every platform produces the same bytes for a seed.
#include <cmath>
#include <cstring>

#include "lums.h"

namespace {

constexpr Lum32u kStateTag = 0x4C524E47;  // marks a work area prepared by Init

// The work area's layout. It is always copied in and out with memcpy, so the caller's
// block needs no particular alignment.
struct GaussState {
    Lum32u tag;
    Lum8u mean;
    Lum8u stdDev;
    Lum8u hasSpare;  // the second deviate of the last pair is still unused
    Lum8u reserved;
    Lum64u rng;      // SplitMix64 state
    double spare;
};

Lum64u splitMix64(Lum64u& state) {
    state += 0x9E3779B97F4A7C15ull;
    Lum64u z = state;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

// Uniform in [-1, 1) with 53 significant bits; every step is exact.
double uniformSigned(Lum64u& state) {
    const Lum64s k = static_cast<Lum64s>(splitMix64(state) >> 11) - (Lum64s{1} << 52);
    return static_cast<double>(k) * 0x1p-52;
}

// Natural logarithm for 0 < s < 1 using only exactly rounded IEEE operations:
// s = m 2^e with m in [sqrt(1/2), sqrt(2)), ln s = e ln 2 + 2 atanh(z), z = (m-1)/(m+1).
// |z| < 0.1716, so the atanh series up to z^23 is accurate to about 1e-16.
double fixedLog(double s) {
    constexpr double kLn2 = 0.693147180559945309417232121458;
    constexpr double kSqrtHalf = 0.707106781186547524400844362105;
    int e = 0;
    double m = std::frexp(s, &e);  // exact
    if (m < kSqrtHalf) {
        m *= 2.0;
        --e;
    }
    const double z = (m - 1.0) / (m + 1.0);
    const double z2 = z * z;
    double series = 1.0 / 23.0;
    for (int k = 21; k >= 1; k -= 2) series = series * z2 + 1.0 / k;
    return static_cast<double>(e) * kLn2 + 2.0 * z * series;
}

double nextDeviate(GaussState& st) {
    if (st.hasSpare) {
        st.hasSpare = 0;
        return st.spare;
    }
    for (;;) {
        const double u = uniformSigned(st.rng);
        const double v = uniformSigned(st.rng);
        const double s = u * u + v * v;
        if (s >= 1.0 || s == 0.0) continue;
        const double f = std::sqrt(-2.0 * fixedLog(s) / s);
        st.spare = v * f;
        st.hasSpare = 1;
        return u * f;
    }
}

// Rounds to nearest (halves upwards) and saturates to a byte.
Lum8u toByte(double value) {
    const double r = value + 0.5;
    if (r < 1.0) return 0;
    if (r >= 255.0) return 255;
    return static_cast<Lum8u>(r);  // truncation is floor for positive values
}

}  // namespace

extern "C" {

LumStatus lumsRandGaussGetSize_8u(int* pSize) {
    if (pSize == nullptr) return lumStsNullPtrErr;
    *pSize = static_cast<int>(sizeof(GaussState));
    return lumStsNoErr;
}

LumStatus lumsRandGaussInit_8u(LumsRandGaussState_8u* pState, Lum8u mean, Lum8u stdDev,
                               unsigned int seed) {
    if (pState == nullptr) return lumStsNullPtrErr;
    GaussState st{};
    st.tag = kStateTag;
    st.mean = mean;
    st.stdDev = stdDev;
    st.rng = seed;
    std::memcpy(static_cast<void*>(pState), &st, sizeof st);
    return lumStsNoErr;
}

LumStatus lumsRandGauss_8u(Lum8u* pDst, int len, LumsRandGaussState_8u* pState) {
    if (pDst == nullptr || pState == nullptr) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    GaussState st;
    std::memcpy(&st, static_cast<const void*>(pState), sizeof st);
    if (st.tag != kStateTag) return lumStsContextMatchErr;
    for (int i = 0; i < len; ++i) pDst[i] = toByte(st.mean + st.stdDev * nextDeviate(st));
    std::memcpy(static_cast<void*>(pState), &st, sizeof st);
    return lumStsNoErr;
}

}  // extern "C"
