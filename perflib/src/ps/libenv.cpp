#include "libenv.h"

#include "cpuinfo.h"
#include "streams.h"

#include <cpuid.h>
#include <cstring>

psLumGetCpuFeaturesFunc lum_GetCpuFeatures = nullptr;
psLumGetEnabledCpuFeaturesFunc lum_GetEnabledCpuFeatures = nullptr;
psLumGetMaxCacheSizeBFunc lum_GetMaxCacheSizeB = nullptr;
psLumGetStatusStringFunc lum_GetStatusString = nullptr;
psLumInitFunc lum_Init = nullptr;
psLumSetCpuFeaturesFunc lum_SetCpuFeatures = nullptr;
psLumSetNumThreadsFunc lum_SetNumThreads = nullptr;
psLumGetNumThreadsFunc lum_GetNumThreads = nullptr;

psStringList* g_pLibInfoList = nullptr;
Lum64u s_cpuFeature = 0;
int s_numThreads = 0;

static psLumEnvironmentFunc s_lumEnvironment = nullptr;
static psList<psLumVersionFunc>* s_lumVersionList = nullptr;

// ---------------------------------------------------------------- fallbacks

static LumStatus s_lumGetCpuFeatures(Lum64u* pMask, Lum32u*)
{
    if (pMask) *pMask = 0;
    return PS_LUM_NO_LIBRARY;
}
static Lum64u s_lumGetEnabledCpuFeatures() { return 0; }
static const char* s_lumGetStatusString(LumStatus status) { return status < 0 ? "Error" : status > 0 ? "Warning" : "OK"; }
static LumStatus s_lumInit() { return PS_LUM_NO_LIBRARY; }
static LumStatus s_lumSetCpuFeatures(Lum64u) { return PS_LUM_NO_LIBRARY; }
static LumStatus s_lumSetNumThreads(int) { return PS_LUM_NO_LIBRARY; }
static LumStatus s_lumGetNumThreads(int*) { return PS_LUM_NO_LIBRARY; }

// Statuses of the framework's cache-size detection.
enum { CACHE_NOT_COMPUTED = 1, CACHE_NO_CPU_SUPPORT = 36, CACHE_NOT_FOUND = 37 };

// Cache sizes in KB of the leaf-2 descriptors that name a data or unified cache.
static int leaf2CacheKB(unsigned char d)
{
    static const struct {
        unsigned char code;
        int kb;
    } table[] = {
        {0x0A, 8},     {0x0C, 16},    {0x0D, 16},    {0x0E, 24},    {0x21, 256},   {0x22, 512},   {0x23, 1024},
        {0x25, 2048},  {0x29, 4096},  {0x2C, 32},    {0x41, 128},   {0x42, 256},   {0x43, 512},   {0x44, 1024},
        {0x45, 2048},  {0x46, 4096},  {0x47, 8192},  {0x48, 3072},  {0x49, 4096},  {0x4A, 6144},  {0x4B, 8192},
        {0x4C, 12288}, {0x4D, 16384}, {0x4E, 6144},  {0x60, 16},    {0x66, 8},     {0x67, 16},    {0x68, 32},
        {0x78, 1024},  {0x79, 128},   {0x7A, 256},   {0x7B, 512},   {0x7C, 1024},  {0x7D, 2048},  {0x7F, 512},
        {0x80, 512},   {0x82, 256},   {0x83, 512},   {0x84, 1024},  {0x85, 2048},  {0x86, 512},   {0x87, 1024},
        {0xD0, 512},   {0xD1, 1024},  {0xD2, 2048},  {0xD6, 1024},  {0xD7, 2048},  {0xD8, 4096},  {0xDC, 1536},
        {0xDD, 3072},  {0xDE, 6144},  {0xE2, 2048},  {0xE3, 4096},  {0xE4, 8192},  {0xEA, 12288}, {0xEB, 18432},
        {0xEC, 24576},
    };
    for (const auto& e : table)
        if (e.code == d) return e.kb;
    return 0;
}

// Largest cache named by the leaf-2 descriptors, in bytes; -1 when none is named.
static int leaf2MaxCache()
{
    unsigned regs[4] = {0, 0, 0, 0};
    __cpuid(2, regs[0], regs[1], regs[2], regs[3]);
    int best = -1;
    for (int r = 0; r < 4; ++r) {
        if (regs[r] & 0x80000000u) continue;  // register holds no descriptors
        for (int b = (r == 0 ? 1 : 0); b < 4; ++b) {
            int kb = leaf2CacheKB(static_cast<unsigned char>(regs[r] >> (8 * b)));
            if (kb > 0 && kb * 1024 > best) best = kb * 1024;
        }
    }
    return best;
}

// Largest data or unified cache reported by the deterministic cache leaf 4.
static int leaf4MaxCache()
{
    int best = 0;
    for (unsigned sub = 0; sub < 32; ++sub) {
        unsigned a, b, c, d;
        __cpuid_count(4, sub, a, b, c, d);
        unsigned type = a & 0x1F;
        if (type == 0) break;
        if (type == 2) continue;  // instruction cache
        long long size = static_cast<long long>(c + 1) * ((b & 0xFFF) + 1) * (((b >> 12) & 0x3FF) + 1) * (((b >> 22) & 0x3FF) + 1);
        if (size > best) best = static_cast<int>(size);
    }
    return best;
}

LumStatus ps_lumGetMaxCacheSizeB(int* size)
{
    static LumStatus status = CACHE_NOT_COMPUTED;
    static int cacheSize = 0;
    if (status == CACHE_NOT_COMPUTED) {
        unsigned maxLeaf = 0, b = 0, c = 0, d = 0;
        char vendor[13] = {0};
        if (__get_cpuid(0, &maxLeaf, &b, &c, &d)) {
            std::memcpy(vendor, &b, 4);
            std::memcpy(vendor + 4, &d, 4);
            std::memcpy(vendor + 8, &c, 4);
        }
        if (maxLeaf <= 1 || std::strcmp(vendor, "GenuineOrvex") != 0) {
            status = CACHE_NO_CPU_SUPPORT;
        } else if (maxLeaf < 4) {
            int found = leaf2MaxCache();
            status = found < 0 ? CACHE_NOT_FOUND : 0;
            cacheSize = found < 0 ? 0 : found;
        } else {
            cacheSize = leaf4MaxCache();
            status = cacheSize == 0 ? CACHE_NOT_FOUND : 0;
        }
    }
    if (size) *size = cacheSize;
    return status;
}

// ---------------------------------------------------------------- registration

bool psRegLumEnvironment(psLumEnvironmentFunc fn)
{
    s_lumEnvironment = fn;
    return true;
}

bool psRegLumVersion(psLumVersionFunc fn)
{
    if (!s_lumVersionList) s_lumVersionList = new psList<psLumVersionFunc>;
    s_lumVersionList->add(fn);
    return true;
}

bool psLumEnvironmentRegistered() { return s_lumEnvironment != nullptr; }

template <class F>
static void fillSlot(F& slot, F fallback)
{
    if (!slot) slot = fallback;
}

bool setLumEnvironment()
{
    if (s_lumEnvironment) {
        s_lumEnvironment();
        g_ostrm << "\nLUM Core library functions have been integrated into PS\n";
    }
    fillSlot(lum_GetCpuFeatures, &s_lumGetCpuFeatures);
    fillSlot(lum_GetEnabledCpuFeatures, &s_lumGetEnabledCpuFeatures);
    fillSlot(lum_GetMaxCacheSizeB, &ps_lumGetMaxCacheSizeB);
    fillSlot(lum_GetStatusString, &s_lumGetStatusString);
    fillSlot(lum_Init, &s_lumInit);
    fillSlot(lum_SetCpuFeatures, &s_lumSetCpuFeatures);
    fillSlot(lum_SetNumThreads, &s_lumSetNumThreads);
    fillSlot(lum_GetNumThreads, &s_lumGetNumThreads);
    return true;
}

bool psRegLibInfo(const psString& info)
{
    if (!g_pLibInfoList) g_pLibInfoList = new psStringList;
    if (g_pLibInfoList->contains(info)) return false;
    g_pLibInfoList->add(info);
    return true;
}

static psString textOf(const char* s) { return psString(s ? s : ""); }

void setLumLibInfo()
{
    if (s_lumVersionList) {
        for (psLumVersionFunc fn : *s_lumVersionList) {
            const LumLibraryVersion* v = fn ? fn() : nullptr;
            if (!v) continue;
            psRegLibInfo(textOf(v->Name) + ", " + textOf(v->Version) + ", " + textOf(v->BuildDate));
        }
    }
    g_ostrm << "LUM libraries information has been set into PS\n";
}

// ---------------------------------------------------------------- -T and -N

// "--status = lumStsNoErr", or the error or warning line of a failed call.
static void printStatus(LumStatus status)
{
    if (status == 0) {
        g_ostrm << "--status = lumStsNoErr\n";
        return;
    }
    g_ostrm << (status < 0 ? "--LUM ERROR. " : "--LUM WARNING. ") << "status = " << status << ": "
            << textOf(lum_GetStatusString(status)) << "\n";
}

static void applyCpuFeatures()
{
    if (s_cpuFeature == 0) {
        lum_Init();
        return;
    }
    g_ostrm << ERR << "\n"
            << "--calling lumSetCpuFeatures( lumCpuFeatures" << psCpuFeatures::cpuLabel(s_cpuFeature) << "="
            << s_cpuFeature << " )\n";
    LumStatus status = lum_SetCpuFeatures(s_cpuFeature);
    printStatus(status);
    if (status < 0) {
        g_ostrm << "--calling lumInit()\n";
        LumStatus init = lum_Init();
        if (init < 0) printStatus(init);
    }
    g_ostrm << END_MSG;
}

static void applyNumThreads()
{
    int n = 0;
    lum_GetNumThreads(&n);
    g_ostrm << ERR << "\n"
            << "--calling lumGetNumThreads: numThreads = " << n << "\n";
    if (s_numThreads > 0) {
        g_ostrm << "--calling lumSetNumThreads( " << s_numThreads << " )\n";
        printStatus(lum_SetNumThreads(s_numThreads));
    }
    g_ostrm << END_MSG;
}

void psApplyLumSettings()
{
    if (!s_lumEnvironment) return;
    applyCpuFeatures();
    applyNumThreads();
    setLumEnvironment();
}

void psResetLumEnvironment()
{
    lum_GetCpuFeatures = nullptr;
    lum_GetEnabledCpuFeatures = nullptr;
    lum_GetMaxCacheSizeB = nullptr;
    lum_GetStatusString = nullptr;
    lum_Init = nullptr;
    lum_SetCpuFeatures = nullptr;
    lum_SetNumThreads = nullptr;
    lum_GetNumThreads = nullptr;
    s_lumEnvironment = nullptr;
    delete s_lumVersionList;
    s_lumVersionList = nullptr;
    delete g_pLibInfoList;
    g_pLibInfoList = nullptr;
    s_cpuFeature = 0;
    s_numThreads = 0;
}
