// Work areas of the lum functions are placed by the caller at any address and may be
// copied or moved between calls, so the fixed record at their start is copied in and out
// with memcpy instead of being used in place (no alignment is assumed, and no pointer
// into the area is ever kept in it).
#ifndef LUM_CORE_WORK_AREA_H
#define LUM_CORE_WORK_AREA_H

#include <cstring>

#include "lumcore.h"

namespace lum {

template <class Record>
Record loadRecord(const void* area) {
    Record r;
    std::memcpy(&r, area, sizeof r);
    return r;
}

// Loads the record and tells whether its magic word shows that the matching Init
// prepared the area.
template <class Record>
bool loadRecord(const void* area, Record& r, Lum32u magic) {
    std::memcpy(&r, area, sizeof r);
    return r.magic == magic;
}

template <class Record>
void storeRecord(void* area, const Record& r) {
    std::memcpy(area, &r, sizeof r);
}

}  // namespace lum

#endif
