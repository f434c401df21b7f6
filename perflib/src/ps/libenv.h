// The library environment: the eight core-service slots through which the framework
// calls the measured library, the built-in fallbacks used when no test module filled
// them, and the library version lines shown in the reports.
#ifndef PS_LIBENV_H
#define PS_LIBENV_H

#include "lumtypes.h"
#include "psstring.h"

typedef LumStatus (*psLumGetCpuFeaturesFunc)(Lum64u* pMask, Lum32u* pCpuidRegs);
typedef Lum64u (*psLumGetEnabledCpuFeaturesFunc)();
typedef LumStatus (*psLumGetMaxCacheSizeBFunc)(int* pSize);
typedef const char* (*psLumGetStatusStringFunc)(LumStatus status);
typedef LumStatus (*psLumInitFunc)();
typedef LumStatus (*psLumSetCpuFeaturesFunc)(Lum64u mask);
typedef LumStatus (*psLumSetNumThreadsFunc)(int n);
typedef LumStatus (*psLumGetNumThreadsFunc)(int* pN);

// The slots; a registered environment function fills them with the library's entries.
extern psLumGetCpuFeaturesFunc lum_GetCpuFeatures;
extern psLumGetEnabledCpuFeaturesFunc lum_GetEnabledCpuFeatures;
extern psLumGetMaxCacheSizeBFunc lum_GetMaxCacheSizeB;
extern psLumGetStatusStringFunc lum_GetStatusString;
extern psLumInitFunc lum_Init;
extern psLumSetCpuFeaturesFunc lum_SetCpuFeatures;
extern psLumSetNumThreadsFunc lum_SetNumThreads;
extern psLumGetNumThreadsFunc lum_GetNumThreads;

// Status the fallbacks return: the library is not there.
enum { PS_LUM_NO_LIBRARY = -2 };

typedef void (*psLumEnvironmentFunc)();
typedef const LumLibraryVersion* (*psLumVersionFunc)();

// The last registration wins.
bool psRegLumEnvironment(psLumEnvironmentFunc fn);
// Appends to the version list (repeats allowed).
bool psRegLumVersion(psLumVersionFunc fn);
bool psLumEnvironmentRegistered();

// Calls the registered environment (printing that it did) and fills the slots still
// empty with the fallbacks.
bool setLumEnvironment();
// Turns every registered version record into one library information line.
void setLumLibInfo();
// Adds a distinct library information line; false when it is already there.
bool psRegLibInfo(const psString& info);
extern psStringList* g_pLibInfoList;

// Applies -T (cpuFeatures, 0: not given) and -N (numThreads, 0 or less: not given)
// through the slots, with the console messages of the start-up.
void psApplyLumSettings(Lum64u cpuFeatures, int numThreads);

// Empties the slots, the registrations and the information lines (for tests).
void psResetLumEnvironment();

#endif
