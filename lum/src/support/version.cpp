#include "core/version.h"
#include "lums.h"

extern "C" const LumLibraryVersion* lumsGetLibVersion(void) {
    static const lum::VersionRecords records("lums", __DATE__);
    return records.current();
}
