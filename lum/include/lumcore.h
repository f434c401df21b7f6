/*
 * lumcore.h - types, status codes, CPU features and core services of the lum libraries.
 *
 * Everything in this header that is a type, a constant or a macro can be used without
 * linking liblumcore: a program may include it only for LumStatus, the feature bits and
 * the feature / level tables below.
 *
 * Code paths. Every function family of the lum libraries has a portable implementation
 * and, on x86-64, faster ones that need particular instruction-set extensions. The library
 * detects the processor (CPUID, and XGETBV for the register state the operating system
 * saves) when it is loaded, and every family then uses the fastest path whose features
 * are all enabled. lumSetCpuFeatures() narrows the enabled set, lumInit() restores the
 * detected one. Every path of a function returns bit-identical results.
 */
#ifndef LUMCORE_H
#define LUMCORE_H

#include <stdint.h>

#if defined(__GNUC__)
#define LUM_API __attribute__((visibility("default")))
#else
#define LUM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Types -------------------------------------------------------------------------- */

typedef uint8_t Lum8u;
typedef uint16_t Lum16u;
typedef uint32_t Lum32u;
typedef int32_t Lum32s;
typedef uint64_t Lum64u;
typedef int64_t Lum64s;

/* 0: no error; negative: error, nothing useful was produced; positive: warning, a partial
 * result the caller can continue from. */
typedef int LumStatus;

/* Static description of one library; see lumGetLibVersion(). */
typedef struct {
    int major;             /* 9 */
    int minor;             /* 0 */
    int majorBuild;        /* 0 */
    int build;             /* build number of this release */
    char targetCpu[4];     /* short code of the code-path level in force: "px", "s42", "av2", "a5" */
    const char* Name;      /* library name and code-path level, e.g. "lumdc AVX512 (a5)" */
    const char* Version;   /* e.g. "9.0.0 (r1)" */
    const char* BuildDate; /* compile date, e.g. "Nov 22 2025" */
} LumLibraryVersion;

/* ---- Status codes ------------------------------------------------------------------- */

enum {
    lumStsNoErr = 0,

    /* warnings */
    lumStsNoOperation = 1, /* nothing was done (for example a zero-length request) */
    lumStsSrcEndWrn = 2,   /* the source ended before the operation completed */
    lumStsDstFullWrn = 3,  /* the destination was full before the operation completed */

    /* errors */
    lumStsErr = -1,                 /* unclassified error */
    lumStsNullPtrErr = -2,          /* a required pointer is null */
    lumStsBadArgErr = -3,           /* an argument is out of its range */
    lumStsSizeErr = -4,             /* a length or capacity is out of range */
    lumStsMemAllocErr = -5,         /* memory could not be allocated */
    lumStsCorruptDataErr = -6,      /* compressed data are corrupt or invalid */
    lumStsUnsupportedModeErr = -7,  /* the requested mode or method is not supported */
    lumStsCpuNotSupportedErr = -8,  /* a requested CPU feature is not available */
    lumStsContextMatchErr = -9,     /* the work area was not prepared by the matching Init */
    lumStsThreadErr = -10           /* a worker thread could not be started */
};

/* Fixed English text for every code above, "Unknown status" for any other value. */
LUM_API const char* lumGetStatusString(LumStatus status);

/* ---- CPU features ------------------------------------------------------------------- */

/* One bit per feature. A bit is set in the detected mask only when the processor has the
 * feature AND the operating system makes it usable: AVX, AVX2 and VPCLMUL need
 * XGETBV to report the SSE and YMM state saved (XCR0 bits 1 and 2); the AVX-512 bits also
 * need the opmask and ZMM state (XCR0 bits 5, 6, 7). */
#define lumCpuFeatureSSE2       ((Lum64u)1 << 0)
#define lumCpuFeatureSSE3       ((Lum64u)1 << 1)
#define lumCpuFeatureSSSE3      ((Lum64u)1 << 2)
#define lumCpuFeatureSSE41      ((Lum64u)1 << 3)
#define lumCpuFeatureSSE42      ((Lum64u)1 << 4)
#define lumCpuFeaturePOPCNT     ((Lum64u)1 << 5)
#define lumCpuFeatureCLMUL      ((Lum64u)1 << 6)  /* PCLMULQDQ */
#define lumCpuFeatureAVX        ((Lum64u)1 << 7)
#define lumCpuFeatureAVX2       ((Lum64u)1 << 8)
#define lumCpuFeatureBMI1       ((Lum64u)1 << 9)
#define lumCpuFeatureBMI2       ((Lum64u)1 << 10)
#define lumCpuFeatureLZCNT      ((Lum64u)1 << 11)
#define lumCpuFeatureAVX512F    ((Lum64u)1 << 12)
#define lumCpuFeatureAVX512BW   ((Lum64u)1 << 13)
#define lumCpuFeatureAVX512VL   ((Lum64u)1 << 14)
#define lumCpuFeatureVPCLMUL    ((Lum64u)1 << 15) /* VPCLMULQDQ, 256- and 512-bit forms */

/* Union of every bit defined above. */
#define lumCpuFeatureAll (((Lum64u)1 << 16) - 1)

/* Name and mask of a single feature or of a code-path level. */
typedef struct {
    const char* name;
    Lum64u mask;
} LumCpuFeatureName;

/* Every feature bit with its short name, in bit order. Use as
 *     static const LumCpuFeatureName names[] = LUM_CPU_FEATURE_NAMES;  */
#define LUM_CPU_FEATURE_NAMES {                 \
    { "SSE2", lumCpuFeatureSSE2 },              \
    { "SSE3", lumCpuFeatureSSE3 },              \
    { "SSSE3", lumCpuFeatureSSSE3 },            \
    { "SSE41", lumCpuFeatureSSE41 },            \
    { "SSE42", lumCpuFeatureSSE42 },            \
    { "POPCNT", lumCpuFeaturePOPCNT },          \
    { "CLMUL", lumCpuFeatureCLMUL },            \
    { "AVX", lumCpuFeatureAVX },                \
    { "AVX2", lumCpuFeatureAVX2 },              \
    { "BMI1", lumCpuFeatureBMI1 },              \
    { "BMI2", lumCpuFeatureBMI2 },              \
    { "LZCNT", lumCpuFeatureLZCNT },            \
    { "AVX512F", lumCpuFeatureAVX512F },        \
    { "AVX512BW", lumCpuFeatureAVX512BW },      \
    { "AVX512VL", lumCpuFeatureAVX512VL },      \
    { "VPCLMUL", lumCpuFeatureVPCLMUL }         \
}

/* Code-path levels: cumulative masks, each containing the one before. */
#define lumCpuLevelSSE2   (lumCpuFeatureSSE2)
#define lumCpuLevelSSE42  (lumCpuLevelSSE2 | lumCpuFeatureSSE3 | lumCpuFeatureSSSE3 |     \
                           lumCpuFeatureSSE41 | lumCpuFeatureSSE42 | lumCpuFeaturePOPCNT | \
                           lumCpuFeatureCLMUL)
#define lumCpuLevelAVX2   (lumCpuLevelSSE42 | lumCpuFeatureAVX | lumCpuFeatureAVX2 |       \
                           lumCpuFeatureBMI1 | lumCpuFeatureBMI2 | lumCpuFeatureLZCNT)
#define lumCpuLevelAVX512 (lumCpuLevelAVX2 | lumCpuFeatureAVX512F | lumCpuFeatureAVX512BW | \
                           lumCpuFeatureAVX512VL | lumCpuFeatureVPCLMUL)

/* Named code-path levels, lowest first. Passing a level's mask to lumSetCpuFeatures()
 * selects the paths of that level:
 *   "SSE2"   the x86-64 baseline: every function runs its portable code;
 *   "SSE42"  SSE3 to SSE4.2, POPCNT and PCLMULQDQ: 128-bit carry-less folding for CRC-32
 *            and the bzip2 CRC, the crc32 instruction for CRC-32C, SSSE3 Adler-32;
 *   "AVX2"   adds AVX, AVX2, BMI1, BMI2, LZCNT: 256-bit Adler-32;
 *   "AVX512" adds AVX-512 F/BW/VL and VPCLMULQDQ: 512-bit folding and Adler-32.
 * A mask between two levels is valid too; each path runs when all its features are on
 * (AVX2 with VPCLMUL, for example, selects 256-bit folding for the CRCs). */
#define LUM_CPU_LEVELS {                        \
    { "SSE2", lumCpuLevelSSE2 },                \
    { "SSE42", lumCpuLevelSSE42 },              \
    { "AVX2", lumCpuLevelAVX2 },                \
    { "AVX512", lumCpuLevelAVX512 }             \
}

/* ---- Core services ------------------------------------------------------------------ */

/* Detects the processor and selects the fastest code path of every function family.
 * The libraries do this on their own when they are loaded, so calling it is optional;
 * after lumSetCpuFeatures() it restores the detected selection. Returns lumStsNoErr. */
LUM_API LumStatus lumInit(void);

/* The detected feature mask. pCpuidRegs, if not null, receives EAX, EBX, ECX, EDX of
 * CPUID leaf 1. lumStsNullPtrErr when pMask is null. */
LUM_API LumStatus lumGetCpuFeatures(Lum64u* pMask, Lum32u* pCpuidRegs);

/* The feature mask in force (the detected one unless lumSetCpuFeatures narrowed it). */
LUM_API Lum64u lumGetEnabledCpuFeatures(void);

/* Restricts every family to the code paths whose features are all in mask. SSE2 is part
 * of x86-64 and is always kept. Errors, which leave the previous selection in force:
 *   lumStsBadArgErr          mask is 0, or has bits that are no feature defined above;
 *   lumStsCpuNotSupportedErr mask asks for a feature the processor (or OS) lacks. */
LUM_API LumStatus lumSetCpuFeatures(Lum64u mask);

/* Thread budget of the library (default: processors online). n must be 1..1024,
 * else lumStsBadArgErr. */
LUM_API LumStatus lumSetNumThreads(int n);
LUM_API LumStatus lumGetNumThreads(int* pNumThreads);

/* Largest data or unified cache in bytes (at most INT_MAX), from the first source that
 * describes one: the deterministic cache leaves of CPUID (0x8000001D on processors with
 * the topology extensions, else leaf 4), the extended leaves 0x80000005/0x80000006, then
 * the operating system (sysconf, sysfs). lumStsCpuNotSupportedErr (size 0) when none does. */
LUM_API LumStatus lumGetMaxCacheSizeB(int* pSizeBytes);

/* Version record of liblumcore. */
LUM_API const LumLibraryVersion* lumGetLibVersion(void);

#ifdef __cplusplus
}
#endif

#endif /* LUMCORE_H */
