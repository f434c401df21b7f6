// Deflate tests: the LZ77 stage at levels 1, 6 and 9, the Huffman stage with the
// fixed codes and the decoder, on up to 102400 bytes of each corpus file. The data
// is compressed once through both stages while it is prepared, and the stream is
// closed with an end-of-block code, so that every stage works on real input.
#include "dccheck.h"
#include "dclum.h"
#include "dcmodule.h"

namespace {

const int kWindow = 32768;  // LZ77 window and hash-table size

Lum32u dataLen = 0;
Lum8u* pData = nullptr;  // corpus data, also the decoder's output
Lum8u* pDist = nullptr;  // LZ77 output (16-bit distances)
Lum8u* pHuff = nullptr;  // the compressed stream
Lum8u* pLit = nullptr;   // LZ77 literals and match lengths
Lum32s* pHashHead = nullptr;
Lum32s* pHashPrev = nullptr;
int distLen = 0;
int huffLen = 0;
int srcIdx = 0;
int dstIdx = 0;
Lum32u code = 0;  // bit buffer of the Huffman stage and the decoder
int codeLen = 0;
LumInflateMode mode = lumInflateFixedBlock;
LumInflateState inflateState;
Lum32u pLitFreqTable[286];
Lum32u pDistFreqTable[30];
const Lum8u* pSrc = nullptr;
Lum8u* pDst = nullptr;
int srcLen = 0;
int dstLen = 0;
psIterator<int> dataLength;
psIterator<int> comprLevel;
dcExpected expected;  // the corpus bytes the decoder must give back

// The fixed codes of deflate, bit-reversed for least-significant-bit-first output.
struct FixedCodes {
    LumDeflateHuffCode lit[288];
    LumDeflateHuffCode dist[30];

    static Lum16u reversed(unsigned v, int bits)
    {
        unsigned r = 0;
        for (int i = 0; i < bits; ++i) r |= ((v >> i) & 1u) << (bits - 1 - i);
        return static_cast<Lum16u>(r);
    }
    FixedCodes()
    {
        // (first symbol, first code, length) of the four ranges of literal/length codes
        const struct { int from, to; unsigned first; int bits; } ranges[] = {
            {0, 143, 0x30, 8}, {144, 255, 0x190, 9}, {256, 279, 0, 7}, {280, 287, 0xC0, 8}};
        for (const auto& r : ranges)
            for (int s = r.from; s <= r.to; ++s)
                lit[s] = {reversed(r.first + unsigned(s - r.from), r.bits), static_cast<Lum16u>(r.bits)};
        for (int d = 0; d < 30; ++d) dist[d] = {reversed(unsigned(d), 5), 5};
    }
};
const FixedCodes fixedCodes;
const LumDeflateHuffCode* const pLitHuffCodes = fixedCodes.lit;
const LumDeflateHuffCode* const pDistHuffCodes = fixedCodes.dist;

void i_lumsDeflateLZ77_8u()
{
    for (int i = 0; i < kWindow; ++i) pHashHead[i] = -kWindow;
    srcIdx = 0;
    pSrc = pData;
    pDst = pDist;
    srcLen = static_cast<int>(dataLen);
    dstLen = distLen;
}

void i_lumsDeflateHuff_8u()
{
    dstIdx = 0;
    code = 0;
    codeLen = 0;
    pSrc = pDist;
    pDst = pHuff;
    srcLen = distLen;
}

void i_lumsInflate_8u()
{
    codeLen = 0;
    mode = lumInflateFixedBlock;
    inflateState.word[3] = 0;
    pSrc = pHuff;
    pDst = pData;
    srcLen = huffLen;
    dstLen = static_cast<int>(dataLen);
}

int tcall_lumsDeflateLZ77_8u()
{
    return lumsDeflateLZ77_8u(&pSrc, &srcLen, &srcIdx, pSrc, kWindow, pHashHead, pHashPrev, kWindow, pLitFreqTable,
                              pDistFreqTable, pLit, reinterpret_cast<Lum16u*>(pDst), &dstLen, comprLevel.value(),
                              lumLZ77FinishFlush);
}

int tcall_lumsDeflateHuff_8u()
{
    return lumsDeflateHuff_8u(pLit, reinterpret_cast<const Lum16u*>(pSrc), srcLen, &code, &codeLen, pLitHuffCodes,
                              pDistHuffCodes, pDst, &dstIdx);
}

int tcall_lumsInflate_8u()
{
    return lumsInflate_8u(&pSrc, &srcLen, &code, &codeLen, 0, &pDst, &dstLen, 0, &mode, &inflateState);
}

DC_KERNELS_I(lumsDeflateLZ77_8u)
DC_KERNELS_I(lumsDeflateHuff_8u)
DC_KERNELS_I(lumsInflate_8u)

// Moves whole bytes of the bit buffer to the end of the stream while more than
// `keep` bits are pending.
void putBytes(int keep)
{
    while (codeLen > keep) {
        pHuff[huffLen++] = static_cast<Lum8u>(code);
        code >>= 8;
        codeLen -= 8;
    }
}

class Timdc_Deflate : public ppTest {
public:
    using ppTest::ppTest;
    ~Timdc_Deflate() override {}

    bool canStart() override
    {
        addParameter(&dataLength);
        addParameter(&g_codeFile);
        addParameter(&comprLevel);
        dcSetValues(dataLength, "CodeLength", {102400});
        dcSetValues(comprLevel, "comprLevel", {1, 6, 9});
        return true;
    }

    bool initData() override
    {
        const int n = dataLength.value();
        if (!dcAllocate(this, pData, n) || !dcAllocate(this, pDist, 2 * n) || !dcAllocate(this, pHuff, 2 * n) ||
            !dcAllocate(this, pLit, n) || !dcAllocate(this, pHashHead, 4 * kWindow) ||
            !dcAllocate(this, pHashPrev, 4 * kWindow))
            return false;
        dataLen = static_cast<Lum32u>(dcLoadDataFile(pData, n));
        if (dataLen == 0) return false;
        if (getFuncName().contains("Inflate")) expected.set(pData, static_cast<int>(dataLen));

        distLen = static_cast<int>(dataLen);
        i_lumsDeflateLZ77_8u();
        if (checkStatus(tcall_lumsDeflateLZ77_8u(), "lumsDeflateLZ77_8u") > WARNING) return false;
        distLen -= dstLen;
        i_lumsDeflateHuff_8u();
        if (checkStatus(tcall_lumsDeflateHuff_8u(), "lumsDeflateHuff_8u") > WARNING) return false;

        huffLen = dstIdx;
        putBytes(8);
        code |= static_cast<Lum32u>(pLitHuffCodes[256].code) << codeLen;
        codeLen += pLitHuffCodes[256].len;
        putBytes(0);  // the last byte is padded with zero bits
        return true;
    }

    void flushData() override
    {
        dcDeallocate(this, pData);
        dcDeallocate(this, pDist);
        dcDeallocate(this, pHuff);
        dcDeallocate(this, pLit);
        dcDeallocate(this, pHashHead);
        dcDeallocate(this, pHashPrev);
        expected.clear();
    }

    double getDivisor() override { return static_cast<double>(dataLen); }
    psString getUnit() override { return "e"; }

    void parmsToOstrm() override
    {
        dcLengthToOstrm(" length=", static_cast<int>(dataLen));
        g_codeFile.toOStream(g_ostrm);
        comprLevel.toOStream(g_ostrm);
    }

    void parmsToCstrm() override
    {
        dcLengthToCstrm(static_cast<int>(dataLen));
        g_codeFile.toCStream(g_cstrm);
        comprLevel.toCStream(g_cstrm);
    }

    // Every decoder call writes the whole file again over the corpus data.
    psResult checkOutput() override
    {
        return expected.compare(pData, static_cast<int>(dataLen) - dstLen, getFuncName());
    }
};

[[maybe_unused]] bool regLumEnvironment = psRegLumEnvironment(ppSetLumEnvironment);
[[maybe_unused]] bool regVersion_lumdc = psRegLumVersion(ppGetLumVersion_lumdc);
DC_REG_TEST_I(Timdc_Deflate, lumsDeflateLZ77_8u, "Timdc_Deflate//PP_REG_I")
DC_REG_TEST_I(Timdc_Deflate, lumsDeflateHuff_8u, "Timdc_Deflate//PP_REG_I")
DC_REG_TEST_I(Timdc_Deflate, lumsInflate_8u, "Timdc_Deflate//PP_REG_I")

}  // namespace
