#include "libenv.h"

#include "cachesize.h"
#include "cpuinfo.h"
#include "streams.h"

psLumGetCpuFeaturesFunc lum_GetCpuFeatures = nullptr;
psLumGetEnabledCpuFeaturesFunc lum_GetEnabledCpuFeatures = nullptr;
psLumGetMaxCacheSizeBFunc lum_GetMaxCacheSizeB = nullptr;
psLumGetStatusStringFunc lum_GetStatusString = nullptr;
psLumInitFunc lum_Init = nullptr;
psLumSetCpuFeaturesFunc lum_SetCpuFeatures = nullptr;
psLumSetNumThreadsFunc lum_SetNumThreads = nullptr;
psLumGetNumThreadsFunc lum_GetNumThreads = nullptr;

psStringList* g_pLibInfoList = nullptr;

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

static void applyCpuFeatures(Lum64u cpuFeatures)
{
    if (cpuFeatures == 0) {
        lum_Init();
        return;
    }
    g_ostrm << ERR << "\n"
            << "--calling lumSetCpuFeatures( lumCpuFeatures" << psCpuFeatures::cpuLabel(cpuFeatures) << "="
            << cpuFeatures << " )\n";
    LumStatus status = lum_SetCpuFeatures(cpuFeatures);
    printStatus(status);
    if (status < 0) {
        g_ostrm << "--calling lumInit()\n";
        LumStatus init = lum_Init();
        if (init < 0) printStatus(init);
    }
    g_ostrm << END_MSG;
}

static void applyNumThreads(int numThreads)
{
    int n = 0;
    lum_GetNumThreads(&n);
    g_ostrm << ERR << "\n"
            << "--calling lumGetNumThreads: numThreads = " << n << "\n";
    if (numThreads > 0) {
        g_ostrm << "--calling lumSetNumThreads( " << numThreads << " )\n";
        printStatus(lum_SetNumThreads(numThreads));
    }
    g_ostrm << END_MSG;
}

void psApplyLumSettings(Lum64u cpuFeatures, int numThreads)
{
    if (!s_lumEnvironment) return;
    applyCpuFeatures(cpuFeatures);
    applyNumThreads(numThreads);
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
}
