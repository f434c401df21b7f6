#include "core/version.h"

#include <cstdio>

#include "core/dispatch.h"

namespace lum {

namespace {

constexpr LumCpuFeatureName kLevelTable[] = LUM_CPU_LEVELS;
constexpr int kLevelCount = sizeof(kLevelTable) / sizeof(kLevelTable[0]);
// Short codes stored in LumLibraryVersion::targetCpu, in the order of kLevelTable.
constexpr const char* kLevelCodes[] = {"px", "s42", "av2", "a5"};
static_assert(sizeof(kLevelCodes) / sizeof(kLevelCodes[0]) == kLevelCount, "one code per level");

}  // namespace

int levelIndex(Lum64u mask) {
    int best = 0;
    for (int i = 0; i < kLevelCount; ++i) {
        if ((kLevelTable[i].mask & ~mask) == 0) best = i;
    }
    return best;
}

VersionRecords::VersionRecords(const char* library, const char* buildDate)
    : version_(std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
               std::to_string(kVersionMajorBuild) + " (r" + std::to_string(kVersionBuild) + ")"),
      buildDate_(buildDate) {
    static_assert(kLevels == kLevelCount, "one record per level");
    for (int i = 0; i < kLevels; ++i) {
        names_[i] = std::string(library) + " " + kLevelTable[i].name + " (" + kLevelCodes[i] + ")";
        LumLibraryVersion& r = records_[i];
        r.major = kVersionMajor;
        r.minor = kVersionMinor;
        r.majorBuild = kVersionMajorBuild;
        r.build = kVersionBuild;
        std::snprintf(r.targetCpu, sizeof(r.targetCpu), "%s", kLevelCodes[i]);
        r.Name = names_[i].c_str();
        r.Version = version_.c_str();
        r.BuildDate = buildDate_.c_str();
    }
}

const LumLibraryVersion* VersionRecords::current() const {
    return &records_[levelIndex(enabledFeatures())];
}

}  // namespace lum

extern "C" const LumLibraryVersion* lumGetLibVersion(void) {
    static const lum::VersionRecords records("lumcore", __DATE__);
    return records.current();
}
