// LZO1X compression in one greedy pass.
//
// The match finder is a hash table of 8192 entries indexed by the next 5 bytes (hashing
// 5 rather than 4 leaves out most matches of only 4 bytes, which save one byte and cost
// as much time as a long one). An entry holds the low 16 bits of the last position with
// that hash: every match lies less than 49152 bytes back, so the position is the one
// within 65536 bytes behind, and a stale entry only costs a 4-byte comparison that fails.
// The position 2 bytes before the end of each match is entered too. The search steps by
// 1 for the first 8 positions without a match, then by one more every 8 positions, so
// incompressible data is crossed quickly while a short stretch of it costs little.
// A match found is extended backwards over the pending literals and forwards 8 bytes at a
// time, then written as the shortest of M2, M3 and M4.
#include <cstring>

#include "lzo/lzo1x_codec.h"

namespace lum::lzo {

namespace {

constexpr int kHashBits = kCompressHashBits;
constexpr std::size_t kMaxDistance = 0xBFFF;
// The search stops this many bytes before the end; what is left becomes literals.
constexpr std::size_t kTail = 20;

inline Lum32u load32(const Lum8u* p) {
    Lum32u v;
    std::memcpy(&v, p, 4);
    return v;
}

inline Lum64u load64(const Lum8u* p) {
    Lum64u v;
    std::memcpy(&v, p, 8);
    return v;
}

// Hash of the low 5 bytes of w, the 8 bytes at a position.
inline unsigned hash5(Lum64u w) { return unsigned((w << 24) * 0x9E3779B185EBCA87ull >> (64 - kHashBits)); }

// A length field of `base` with `max` values inline; longer lengths are written as zero
// bytes of 255 each and a final nonzero byte.
inline Lum8u* putLength(Lum8u* op, unsigned base, std::size_t v, std::size_t max) {
    if (v <= max) {
        *op++ = Lum8u(base | v);
        return op;
    }
    v -= max;
    *op++ = Lum8u(base);
    for (; v > 255; v -= 255) *op++ = 0;
    *op++ = Lum8u(v);
    return op;
}

// The instruction of a literal run of n bytes: inline in the first byte of the stream, in
// the state bits of the previous match for 1..3, otherwise an instruction of its own.
inline Lum8u* putRunHeader(Lum8u* op, const Lum8u* out, std::size_t n) {
    if (op == out && n <= 238) *op++ = Lum8u(17 + n);
    else if (n <= 3) op[-2] = Lum8u(op[-2] | n);
    else op = putLength(op, 0, n - 3, 15);
    return op;
}

inline void store32(Lum8u* p, Lum32u v) { std::memcpy(p, &v, 4); }

// A match of len >= 4 bytes from d back, 1 <= d <= kMaxDistance, as the shortest of M2,
// M3 and M4. The common cases are chosen without branches (which of them comes next is
// hard to predict) and written as one 4-byte store.
inline Lum8u* putMatch(Lum8u* op, std::size_t d, std::size_t len) {
    const bool far = d > 0x4000;
    if (len > (far ? 9u : 33u)) {  // an extended length
        if (far) {
            d -= 0x4000;
            op = putLength(op, 16 | ((d >> 11) & 8), len - 2, 7);
        } else {
            --d;
            op = putLength(op, 32, len - 2, 31);
        }
        *op++ = Lum8u(d << 2);
        *op++ = Lum8u(d >> 6);
        return op;
    }
    const Lum32u dist = Lum32u(far ? d - 0x4000 : d - 1);
    const Lum32u m34 = (far ? 16 | ((dist >> 11) & 8) : 32) | Lum32u(len - 2) | (dist << 2 & 0xFFFF) << 8;
    const Lum32u m2 = Lum32u(len - 1) << 5 | (dist & 7) << 2 | (dist >> 3) << 8;
    const bool short2 = len <= 8 && d <= 0x800;
    store32(op, short2 ? m2 : m34);
    return op + (short2 ? 2 : 3);
}

// Length of the common run of p and m, both before end, given that the first 4 bytes match.
inline std::size_t matchLength(const Lum8u* p, const Lum8u* m, const Lum8u* end) {
    const Lum8u* const start = p;
    p += 4;
    m += 4;
    while (p + 8 <= end) {
        const Lum64u diff = load64(p) ^ load64(m);
        if (diff != 0) return std::size_t(p - start) + (__builtin_ctzll(diff) >> 3);
        p += 8;
        m += 8;
    }
    while (p < end && *p == *m) {
        ++p;
        ++m;
    }
    return std::size_t(p - start);
}

}  // namespace

std::size_t compress(const Lum8u* src, std::size_t n, Lum8u* dst, void* work) {
    const Lum8u* const end = src + n;
    const Lum8u* anchor = src;  // first literal not yet written
    Lum8u* op = dst;

    if (n > kTail) {
        auto* table = static_cast<Lum16u*>(work);
        std::memset(table, 0, kCompressWorkLen);
        const Lum8u* const limit = end - kTail;
        const Lum8u* ip = src;
        for (;;) {
            // Find a match of 4 bytes or more.
            std::size_t d;
            std::size_t misses = 8;  // the step is misses / 8
            for (;;) {
                if (ip >= limit) goto tail;
                const Lum64u w = load64(ip);
                const Lum32u v = Lum32u(w);
                const unsigned h = hash5(w);
                const std::size_t pos = std::size_t(ip - src);
                d = (pos - table[h]) & 0xFFFF;
                table[h] = Lum16u(pos);
                if ((d - 1 < kMaxDistance) & (load32(ip - d) == v)) break;
                ip += misses++ >> 3;
            }
            while (ip > anchor && ip - d > src && ip[-1] == *(ip - d - 1)) --ip;  // backwards
            const std::size_t len = matchLength(ip, ip - d, end);

            // The pending literals, then the match. The literals end at least kTail bytes
            // before the end of the input, so the 16-byte pieces stay inside it; the
            // room (the worst case) is far more than they overrun.
            const std::size_t lits = std::size_t(ip - anchor);
            if (op == dst || lits > 18) {
                op = putRunHeader(op, dst, lits);
            } else {
                // 0..18 literals after a match, without branches: 1..3 go into the
                // match's state bits, 4..18 get a byte of their own.
                op[-2] = Lum8u(op[-2] | (lits <= 3 ? lits : 0));
                *op = Lum8u(lits - 3);
                op += lits > 3;
            }
            std::memcpy(op, anchor, 16);
            for (std::size_t i = 16; i < lits; i += 16) std::memcpy(op + i, anchor + i, 16);
            op += lits;
            op = putMatch(op, d, len);
            ip += len;
            anchor = ip;
            if (ip < limit) table[hash5(load64(ip - 2))] = Lum16u(ip - 2 - src);
        }
    }
tail:
    if (const std::size_t lits = std::size_t(end - anchor); lits > 0) {
        op = putRunHeader(op, dst, lits);
        std::memcpy(op, anchor, lits);
        op += lits;
    }
    *op++ = 0x11;  // the end marker: an M4 instruction with no distance
    *op++ = 0;
    *op++ = 0;
    return std::size_t(op - dst);
}

}  // namespace lum::lzo
