// LZO1X decompression: one decoder, instantiated without checks (fast) and with a check
// on every read and write (safe).
//
// Both copy in 16-byte pieces wherever the output and the input have room for the piece
// to run past the end of what it copies; near either end they fall back to exact copies,
// so neither writes outside the room nor reads outside the stream when the stream is
// valid. The safe decoder makes its checks in the order of the reference decoder, so that
// a stream both refuse is refused for the same reason (a stream that overruns both the
// input and the output is refused for whichever is met first).
#include <cstring>

#include "lzo/lzo1x_codec.h"

namespace lum::lzo {

namespace {

// The wide copies may run this many bytes past the end of what they copy.
constexpr std::size_t kSlack = 16;

inline void copy8(Lum8u* d, const Lum8u* s) { std::memcpy(d, s, 8); }
inline void copy16(Lum8u* d, const Lum8u* s) { std::memcpy(d, s, 16); }

inline unsigned le16(const Lum8u* p) { return p[0] | unsigned(p[1]) << 8; }

// Copies n literals in 16-byte pieces; the caller checked the slack on both sides.
inline void wideCopy(Lum8u*& op, const Lum8u*& ip, std::size_t n) {
    for (std::size_t i = 0; i < n; i += 16) copy16(op + i, ip + i);
    op += n;
    ip += n;
}

// Copies a match of n bytes from distance d to op, where op has kSlack bytes of room past
// the match. Distances below 8 are widened first: the first 8 bytes go one by one, after
// which the source steps back to the nearest multiple of d at least 8 bytes behind.
inline void wideMatch(Lum8u*& op, std::size_t d, std::size_t n) {
    const Lum8u* m = op - d;
    Lum8u* const end = op + n;
    if (d >= 16) {
        do {
            copy16(op, m);
            op += 16;
            m += 16;
        } while (op < end);
    } else {
        if (d < 8) {
            static constexpr Lum8u kStep[8] = {0, 8, 8, 9, 8, 10, 12, 14};  // multiple of d >= 8
            for (int i = 0; i < 8; ++i) op[i] = m[i];
            op += 8;
            m = op - kStep[d];
        }
        while (op < end) {
            copy8(op, m);
            op += 8;
            m += 8;
        }
    }
    op = end;
}

// Copies a match of n bytes from distance d one byte at a time.
inline void copyShort(Lum8u*& op, std::size_t d, std::size_t n) {
    const Lum8u* m = op - d;
    for (std::size_t i = 0; i < n; ++i) op[i] = m[i];
    op += n;
}

// Reads the zero-byte extension of a length field: 255 for each zero byte, then `base`
// plus the first nonzero byte. Returns false when the stream ends inside it.
template <bool kSafe>
inline bool extendLength(const Lum8u*& ip, const Lum8u* ipEnd, std::size_t base, std::size_t& t) {
    t = base;
    while (*ip == 0) {
        t += 255;
        ++ip;
        if (kSafe && ip == ipEnd) return false;
    }
    t += *ip++;
    return true;
}

template <bool kSafe>
DecodeResult decode(const Lum8u* const in, std::size_t inLen, Lum8u* const out, std::size_t* pOutLen) {
    const Lum8u* ip = in;
    const Lum8u* const ipEnd = in + inLen;
    Lum8u* op = out;
    Lum8u* const opEnd = out + *pOutLen;
    DecodeResult result = DecodeResult::ok;
    std::size_t t = 0, d = 0;

    // The checks, skipped by the fast decoder: n more bytes to read, n more bytes to
    // write, a distance that stays inside the output.
#define LUM_NEED_IP(n) \
    if (kSafe && std::size_t(ipEnd - ip) < std::size_t(n)) goto inputOverrun
#define LUM_NEED_OP(n) \
    if (kSafe && std::size_t(opEnd - op) < std::size_t(n)) goto outputOverrun
#define LUM_TEST_LB(dist) \
    if (kSafe && std::size_t(dist) > std::size_t(op - out)) goto lookbehindOverrun

    if (ip == ipEnd) goto inputOverrun;
    if (*ip > 17) {
        t = *ip++ - 17;
        if (t < 4) goto literalsAfterMatch;
        LUM_NEED_OP(t);
        LUM_NEED_IP(t + 3);
        goto copyRun;
    }
    for (;;) {
        LUM_NEED_IP(3);
        t = *ip++;
        if (t >= 16) goto match;
        // A literal run of 4 or more.
        if (t == 0 && !extendLength<kSafe>(ip, ipEnd, 15, t)) goto inputOverrun;
        t += 3;
        LUM_NEED_OP(t);
        LUM_NEED_IP(t + 3);
    copyRun:
        if (std::size_t(opEnd - op) >= t + kSlack && std::size_t(ipEnd - ip) >= t + kSlack) {
            wideCopy(op, ip, t);
        } else {
            std::memcpy(op, ip, t);
            op += t;
            ip += t;
        }
        // After a run of 4 or more, an instruction below 16 is a 3-byte match from
        // 2049..3072 bytes back.
        t = *ip++;
        if (t >= 16) goto match;
        d = 2049 + (t >> 2) + (std::size_t(*ip++) << 2);
        LUM_TEST_LB(d);
        LUM_NEED_OP(3);
        copyShort(op, d, 3);
        goto matchDone;

        for (;;) {
        match:
            if (t >= 64) {  // M2
                d = 1 + ((t >> 2) & 7) + (std::size_t(*ip++) << 3);
                t = (t >> 5) + 1;
            } else if (t >= 32) {  // M3
                t &= 31;
                if (t == 0) {
                    if (!extendLength<kSafe>(ip, ipEnd, 31, t)) goto inputOverrun;
                    LUM_NEED_IP(2);
                }
                t += 2;
                d = 1 + (le16(ip) >> 2);
                ip += 2;
            } else if (t >= 16) {  // M4 or the end marker
                d = (t & 8) << 11;
                t &= 7;
                if (t == 0) {
                    if (!extendLength<kSafe>(ip, ipEnd, 7, t)) goto inputOverrun;
                    LUM_NEED_IP(2);
                }
                t += 2;
                d += le16(ip) >> 2;
                ip += 2;
                if (d == 0) goto endMarker;
                d += 0x4000;
            } else {  // M1: 2 bytes from 1..1024 back, after a match with trailing literals
                d = 1 + (t >> 2) + (std::size_t(*ip++) << 2);
                LUM_TEST_LB(d);
                LUM_NEED_OP(2);
                copyShort(op, d, 2);
                goto matchDone;
            }
            LUM_TEST_LB(d);
            LUM_NEED_OP(t);
            if (std::size_t(opEnd - op) >= t + kSlack) {
                wideMatch(op, d, t);
            } else {
                copyShort(op, d, t);
            }
        matchDone:
            t = ip[-2] & 3;  // literals that follow the match
            if (t == 0) break;
        literalsAfterMatch:
            if (std::size_t(opEnd - op) >= 4 && std::size_t(ipEnd - ip) >= t + 4) {
                std::memcpy(op, ip, 4);
            } else {
                LUM_NEED_OP(t);
                LUM_NEED_IP(t + 3);
                std::memcpy(op, ip, t);
            }
            op += t;
            ip += t;
            t = *ip++;
        }
    }

#undef LUM_NEED_IP
#undef LUM_NEED_OP
#undef LUM_TEST_LB

endMarker:
    result = ip == ipEnd ? DecodeResult::ok
                         : ip < ipEnd ? DecodeResult::inputNotConsumed : DecodeResult::inputOverrun;
    goto done;
inputOverrun:
    result = DecodeResult::inputOverrun;
    goto done;
outputOverrun:
    result = DecodeResult::outputOverrun;
    goto done;
lookbehindOverrun:
    result = DecodeResult::lookbehindOverrun;
done:
    *pOutLen = std::size_t(op - out);
    return result;
}

}  // namespace

DecodeResult decompressFast(const Lum8u* src, std::size_t srcLen, Lum8u* dst, std::size_t* pDstLen) {
    return decode<false>(src, srcLen, dst, pDstLen);
}

DecodeResult decompressSafe(const Lum8u* src, std::size_t srcLen, Lum8u* dst, std::size_t* pDstLen) {
    return decode<true>(src, srcLen, dst, pDstLen);
}

}  // namespace lum::lzo
