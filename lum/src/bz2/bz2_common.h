// Helpers shared by the block-sorting stages: opaque work areas kept as plain bytes and
// aligned views of caller-placed work buffers.
#ifndef LUM_BZ2_BZ2_COMMON_H
#define LUM_BZ2_BZ2_COMMON_H

#include <cstdint>
#include <cstring>

#include "core/work_area.h"
#include "lumdc.h"

namespace lum::bz2 {

// A state record carries its own magic word (Record::kMagic): false for a work area
// that the matching Init did not prepare.
template <class Record>
bool loadState(const void* area, Record& rec) {
    return loadRecord(area, rec, Record::kMagic);
}

// Work buffers are caller-placed at any address; their arrays start on kBuffAlign
// boundaries inside, which costs at most kBuffAlign - 1 bytes before each of two arrays.
constexpr int kBuffAlign = 64;
constexpr int kBuffSlack = 2 * kBuffAlign;

inline Lum8u* alignBuff(Lum8u* p) {
    const auto a = reinterpret_cast<std::uintptr_t>(p);
    return p + ((kBuffAlign - a % kBuffAlign) % kBuffAlign);
}

// size = perByte * wndSize + kBuffSlack, or lumStsSizeErr when it does not fit an int.
inline LumStatus buffSize(int wndSize, int perByte, int* pSize) {
    if (pSize == nullptr) return lumStsNullPtrErr;
    if (wndSize < 0) return lumStsSizeErr;
    const long long size = static_cast<long long>(wndSize) * perByte + kBuffSlack;
    if (size > 0x7FFFFFFF) return lumStsSizeErr;
    *pSize = static_cast<int>(size);
    return lumStsNoErr;
}

// Word-at-a-time helpers: eight bytes in a Lum64u, byte k in bits 8k..8k+7 on any host.
constexpr Lum64u kOnes = 0x0101010101010101ull;
constexpr Lum64u kHighs = 0x8080808080808080ull;
constexpr Lum64u kLow7 = 0x7F7F7F7F7F7F7F7Full;

// 0x80 in every byte of v that is zero, 0 in the others (exact: no borrow crosses bytes).
inline Lum64u zeroBytes(Lum64u v) { return ~(((v & kLow7) + kLow7) | v | kLow7); }

// Bytes 0..k of a word (k in 0..7).
inline Lum64u bytesUpTo(int k) { return ~0ull >> (56 - 8 * k); }

inline Lum64u loadWord(const Lum8u* p) {
    Lum64u w = 0;
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::memcpy(&w, p, 8);
#else
    for (int k = 7; k >= 0; --k) w = w << 8 | p[k];
#endif
    return w;
}

inline void storeWord(Lum8u* p, Lum64u w) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::memcpy(p, &w, 8);
#else
    for (int k = 0; k < 8; ++k) p[k] = static_cast<Lum8u>(w >> (8 * k));
#endif
}

// The table that expands dictionary ranks back to the values marked in inUse (ranks at or
// above the number marked stay as they are).
void expansionTable(const Lum8u inUse[256], Lum8u value[256]);

}  // namespace lum::bz2

#endif
