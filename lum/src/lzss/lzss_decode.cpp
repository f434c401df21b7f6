// LZSS decoder. Within a call the bytes already written to the destination serve as the
// recent history; the ring in the work area holds the history from before the call and
// takes the last 4096 bytes at its end. Every byte sequence is a valid stream, so the
// decoder only has to stay inside its buffers: a group is decoded without per-item checks
// only when the source holds a whole group and the room a group's largest output.
#include <algorithm>

#include "lzss/lzss_format.h"

namespace lum::lzss {

namespace {

struct DecoderHead {
    Lum32u magic;
    Lum32s ringPos;    // where the next byte goes in the ring
    Lum32u flags;      // flag bits still to use, above them a 1 (1 alone: read a flag byte)
    Lum32s matchLeft;  // bytes of a match the room could not take yet
    Lum32s matchDist;
    Lum32s haveLow;    // the first byte of a match arrived without its second
    Lum32s low;
};

constexpr int kRingOff = int(sizeof(DecoderHead));
constexpr int kAreaLen = kRingOff + kRingLen;
// A full group in the fast loop: 17 source bytes, at most 8 * 18 output bytes plus the
// 8-byte overshoot of the wide copies.
constexpr int kFastSrc = kMaxGroupLen;
constexpr int kFastRoom = 8 * kMaxMatch + 8;

class Decoder {
public:
    Decoder(Lum8u* area, const DecoderHead& head, Lum8u* dst)
        : h_(head), ring_(area + kRingOff), dst0_(dst), out_(dst) {}

    const DecoderHead& head() const { return h_; }

    static void reset(Lum8u* area) {
        DecoderHead h{};
        h.magic = kDecoderMagic;
        h.ringPos = kRingStart;
        h.flags = 1;
        lum::storeRecord(area, h);
        std::memset(area + kRingOff, kBlank, kRingLen);
    }

    LumStatus run(const Lum8u*& src, int& srcLeft, int room) {
        Lum8u* const end = out_ + room;
        for (;;) {
            if (h_.matchLeft > 0) {
                const int n = std::min<long>(h_.matchLeft, end - out_);
                copySlow(h_.matchDist, n);
                h_.matchLeft -= n;
                if (h_.matchLeft > 0) return lumStsDstFullWrn;
            }
            if (h_.flags == 1) {
                if (srcLeft >= kFastSrc && end - out_ >= kFastRoom) {
                    fastGroups(src, srcLeft, end);
                    continue;
                }
                if (srcLeft == 0) return lumStsNoErr;
                h_.flags = 0x100u | *src++;
                --srcLeft;
            }
            if (srcLeft == 0) return h_.haveLow ? lumStsSrcEndWrn : lumStsNoErr;
            if (h_.flags & 1) {
                if (out_ == end) return lumStsDstFullWrn;
                *out_++ = *src++;
                --srcLeft;
            } else {
                if (!h_.haveLow) {
                    h_.low = *src++;
                    h_.haveLow = 1;
                    if (--srcLeft == 0) return lumStsSrcEndWrn;
                }
                const int high = *src++;
                --srcLeft;
                h_.haveLow = 0;
                h_.matchDist = distanceFrom(ringNow(), h_.low | (high & 0xF0) << 4);
                h_.matchLeft = (high & 0x0F) + kMinMatch;
            }
            h_.flags >>= 1;
        }
    }

    // Keeps the last 4096 bytes written in this call in the ring; returns their count.
    int finish() {
        const int produced = int(out_ - dst0_);
        const int keep = std::min(produced, kRingLen);
        for (int i = 0, at = (h_.ringPos + produced - keep) & kRingMask; i < keep;) {
            const int n = std::min(keep - i, kRingLen - at);
            std::memcpy(ring_ + at, out_ - keep + i, n);
            i += n;
            at = (at + n) & kRingMask;
        }
        h_.ringPos = (h_.ringPos + produced) & kRingMask;
        return produced;
    }

private:
    int ringNow() const { return int((h_.ringPos + (out_ - dst0_)) & kRingMask); }

    // Copies n bytes from `dist` back, reaching into the ring for bytes from before the call.
    void copySlow(int dist, int n) {
        for (int i = 0; i < n; ++i, ++out_) {
            const long produced = out_ - dst0_;
            *out_ = dist <= produced ? out_[-dist] : ring_[(h_.ringPos - (dist - produced)) & kRingMask];
        }
    }

    void fastGroups(const Lum8u*& src, int& srcLeft, Lum8u* end) {
        const Lum8u* s = src;
        const Lum8u* const sEnd = src + srcLeft;
        while (sEnd - s >= kFastSrc && end - out_ >= kFastRoom) {
            unsigned flags = *s++;
            for (int item = 0; item < 8; ++item, flags >>= 1) {
                if (flags & 1) {
                    *out_++ = *s++;
                    continue;
                }
                const int pos = s[0] | (s[1] & 0xF0) << 4;
                const int len = (s[1] & 0x0F) + kMinMatch;
                s += 2;
                const int dist = distanceFrom(ringNow(), pos);
                if (dist <= out_ - dst0_) {
                    if (dist >= 8) {
                        for (int k = 0; k < len; k += 8) std::memcpy(out_ + k, out_ + k - dist, 8);
                    } else {
                        // Repeats the last dist bytes, reading only bytes from before the
                        // match so that the stores do not wait for each other.
                        for (int k = 0, j = -dist; k < len; ++k, j = j + 1 < 0 ? j + 1 : -dist)
                            out_[k] = out_[j];
                    }
                    out_ += len;
                } else {
                    copySlow(dist, len);
                }
            }
        }
        srcLeft -= int(s - src);
        src = s;
    }

    DecoderHead h_;
    Lum8u* ring_;
    Lum8u* const dst0_;
    Lum8u* out_;
};

}  // namespace

int decoderAreaLen() { return kAreaLen; }

}  // namespace lum::lzss

using namespace lum::lzss;

extern "C" {

LumStatus lumsLZSSGetSize_8u(int* pSize) {
    if (pSize == nullptr) return lumStsNullPtrErr;
    *pSize = std::max(encoderAreaLen(), decoderAreaLen());
    return lumStsNoErr;
}

LumStatus lumsDecodeLZSSInit_8u(LumLZSSState_8u* pState) {
    if (pState == nullptr) return lumStsNullPtrErr;
    Decoder::reset(reinterpret_cast<Lum8u*>(pState));
    return lumStsNoErr;
}

LumStatus lumsDecodeLZSS_8u(Lum8u** ppSrc, int* pSrcLen, Lum8u** ppDst, int* pDstLen,
                            LumLZSSState_8u* pState) {
    const LumStatus s = checkStreamArgs(ppSrc, pSrcLen, ppDst, pDstLen, pState);
    if (s != lumStsNoErr) return s;
    auto* area = reinterpret_cast<Lum8u*>(pState);
    DecoderHead head;
    if (!lum::loadRecord(area, head, kDecoderMagic)) return lumStsContextMatchErr;
    Decoder dec(area, head, *ppDst);
    const Lum8u* src = *ppSrc;
    int srcLeft = *pSrcLen;
    const LumStatus st = dec.run(src, srcLeft, *pDstLen);
    const int produced = dec.finish();
    lum::storeRecord(area, dec.head());
    *ppSrc = const_cast<Lum8u*>(src);
    *pSrcLen = srcLeft;
    *ppDst += produced;
    *pDstLen -= produced;
    return st;
}

}  // extern "C"
