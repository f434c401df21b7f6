// The RFC 1951 alphabets shared by the deflate stages: length and distance codes with
// their base values and extra bits, the mapping from a length or distance to its code,
// and the little-endian word access the bit-level coders use.
#ifndef LUM_DEFLATE_DEFLATE_TABLES_H
#define LUM_DEFLATE_DEFLATE_TABLES_H

#include <array>
#include <cstring>

#include "lumdc.h"

namespace lum::deflate {

inline constexpr int kMinMatch = 3;
inline constexpr int kMaxMatch = 258;
inline constexpr int kMaxDistance = 32768;
inline constexpr int kEndOfBlock = 256;
inline constexpr int kLitLenCodes = 286;   // 0..255 literals, 256 end of block, 257..285 lengths
inline constexpr int kDistCodes = 30;
inline constexpr int kMaxCodeLen = 15;

inline constexpr Lum16u kLengthBase[29] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,
                                           15, 17, 19, 23, 27, 31, 35, 43, 51,  59,
                                           67, 83, 99, 115, 131, 163, 195, 227, 258};
inline constexpr Lum8u kLengthExtra[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                           2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
inline constexpr Lum16u kDistBase[30] = {1,    2,    3,    4,    5,    7,     9,     13,
                                         17,   25,   33,   49,   65,   97,    129,   193,
                                         257,  385,  513,  769,  1025, 1537,  2049,  3073,
                                         4097, 6145, 8193, 12289, 16385, 24577};
inline constexpr Lum8u kDistExtra[30] = {0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
                                         6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};

namespace detail {
// Code index (0..28) of every length - 3 (0..255).
constexpr std::array<Lum8u, 256> makeLengthCodes() {
    std::array<Lum8u, 256> t{};
    for (int c = 0; c < 29; ++c)
        for (int l = kLengthBase[c]; l < kLengthBase[c] + (1 << kLengthExtra[c]) && l <= kMaxMatch; ++l)
            t[l - kMinMatch] = static_cast<Lum8u>(c);
    t[kMaxMatch - kMinMatch] = 28;  // 258 has its own code, not 284 with all extra bits set
    return t;
}
// Distance code of distance - 1 for the first 256 distances, then of ((distance - 1) >> 7).
constexpr std::array<Lum8u, 512> makeDistCodes() {
    std::array<Lum8u, 512> t{};
    for (int c = 0; c < 30; ++c)
        for (int d = kDistBase[c]; d < kDistBase[c] + (1 << kDistExtra[c]); ++d) {
            if (d <= 256) t[d - 1] = static_cast<Lum8u>(c);
            else t[256 + ((d - 1) >> 7)] = static_cast<Lum8u>(c);
        }
    return t;
}
}  // namespace detail

inline constexpr std::array<Lum8u, 256> kLengthCode = detail::makeLengthCodes();
inline constexpr std::array<Lum8u, 512> kDistCode = detail::makeDistCodes();

// Code (0..28) of a match length 3..258; the literal/length symbol is 257 + this.
inline int lengthCode(int length) { return kLengthCode[length - kMinMatch]; }
// Code (0..29) of a distance 1..32768.
inline int distCode(int dist) {
    return dist <= 256 ? kDistCode[dist - 1] : kDistCode[256 + ((dist - 1) >> 7)];
}

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the bit coders assume little-endian words");

inline Lum64u load64le(const Lum8u* p) {
    Lum64u v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
inline Lum32u load32le(const Lum8u* p) {
    Lum32u v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
inline void store32le(Lum8u* p, Lum32u v) { std::memcpy(p, &v, sizeof v); }
inline void store64le(Lum8u* p, Lum64u v) { std::memcpy(p, &v, sizeof v); }

}  // namespace lum::deflate

#endif  // LUM_DEFLATE_DEFLATE_TABLES_H
