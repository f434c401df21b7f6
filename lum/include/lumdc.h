/*
 * lumdc.h - data-compression functions of the lum libraries.
 *
 * Common rules: lengths are int; a null pointer gives lumStsNullPtrErr and a negative
 * length lumStsSizeErr, both checked before anything is read or written.
 */
#ifndef LUMDC_H
#define LUMDC_H

#include "lumcore.h"
#include "lums.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Checksums -----------------------------------------------------------------------
 * Each continues from the value in *p and stores the new value there, so a running value
 * over several buffers equals one over their concatenation. Start from 0 (Adler-32: 1)
 * for a fresh checksum. A length of 0 leaves *p unchanged.
 */

/* CRC-32 of gzip and zip (reflected polynomial 0xEDB88320, value inverted on entry and
 * exit, as zlib's crc32): "123456789" from 0 gives 0xCBF43926. */
LUM_API LumStatus lumsCRC32_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32);

/* CRC-32C, Castagnoli (reflected polynomial 0x82F63B78, inverted on entry and exit):
 * "123456789" from 0 gives 0xE3069283. */
LUM_API LumStatus lumsCRC32C_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32C);

/* The bzip2 block CRC (polynomial 0x04C11DB7, most significant bit first, inverted on
 * entry and exit): "123456789" from 0 gives 0xFC891918. */
LUM_API LumStatus lumsCRC32_BZ2_8u(const Lum8u* pSrc, int len, Lum32u* pCRC32);

/* Adler-32 as zlib's adler32 (the fresh value is 1): "123456789" from 1 gives
 * 0x091E01DE. */
LUM_API LumStatus lumsAdler32_8u(const Lum8u* pSrc, int len, Lum32u* pAdler32);

/* ==== Block-sorting (BZ2) stages ======================================================
 * Together these produce and consume real bzip2 blocks. Work areas are opaque, sized by
 * their GetSize function, placed by the caller (any alignment) and hold no pointers into
 * themselves, so they may be copied or moved between Init and use.
 */
typedef struct LumRLEState_BZ2 LumRLEState_BZ2;
typedef struct LumMTFState_8u LumMTFState_8u;
typedef struct LumEncodeHuffState_BZ2 LumEncodeHuffState_BZ2;
typedef struct LumDecodeHuffState_BZ2 LumDecodeHuffState_BZ2;

typedef enum {
    lumBWTItohTanakaLimSort = 0,
    lumBWTItohTanakaUnlimSort = 1,
    lumBWTSuffixSort = 2,
    lumBWTAutoSort = 3
} LumBWTSortAlgorithmHint;

/* First run-length stage: 4 to 255 equal bytes become the 4 bytes and a count byte of the
 * extra repeats (0..251); longer runs are cut every 255 bytes. One work area holds an
 * encoder and a decoder; lumsEncodeRLEInit_BZ2_8u resets both. A work area not prepared by
 * it gives lumStsContextMatchErr.
 * Encode: consumes the source (*ppSrc advances, *pSrcLen counts down to 0); *pDstLen in =
 * room, out = bytes written. The run in progress stays in the state until a different
 * byte, more input or the flush ends it. When the room ends with coded bytes still to
 * write, the call returns lumStsDstFullWrn with the source stopped at the first byte not
 * consumed; the bytes already due are kept and written first by the next call.
 * Flush: writes the pending run, same length convention and warning.
 * In-use table: 1 for every value the encoder has written (count bytes included), else 0.
 * Decode: any byte sequence is valid (the byte after four equal ones is a count); both
 * pointers advance and both lengths count down. A run cut by a full destination gives
 * lumStsDstFullWrn and resumes in the next call; input ending inside a run is no error
 * (the run continues with the next call's input). */
LUM_API LumStatus lumsRLEGetSize_BZ2_8u(int* pSize);
LUM_API LumStatus lumsEncodeRLEInit_BZ2_8u(LumRLEState_BZ2* pState);
LUM_API LumStatus lumsEncodeRLE_BZ2_8u(Lum8u** ppSrc, int* pSrcLen, Lum8u* pDst, int* pDstLen,
                                       LumRLEState_BZ2* pState);
LUM_API LumStatus lumsEncodeRLEFlush_BZ2_8u(Lum8u* pDst, int* pDstLen, LumRLEState_BZ2* pState);
LUM_API LumStatus lumsRLEGetInUseTable_8u(Lum8u inUse[256], LumRLEState_BZ2* pState);
LUM_API LumStatus lumsDecodeRLEState_BZ2_8u(Lum8u** ppSrc, int* pSrcLen, Lum8u** ppDst,
                                            int* pDstLen, LumRLEState_BZ2* pState);

/* Dictionary reduction: each byte becomes the rank of its value among the values marked
 * (non-zero) in inUse, order preserved; unmarked values become 0; *pSizeDictionary = the
 * number marked. Expansion is the inverse through the same table; ranks at or above the
 * number marked stay as they are. sizeDictionary must be 0..256 (lumStsBadArgErr). */
LUM_API LumStatus lumsReduceDictionary_8u_I(const Lum8u inUse[256], Lum8u* pSrcDst, int len,
                                            int* pSizeDictionary);
LUM_API LumStatus lumsExpandDictionary_8u_I(const Lum8u inUse[256], Lum8u* pSrcDst, int len,
                                            int sizeDictionary);

/* Burrows-Wheeler transform of the cyclic rotations (bzip2's): the rotations of the block
 * sorted, the last column written to pDst, *pIndex = the row of the unrotated block.
 * Equal rotations (a periodic block) are ordered by start position, so *pIndex is the
 * first row of its group; every hint gives identical output and index. The hints choose
 * the sorting algorithm:
 *   lumBWTItohTanakaLimSort, lumBWTItohTanakaUnlimSort: two-stage suffix sort of the block
 *     rotated to its least rotation (for a periodic block u^m only the unit is sorted);
 *   lumBWTSuffixSort: prefix-doubling sort of the rotations;
 *   lumBWTAutoSort (the plain function): prefix doubling below 2048 bytes, the suffix sort
 *     above. None is quadratic on runs or periodic data.
 * Another hint value gives lumStsBadArgErr. pBuff: lumsBWTFwdGetSize_8u(wndSize) bytes for
 * blocks of up to wndSize bytes, any alignment. pDst may be pSrc. The suffix sorter
 * allocates 256 KB of bucket tables per call: lumStsMemAllocErr if that fails.
 * Inverse: pBuff sized by lumsBWTInvGetSize_8u for at least len; any last column and any
 * index 0..len-1 decode safely (another index: lumStsBadArgErr; len 0: nothing to do);
 * pDst may be pSrc. Sizes that do not fit an int give lumStsSizeErr. */
LUM_API LumStatus lumsBWTFwdGetSize_8u(int wndSize, int* pSize);
LUM_API LumStatus lumsBWTFwd_8u(const Lum8u* pSrc, Lum8u* pDst, int len, int* pIndex,
                                Lum8u* pBuff);
LUM_API LumStatus lumsBWTFwd_SelectSort_8u(const Lum8u* pSrc, Lum8u* pDst, int len, int* pIndex,
                                           Lum8u* pBuff, LumBWTSortAlgorithmHint hint);
LUM_API LumStatus lumsBWTInvGetSize_8u(int wndSize, int* pSize);
LUM_API LumStatus lumsBWTInv_8u(const Lum8u* pSrc, Lum8u* pDst, int len, int index,
                                Lum8u* pBuff);

/* Move-to-front over a 256-entry list, identity after Init, kept in the state across
 * calls (streaming). pDst may be pSrc. A state whose list is not a permutation of 0..255
 * (not prepared by Init) gives lumStsContextMatchErr. */
LUM_API LumStatus lumsMTFGetSize_8u(int* pSize);
LUM_API LumStatus lumsMTFInit_8u(LumMTFState_8u* pState);
LUM_API LumStatus lumsMTFFwd_8u(const Lum8u* pSrc, Lum8u* pDst, int len, LumMTFState_8u* pState);
LUM_API LumStatus lumsMTFInv_8u(const Lum8u* pSrc, Lum8u* pDst, int len, LumMTFState_8u* pState);

/* Zero-run coding of MTF output: a run of zeros becomes its length in bijective base 2,
 * least significant digit first (RUNA = 0 weighs 1, RUNB = 1 weighs 2); a value v > 0
 * becomes v + 1. No end-of-block symbol is written.
 * Encode: *ppSrc advances, *pSrcLen counts down; *pDstLen in = room in symbols, out =
 * symbols written; freqTable is overwritten with the count of each symbol written. A run
 * ends with the source. Runs and values are coded whole: when the next one does not fit,
 * lumStsDstFullWrn with the source at its start.
 * Decode: the inverse, same conventions (*pDstLen out = bytes written); a run that does not
 * fit gives lumStsDstFullWrn with the source at the run's first digit; a symbol above 256,
 * or a run longer than 2^31 - 1, gives lumStsCorruptDataErr with the source at it. */
LUM_API LumStatus lumsEncodeZ1Z2_BZ2_8u16u(Lum8u** ppSrc, int* pSrcLen, Lum16u* pDst,
                                           int* pDstLen, Lum32u freqTable[258]);
LUM_API LumStatus lumsDecodeZ1Z2_BZ2_16u8u(Lum16u** ppSrc, int* pSrcLen, Lum8u* pDst,
                                           int* pDstLen);

/* bzip2 block Huffman coding, most significant bit first.
 *
 * A block's alphabet is sizeDictionary + 2 symbols (0 .. sizeDictionary + 1, the last
 * being the end-of-block symbol); every symbol gets a code. The block uses 2 to 6 tables
 * (by its length: below 200, 600, 1200, 2400 symbols, or more), one selector per group of
 * 50 symbols, and codes of at most 17 bits (the decoder accepts up to 20, as bzip2 does).
 *
 * The bit buffer (pCode, pCodeLenBits) holds 0..32 pending bits left-aligned in the top of
 * the Lum32u; every call continues from it and leaves what it could not write (the
 * encoders: fewer than 8 bits when the room sufficed) or has read but not used (the
 * decoders: at most 32 bits; whole unused bytes go back to the source). Flush it top byte
 * first. Pointers advance; *pSrcLen counts down; *pDstLen is the room in, what was written
 * out.
 *
 * GetSize: work areas for any block the format can describe (up to 32767 selectors, that
 * is 1638350 symbols); wndSize above that is lumStsSizeErr. */
LUM_API LumStatus lumsEncodeHuffGetSize_BZ2_16u8u(int wndSize, int* pSize);
/* Counts the symbols of pSrc (srcLen >= 1, each below sizeDictionary + 2, else
 * lumStsSizeErr / lumStsBadArgErr), picks the table count, and refines tables and
 * selectors over 4 passes as bzip2 does. freqTable is not needed and may be null. The
 * caller appends the end-of-block symbol to a real block itself. */
LUM_API LumStatus lumsEncodeHuffInit_BZ2_16u8u(int sizeDictionary, const Lum32u freqTable[258],
                                               const Lum16u* pSrc, int srcLen,
                                               LumEncodeHuffState_BZ2* pState);
/* Writes the table count (3 bits), the selector count (15 bits), the selectors
 * move-to-front coded in unary, and per table the delta-coded code lengths, exactly as in
 * a bzip2 block (the origin pointer and the in-use bitmap before them are the caller's).
 * The context is written whole: with too little room nothing is written, *pDstLen becomes
 * 0 and the status is lumStsDstFullWrn. */
LUM_API LumStatus lumsPackHuffContext_BZ2_16u8u(Lum32u* pCode, int* pCodeLenBits, Lum8u* pDst,
                                                int* pDstLen, LumEncodeHuffState_BZ2* pState);
/* Codes symbols with the table of their position's group; after the block's last symbol
 * the position returns to the block start. A symbol outside the alphabet stops the call
 * there with lumStsBadArgErr; a full destination is lumStsDstFullWrn and resumes. */
LUM_API LumStatus lumsEncodeHuff_BZ2_16u8u(Lum32u* pCode, int* pCodeLenBits, const Lum16u** ppSrc,
                                           int* pSrcLen, Lum8u* pDst, int* pDstLen,
                                           LumEncodeHuffState_BZ2* pState);
LUM_API LumStatus lumsDecodeHuffGetSize_BZ2_8u16u(int wndSize, int* pSize);
LUM_API LumStatus lumsDecodeHuffInit_BZ2_8u16u(int sizeDictionary, LumDecodeHuffState_BZ2* pState);
/* Reads what Pack writes and builds the decoding tables. A malformed context (table count
 * outside 2..6, no selectors, a selector beyond the tables, a length outside 1..20, lengths
 * that overfill the code space) is lumStsCorruptDataErr; a source that ends inside the
 * context is lumStsSrcEndWrn. Either way nothing is consumed, the bit buffer is unchanged
 * and the state has no context until an unpack succeeds. */
LUM_API LumStatus lumsUnpackHuffContext_BZ2_8u16u(Lum32u* pCode, int* pCodeLenBits,
                                                  const Lum8u** ppSrc, int* pSrcLen,
                                                  LumDecodeHuffState_BZ2* pState);
/* Decodes until the end-of-block symbol (consumed, not written) or the end of the last
 * selector group, both lumStsNoErr with the position back at the block start; or until
 * the source ends inside a code (lumStsSrcEndWrn) or a symbol has no room
 * (lumStsDstFullWrn), from where the next call continues. Bits that start no code (only
 * possible with a context whose codes leave gaps) are lumStsCorruptDataErr. Any bit
 * sequence is safe. Before a successful unpack: lumStsContextMatchErr. */
LUM_API LumStatus lumsDecodeHuff_BZ2_8u16u(Lum32u* pCode, int* pCodeLenBits, const Lum8u** ppSrc,
                                           int* pSrcLen, Lum16u* pDst, int* pDstLen,
                                           LumDecodeHuffState_BZ2* pState);

/* Z1Z2 decoding, inverse MTF from a fresh list, inverse BWT with index and dictionary
 * expansion of one block (without its end-of-block symbol), in pDst: the block's
 * first-stage RLE data. *pDstLen in = room, out = bytes written. pBuff: sized by
 * lumsBWTInvGetSize_8u for the room. sizeDictionary 1..256 (else lumStsBadArgErr).
 * lumStsCorruptDataErr: a symbol above sizeDictionary, an index outside the decoded block,
 * a run too long; lumStsSizeErr: the block is larger than the room. */
LUM_API LumStatus lumsDecodeBlock_BZ2_16u8u(const Lum16u* pSrc, int srcLen, Lum8u* pDst,
                                            int* pDstLen, int index, int sizeDictionary,
                                            const Lum8u inUse[256], Lum8u* pBuff);

/* Validity, as bzip2 decoders judge it. A block decodes to the bytes libbz2 gives for it
 * and is refused where libbz2 refuses it: a block with no symbol before its end-of-block
 * symbol, or an index at or beyond the decoded length, is lumStsCorruptDataErr in
 * lumsDecodeBlock_BZ2_16u8u. The inverse BWT of any column is the forward walk from the
 * index (row -> next row by first character), also for columns that no transform writes.
 * A .bz2 reader built on these stages must itself refuse a block of more than 100000 x
 * the header's level bytes after zero-run decoding (give lumsDecodeBlock_BZ2_16u8u that
 * room), a block whose symbols end with the last selector group instead of an
 * end-of-block symbol, a block whose first-stage data end with four equal bytes and no
 * count byte (the streaming RLE decoder would wait for it), an empty in-use bitmap, and
 * block or stream CRCs that differ.
 * lumsUnpackHuffContext_BZ2_8u16u is stricter than libbz2 in one point: code lengths
 * that overfill the code space are corrupt (no bzip2 compressor writes them). */

/* ==== Deflate stages (RFC 1951) ======================================================== */
typedef enum {
    lumLZ77NoFlush = 0,
    lumLZ77SyncFlush = 1,
    lumLZ77FullFlush = 2,
    lumLZ77FinishFlush = 3
} LumLZ77Flush;

typedef enum {
    lumInflateBlockHeader = 0,
    lumInflateFixedBlock = 1,
    lumInflateStoredBlock = 2,
    lumInflateStreamEnd = 3
} LumInflateMode;

/* One Huffman code, already bit-reversed for least-significant-bit-first output. */
typedef struct {
    Lum16u code;
    Lum16u len;
} LumDeflateHuffCode;

/* Inflate state, six words: 0 block type in progress (BTYPE), 1 final-block flag, 2 stored
 * bytes left (0xFFFFFFFF: LEN and NLEN still to read), 3 match bytes still to copy (0 =
 * none), 4 that match's distance, 5 where a call cut off inside a dynamic block stopped.
 * Bit 31 of word 3 says a call was cut off inside a dynamic block: word 5 holds the byte
 * and the low 3 bits of word 2 the bit where decoding stopped, counted from the block's
 * header as the call handed the source back, and the upper 29 bits of word 2 a check of
 * the header's bits. Clear word 3 to start afresh (a fresh state is all zero). */
typedef struct {
    Lum32u word[6];
} LumInflateState;

/* LZ77 stage. Positions are relative to pWindow; *ppSrc must be pWindow + *pSrcIdx. Hash
 * chains: pHashHead (hashSize >= 1 entries) and pHashPrev (winSize entries, a power of two
 * from 256 to 32768, indexed by position modulo winSize); entries that are negative, not
 * older than the position or more than winSize back mean empty, so heads are emptied with
 * -winSize and prev entries may hold anything. Chains are keyed by 4-byte strings; the lazy
 * levels also find 3-byte matches up to 4096 back. Level 1 is greedy with two candidates
 * per position (the head and one link), a growing step over stretches without matches and
 * few positions inside matches entered; 2..3 greedy with zlib's chain limits, 4..9 lazy
 * (good/lazy/nice/chain as zlib's table). Output: one symbol per entry of
 * pLitDst/pDistDst (distance 0: literal byte; else length - 3 and distance), *pDstLen room in,
 * reduced by the symbols written; the frequency tables are added to. NoFlush leaves up to
 * 262 bytes for the next call; Sync, Full and Finish consume everything, Full then empties
 * the heads, Finish counts one end-of-block code. Full room: lumStsDstFullWrn, and the next
 * call continues. Errors: lumStsSizeErr (lengths, winSize, hashSize), lumStsBadArgErr
 * (level outside 1..9, flush, *pSrcIdx not the source's position). */
LUM_API LumStatus lumsDeflateLZ77_8u(const Lum8u** ppSrc, int* pSrcLen, int* pSrcIdx,
                                     const Lum8u* pWindow, int winSize, Lum32s* pHashHead,
                                     Lum32s* pHashPrev, int hashSize, Lum32u pLitFreqTable[286],
                                     Lum32u pDistFreqTable[30], Lum8u* pLitDst, Lum16u* pDistDst,
                                     int* pDstLen, int comprLevel, LumLZ77Flush flush);
/* Huffman stage: the symbols of the LZ77 stage with the given codes and the RFC's extra
 * bits, least significant bit first, at pDst + *pDstIdx (advanced; whole bytes only). The
 * bit buffer *pCode holds *pCodeLenBits (0..32) pending bits and fewer than 8 on return. No
 * block header, no end-of-block code. lumStsBadArgErr before any write for a distance above
 * 32768 or a code longer than 15 bits or wider than its length. */
LUM_API LumStatus lumsDeflateHuff_8u(const Lum8u* pLitSrc, const Lum16u* pDistSrc, int srcLen,
                                     Lum32u* pCode, int* pCodeLenBits,
                                     const LumDeflateHuffCode pLitHuffCodes[286],
                                     const LumDeflateHuffCode pDistHuffCodes[30], Lum8u* pDst,
                                     int* pDstIdx);
/* Inflate. Output at *ppDst + dstIdx (dstIdx >= 0), matches may reach back to *ppDst +
 * winIdx (winIdx <= dstIdx, may be negative); *pCode holds *pCodeLenBits (0..32) bits carried
 * from an earlier call (bits above them are ignored) and on return at most 32, the source
 * pointer standing after the last whole byte taken. From lumInflateBlockHeader it decodes to
 * the end of the final block (mode lumInflateStreamEnd); from lumInflateFixedBlock or
 * lumInflateStoredBlock it ends after that block (mode lumInflateBlockHeader, or StreamEnd
 * when word 1 says final). lumStsNoOperation from lumInflateStreamEnd.
 *
 * Streaming. A call stops when the source ends (lumStsSrcEndWrn) or the room is full while
 * output is pending (lumStsDstFullWrn); the next call, given more source or more room with
 * the pointers, lengths, bit buffer, mode and state as this one left them, continues.
 * Between blocks and inside stored and fixed blocks the source pointer stands where
 * decoding stopped (a match cut by the room is finished first from words 3 and 4). A call
 * cut off inside a dynamic block hands the source back at the block's header (mode
 * lumInflateBlockHeader, the bit buffer as it was there) and records in the state where it
 * stopped: the caller keeps the source from there, and the next call reads the header
 * again, moves to the recorded point and goes on without decoding the block's symbols
 * again. The block's decoding tables are kept in a cache of one header per thread, used
 * when the header's bytes match; otherwise they are built again from the header, which
 * must then match the check in the state (lumStsCorruptDataErr if not). Streams may be
 * decoded on several threads at once, each with its own state.
 *
 * Validity follows zlib and libdeflate where the two agree, and zlib, the stricter, where
 * they differ (marked "as zlib"). lumStsCorruptDataErr for: block type 3; a stored LEN
 * whose NLEN is not its complement; (as zlib) more than 286 literal/length or 30 distance
 * codes in a header; a first code-length repeat (16) with nothing to
 * repeat, or a repeat past the last length; a block without an end-of-block code; a code
 * set (code length, literal/length or distance) that is over-subscribed, or incomplete
 * with more than one used code, or whose single used code is longer than 1 bit; a code
 * with no symbol: literal/length 286 and 287, distance 30 and 31, and (as zlib) the unused
 * codeword 1 of a single code and any distance in a block without distance codes; a
 * distance before the window. Valid: an empty distance code in a block of literals only,
 * a single used code of length 1. On an error the arguments are left as they were. */
LUM_API LumStatus lumsInflate_8u(const Lum8u** ppSrc, int* pSrcLen, Lum32u* pCode,
                                 int* pCodeLenBits, int winIdx, Lum8u** ppDst, int* pDstLen,
                                 int dstIdx, LumInflateMode* pMode, LumInflateState* pState);

/* ==== LZO (LZO1X) ======================================================================
 * "ST" writes one plain LZO1X stream with the library's own LZO1X-1 style coder: greedy
 * matches of 4 bytes or more found through a hash table of 8192 entries, up to 49151
 * bytes back, coded as M2, M3 or M4 instructions, and literal runs; it ends with the
 * end marker 0x11 0 0. Any LZO1X decoder (liblzo2's lzo1x_decompress among them) reads
 * it. "MT" cuts the input into up to lumGetNumThreads() segments of at least 131072 bytes
 * (at most 16) and compresses them on as many threads into a container, little-endian:
 *   byte 0      0x10, a first byte no LZO1X compressor writes (the decoders check it)
 *   byte 1      container version, 1
 *   bytes 2-3   segment count k
 *   bytes 4-7   total uncompressed length
 *   8 bytes per segment: its uncompressed length, its compressed length (4 bytes each)
 *   the k LZO1X streams back to back.
 * Inputs shorter than 262144 bytes give a one-segment container, coded on the calling
 * thread: below that, waking a worker costs as much as the work it would take over, and
 * the cost of a call would depend on when the worker woke. When the room holds the
 * worst case of a plain stream but not that of the container, MT writes a plain stream.
 * Both decoders read either format and any LZO1X stream of liblzo2 (lzo1x_1, lzo1x_999);
 * containers are decoded on up to lumGetNumThreads() threads.
 * Validity of a plain stream, as liblzo2's lzo1x_decompress_safe judges it: the stream
 * must end with an end marker (an M4 instruction whose distance part is zero, whatever its
 * length and state bits) exactly at the end of the source; an instruction or literal run
 * cut off by the end of the source, a match that reaches back before the start of the
 * output and bytes after the end marker are corrupt data; output that would pass the
 * room is the size error. Where a stream breaks two rules, the one met first in decoding
 * order decides (the decoder checks room before input for literals, and the distance
 * before the room for matches). A source whose first byte is 0x10 is read as a container
 * (as a plain stream it could only be an empty one: an end marker with a long length).
 * The threads are the calling thread and workers of one library-wide pool, started on the
 * first MT call that needs them and kept waiting between calls (never more than
 * lumGetNumThreads() - 1; the pool shrinks when the budget does). One call uses the pool
 * at a time: a call made while another thread's call holds it codes on the calling thread
 * alone, with the same output. The workers are joined when the library is unloaded.
 */
typedef enum {
    lumLZO1XST = 0,
    lumLZO1XMT = 1
} LumLZOMethod;

typedef struct LumLZOState_8u LumLZOState_8u;

/* Size of the encoder's work area for inputs of up to maxInputLen bytes (any alignment; it
 * holds no pointers, so it may be moved between Init and use). lumStsBadArgErr for a
 * method other than ST and MT, lumStsSizeErr for a negative maxInputLen. */
LUM_API LumStatus lumsEncodeLZOGetSize(LumLZOMethod method, int maxInputLen, int* pSize);
LUM_API LumStatus lumsEncodeLZOInit_8u(LumLZOMethod method, int maxInputLen, LumLZOState_8u* pState);
/* Compresses srcLen bytes; *pDstLen is the room in, the compressed length out.
 * lumStsSizeErr when srcLen exceeds the state's maxInputLen or the room is below
 * srcLen + srcLen/16 + 67; lumStsContextMatchErr for a work area not prepared by Init. */
LUM_API LumStatus lumsEncodeLZO_8u(const Lum8u* pSrc, int srcLen, Lum8u* pDst, int* pDstLen,
                                   LumLZOState_8u* pState);
/* Decompresses an ST stream or an MT container; *pDstLen is the room in, the decoded
 * length out (0 after an error). lumsDecodeLZO_8u trusts its input: the stream must be
 * valid and its output must fit the room. lumsDecodeLZOSafe_8u checks every read and
 * write. Errors: lumStsCorruptDataErr (corrupt, truncated or trailing data),
 * lumStsSizeErr (the output does not fit the room), lumStsUnsupportedModeErr (a
 * container version other than 1). */
LUM_API LumStatus lumsDecodeLZO_8u(const Lum8u* pSrc, int srcLen, Lum8u* pDst, int* pDstLen);
LUM_API LumStatus lumsDecodeLZOSafe_8u(const Lum8u* pSrc, int srcLen, Lum8u* pDst, int* pDstLen);

/* ==== LZSS (4096-byte ring) ============================================================
 * The ring starts filled with blanks (0x20) and is written from 4096 - 18. A flag byte
 * precedes each group of up to 8 items, least significant bit first: 1 = a literal byte,
 * 0 = a match of two bytes b0 = pos & 0xFF, b1 = ((pos >> 4) & 0xF0) | (len - 3), pos the
 * ring position the copy starts at, len 3..18. The encoder takes the longest match
 * (hash chains over the last 4095 bytes, up to 256 candidates per search).
 * One work area (lumsLZSSGetSize_8u) serves either direction, prepared by the Init of the
 * direction it is used for (the other direction's calls give lumStsContextMatchErr). It
 * may sit at any address and may be moved between calls.
 * Streaming: *ppSrc and *ppDst advance, *pSrcLen and *pDstLen count down to what is left.
 * The encoder takes all input, keeps up to 17 bytes of lookahead and the open flag group
 * until more input or the flush, and writes whole groups; the flush codes the rest,
 * writes the last group and prepares the area for a new stream. A full destination
 * gives lumStsDstFullWrn: call again with more room (and the rest of the input) to go
 * on. The decoder accepts any byte sequence; lumStsSrcEndWrn tells that the input ended
 * inside a match, lumStsDstFullWrn that output is pending. The decoder may write past
 * its output, within the room, bytes that later output overwrites.
 * Validity: every byte sequence is a stream. A match may copy ring positions not written
 * yet (blanks) and may overlap the bytes it writes (they repeat); input that ends after a
 * flag byte, or after a flag byte whose remaining items are missing, decodes what came
 * before; a match cut after its first byte waits for its second (lumStsSrcEndWrn).
 */
typedef struct LumLZSSState_8u LumLZSSState_8u;

LUM_API LumStatus lumsLZSSGetSize_8u(int* pSize);
LUM_API LumStatus lumsEncodeLZSSInit_8u(LumLZSSState_8u* pState);
LUM_API LumStatus lumsEncodeLZSS_8u(Lum8u** ppSrc, int* pSrcLen, Lum8u** ppDst, int* pDstLen,
                                    LumLZSSState_8u* pState);
LUM_API LumStatus lumsEncodeLZSSFlush_8u(Lum8u** ppDst, int* pDstLen, LumLZSSState_8u* pState);
LUM_API LumStatus lumsDecodeLZSSInit_8u(LumLZSSState_8u* pState);
LUM_API LumStatus lumsDecodeLZSS_8u(Lum8u** ppSrc, int* pSrcLen, Lum8u** ppDst, int* pDstLen,
                                    LumLZSSState_8u* pState);

/* Version record of liblumdc. */
LUM_API const LumLibraryVersion* lumdcGetLibVersion(void);

#ifdef __cplusplus
}
#endif

#endif /* LUMDC_H */
