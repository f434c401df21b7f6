// LZSS encoder: longest matches in the 4096-byte ring found through hash chains.
//
// The input is gathered in a linear window that starts with 4096 blanks (the decoder's
// initial ring) and slides down when it is full. Every position is chained behind the
// earlier ones of the same three-byte hash; the search walks the chain as far as 4095
// bytes back (at most 256 candidates) and stops early at an 18-byte match. The lookahead
// (fewer than 18 bytes) and the open flag group stay in the work area until more input
// or the flush arrives.
#include <algorithm>

#include "lzss/lzss_format.h"

namespace lum::lzss {

namespace {

constexpr int kWinLen = 32768;    // window bytes; positions fit 16 bits, 0 means "none"
constexpr int kWinSlack = 32;     // zeroed bytes past the window for wide compares
constexpr int kHashBits = 13;
constexpr int kHashLen = 1 << kHashBits;
constexpr int kMaxDistance = kRingLen - 1;
// Candidates looked at per search. Real data rarely has longer chains within 4095 bytes;
// long runs of one byte do, and there every candidate gives the same length.
constexpr int kMaxChain = 256;

struct EncoderHead {
    Lum32u magic;
    Lum32s cur;      // next window position to code
    Lum32s end;      // window bytes filled
    Lum32s ins;      // next window position to chain
    Lum32s ringPos;  // the decoder's ring position for cur
    Lum32s groupLen;  // bytes in group (flag byte included)
    Lum32s groupItems;
    Lum32s sent;      // bytes of a closed group already written out
    Lum32s closed;    // the group is complete and being written out
    Lum8u group[kMaxGroupLen];
};

constexpr int kWinOff = int(sizeof(EncoderHead));
constexpr int kHeadOff = kWinOff + kWinLen + kWinSlack;
constexpr int kPrevOff = kHeadOff + kHashLen * 2;
constexpr int kAreaLen = kPrevOff + kRingLen * 2;

class Encoder {
public:
    Encoder(Lum8u* area, const EncoderHead& head)
        : h_(head), win_(area + kWinOff), head_(area + kHeadOff), prev_(area + kPrevOff) {}

    const EncoderHead& head() const { return h_; }

    static void reset(Lum8u* area) {
        EncoderHead h{};
        h.magic = kEncoderMagic;
        h.cur = h.end = kRingLen;
        h.ins = kRingLen - kMaxMatch;  // the blanks a first match may reach, as in the ring
        h.ringPos = kRingStart;
        h.groupLen = 1;
        lum::storeRecord(area, h);
        std::memset(area + kWinOff, kBlank, kRingLen);
        std::memset(area + kWinOff + kRingLen, 0, kWinLen + kWinSlack - kRingLen);
        std::memset(area + kHeadOff, 0, kAreaLen - kHeadOff);
    }

    // Codes while the lookahead is full (or, when finishing, until the window is empty);
    // returns lumStsDstFullWrn when output is pending and the room is used up.
    LumStatus run(const Lum8u*& src, int& srcLeft, Lum8u*& dst, int& room, bool finish) {
        for (;;) {
            if (h_.closed) {
                const int n = std::min(room, h_.groupLen - h_.sent);
                std::memcpy(dst, h_.group + h_.sent, n);
                dst += n;
                room -= n;
                h_.sent += n;
                if (h_.sent < h_.groupLen) return lumStsDstFullWrn;
                h_.closed = h_.sent = h_.groupItems = 0;
                h_.groupLen = 1;
                h_.group[0] = 0;
            }
            if (h_.end - h_.cur < kMaxMatch && srcLeft > 0) refill(src, srcLeft);
            const int avail = h_.end - h_.cur;
            if (avail < kMaxMatch && !finish) return lumStsNoErr;
            if (avail == 0) {
                if (h_.groupItems == 0) return lumStsNoErr;
                h_.closed = 1;
                continue;
            }
            codeGroup(finish);
        }
    }

private:
    Lum16u headAt(Lum32u hash) const { return loadAt<Lum16u>(head_ + 2 * hash); }
    Lum16u prevAt(int pos) const { return loadAt<Lum16u>(prev_ + 2 * (pos & kRingMask)); }

    static Lum32u hash3(const Lum8u* p) {
        return ((loadAt<Lum32u>(p) & 0xFFFFFF) * 2654435761u) >> (32 - kHashBits);
    }

    void insertUpTo(int pos) {
        for (; h_.ins < pos; ++h_.ins) {
            const Lum32u hash = hash3(win_ + h_.ins);
            storeAt<Lum16u>(prev_ + 2 * (h_.ins & kRingMask), headAt(hash));
            storeAt<Lum16u>(head_ + 2 * hash, Lum16u(h_.ins));
        }
    }

    static int matchLength(const Lum8u* a, const Lum8u* b, int maxLen) {
        for (int at = 0; at < maxLen; at += 8) {
            const Lum64u x = loadAt<Lum64u>(a + at) ^ loadAt<Lum64u>(b + at);
            if (x != 0) return std::min(maxLen, at + __builtin_ctzll(x) / 8);
        }
        return maxLen;
    }

    // Items until the group is complete or the lookahead runs short.
    void codeGroup(bool finish) {
        const int need = finish ? 1 : kMaxMatch;
        while (h_.groupItems < 8 && h_.end - h_.cur >= need) {
            const int maxLen = std::min(kMaxMatch, h_.end - h_.cur);
            int bestLen = 1, bestPos = 0;
            if (maxLen >= kMinMatch) {
                insertUpTo(h_.cur);
                const Lum8u* key = win_ + h_.cur;
                const int limit = h_.cur - kMaxDistance;
                bestLen = kMinMatch - 1;
                int cand = headAt(hash3(key));
                for (int chain = kMaxChain; cand >= limit && cand > 0 && chain > 0; --chain, cand = prevAt(cand)) {
                    const Lum8u* p = win_ + cand;
                    if (p[bestLen] != key[bestLen]) continue;
                    const int len = matchLength(p, key, maxLen);
                    if (len > bestLen) {
                        bestLen = len;
                        bestPos = cand;
                        if (len == maxLen) break;
                    }
                }
            }
            Lum8u* g = h_.group + h_.groupLen;
            if (bestLen < kMinMatch) {
                bestLen = 1;
                h_.group[0] |= Lum8u(1u << h_.groupItems);
                g[0] = win_[h_.cur];
                h_.groupLen += 1;
            } else {
                const int pos = (h_.ringPos - (h_.cur - bestPos)) & kRingMask;
                g[0] = Lum8u(pos);
                g[1] = Lum8u(((pos >> 4) & 0xF0) | (bestLen - kMinMatch));
                h_.groupLen += 2;
            }
            h_.cur += bestLen;
            h_.ringPos = (h_.ringPos + bestLen) & kRingMask;
            ++h_.groupItems;
        }
        if (h_.groupItems == 8) h_.closed = 1;
    }

    // Appends input to the window, sliding it down first when it is full.
    void refill(const Lum8u*& src, int& srcLeft) {
        if (h_.end == kWinLen) slide();
        const int n = std::min(srcLeft, kWinLen - h_.end);
        std::memcpy(win_ + h_.end, src, n);
        h_.end += n;
        src += n;
        srcLeft -= n;
    }

    // Keeps the last 4096 bytes before cur and the lookahead; chained positions move down
    // with them and those that fall off become "none".
    void slide() {
        const int delta = h_.cur - kRingLen;
        std::memmove(win_, win_ + delta, h_.end - delta);
        h_.cur -= delta;
        h_.end -= delta;
        h_.ins -= delta;
        auto rebase = [delta](Lum8u* table, int entries) {
            for (int i = 0; i < entries; ++i) {
                const int v = loadAt<Lum16u>(table + 2 * i);
                storeAt<Lum16u>(table + 2 * i, Lum16u(std::max(v - delta, 0)));
            }
        };
        rebase(head_, kHashLen);
        rebase(prev_, kRingLen);
    }

    EncoderHead h_;
    Lum8u* win_;
    Lum8u* head_;
    Lum8u* prev_;
};

LumStatus encode(Lum8u** ppSrc, int* pSrcLen, Lum8u** ppDst, int* pDstLen, void* pState, bool finish) {
    auto* area = static_cast<Lum8u*>(pState);
    EncoderHead head;
    if (!lum::loadRecord(area, head, kEncoderMagic)) return lumStsContextMatchErr;
    Encoder enc(area, head);
    const Lum8u* src = *ppSrc;
    Lum8u* dst = *ppDst;
    int srcLeft = *pSrcLen, room = *pDstLen;
    const LumStatus s = enc.run(src, srcLeft, dst, room, finish);
    lum::storeRecord(area, enc.head());
    if (finish && s == lumStsNoErr) Encoder::reset(area);  // the stream is complete
    *ppSrc = const_cast<Lum8u*>(src);
    *pSrcLen = srcLeft;
    *ppDst = dst;
    *pDstLen = room;
    return s;
}

}  // namespace

int encoderAreaLen() { return kAreaLen; }

}  // namespace lum::lzss

using namespace lum::lzss;

extern "C" {

LumStatus lumsEncodeLZSSInit_8u(LumLZSSState_8u* pState) {
    if (pState == nullptr) return lumStsNullPtrErr;
    Encoder::reset(reinterpret_cast<Lum8u*>(pState));
    return lumStsNoErr;
}

LumStatus lumsEncodeLZSS_8u(Lum8u** ppSrc, int* pSrcLen, Lum8u** ppDst, int* pDstLen,
                            LumLZSSState_8u* pState) {
    const LumStatus s = checkStreamArgs(ppSrc, pSrcLen, ppDst, pDstLen, pState);
    return s != lumStsNoErr ? s : encode(ppSrc, pSrcLen, ppDst, pDstLen, pState, false);
}

LumStatus lumsEncodeLZSSFlush_8u(Lum8u** ppDst, int* pDstLen, LumLZSSState_8u* pState) {
    Lum8u none = 0;
    Lum8u* src = &none;
    int srcLen = 0;
    const LumStatus s = checkStreamArgs(&src, &srcLen, ppDst, pDstLen, pState);
    return s != lumStsNoErr ? s : encode(&src, &srcLen, ppDst, pDstLen, pState, true);
}

}  // extern "C"
