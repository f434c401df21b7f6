// Checksum tests: Adler-32, CRC-32, CRC-32C and the BZ2 CRC over random data of
// every "CodeLength", from a running checksum that is never reset.
#include "dckernels.h"
#include "dclum.h"
#include "dcparams.h"
#include "registry.h"

namespace {

ppVector src;
Lum8u* pSrc = nullptr;
int srcLen = 0;
Lum32u checksum = 0;  // each call continues from the value the previous one left

class TimdcChecksum : public ppTest {
public:
    using ppTest::ppTest;
    ~TimdcChecksum() override {}

    bool canStart() override
    {
        addParameter(&g_codeLen);
        src.setType(pp8u);
        return true;
    }

    bool initData() override
    {
        srcLen = g_codeLen.value();
        if (!src.create(srcLen, ppFillRandom, 0, 0)) return false;
        pSrc = src.ptr<Lum8u>();
        return true;
    }

    void flushData() override { src.deleteData(); }
    double getDivisor() override { return g_codeLen.value(); }
    psString getUnit() override { return "e"; }
};

// One call of each measured function, and its two measurement kernels.
#define DC_CHECKSUM(func)                                   \
    int tcall_##func() { return func(pSrc, srcLen, &checksum); } \
    DC_KERNELS(func)

DC_CHECKSUM(lumsAdler32_8u)
DC_CHECKSUM(lumsCRC32_8u)
DC_CHECKSUM(lumsCRC32C_8u)
DC_CHECKSUM(lumsCRC32_BZ2_8u)

#define DC_REG_CHECKSUM(func)                                                                      \
    [[maybe_unused]] bool reg_##func = psRegTest(new TimdcChecksum(tcall_##func, nullptr, tim_##func##_loop,        \
                                                  tim_##func##_stat, #func, __FILE__,              \
                                                  "TimdcChecksum//PP_REG")) != 0;

[[maybe_unused]] bool regLumEnvironment = psRegLumEnvironment(ppSetLumEnvironment);
[[maybe_unused]] bool regVersion_lumdc = psRegLumVersion(ppGetLumVersion_lumdc);
DC_REG_CHECKSUM(lumsAdler32_8u)
DC_REG_CHECKSUM(lumsCRC32_8u)
DC_REG_CHECKSUM(lumsCRC32C_8u)
DC_REG_CHECKSUM(lumsCRC32_BZ2_8u)

}  // namespace
