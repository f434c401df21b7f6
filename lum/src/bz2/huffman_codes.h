// Shared pieces of the bzip2 block Huffman coder: the format's constants, length-limited
// code lengths, canonical code assignment and unaligned access to the work areas (which
// the caller may place at any address, so every field is read and written with memcpy).
#ifndef LUM_BZ2_HUFFMAN_CODES_H
#define LUM_BZ2_HUFFMAN_CODES_H

#include <cstring>

#include "core/work_area.h"
#include "lumdc.h"

namespace lum::bz2 {

constexpr int kHuffMaxTables = 6;          // tables per block (the format allows 2..6)
constexpr int kHuffMinTables = 2;
constexpr int kHuffMaxAlpha = 258;         // 256 values + RUNA/RUNB shift + end of block
constexpr int kHuffGroupSize = 50;         // symbols coded with one selector
constexpr int kHuffMaxSelectors = 32767;   // the selector count is a 15-bit field
constexpr int kHuffMaxBlockSymbols = kHuffMaxSelectors * kHuffGroupSize;
constexpr int kHuffEncodeMaxLen = 17;      // longest code the encoder makes
constexpr int kHuffDecodeMaxLen = 20;      // longest code a bzip2 decoder accepts
constexpr int kHuffRefinePasses = 4;       // table refinement passes of the encoder

// Number of tables bzip2 uses for a block of nSymbols coded symbols.
inline int huffTableCount(int nSymbols) {
    if (nSymbols < 200) return 2;
    if (nSymbols < 600) return 3;
    if (nSymbols < 1200) return 4;
    if (nSymbols < 2400) return 5;
    return 6;
}

// Code lengths (1..maxLen) of a Huffman code for freq[0..alphaSize-1], alphaSize >= 2.
// A zero frequency counts as one so that every symbol gets a code; when the optimal code
// is too long the frequencies are halved (keeping them above zero) until it fits.
void huffCodeLengths(const Lum32u* freq, int alphaSize, int maxLen, Lum8u* lengths);

// Canonical codes for the lengths (shorter codes first, equal lengths in symbol order),
// the assignment bzip2 uses on both sides. Returns false when the lengths overfill the
// code space (the Kraft sum exceeds one).
bool huffCanonicalCodes(const Lum8u* lengths, int alphaSize, Lum32u* codes);

// Unaligned loads and stores.
inline Lum16u loadU16(const Lum8u* p) { Lum16u v; std::memcpy(&v, p, sizeof v); return v; }
inline Lum32u loadU32(const Lum8u* p) { Lum32u v; std::memcpy(&v, p, sizeof v); return v; }
inline void storeU16(Lum8u* p, Lum16u v) { std::memcpy(p, &v, sizeof v); }
inline void storeU32(Lum8u* p, Lum32u v) { std::memcpy(p, &v, sizeof v); }
inline Lum64u loadBE64(const Lum8u* p) {
    Lum64u v;
    std::memcpy(&v, p, sizeof v);
    return __builtin_bswap64(v);
}
inline void storeBE64(Lum8u* p, Lum64u v) {
    v = __builtin_bswap64(v);
    std::memcpy(p, &v, sizeof v);
}

// Checks of the bit buffer shared by all four coding calls: a left-aligned Lum32u with
// 0..32 valid bits.
inline LumStatus checkBitBuffer(const Lum32u* pCode, const int* pCodeLenBits) {
    if (pCode == nullptr || pCodeLenBits == nullptr) return lumStsNullPtrErr;
    if (*pCodeLenBits < 0 || *pCodeLenBits > 32) return lumStsBadArgErr;
    return lumStsNoErr;
}

}  // namespace lum::bz2

#endif
