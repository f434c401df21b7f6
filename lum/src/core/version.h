// Version records of the lum libraries, one per code-path level.
#ifndef LUM_CORE_VERSION_H
#define LUM_CORE_VERSION_H

#include <string>

#include "core/export.h"
#include "lumcore.h"

namespace lum {

constexpr int kVersionMajor = 9;
constexpr int kVersionMinor = 0;
constexpr int kVersionMajorBuild = 0;
constexpr int kVersionBuild = 1;

// Index in LUM_CPU_LEVELS of the highest level whose features are all in mask.
LUM_INTERNAL int levelIndex(Lum64u mask);

// The records of one library. current() picks the one of the level in force, so the
// name tells which code paths the library is running.
class LUM_INTERNAL VersionRecords {
public:
    VersionRecords(const char* library, const char* buildDate);
    VersionRecords(const VersionRecords&) = delete;
    VersionRecords& operator=(const VersionRecords&) = delete;

    const LumLibraryVersion* current() const;

private:
    static constexpr int kLevels = 4;
    std::string names_[kLevels];
    std::string version_;
    std::string buildDate_;
    LumLibraryVersion records_[kLevels];
};

}  // namespace lum

#endif
