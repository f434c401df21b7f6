// The library-facing functions every test module carries a copy of: the one that
// puts the library's core services into the framework's slots, and the one that
// returns the library's version record. Being static, each module that includes
// this header registers its own copies.
#ifndef DC_LUM_H
#define DC_LUM_H

#include "libenv.h"

#include <lumcore.h>
#include <lumdc.h>

static void ppSetLumEnvironment()
{
    lum_GetCpuFeatures = lumGetCpuFeatures;
    lum_GetEnabledCpuFeatures = lumGetEnabledCpuFeatures;
    lum_GetMaxCacheSizeB = lumGetMaxCacheSizeB;
    lum_GetStatusString = lumGetStatusString;
    lum_Init = lumInit;
    lum_SetCpuFeatures = lumSetCpuFeatures;
    lum_SetNumThreads = lumSetNumThreads;
    lum_GetNumThreads = lumGetNumThreads;
}

static const LumLibraryVersion* ppGetLumVersion_lumdc() { return lumdcGetLibVersion(); }

#endif
