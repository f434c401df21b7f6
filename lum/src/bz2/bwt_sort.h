// Internal interface of the forward Burrows-Wheeler transform: the two rotation sorters
// behind the sort hints. Both sort the cyclic rotations of src[0..n), write the last
// column to dst and set *index to the row of the unrotated block. Equal rotations (a
// periodic block) are ordered by their start position, so the index is the first row of
// its group; with that rule every sorter gives the same output and index. Both copy the
// block into their work area first, so dst may be src.
#ifndef LUM_BZ2_BWT_SORT_H
#define LUM_BZ2_BWT_SORT_H

#include "lumdc.h"

namespace lum::bz2 {

// Work-area bytes per block byte of each sorter (plus kBuffSlack).
constexpr int kSuffixSortBytesPerByte = 5;
constexpr int kDoublingSortBytesPerByte = 17;

// Two-stage suffix sort (libdivsufsort) of the block rotated to start at its least
// rotation, which turns suffix order into rotation order. lumStsMemAllocErr when the
// sorter's own bucket tables cannot be allocated.
LumStatus bwtBySuffixSort(const Lum8u* src, Lum8u* dst, int n, int* index, Lum8u* work);

// Prefix-doubling sort of the rotations themselves (ranks of 2h-character prefixes from
// those of h characters, by two stable bucket passes per round).
LumStatus bwtByPrefixDoubling(const Lum8u* src, Lum8u* dst, int n, int* index, Lum8u* work);

}  // namespace lum::bz2

#endif
