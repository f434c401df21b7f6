// Plain decoders, one symbol at a time, of the block-sorting stages as the bzip2 format
// defines them and of LZSS: what the lum decoders must reproduce on any input.
#pragma once

#include <algorithm>
#include <climits>
#include <numeric>

#include "check.h"

namespace plain {

// First-stage RLE: after four equal bytes the next byte counts extra repeats.
inline Bytes rleDecode(const Bytes& in) {
    Bytes out;
    int run = 0, last = -1;
    for (Lum8u b : in) {
        if (run == 4) {
            out.insert(out.end(), b, Lum8u(last));
            run = 0, last = -1;
            continue;
        }
        out.push_back(b);
        run = b == last ? run + 1 : 1;
        last = b;
    }
    return out;
}

// Zero runs in bijective base 2 (RUNA 0, RUNB 1), v + 1 for a value v; false for a symbol
// above 256 or a run above INT_MAX. Output beyond `cap` bytes is dropped (*over set).
inline bool z1z2Decode(const std::vector<Lum16u>& in, Bytes& out, size_t cap, bool* over) {
    long long run = 0, weight = 1;
    auto flush = [&] {
        const size_t n = size_t(std::min<long long>(run, (long long)(cap - std::min(cap, out.size()))));
        *over |= n < size_t(run);
        out.insert(out.end(), n, 0);
        run = 0, weight = 1;
    };
    for (Lum16u s : in) {
        if (s <= 1) {
            run += (s + 1) * weight;
            weight <<= 1;
            if (run > INT_MAX) return false;
            continue;
        }
        flush();
        if (s > 256) return false;
        if (out.size() < cap) out.push_back(Lum8u(s - 1)); else *over = true;
    }
    flush();
    return true;
}

inline Bytes mtfDecode(const Bytes& in, Lum8u list[256]) {
    Bytes out;
    for (Lum8u i : in) {
        const Lum8u v = list[i];
        std::copy_backward(list, list + i, list + i + 1);
        out.push_back(list[0] = v);
    }
    return out;
}

// The inverse BWT as libbz2 walks it: T lists the rows by first character, stably.
inline Bytes bwtDecode(const Bytes& last, int index) {
    const size_t n = last.size();
    std::vector<int> count(257, 0), t(n);
    for (Lum8u c : last) ++count[c + 1];
    std::partial_sum(count.begin(), count.end(), count.begin());
    for (size_t i = 0; i < n; ++i) t[size_t(count[last[i]]++)] = int(i);
    Bytes out(n);
    for (size_t k = 0, p = size_t(t[size_t(index)]); k < n; ++k, p = size_t(t[p])) out[k] = last[p];
    return out;
}

// LZSS over the 4096-byte ring (blanks, written from 4096 - 18); a flag byte before each
// group of 8 items, least significant bit first: 1 a literal, 0 a two-byte match.
inline Bytes lzssDecode(const Bytes& in) {
    Lum8u ring[4096];
    std::fill(ring, ring + 4096, Lum8u(' '));
    int r = 4096 - 18;
    Bytes out;
    unsigned flags = 0;
    for (size_t i = 0; i < in.size();) {
        if ((flags >>= 1) < 0x100) flags = 0xFF00u | in[i++];
        if (i == in.size()) break;
        if (flags & 1) {
            out.push_back(ring[r++ & 4095] = in[i++]);
            continue;
        }
        if (i + 1 == in.size()) break;
        const int pos = in[i] | (in[i + 1] & 0xF0) << 4, len = (in[i + 1] & 0x0F) + 3;
        i += 2;
        for (int k = 0; k < len; ++k) out.push_back(ring[r++ & 4095] = ring[(pos + k) & 4095]);
    }
    return out;
}

}  // namespace plain
