// LZO tests: the encoder and the plain and bounds-checking decoders over corpus
// data cut to every "CodeLength", for each LZO method of the library. The
// decoders decode what the encoder produced once while the data was prepared.
#include "dclum.h"
#include "dcmodule.h"

namespace {

dcCoderData data;
Lum8u* pSrc = nullptr;
Lum8u* pDst = nullptr;
int srcLen = 0;
int dstLen = 0;
psMapIterator<LumLZOMethod> method;

LumLZOState_8u* state() { return static_cast<LumLZOState_8u*>(data.pState); }

void i_lumsEncodeLZO_8u() { dstLen = data.maxDstLen; }
void i_lumsDecodeLZO_8u() { srcLen = data.maxSrcLen; }
void i_lumsDecodeLZOSafe_8u() { srcLen = data.maxSrcLen; }

int tcall_lumsEncodeLZO_8u() { return lumsEncodeLZO_8u(pSrc, srcLen, pDst, &dstLen, state()); }
int tcall_lumsDecodeLZO_8u() { return lumsDecodeLZO_8u(pDst, dstLen, pSrc, &srcLen); }
int tcall_lumsDecodeLZOSafe_8u() { return lumsDecodeLZOSafe_8u(pDst, dstLen, pSrc, &srcLen); }

DC_KERNELS_I(lumsEncodeLZO_8u)
DC_KERNELS_I(lumsDecodeLZO_8u)
DC_KERNELS_I(lumsDecodeLZOSafe_8u)

class TimdcLZO : public dcCoderTest<data> {
public:
    using dcCoderTest::dcCoderTest;
    ~TimdcLZO() override {}

    bool canStart() override
    {
        m_encode = getFuncName().contains("Encode");
        addParameter(&g_codeLen);
        addParameter(&g_codeFile);
        addParameter(&method);
        method.resetMap();
        method.addWord("ST", lumLZO1XST);
        method.addWord("MT", lumLZO1XMT);
        method.reset();  // every value of the table is valid
        method.setName("method");
        method.setPrompt("");
        method.add(lumLZO1XST);
        method.add(lumLZO1XMT);
        data.src.setType(pp8u);
        data.dst.setType(pp8u);
        return true;
    }

    bool initData() override
    {
        if (!data.load()) return false;
        int size = 0;
        if (checkStatus(lumsEncodeLZOGetSize(method.value(), data.len, &size), "lumsEncodeLZOGetSize") > WARNING)
            return false;
        if (!data.allocState(size)) return false;
        if (checkStatus(lumsEncodeLZOInit_8u(method.value(), data.len, state()), "lumsEncodeLZOInit_8u") > WARNING)
            return false;
        pSrc = data.src.ptr<Lum8u>();
        pDst = data.dst.ptr<Lum8u>();
        data.maxSrcLen = srcLen = data.len;
        dstLen = data.maxDstLen;
        if (m_encode) return true;

        data.expected.set(pSrc, data.len);
        if (checkStatus(tcall_lumsEncodeLZO_8u(), "lumsEncodeLZO_8u") > WARNING) return false;
        data.maxDstLen = dstLen;  // the compressed length, the decoders' source length
        data.maxSrcLen = 2 * data.len;
        return true;
    }

    void parmsToCstrm() override
    {
        dcLengthToCstrm(data.len);
        g_codeFile.toCStream(g_cstrm);
        method.toCStream(g_cstrm);
    }

    // Each decoder call decodes the whole stream again into the corpus data's place.
    psResult checkOutput() override { return data.expected.compare(pSrc, srcLen, getFuncName()); }

private:
    bool m_encode = false;
};

[[maybe_unused]] bool regLumEnvironment = psRegLumEnvironment(ppSetLumEnvironment);
[[maybe_unused]] bool regVersion_lumdc = psRegLumVersion(ppGetLumVersion_lumdc);
DC_REG_TEST_I(TimdcLZO, lumsEncodeLZO_8u, "TimdcLZO//PP_REG_I")
DC_REG_TEST_I(TimdcLZO, lumsDecodeLZO_8u, "TimdcLZO//PP_REG_I")
DC_REG_TEST_I(TimdcLZO, lumsDecodeLZOSafe_8u, "TimdcLZO//PP_REG_I")

}  // namespace
