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

// Detected once, on first use.
LUM_INTERNAL const CpuInfo& cpuInfo();

}  // namespace lum

#endif
