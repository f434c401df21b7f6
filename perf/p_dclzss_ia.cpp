// LZSS tests: the encoder over corpus data cut to every "CodeLength", from a state
// that is never initialised again, and the decoder, from a fresh state on every
// call, on the stream that encoding and flushing produced.
#include "dclum.h"
#include "dcmodule.h"

namespace {

dcCoderData data;
Lum8u* pSrc = nullptr;  // call arguments, advanced by the calls
Lum8u* pDst = nullptr;
int srcLen = 0;
int dstLen = 0;

LumLZSSState_8u* state() { return static_cast<LumLZSSState_8u*>(data.pState); }

void i_lumsEncodeLZSS_8u()
{
    pSrc = data.src.ptr<Lum8u>();
    pDst = data.dst.ptr<Lum8u>();
    srcLen = data.maxSrcLen;
    dstLen = data.maxDstLen;
}

void i_lumsDecodeLZSS_8u()
{
    i_lumsEncodeLZSS_8u();
    lumsDecodeLZSSInit_8u(state());
}

int tcall_lumsEncodeLZSS_8u() { return lumsEncodeLZSS_8u(&pSrc, &srcLen, &pDst, &dstLen, state()); }
int tcall_lumsDecodeLZSS_8u() { return lumsDecodeLZSS_8u(&pDst, &dstLen, &pSrc, &srcLen, state()); }

DC_KERNELS_I(lumsEncodeLZSS_8u)
DC_KERNELS_I(lumsDecodeLZSS_8u)

class TimdcLZSS : public dcCoderTest<data> {
public:
    using dcCoderTest::dcCoderTest;
    ~TimdcLZSS() override {}

    bool canStart() override
    {
        m_encode = getFuncName().contains("Encode");
        addParameter(&g_codeLen);
        addParameter(&g_codeFile);
        data.src.setType(pp8u);
        data.dst.setType(pp8u);
        return true;
    }

    bool initData() override
    {
        if (!data.load()) return false;
        int size = 0;
        if (checkStatus(lumsLZSSGetSize_8u(&size), "lumsLZSSGetSize_8u") > WARNING) return false;
        if (!data.allocState(size)) return false;
        if (checkStatus(lumsEncodeLZSSInit_8u(state()), "lumsEncodeLZSSInit_8u") > WARNING) return false;
        data.maxSrcLen = data.len;
        if (m_encode) return true;

        data.expected.set(data.src.data(), data.len);
        srcLen = data.len;
        pSrc = data.src.ptr<Lum8u>();
        pDst = data.dst.ptr<Lum8u>();
        dstLen = data.maxDstLen;
        if (checkStatus(tcall_lumsEncodeLZSS_8u(), "lumsEncodeLZSS_8u") > WARNING) return false;
        if (checkStatus(lumsEncodeLZSSFlush_8u(&pDst, &dstLen, state()), "lumsEncodeLZSSFlush_8u") > WARNING)
            return false;
        data.maxDstLen -= dstLen;  // the room left, taken from the room given: the stream's length
        data.maxSrcLen = 2 * data.len;
        return checkStatus(lumsDecodeLZSSInit_8u(state()), "lumsDecodeLZSSInit_8u") <= WARNING;
    }

    void parmsToCstrm() override
    {
        dcLengthToCstrm(data.len);
        g_codeFile.toCStream(g_cstrm);
    }

    // The decoder's last call, from a fresh state, must have given back the corpus bytes.
    psResult checkOutput() override
    {
        return data.expected.compare(data.src.data(), data.maxSrcLen - srcLen, getFuncName());
    }

private:
    bool m_encode = false;
};

[[maybe_unused]] bool regLumEnvironment = psRegLumEnvironment(ppSetLumEnvironment);
[[maybe_unused]] bool regVersion_lumdc = psRegLumVersion(ppGetLumVersion_lumdc);
DC_REG_TEST_I(TimdcLZSS, lumsEncodeLZSS_8u, "TimdcLZSS//PP_REG_I")
DC_REG_TEST_I(TimdcLZSS, lumsDecodeLZSS_8u, "TimdcLZSS//PP_REG_I")

}  // namespace
