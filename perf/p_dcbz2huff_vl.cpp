// BZ2 Huffman tests: the block encoder on a stream of 16-bit symbols made from
// Gaussian random bytes, behind the packed table context, and the decoder started
// at the beginning of the packed context with the bit buffer that unpacking the
// context left.
#include "dclum.h"
#include "dcmodule.h"
#include "memory.h"

namespace {

const int kRoom = 65536;

ppVector src8u(pp8u);  // the random bytes
ppVector src(pp16u);   // the symbols: encoder input, decoder output
ppVector dst(pp8u);    // packed context and coded bits: encoder output, decoder input
Lum8u* pSrc8u = nullptr;
const void* pSrc = nullptr;  // call arguments, advanced by the calls
void* pDst = nullptr;
int srcLen = 0;
int len = 0;
int dstLen = 0;
Lum32u pCode = 0;  // the bit buffer and its count of valid bits
int pCodeLenBits = 0;
Lum32u tmpCode = 0;  // what packing (or unpacking) the context left
int tmpCodeLen = 0;
int tmpLen = 0;
Lum32u freqTable[258];
LumEncodeHuffState_BZ2* pEncodeHuffState = nullptr;
LumDecodeHuffState_BZ2* pDecodeHuffState = nullptr;
bool m_bEncode = false;

void i_huff()
{
    len = srcLen;
    dstLen = kRoom;
    pCode = tmpCode;
    pCodeLenBits = tmpCodeLen;
    if (m_bEncode) {
        pSrc = src.data();
    } else {
        pSrc = dst.data();
        pDst = src.data();
    }
}
void i_lumsEncodeHuff_BZ2_16u8u() { i_huff(); }
void i_lumsDecodeHuff_BZ2_8u16u() { i_huff(); }

int tcall_lumsEncodeHuff_BZ2_16u8u()
{
    const Lum16u* s = static_cast<const Lum16u*>(pSrc);
    LumStatus status = lumsEncodeHuff_BZ2_16u8u(&pCode, &pCodeLenBits, &s, &len, static_cast<Lum8u*>(pDst) + tmpLen,
                                                &dstLen, pEncodeHuffState);
    pSrc = s;
    return status;
}

int tcall_lumsDecodeHuff_BZ2_8u16u()
{
    const Lum8u* s = static_cast<const Lum8u*>(pSrc);
    LumStatus status = lumsDecodeHuff_BZ2_8u16u(&pCode, &pCodeLenBits, &s, &len, static_cast<Lum16u*>(pDst), &dstLen,
                                                pDecodeHuffState);
    pSrc = s;
    return status;
}

DC_KERNELS_I(lumsEncodeHuff_BZ2_16u8u)
DC_KERNELS_I(lumsDecodeHuff_BZ2_8u16u)

bool ok(LumStatus status, const char* func) { return ppTest::checkStatus(status, func) <= WARNING; }

// n bytes of the library's Gaussian generator, mean 16, deviation 8, seed 77: the
// same data on every run.
void randomBytes(Lum8u* p, int n)
{
    int size = 0;
    lumsRandGaussGetSize_8u(&size);
    void* state = psMalloc(size, 0, 0, nullptr);
    lumsRandGaussInit_8u(static_cast<LumsRandGaussState_8u*>(state), 16, 8, 77);
    lumsRandGauss_8u(p, n, static_cast<LumsRandGaussState_8u*>(state));
    psFree(state);
}

class Timdcbz2Huff : public ppTest {
public:
    using ppTest::ppTest;
    ~Timdcbz2Huff() override {}

    bool canStart() override
    {
        m_bEncode = getFuncName().contains("Encode");
        dcSetProgression(g_huffLen, "HuffLength", 64, 1024);
        addParameter(&g_huffLen);
        src.setType(pp16u);
        src8u.setType(pp8u);
        dst.setType(pp8u);
        return true;
    }

    bool initData() override
    {
        int size = 0;
        if (!ok(lumsEncodeHuffGetSize_BZ2_16u8u(100000, &size), "lumsEncodeHuffGetSize_BZ2_16u8u")) return false;
        pEncodeHuffState = static_cast<LumEncodeHuffState_BZ2*>(psMalloc(size, 0, 0, nullptr));
        srcLen = g_huffLen.value();
        if (!src8u.create(srcLen, ppFillConst, 0) || !src.create(kRoom, ppFillConst, 0) ||
            !dst.create(kRoom, ppFillConst, 0))
            return false;
        pSrc8u = src8u.ptr<Lum8u>();
        pSrc = src.data();
        pDst = dst.data();
        randomBytes(pSrc8u, srcLen);
        const int m = dcHuffSymbols(pSrc8u, srcLen, src.ptr<Lum16u>());

        if (!ok(lumsZero_8u(reinterpret_cast<Lum8u*>(freqTable), sizeof freqTable), "lumsZero_8u")) return false;
        if (!ok(lumsEncodeHuffInit_BZ2_16u8u(m, freqTable, src.ptr<Lum16u>(), srcLen, pEncodeHuffState),
                "lumsEncodeHuffInit_BZ2_16u8u"))
            return false;
        pCode = 0;
        pCodeLenBits = 0;
        tmpLen = kRoom;
        tmpCode = 0;
        tmpCodeLen = 0;
        if (!ok(lumsPackHuffContext_BZ2_16u8u(&tmpCode, &tmpCodeLen, static_cast<Lum8u*>(pDst), &tmpLen,
                                              pEncodeHuffState),
                "lumsPackHuffContext_BZ2_16u8u"))
            return false;
        dstLen = kRoom;
        if (m_bEncode) return true;
        return encodeOnce() && prepareDecoder(m);
    }

    void flushData() override
    {
        src.deleteData();
        src8u.deleteData();
        dst.deleteData();
        if (pEncodeHuffState) psFree(pEncodeHuffState);
        pEncodeHuffState = nullptr;
        if (pDecodeHuffState) psFree(pDecodeHuffState);
        pDecodeHuffState = nullptr;
    }

    double getDivisor() override { return g_huffLen.value(); }
    psString getUnit() override { return "e"; }

private:
    // The coded symbols follow the context; the bit buffer is flushed top byte first.
    static bool encodeOnce()
    {
        len = srcLen;
        pCode = tmpCode;
        pCodeLenBits = tmpCodeLen;
        if (!ok(tcall_lumsEncodeHuff_BZ2_16u8u(), "lumsEncodeHuff_BZ2_16u8u")) return false;
        dstLen += tmpLen;
        Lum8u* out = dst.ptr<Lum8u>();
        while (pCodeLenBits > 0) {
            out[dstLen++] = static_cast<Lum8u>(pCode >> 24);
            pCode <<= 8;
            pCodeLenBits -= 8;
        }
        return true;
    }

    // Every decoder call starts over 2400 bytes at the beginning of the packed
    // context, with room for 65536 symbols, whatever "HuffLength" is.
    static bool prepareDecoder(int m)
    {
        int size = 0;
        if (!ok(lumsDecodeHuffGetSize_BZ2_8u16u(100000, &size), "lumsDecodeHuffGetSize_BZ2_8u16u")) return false;
        pDecodeHuffState = static_cast<LumDecodeHuffState_BZ2*>(psMalloc(size, 0, 0, nullptr));
        if (!ok(lumsDecodeHuffInit_BZ2_8u16u(m, pDecodeHuffState), "lumsDecodeHuffInit_BZ2_8u16u")) return false;
        tmpCode = 0;
        tmpCodeLen = 0;
        const Lum8u* context = static_cast<const Lum8u*>(pDst);
        if (!ok(lumsUnpackHuffContext_BZ2_8u16u(&tmpCode, &tmpCodeLen, &context, &dstLen, pDecodeHuffState),
                "lumsUnpackHuffContext_BZ2_8u16u"))
            return false;
        pDst = const_cast<Lum8u*>(context);
        srcLen = 2400;
        len = 2400;
        dstLen = kRoom;
        pSrc = dst.data();
        pDst = src.data();
        return true;
    }
};

[[maybe_unused]] bool regLumEnvironment = psRegLumEnvironment(ppSetLumEnvironment);
[[maybe_unused]] bool regVersion_lumdc = psRegLumVersion(ppGetLumVersion_lumdc);
DC_REG_TEST_I(Timdcbz2Huff, lumsEncodeHuff_BZ2_16u8u, "Timdcbz2Huff//PP_REG_I")
DC_REG_TEST_I(Timdcbz2Huff, lumsDecodeHuff_BZ2_8u16u, "Timdcbz2Huff//PP_REG_I")

}  // namespace
