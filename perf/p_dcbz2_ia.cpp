// BZ2 pipeline tests: run-length coding, dictionary reduction, the Burrows-Wheeler
// transform, move-to-front, Z1/Z2 run coding, block decoding and the Huffman
// encoder set-up, each measured on the real output of the stages before it. Every
// test prepares its data by running the whole forward pipeline once on up to
// 102400 bytes of a corpus file.
#include "dccheck.h"
#include "dclum.h"
#include "dcmodule.h"

#include <algorithm>

namespace {

int len = 0;     // bytes read from the corpus file
int maxLen = 0;  // capacity of every stage buffer
Lum8u* pSrcRLE = nullptr;    // corpus data
Lum8u* pSrcDict = nullptr;   // RLE output, then reduced in place
Lum8u* pSrcBWT = nullptr;    // copy of the reduced data
Lum8u* pSrcMTF = nullptr;    // BWT output
Lum8u* pSrcZ1Z2 = nullptr;   // MTF output
Lum16u* pDstZ1Z2 = nullptr;  // Z1Z2 output
int srcRLELen = 0, srcDictLen = 0, srcBWTLen = 0, srcMTFLen = 0, srcZ1Z2Len = 0, dstZ1Z2Len = 0;
LumRLEState_BZ2* pRLEState = nullptr;
LumMTFState_8u* pMTFState = nullptr;
Lum8u* pBWTBuff = nullptr;
LumEncodeHuffState_BZ2* pEncodeHuffState = nullptr;
Lum8u inUse[256];
int sizeDictionary = 0;
int idx = 0;  // primary index of the forward BWT
Lum32u freqTable[258];
Lum8u* pSrc = nullptr;  // call arguments, set by the argument resets
Lum8u* pDst = nullptr;
int srcLen = 0;
int dstLen = 0;
psIterator<int> dataLength;
// The last hint word begins with a blank, which a list text loses when it is split
// into trimmed items (the default list too); such an item is taken with the blank.
class HintIterator : public psMapIterator<LumBWTSortAlgorithmHint> {
public:
    LumBWTSortAlgorithmHint stringToValue(psString& text) override
    {
        LumBWTSortAlgorithmHint v = psMapIterator::stringToValue(text);
        if (!text.notConverted()) return v;
        psString blank = psString(" ") + text;
        v = psMapIterator::stringToValue(blank);
        text.setNotConverted(blank.notConverted());
        return v;
    }
};
HintIterator hint;
dcExpected expected;  // what the measured decoder or inverse transform must give

void setArgs(Lum8u* src, void* dst, int sLen, int dLen)
{
    pSrc = src;
    pDst = static_cast<Lum8u*>(dst);
    srcLen = sLen;
    dstLen = dLen;
}

void i_lumsEncodeRLE_BZ2_8u() { setArgs(pSrcRLE, pSrcDict, srcRLELen, maxLen); }
void i_lumsReduceDictionary_8u_I() { setArgs(pSrcDict, pDst, srcDictLen, dstLen); }
void i_lumsExpandDictionary_8u_I() { i_lumsReduceDictionary_8u_I(); }
void i_lumsBWTFwd_8u()
{
    setArgs(pSrcBWT, pSrcMTF, srcBWTLen, maxLen);
    idx = 0;
}
void i_lumsBWTInv_8u() { setArgs(pSrcMTF, pSrcBWT, srcMTFLen, maxLen); }
void i_lumsMTFFwd_8u()
{
    setArgs(pSrcMTF, pSrcZ1Z2, srcMTFLen, maxLen);
    idx = 0;
}
void i_lumsMTFInv_8u() { setArgs(pSrcZ1Z2, pSrcMTF, srcZ1Z2Len, maxLen); }
void i_lumsEncodeZ1Z2_BZ2_8u16u() { setArgs(pSrcZ1Z2, pDstZ1Z2, srcZ1Z2Len, maxLen >> 1); }
void i_lumsDecodeZ1Z2_BZ2_16u8u() { setArgs(reinterpret_cast<Lum8u*>(pDstZ1Z2), pSrcZ1Z2, dstZ1Z2Len, maxLen); }
void i_lumsDecodeBlock_BZ2_16u8u() { i_lumsDecodeZ1Z2_BZ2_16u8u(); }
void i_lumsDecodeRLEState_BZ2_8u() { setArgs(pSrcDict, pSrcRLE, srcDictLen, maxLen); }
void i_lumsBWTFwd_SelectSort_8u() { i_lumsBWTFwd_8u(); }

int tcall_lumsEncodeRLE_BZ2_8u() { return lumsEncodeRLE_BZ2_8u(&pSrc, &srcLen, pDst, &dstLen, pRLEState); }
int tcall_lumsReduceDictionary_8u_I() { return lumsReduceDictionary_8u_I(inUse, pSrc, srcLen, &sizeDictionary); }
int tcall_lumsExpandDictionary_8u_I() { return lumsExpandDictionary_8u_I(inUse, pSrc, srcLen, sizeDictionary); }
int tcall_lumsBWTFwd_8u() { return lumsBWTFwd_8u(pSrc, pDst, srcLen, &idx, pBWTBuff); }
int tcall_lumsBWTInv_8u() { return lumsBWTInv_8u(pSrc, pDst, srcLen, idx, pBWTBuff); }
int tcall_lumsMTFFwd_8u() { return lumsMTFFwd_8u(pSrc, pDst, srcLen, pMTFState); }
int tcall_lumsMTFInv_8u() { return lumsMTFInv_8u(pSrc, pDst, srcLen, pMTFState); }
int tcall_lumsEncodeZ1Z2_BZ2_8u16u()
{
    return lumsEncodeZ1Z2_BZ2_8u16u(&pSrc, &srcLen, reinterpret_cast<Lum16u*>(pDst), &dstLen, freqTable);
}
int tcall_lumsDecodeZ1Z2_BZ2_16u8u()
{
    Lum16u* src = reinterpret_cast<Lum16u*>(pSrc);
    LumStatus status = lumsDecodeZ1Z2_BZ2_16u8u(&src, &srcLen, pDst, &dstLen);
    pSrc = reinterpret_cast<Lum8u*>(src);
    return status;
}
int tcall_lumsDecodeBlock_BZ2_16u8u()
{
    return lumsDecodeBlock_BZ2_16u8u(reinterpret_cast<Lum16u*>(pSrc), srcLen, pDst, &dstLen, idx, sizeDictionary,
                                     inUse, pBWTBuff);
}
int tcall_lumsDecodeRLEState_BZ2_8u() { return lumsDecodeRLEState_BZ2_8u(&pSrc, &srcLen, &pDst, &dstLen, pRLEState); }
int tcall_lumsBWTFwd_SelectSort_8u()
{
    return lumsBWTFwd_SelectSort_8u(pSrc, pDst, srcLen, &idx, pBWTBuff, hint.value());
}
int tcall_lumsEncodeHuffInit_BZ2_16u8u()
{
    return lumsEncodeHuffInit_BZ2_16u8u(sizeDictionary, freqTable, pDstZ1Z2, dstZ1Z2Len, pEncodeHuffState);
}

DC_KERNELS_I(lumsEncodeRLE_BZ2_8u)
DC_KERNELS_I(lumsReduceDictionary_8u_I)
DC_KERNELS_I(lumsExpandDictionary_8u_I)
DC_KERNELS_I(lumsBWTFwd_8u)
DC_KERNELS_I(lumsBWTInv_8u)
DC_KERNELS_I(lumsMTFFwd_8u)
DC_KERNELS_I(lumsMTFInv_8u)
DC_KERNELS_I(lumsEncodeZ1Z2_BZ2_8u16u)
DC_KERNELS_I(lumsDecodeZ1Z2_BZ2_16u8u)
DC_KERNELS_I(lumsDecodeBlock_BZ2_16u8u)
DC_KERNELS_I(lumsDecodeRLEState_BZ2_8u)
DC_KERNELS_I(lumsBWTFwd_SelectSort_8u)
DC_KERNELS(lumsEncodeHuffInit_BZ2_16u8u)

// The byte value of every dictionary rank; ranks past the dictionary stay as they are.
void expandRanks(Lum8u* p, int n)
{
    Lum8u value[256];
    int k = 0;
    for (int v = 0; v < 256; ++v)
        if (inUse[v]) value[k++] = static_cast<Lum8u>(v);
    for (int i = 0; i < n; ++i)
        if (p[i] < k) p[i] = value[p[i]];
}

class Timdc_BZ2 : public ppTest {
public:
    using ppTest::ppTest;
    ~Timdc_BZ2() override {}

    bool canStart() override
    {
        m_inverse = getFuncName().contains("Decode") || getFuncName().contains("Inv");
        m_selectSort = getFuncName().contains("lumsBWTFwd_SelectSort_8u");
        addParameter(&dataLength);
        addParameter(&g_codeFile);
        if (m_selectSort) {
            addParameter(&hint);
            static const char* const words[] = {"lumBWTItohTanakaLimSort", "lumBWTItohTanakaUnlimSort",
                                                "lumBWTSuffixSort", " lumBWTAutoSort"};
            static const LumBWTSortAlgorithmHint values[] = {lumBWTItohTanakaLimSort, lumBWTItohTanakaUnlimSort,
                                                             lumBWTSuffixSort, lumBWTAutoSort};
            hint.resetMap();
            hint.addWords(words, values);
            hint.reset();
            hint.setName("LumBWTSortAlgorithmHint");
            hint.setPrompt("");
            for (LumBWTSortAlgorithmHint v : values) hint.add(v);
        }
        dcSetValues(dataLength, "CodeLength", {102400});
        return true;
    }

    bool initData() override
    {
        maxLen = 4 * dataLength.value();
        for (Lum8u** p : {&pSrcRLE, &pSrcDict, &pSrcBWT, &pSrcMTF, &pSrcZ1Z2})
            if (!dcAllocate(this, *p, maxLen)) return false;
        if (!dcAllocate(this, pDstZ1Z2, maxLen)) return false;
        len = dcLoadDataFile(pSrcRLE, dataLength.value());
        if (len < 1) return false;
        if (!prepareRLE() || !prepareDictionary() || !prepareBWT() || !prepareMTF() || !prepareZ1Z2()) return false;
        int size = 0;
        if (!ok(lumsEncodeHuffGetSize_BZ2_16u8u(100000, &size), "lumsEncodeHuffGetSize_BZ2_16u8u")) return false;
        dcAllocate(this, pEncodeHuffState, size);
        if (!ok(tcall_lumsEncodeHuffInit_BZ2_16u8u(), "lumsEncodeHuffInit_BZ2_16u8u")) return false;
        keepExpected();
        return true;
    }

    void flushData() override
    {
        for (Lum8u** p : {&pSrcRLE, &pSrcDict, &pSrcBWT, &pSrcMTF, &pSrcZ1Z2}) dcDeallocate(this, *p);
        dcDeallocate(this, pDstZ1Z2);
        dcDeallocate(this, pRLEState);
        dcDeallocate(this, pBWTBuff);
        dcDeallocate(this, pMTFState);
        dcDeallocate(this, pEncodeHuffState);
        expected.clear();
    }

    double getDivisor() override { return len; }
    psString getUnit() override { return "e"; }

    void parmsToOstrm() override
    {
        dcLengthToOstrm(" length=", len);
        g_codeFile.toOStream(g_ostrm);
    }

    void parmsToCstrm() override
    {
        dcLengthToCstrm(len);
        g_codeFile.toCStream(g_cstrm);
        if (m_selectSort) hint.toCStream(g_cstrm);
    }

    psResult checkOutput() override;

private:
    static bool ok(LumStatus status, const char* func) { return checkStatus(status, func) <= WARNING; }

    // The flush is written at the start of the destination, over the encoded data,
    // and the total counts both.
    bool prepareRLE()
    {
        int size = 0;
        if (!ok(lumsRLEGetSize_BZ2_8u(&size), "lumsRLEGetSize_BZ2_8u") || !dcAllocate(this, pRLEState, size))
            return false;
        if (!ok(lumsEncodeRLEInit_BZ2_8u(pRLEState), "lumsEncodeRLEInit_BZ2_8u")) return false;
        srcRLELen = len;
        i_lumsEncodeRLE_BZ2_8u();
        if (!ok(tcall_lumsEncodeRLE_BZ2_8u(), "lumsEncodeRLE_BZ2_8u")) return false;
        srcDictLen = dstLen;
        if (!ok(lumsEncodeRLEFlush_BZ2_8u(pDst, &dstLen, pRLEState), "lumsEncodeRLEFlush_BZ2_8u")) return false;
        srcDictLen += dstLen;
        return true;
    }

    bool prepareDictionary()
    {
        if (!ok(lumsRLEGetInUseTable_8u(inUse, pRLEState), "lumsRLEGetInUseTable_8u")) return false;
        sizeDictionary = static_cast<int>(std::count_if(inUse, inUse + 256, [](Lum8u u) { return u != 0; }));
        srcBWTLen = srcDictLen;
        i_lumsReduceDictionary_8u_I();
        if (!ok(tcall_lumsReduceDictionary_8u_I(), "lumsReduceDictionary_8u_I")) return false;
        return ok(lumsCopy_8u(pSrcDict, pSrcBWT, srcDictLen), "lumsCopy_8u");
    }

    // An inverse test gets the work buffer of the inverse transform.
    bool prepareBWT()
    {
        int size = 0;
        if (!ok(lumsBWTFwdGetSize_8u(srcBWTLen, &size), "lumsBWTFwdGetSize_8u") || !dcAllocate(this, pBWTBuff, size))
            return false;
        srcMTFLen = srcBWTLen;
        i_lumsBWTFwd_8u();
        if (!ok(tcall_lumsBWTFwd_8u(), "lumsBWTFwd_8u")) return false;
        if (!m_inverse) return true;
        if (!ok(lumsBWTInvGetSize_8u(srcBWTLen, &size), "lumsBWTInvGetSize_8u")) return false;
        dcDeallocate(this, pBWTBuff);
        return dcAllocate(this, pBWTBuff, size);
    }

    // An inverse test starts from a fresh list. The MTF argument reset also clears
    // the BWT index, so the inverse transforms run with index 0.
    bool prepareMTF()
    {
        int size = 0;
        if (!ok(lumsMTFGetSize_8u(&size), "lumsMTFGetSize_8u") || !dcAllocate(this, pMTFState, size)) return false;
        if (!ok(lumsMTFInit_8u(pMTFState), "lumsMTFInit_8u")) return false;
        srcZ1Z2Len = srcMTFLen;
        i_lumsMTFFwd_8u();
        if (!ok(tcall_lumsMTFFwd_8u(), "lumsMTFFwd_8u")) return false;
        return !m_inverse || ok(lumsMTFInit_8u(pMTFState), "lumsMTFInit_8u");
    }

    // The frequencies are counted over the generic source, which still is the MTF
    // stage's input (the BWT output), not over the MTF output being coded.
    bool prepareZ1Z2()
    {
        if (!ok(lumsZero_8u(reinterpret_cast<Lum8u*>(freqTable), 1024), "lumsZero_8u")) return false;
        for (int i = 0; i < srcZ1Z2Len; ++i) ++freqTable[pSrc[i]];
        i_lumsEncodeZ1Z2_BZ2_8u16u();
        if (!ok(tcall_lumsEncodeZ1Z2_BZ2_8u16u(), "lumsEncodeZ1Z2_BZ2_8u16u")) return false;
        dstZ1Z2Len = dstLen;
        return true;
    }

    void keepExpected();

    bool m_inverse = false;
    bool m_selectSort = false;
};

// What the inverse tests must give back. With index 0 the inverse BWT yields the
// smallest rotation of its block; block decoding also expands the dictionary.
void Timdc_BZ2::keepExpected()
{
    const psString& f = getFuncName();
    if (f == "lumsMTFInv_8u") {
        expected.set(pSrcMTF, srcMTFLen);
    } else if (f == "lumsDecodeZ1Z2_BZ2_16u8u") {
        expected.set(pSrcZ1Z2, srcZ1Z2Len);
    } else if ((f == "lumsBWTInv_8u" || f == "lumsDecodeBlock_BZ2_16u8u") && idx == 0) {
        expected.set(pSrcBWT, srcBWTLen);
        dcSmallestRotation(expected.data(), expected.length());
        if (f == "lumsDecodeBlock_BZ2_16u8u") expandRanks(expected.data(), expected.length());
    }
}

psResult Timdc_BZ2::checkOutput()
{
    const psString& f = getFuncName();
    if (f == "lumsBWTInv_8u") return expected.compare(pSrcBWT, srcMTFLen, f);
    if (f == "lumsMTFInv_8u") {
        // The list goes on from call to call, so only a call from a fresh list decodes.
        if (!ok(lumsMTFInit_8u(pMTFState), "lumsMTFInit_8u")) return FUNCFAIL;
        i_lumsMTFInv_8u();
        if (!ok(tcall_lumsMTFInv_8u(), f.c_str())) return FUNCFAIL;
        return expected.compare(pSrcMTF, srcZ1Z2Len, f);
    }
    if (f == "lumsDecodeZ1Z2_BZ2_16u8u" || f == "lumsDecodeBlock_BZ2_16u8u")
        return expected.compare(pSrcZ1Z2, dstLen, f);
    return UNDEFINED;
}

#define DC_REG_BZ2(func) DC_REG_TEST_I(Timdc_BZ2, func, "Timdc_BZ2//PP_REG_I")

[[maybe_unused]] bool regLumEnvironment = psRegLumEnvironment(ppSetLumEnvironment);
[[maybe_unused]] bool regVersion_lumdc = psRegLumVersion(ppGetLumVersion_lumdc);
DC_REG_BZ2(lumsEncodeRLE_BZ2_8u)
DC_REG_BZ2(lumsReduceDictionary_8u_I)
DC_REG_BZ2(lumsExpandDictionary_8u_I)
DC_REG_BZ2(lumsBWTFwd_8u)
DC_REG_BZ2(lumsBWTInv_8u)
DC_REG_BZ2(lumsMTFFwd_8u)
DC_REG_BZ2(lumsMTFInv_8u)
DC_REG_BZ2(lumsEncodeZ1Z2_BZ2_8u16u)
DC_REG_BZ2(lumsDecodeZ1Z2_BZ2_16u8u)
DC_REG_BZ2(lumsDecodeBlock_BZ2_16u8u)
DC_REG_BZ2(lumsDecodeRLEState_BZ2_8u)
DC_REG_BZ2(lumsBWTFwd_SelectSort_8u)
DC_REG_TEST(Timdc_BZ2, lumsEncodeHuffInit_BZ2_16u8u, "Timdc_BZ2//PP_REG")

}  // namespace
