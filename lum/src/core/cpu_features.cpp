#include "core/cpu_features.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define LUM_X86 1
#endif

namespace lum {

namespace {

#ifdef LUM_X86
// XCR0 through the raw instruction, so this file needs no special compile flags.
Lum64u hostXcr0() {
    Lum32u lo = 0, hi = 0;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<Lum64u>(hi) << 32) | lo;
}
#else
Lum64u hostXcr0() { return 0; }
#endif

CpuidRegs hostCpuid(Lum32u leaf, Lum32u subleaf) { return cpuid(leaf, subleaf); }

bool bit(Lum32u reg, int n) { return ((reg >> n) & 1u) != 0; }

}  // namespace

CpuidRegs cpuid(Lum32u leaf, Lum32u subleaf) {
    CpuidRegs r;
#ifdef LUM_X86
    __cpuid_count(leaf, subleaf, r.eax, r.ebx, r.ecx, r.edx);
#else
    (void)leaf;
    (void)subleaf;
#endif
    return r;
}

const CpuSources& hostCpuSources() {
    static const CpuSources host = {hostCpuid, hostXcr0};
    return host;
}

CpuInfo detectCpu(const CpuSources& src) {
    CpuInfo info;
    info.maxLeaf = src.cpuid(0, 0).eax;
    info.maxExtLeaf = src.cpuid(0x80000000u, 0).eax;
    if (info.maxLeaf < 1) return info;

    const CpuidRegs l1 = src.cpuid(1, 0);
    info.leaf1 = l1;
    const CpuidRegs l7 = info.maxLeaf >= 7 ? src.cpuid(7, 0) : CpuidRegs{};
    const CpuidRegs e1 = info.maxExtLeaf >= 0x80000001u ? src.cpuid(0x80000001u, 0) : CpuidRegs{};

    // Register state the OS saves on context switches: SSE+YMM for AVX, plus opmask and
    // both ZMM halves for AVX-512.
    const bool osxsave = bit(l1.ecx, 27);
    const Lum64u xcr0 = osxsave ? src.xcr0() : 0;
    const bool ymmState = (xcr0 & 0x6) == 0x6;
    const bool zmmState = ymmState && (xcr0 & 0xE0) == 0xE0;

    Lum64u f = 0;
    if (bit(l1.edx, 26)) f |= lumCpuFeatureSSE2;
    if (bit(l1.ecx, 0)) f |= lumCpuFeatureSSE3;
    if (bit(l1.ecx, 9)) f |= lumCpuFeatureSSSE3;
    if (bit(l1.ecx, 19)) f |= lumCpuFeatureSSE41;
    if (bit(l1.ecx, 20)) f |= lumCpuFeatureSSE42;
    if (bit(l1.ecx, 23)) f |= lumCpuFeaturePOPCNT;
    if (bit(l1.ecx, 1)) f |= lumCpuFeatureCLMUL;
    if (bit(l7.ebx, 3)) f |= lumCpuFeatureBMI1;
    if (bit(l7.ebx, 8)) f |= lumCpuFeatureBMI2;
    if (bit(e1.ecx, 5)) f |= lumCpuFeatureLZCNT;
    if (ymmState && bit(l1.ecx, 28)) {
        f |= lumCpuFeatureAVX;
        if (bit(l7.ebx, 5)) f |= lumCpuFeatureAVX2;
        if (bit(l7.ecx, 10)) f |= lumCpuFeatureVPCLMUL;
        if (zmmState && bit(l7.ebx, 16)) {
            f |= lumCpuFeatureAVX512F;
            if (bit(l7.ebx, 30)) f |= lumCpuFeatureAVX512BW;
            if (bit(l7.ebx, 31)) f |= lumCpuFeatureAVX512VL;
        }
    }
    info.features = f;
    return info;
}

const CpuInfo& cpuInfo() {
    static const CpuInfo info = detectCpu(hostCpuSources());
    return info;
}

}  // namespace lum
