// The LZSS format and the layout of its work area, shared by the encoder and the decoder.
//
// Format: a 4096-byte ring, filled with blanks at the start, written from 4096 - 18. A
// flag byte precedes each group of up to 8 items, least significant bit first: 1 = one
// literal byte, 0 = a match of two bytes b0 = pos & 0xFF, b1 = ((pos >> 4) & 0xF0) |
// (len - 3), pos the ring position where the copy starts, len 3..18. The decoder copies
// byte by byte and writes each byte into the ring as it goes, so a match may run into the
// bytes it is producing.
//
// The work area may sit at any address and may be moved between calls: it is raw bytes,
// its head record is copied in and out with memcpy, and its tables hold positions (never
// pointers) read and written through memcpy as well.
#ifndef LUM_LZSS_LZSS_FORMAT_H
#define LUM_LZSS_LZSS_FORMAT_H

#include <cstring>

#include "core/work_area.h"
#include "lumdc.h"

namespace lum::lzss {

constexpr int kRingLen = 4096;
constexpr int kRingMask = kRingLen - 1;
constexpr int kMaxMatch = 18;
constexpr int kMinMatch = 3;
constexpr int kRingStart = kRingLen - kMaxMatch;
constexpr Lum8u kBlank = 0x20;
constexpr int kMaxGroupLen = 1 + 8 * 2;  // flag byte and eight matches

constexpr Lum32u kEncoderMagic = 0x4C5A5345;  // work area prepared by the encoder's Init
constexpr Lum32u kDecoderMagic = 0x4C5A5344;  // ... by the decoder's Init

// Distance (1..4096) back from ring position r to ring position pos: a copy from pos
// reads the byte written that many bytes before the current one.
inline int distanceFrom(int r, int pos) { return ((r - pos - 1) & kRingMask) + 1; }

template <class T>
T loadAt(const Lum8u* p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <class T>
void storeAt(Lum8u* p, T v) {
    std::memcpy(p, &v, sizeof v);
}

// Bytes of the encoder's and of the decoder's work area.
int encoderAreaLen();
int decoderAreaLen();

// Checks of the streaming arguments shared by both directions.
inline LumStatus checkStreamArgs(Lum8u** ppSrc, const int* pSrcLen, Lum8u** ppDst,
                                 const int* pDstLen, const void* pState) {
    if (ppSrc == nullptr || pSrcLen == nullptr || *ppSrc == nullptr) return lumStsNullPtrErr;
    if (ppDst == nullptr || pDstLen == nullptr || *ppDst == nullptr || pState == nullptr)
        return lumStsNullPtrErr;
    if (*pSrcLen < 0 || *pDstLen < 0) return lumStsSizeErr;
    return lumStsNoErr;
}

}  // namespace lum::lzss

#endif
