// The measured library's basic types (masks, statuses, the version record), from
// its header when it is there, else the framework's own equivalents.
#ifndef PS_LUMTYPES_H
#define PS_LUMTYPES_H

#if __has_include(<lumcore.h>)
#include <lumcore.h>
#else
#include <cstdint>
typedef uint32_t Lum32u;
typedef uint64_t Lum64u;
typedef int LumStatus;
typedef struct {
    int major;
    int minor;
    int majorBuild;
    int build;
    char targetCpu[4];
    const char* Name;
    const char* Version;
    const char* BuildDate;
} LumLibraryVersion;
#endif

#endif
