// LZO1X: the encoder state, the "ST" stream, the "MT" container and the two decoders,
// which tell the two formats apart by the first byte.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "lzo/lzo1x_codec.h"
#include "lzo/lzo_mt.h"

namespace {

using namespace lum::lzo;

constexpr Lum32u kStateMagic = 0x4C5A4F31;  // marks a work area prepared by Init
constexpr int kWorkMemLen = kCompressWorkLen;
constexpr int kWorkMemAlign = 64;

// The head of the work area, copied in and out with memcpy (the caller's block may sit at
// any address). The work memories follow it, aligned at every call: the compressor clears
// its hash table on each call, so nothing in them outlives a call and a moved block stays
// valid.
struct StateHead {
    Lum32u magic;
    Lum32u method;
    Lum32s maxInputLen;
    Lum32s workMems;
};

int workMemCount(LumLZOMethod method, int maxInputLen) {
    if (method == lumLZO1XST) return 1;
    return std::max(1, std::min(kMaxSegments, maxInputLen / kMinSegmentLen));
}

Lum8u* workMem(LumLZOState_8u* pState, int index) {
    auto* base = reinterpret_cast<Lum8u*>(pState) + sizeof(StateHead);
    const auto a = reinterpret_cast<std::uintptr_t>(base);
    return base + (kWorkMemAlign - a % kWorkMemAlign) % kWorkMemAlign +
           static_cast<std::size_t>(index) * kWorkMemLen;
}

bool validMethod(LumLZOMethod method) { return method == lumLZO1XST || method == lumLZO1XMT; }

int compressSegment(const Lum8u* src, int len, Lum8u* dst, void* wrk) {
    return int(compress(src, std::size_t(len), dst, wrk));
}

// Decodes one LZO1X stream into at most *pLen bytes; *pLen becomes the decoded length.
LumStatus decodeStream(const Lum8u* src, int srcLen, Lum8u* dst, int* pLen, bool safe) {
    std::size_t out = std::size_t(*pLen);
    const DecodeResult r = safe ? decompressSafe(src, std::size_t(srcLen), dst, &out)
                                : decompressFast(src, std::size_t(srcLen), dst, &out);
    switch (r) {
    case DecodeResult::ok:
        *pLen = int(out);
        return lumStsNoErr;
    case DecodeResult::outputOverrun:
        return lumStsSizeErr;
    default:  // truncated, a match before the output's start, bytes after the end marker
        return lumStsCorruptDataErr;
    }
}

LumStatus decode(const Lum8u* pSrc, int srcLen, Lum8u* pDst, int* pDstLen, bool safe) {
    if (pSrc == nullptr || pDst == nullptr || pDstLen == nullptr) return lumStsNullPtrErr;
    if (srcLen < 0 || *pDstLen < 0) return lumStsSizeErr;
    LumStatus s;
    int len = *pDstLen;
    if (srcLen > 0 && pSrc[0] == kMtMarker) {
        s = decodeContainer(pSrc, srcLen, pDst, &len,
                            [safe](const Lum8u* src, int n, Lum8u* dst, int expect) -> LumStatus {
                                int got = expect;
                                const LumStatus st = decodeStream(src, n, dst, &got, safe);
                                if (st == lumStsNoErr && got != expect) return lumStsCorruptDataErr;
                                return st;
                            });
    } else {
        s = decodeStream(pSrc, srcLen, pDst, &len, safe);
    }
    *pDstLen = s == lumStsNoErr ? len : 0;
    return s;
}

}  // namespace

extern "C" {

LumStatus lumsEncodeLZOGetSize(LumLZOMethod method, int maxInputLen, int* pSize) {
    if (pSize == nullptr) return lumStsNullPtrErr;
    if (!validMethod(method)) return lumStsBadArgErr;
    if (maxInputLen < 0) return lumStsSizeErr;
    *pSize = int(sizeof(StateHead)) + kWorkMemAlign + workMemCount(method, maxInputLen) * kWorkMemLen;
    return lumStsNoErr;
}

LumStatus lumsEncodeLZOInit_8u(LumLZOMethod method, int maxInputLen, LumLZOState_8u* pState) {
    if (pState == nullptr) return lumStsNullPtrErr;
    if (!validMethod(method)) return lumStsBadArgErr;
    if (maxInputLen < 0) return lumStsSizeErr;
    const StateHead head{kStateMagic, Lum32u(method), maxInputLen, workMemCount(method, maxInputLen)};
    std::memcpy(pState, &head, sizeof head);
    return lumStsNoErr;
}

LumStatus lumsEncodeLZO_8u(const Lum8u* pSrc, int srcLen, Lum8u* pDst, int* pDstLen,
                           LumLZOState_8u* pState) {
    if (pSrc == nullptr || pDst == nullptr || pDstLen == nullptr || pState == nullptr)
        return lumStsNullPtrErr;
    StateHead head;
    std::memcpy(&head, pState, sizeof head);
    if (head.magic != kStateMagic || !validMethod(LumLZOMethod(head.method)) || head.workMems < 1)
        return lumStsContextMatchErr;
    if (srcLen < 0 || srcLen > head.maxInputLen || *pDstLen < worstCase(srcLen)) return lumStsSizeErr;

    if (head.method == lumLZO1XMT) {
        const int segments = segmentCount(srcLen, threadBudget(), head.workMems);
        const LumStatus s = encodeContainer(
            pSrc, srcLen, pDst, pDstLen, segments,
            [pState](const Lum8u* src, int len, Lum8u* dst, int worker) {
                return compressSegment(src, len, dst, workMem(pState, worker));
            });
        if (s == lumStsNoErr) return s;
        // The room holds an LZO1X-1 stream but not the container's own worst case: the
        // plain stream is written instead, which both decoders read as well.
    }
    *pDstLen = compressSegment(pSrc, srcLen, pDst, workMem(pState, 0));
    return lumStsNoErr;
}

LumStatus lumsDecodeLZO_8u(const Lum8u* pSrc, int srcLen, Lum8u* pDst, int* pDstLen) {
    return decode(pSrc, srcLen, pDst, pDstLen, false);
}

LumStatus lumsDecodeLZOSafe_8u(const Lum8u* pSrc, int srcLen, Lum8u* pDst, int* pDstLen) {
    return decode(pSrc, srcLen, pDst, pDstLen, true);
}

}  // extern "C"
