#include "core/version.h"
#include "lumdc.h"

extern "C" const LumLibraryVersion* lumdcGetLibVersion(void) {
    static const lum::VersionRecords records("lumdc", __DATE__);
    return records.current();
}
