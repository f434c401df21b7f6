// The three CRC-32 variants as compile-time models: polynomial, bit order, the portable
// slicing-by-8 tables and the constants of carry-less multiplication folding, all derived
// from the polynomial when the library is compiled.
//
// "Raw" values below are the CRC register without the inversion on entry and exit.
#ifndef LUM_CHECKSUMS_CRC_MODEL_H
#define LUM_CHECKSUMS_CRC_MODEL_H

#include <array>
#include <cstddef>
#include <cstring>

#include "lumcore.h"

namespace lum::checksums {

// ---- Arithmetic modulo a degree-32 polynomial over GF(2) ----------------------------

// x^n mod P; poly holds P without its x^32 term, most significant bit = x^31.
constexpr Lum32u xPowMod(unsigned n, Lum32u poly) {
    Lum32u r = 1;
    for (unsigned i = 0; i < n; ++i) r = (r & 0x80000000u) ? (r << 1) ^ poly : r << 1;
    return r;
}

constexpr Lum32u reflect32(Lum32u v) {
    Lum32u r = 0;
    for (int i = 0; i < 32; ++i) r |= ((v >> i) & 1u) << (31 - i);
    return r;
}

// Multipliers for one folding step over `bits` bits: a 128-bit block A = H x^64 + L
// (H, L of 64 bits each) is replaced by clmul(low qword, lo) ^ clmul(high qword, hi),
// which is congruent to A x^bits and fits in 128 bits.
struct FoldPair {
    Lum64u lo;  // multiplies the register's low qword
    Lum64u hi;  // multiplies the register's high qword
};

template <Lum32u kPoly, bool kReflected>
struct CrcModel {
    static constexpr Lum32u kPolynomial = kPoly;
    static constexpr bool kIsReflected = kReflected;

    // Reflected registers hold the message bits in reverse order, so the low qword is H
    // and a product clmul(rev64(H), rev32(K)) equals rev128(H K x^33): hence the -33 shift.
    // In normal order the low qword is L and products need no shift.
    static constexpr FoldPair fold(unsigned bits) {
        if (kReflected) {
            return {reflect32(xPowMod(bits + 31, kPoly)), reflect32(xPowMod(bits - 33, kPoly))};
        }
        return {xPowMod(bits, kPoly), xPowMod(bits + 64, kPoly)};
    }

    // The CRC register's contribution shifted over `bits` message bits, for combining
    // separately computed streams in reflected order: clmul(rev32(c), shift(S)) is a
    // 64-bit chunk whose own CRC (from 0) is c x^S mod P.
    static constexpr Lum64u shift(unsigned bits) { return reflect32(xPowMod(bits - 33, kPoly)); }

    // Slicing-by-8 tables: slice[0] is the byte-at-a-time table, slice[k] advances a byte
    // over k further zero bytes.
    using Slices = std::array<std::array<Lum32u, 256>, 8>;
    static constexpr Slices makeSlices() {
        Slices t{};
        for (Lum32u b = 0; b < 256; ++b) {
            Lum32u c = kReflected ? b : b << 24;
            for (int i = 0; i < 8; ++i) {
                if (kReflected) {
                    c = (c & 1u) ? (c >> 1) ^ reflect32(kPoly) : c >> 1;
                } else {
                    c = (c & 0x80000000u) ? (c << 1) ^ kPoly : c << 1;
                }
            }
            t[0][b] = c;
        }
        for (int k = 1; k < 8; ++k) {
            for (int b = 0; b < 256; ++b) {
                const Lum32u prev = t[k - 1][b];
                t[k][b] = kReflected ? (prev >> 8) ^ t[0][prev & 0xFF]
                                     : (prev << 8) ^ t[0][prev >> 24];
            }
        }
        return t;
    }
    static constexpr Slices kSlices = makeSlices();

    // Portable update of the raw register, eight bytes per step.
    static Lum32u tableUpdate(Lum32u raw, const Lum8u* p, std::size_t n) {
        const auto& t = kSlices;
        for (; n >= 8; p += 8, n -= 8) {
            Lum32u a = load32(p) ^ raw;
            Lum32u b = load32(p + 4);
            if (kReflected) {
                raw = t[7][a & 0xFF] ^ t[6][(a >> 8) & 0xFF] ^ t[5][(a >> 16) & 0xFF] ^
                      t[4][a >> 24] ^ t[3][b & 0xFF] ^ t[2][(b >> 8) & 0xFF] ^
                      t[1][(b >> 16) & 0xFF] ^ t[0][b >> 24];
            } else {
                raw = t[7][a >> 24] ^ t[6][(a >> 16) & 0xFF] ^ t[5][(a >> 8) & 0xFF] ^
                      t[4][a & 0xFF] ^ t[3][b >> 24] ^ t[2][(b >> 16) & 0xFF] ^
                      t[1][(b >> 8) & 0xFF] ^ t[0][b & 0xFF];
            }
        }
        for (; n > 0; ++p, --n) {
            raw = kReflected ? (raw >> 8) ^ t[0][(raw ^ *p) & 0xFF]
                             : (raw << 8) ^ t[0][(raw >> 24) ^ *p];
        }
        return raw;
    }

private:
    // Four message bytes as the register sees them: little-endian when reflected,
    // big-endian otherwise.
    static Lum32u load32(const Lum8u* p) {
        Lum32u v;
        std::memcpy(&v, p, 4);
        return kReflected ? v : __builtin_bswap32(v);
    }
};

using Crc32Model = CrcModel<0x04C11DB7u, true>;    // gzip, zip
using Crc32cModel = CrcModel<0x1EDC6F41u, true>;   // Castagnoli
using CrcBz2Model = CrcModel<0x04C11DB7u, false>;  // bzip2, most significant bit first

}  // namespace lum::checksums

#endif
