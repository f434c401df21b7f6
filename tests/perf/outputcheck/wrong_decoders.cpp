// Joined to perfdc, this file makes a program whose decoders are fast but wrong:
// its definitions of three lum decoders take the place of the library's (the
// program's own symbols come first), call the library's and then spoil one byte
// of what they wrote. The output check must catch each of them.
#include <lumdc.h>

#include <dlfcn.h>

namespace {

template <class Fn>
Fn library(const char* name)
{
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

void spoil(Lum8u* from, Lum8u* to)
{
    if (to - from > 100) from[100] ^= 0x20;
}

}  // namespace

extern "C" {

LumStatus lumsDecodeLZSS_8u(Lum8u** ppSrc, int* pSrcLen, Lum8u** ppDst, int* pDstLen, LumLZSSState_8u* pState)
{
    static auto real = library<decltype(&lumsDecodeLZSS_8u)>("lumsDecodeLZSS_8u");
    Lum8u* start = *ppDst;
    LumStatus status = real(ppSrc, pSrcLen, ppDst, pDstLen, pState);
    spoil(start, *ppDst);
    return status;
}

LumStatus lumsInflate_8u(const Lum8u** ppSrc, int* pSrcLen, Lum32u* pCode, int* pCodeLenBits, int winIdx,
                         Lum8u** ppDst, int* pDstLen, int dstIdx, LumInflateMode* pMode, LumInflateState* pState)
{
    static auto real = library<decltype(&lumsInflate_8u)>("lumsInflate_8u");
    Lum8u* start = *ppDst + dstIdx;
    LumStatus status = real(ppSrc, pSrcLen, pCode, pCodeLenBits, winIdx, ppDst, pDstLen, dstIdx, pMode, pState);
    spoil(start, *ppDst);
    return status;
}

LumStatus lumsBWTInv_8u(const Lum8u* pSrc, Lum8u* pDst, int len, int index, Lum8u* pBuff)
{
    static auto real = library<decltype(&lumsBWTInv_8u)>("lumsBWTInv_8u");
    LumStatus status = real(pSrc, pDst, len, index, pBuff);
    spoil(pDst, pDst + len);
    return status;
}

}  // extern "C"
