// Processor identification: CPUID / XGETBV queries and the detected feature mask.
#ifndef LUM_CORE_CPU_FEATURES_H
#define LUM_CORE_CPU_FEATURES_H

#include "core/export.h"
#include "lumcore.h"

namespace lum {

struct CpuidRegs {
    Lum32u eax = 0, ebx = 0, ecx = 0, edx = 0;
};

// Executes CPUID for a leaf and sub-leaf. All zero on processors without CPUID.
CpuidRegs cpuid(Lum32u leaf, Lum32u subleaf = 0);

struct CpuInfo {
    Lum64u features = 0;    // lumCpuFeature... bits, OS support folded in
    CpuidRegs leaf1;        // basic leaf 1 as reported
    Lum32u maxLeaf = 0;     // highest basic leaf
    Lum32u maxExtLeaf = 0;  // highest extended leaf (0x8000xxxx)
};

// Where detection reads the processor: the host's instructions, or a simulated processor
// in tests (as the cache size has its own replaceable sources).
struct CpuSources {
    CpuidRegs (*cpuid)(Lum32u leaf, Lum32u subleaf);  // CPUID answers
    Lum64u (*xcr0)();  // XGETBV(0): register state the OS saves; read only under OSXSAVE
};

// The host's CPUID and XGETBV (all zero where the instructions do not exist).
LUM_INTERNAL const CpuSources& hostCpuSources();

// The facts the sources describe: the feature bits count only where the OS saves the
// registers they use (YMM for AVX, AVX2 and VPCLMUL; opmask and ZMM for AVX-512).
LUM_INTERNAL CpuInfo detectCpu(const CpuSources& sources);

// The host's facts, detected once, on first use.
LUM_INTERNAL const CpuInfo& cpuInfo();

}  // namespace lum

#endif
