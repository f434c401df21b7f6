// LZO1X streams: our compressor (an LZO1X-1 style greedy coder) and the fast and the
// checking decompressor.
//
// The stream is a sequence of instructions. Each match instruction keeps in the low two
// bits of its second-to-last byte the number (0..3) of literal bytes that follow it; a
// longer literal run is an instruction of its own. By the first byte of an instruction:
//   0..15 after a match that had state 0 (or at the start): a literal run of t + 3 bytes;
//         t = 0 means 18 + 255 x (number of zero bytes that follow) + the next byte.
//   0..15 after a match with 1..3 trailing literals: M1, 2 bytes from distance
//         1 + (t >> 2) + (next << 2), 1..1024.
//   0..15 right after a literal run of 4 or more: M1, 3 bytes from distance
//         2049 + (t >> 2) + (next << 2), 2049..3072.
//   16..31 M4: length 2 + (t & 7) (0: 9 + zero-byte extension), distance
//         16384 + ((t & 8) << 11) + (LE16 >> 2), 16385..49151; a distance part of zero
//         ((t & 8) == 0 and LE16 >> 2 == 0) is the end of the stream, written 0x11 0 0.
//   32..63 M3: length 2 + (t & 31) (0: 33 + extension), distance 1 + (LE16 >> 2), 1..16384.
//   64..255 M2: length 1 + (t >> 5), 3..8, distance 1 + ((t >> 2) & 7) + (next << 3),
//         1..2048.
// A first byte above 17 is a literal run of t - 17 bytes at the start of the stream
// (followed, for 1..3 of them, by a match).
#ifndef LUM_LZO_LZO1X_CODEC_H
#define LUM_LZO_LZO1X_CODEC_H

#include <cstddef>
#include <cstdint>

#include "lumdc.h"

namespace lum::lzo {

// Work memory of the compressor: its hash table of 16-bit entries, cleared on every call.
constexpr int kCompressHashBits = 13;
constexpr int kCompressWorkLen = (1 << kCompressHashBits) * 2;

// Compresses src[0, n) into dst, which holds at least worstCase(n) bytes; returns the
// stream length. `work` is kCompressWorkLen bytes aligned to 2 bytes or more.
std::size_t compress(const Lum8u* src, std::size_t n, Lum8u* dst, void* work);

// The decoders' verdicts, one for each way a stream can fail.
enum class DecodeResult {
    ok,
    inputOverrun,       // the stream ends inside an instruction or before its end marker
    outputOverrun,      // the output does not fit the room
    lookbehindOverrun,  // a match reaches back before the start of the output
    inputNotConsumed,   // bytes follow the end marker
};

// Decodes the stream src[0, srcLen) into at most *pDstLen bytes; *pDstLen becomes the
// number of bytes written (also on failure). decompressFast trusts a valid stream that
// fits the room; decompressSafe checks every read and write.
DecodeResult decompressFast(const Lum8u* src, std::size_t srcLen, Lum8u* dst, std::size_t* pDstLen);
DecodeResult decompressSafe(const Lum8u* src, std::size_t srcLen, Lum8u* dst, std::size_t* pDstLen);

}  // namespace lum::lzo

#endif
