// The first run-length stage of bzip2: 4 to 255 equal bytes are written as the 4 bytes and
// a count byte of the extra repeats. One work area holds the streaming encoder (the run in
// progress, the bytes of a finished run that did not fit, the values written) and the
// streaming decoder (the equal bytes seen, the repeats still owed).
#include <algorithm>

#include "bz2/bz2_common.h"

namespace lum::bz2 {
namespace {

struct RleRecord {
    static constexpr Lum32u kMagic = 0x31454C52u;  // "RLE1"
    Lum32u magic;
    // encoder
    Lum32s runCh;    // byte of the run in progress, -1 for none
    Lum32s runLen;   // its length so far, 1..255
    Lum32s pendLen;  // bytes of a finished run waiting for room: pend[pendPos..pendLen)
    Lum32s pendPos;
    Lum8u pend[8];
    Lum8u inUse[256];
    // decoder
    Lum32s decPrev;    // last byte written, -1 for none
    Lum32s decEq;      // equal bytes ending the output, 0..4; at 4 a count byte follows
    Lum32s decRepeat;  // copies of decPrev still to write
};

// Writes the coded form of a run (1 to 5 bytes) to out and returns its length.
inline int codeRun(int ch, int len, Lum8u* out) {
    const Lum8u c = static_cast<Lum8u>(ch);
    const int head = len < 4 ? len : 4;
    for (int k = 0; k < head; ++k) out[k] = c;
    if (len < 4) return len;
    out[4] = static_cast<Lum8u>(len - 4);
    return 5;
}

// Writes as much of the pending run as fits; true when nothing is left pending.
bool drainPending(RleRecord& st, Lum8u* pDst, int room, int& out) {
    while (st.pendPos < st.pendLen && out < room) {
        const Lum8u c = st.pend[st.pendPos++];
        pDst[out++] = c;
        st.inUse[c] = 1;
    }
    if (st.pendPos < st.pendLen) return false;
    st.pendPos = st.pendLen = 0;
    return true;
}

// Ends the run in progress: coded straight into pDst when there is room for any run,
// otherwise through the pending bytes. True when it was written completely.
bool endRun(RleRecord& st, Lum8u* pDst, int room, int& out) {
    if (st.runCh < 0) return true;
    const int ch = st.runCh, len = st.runLen;
    st.runCh = -1;
    st.runLen = 0;
    if (room - out >= 5) {
        const int n = codeRun(ch, len, pDst + out);
        st.inUse[ch] = 1;
        st.inUse[pDst[out + n - 1]] = 1;
        out += n;
        return true;
    }
    st.pendLen = codeRun(ch, len, st.pend);
    st.pendPos = 0;
    return drainPending(st, pDst, room, out);
}

// Codes src[0..n) after the run in progress; returns the bytes consumed. Runs are coded
// straight into pDst while 5 bytes of room are left (four copies stored as one word, then
// the count); nearer the end endRun goes through the pending bytes. Sets full when the
// room ran out with bytes still due.
int encodeRuns(RleRecord& st, const Lum8u* src, int n, Lum8u* pDst, int room, int& out,
               bool& full) {
    int ch = st.runCh, len = st.runLen, i = 0;
    while (i < n) {
        const int c = src[i];
        if (c == ch && len < 255) {
            ++len;
            ++i;
            continue;
        }
        if (ch >= 0) {
            if (room - out >= 5) {
                const Lum32u four = 0x01010101u * static_cast<Lum32u>(ch);
                std::memcpy(pDst + out, &four, 4);
                st.inUse[ch] = 1;
                if (len < 4) {
                    out += len;
                } else {
                    pDst[out + 4] = static_cast<Lum8u>(len - 4);
                    st.inUse[len - 4] = 1;
                    out += 5;
                }
            } else {
                st.runCh = ch;
                st.runLen = len;
                if (!endRun(st, pDst, room, out)) {
                    full = true;
                    return i;
                }
            }
        }
        ch = c;
        len = 1;
        ++i;
    }
    st.runCh = ch;
    st.runLen = len;
    return i;
}

}  // namespace
}  // namespace lum::bz2

using lum::bz2::RleRecord;

extern "C" {

LumStatus lumsRLEGetSize_BZ2_8u(int* pSize) {
    if (pSize == nullptr) return lumStsNullPtrErr;
    *pSize = static_cast<int>(sizeof(RleRecord));
    return lumStsNoErr;
}

LumStatus lumsEncodeRLEInit_BZ2_8u(LumRLEState_BZ2* pState) {
    if (pState == nullptr) return lumStsNullPtrErr;
    RleRecord st{};
    st.magic = RleRecord::kMagic;
    st.runCh = -1;
    st.decPrev = -1;
    lum::storeRecord(pState, st);
    return lumStsNoErr;
}

LumStatus lumsEncodeRLE_BZ2_8u(Lum8u** ppSrc, int* pSrcLen, Lum8u* pDst, int* pDstLen,
                               LumRLEState_BZ2* pState) {
    if (ppSrc == nullptr || *ppSrc == nullptr || pSrcLen == nullptr || pDst == nullptr ||
        pDstLen == nullptr || pState == nullptr)
        return lumStsNullPtrErr;
    if (*pSrcLen < 0 || *pDstLen < 0) return lumStsSizeErr;
    RleRecord st;
    if (!lum::bz2::loadState(pState, st)) return lumStsContextMatchErr;

    const Lum8u* src = *ppSrc;
    const int n = *pSrcLen, room = *pDstLen;
    int i = 0, out = 0;
    bool full = !lum::bz2::drainPending(st, pDst, room, out);
    if (!full) i = lum::bz2::encodeRuns(st, src, n, pDst, room, out, full);
    *ppSrc += i;
    *pSrcLen = n - i;
    *pDstLen = out;
    lum::storeRecord(pState, st);
    return full ? lumStsDstFullWrn : lumStsNoErr;
}

LumStatus lumsEncodeRLEFlush_BZ2_8u(Lum8u* pDst, int* pDstLen, LumRLEState_BZ2* pState) {
    if (pDst == nullptr || pDstLen == nullptr || pState == nullptr) return lumStsNullPtrErr;
    if (*pDstLen < 0) return lumStsSizeErr;
    RleRecord st;
    if (!lum::bz2::loadState(pState, st)) return lumStsContextMatchErr;
    int out = 0;
    const bool done = lum::bz2::drainPending(st, pDst, *pDstLen, out) &&
                      lum::bz2::endRun(st, pDst, *pDstLen, out);
    *pDstLen = out;
    lum::storeRecord(pState, st);
    return done ? lumStsNoErr : lumStsDstFullWrn;
}

LumStatus lumsRLEGetInUseTable_8u(Lum8u inUse[256], LumRLEState_BZ2* pState) {
    if (inUse == nullptr || pState == nullptr) return lumStsNullPtrErr;
    RleRecord st;
    if (!lum::bz2::loadState(pState, st)) return lumStsContextMatchErr;
    std::memcpy(inUse, st.inUse, 256);
    return lumStsNoErr;
}

LumStatus lumsDecodeRLEState_BZ2_8u(Lum8u** ppSrc, int* pSrcLen, Lum8u** ppDst, int* pDstLen,
                                    LumRLEState_BZ2* pState) {
    if (ppSrc == nullptr || *ppSrc == nullptr || pSrcLen == nullptr || ppDst == nullptr ||
        *ppDst == nullptr || pDstLen == nullptr || pState == nullptr)
        return lumStsNullPtrErr;
    if (*pSrcLen < 0 || *pDstLen < 0) return lumStsSizeErr;
    RleRecord st;
    if (!lum::bz2::loadState(pState, st) || st.decEq < 0 || st.decEq > 4 || st.decRepeat < 0 ||
        st.decRepeat > 255 || st.decPrev < -1 || st.decPrev > 255)
        return lumStsContextMatchErr;

    const Lum8u* src = *ppSrc;
    Lum8u* dst = *ppDst;
    const int n = *pSrcLen, room = *pDstLen;
    int i = 0, out = 0, prev = st.decPrev, eq = st.decEq, repeat = st.decRepeat;
    bool full = false;
    for (;;) {
        if (repeat > 0) {
            const int k = std::min(repeat, room - out);
            std::memset(dst + out, prev, static_cast<size_t>(k));
            out += k;
            repeat -= k;
            if (repeat > 0) {
                full = true;
                break;
            }
        }
        if (i == n) break;
        if (eq == 4) {  // four equal bytes: this one counts the extra repeats
            repeat = src[i++];
            eq = 0;
            continue;
        }
        // Plain bytes, as many as fit, until a fourth equal one asks for a count.
        const int stop = i + std::min(n - i, room - out);
        while (i < stop) {
            const int c = src[i++];
            dst[out++] = static_cast<Lum8u>(c);
            eq = (c == prev && eq > 0) ? eq + 1 : 1;
            prev = c;
            if (eq == 4) break;
        }
        if (eq != 4 && i < n && out == room) {
            full = true;
            break;
        }
    }
    st.decPrev = prev;
    st.decEq = eq;
    st.decRepeat = repeat;
    *ppSrc += i;
    *pSrcLen = n - i;
    *ppDst += out;
    *pDstLen = room - out;
    lum::storeRecord(pState, st);
    return full ? lumStsDstFullWrn : lumStsNoErr;
}

}  // extern "C"
