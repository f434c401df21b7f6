// Dictionary reduction and expansion: byte values are replaced by their rank among the
// values in use and back, through 256-entry translation tables.
#include "bz2/bz2_common.h"

namespace lum::bz2 {
namespace {

inline void translate(const Lum8u table[256], Lum8u* p, int len) {
    for (int i = 0; i < len; ++i) p[i] = table[p[i]];
}

}  // namespace

void expansionTable(const Lum8u inUse[256], Lum8u value[256]) {
    int count = 0;
    for (int v = 0; v < 256; ++v)
        if (inUse[v]) value[count++] = static_cast<Lum8u>(v);
    for (int r = count; r < 256; ++r) value[r] = static_cast<Lum8u>(r);
}

}  // namespace lum::bz2

extern "C" {

LumStatus lumsReduceDictionary_8u_I(const Lum8u inUse[256], Lum8u* pSrcDst, int len,
                                    int* pSizeDictionary) {
    if (inUse == nullptr || pSrcDst == nullptr || pSizeDictionary == nullptr)
        return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    Lum8u rank[256];
    int count = 0;
    for (int v = 0; v < 256; ++v) {
        rank[v] = static_cast<Lum8u>(inUse[v] ? count : 0);
        count += inUse[v] != 0;
    }
    lum::bz2::translate(rank, pSrcDst, len);
    *pSizeDictionary = count;
    return lumStsNoErr;
}

LumStatus lumsExpandDictionary_8u_I(const Lum8u inUse[256], Lum8u* pSrcDst, int len,
                                    int sizeDictionary) {
    if (inUse == nullptr || pSrcDst == nullptr) return lumStsNullPtrErr;
    if (len < 0) return lumStsSizeErr;
    if (sizeDictionary < 0 || sizeDictionary > 256) return lumStsBadArgErr;
    Lum8u value[256];
    lum::bz2::expansionTable(inUse, value);
    lum::bz2::translate(value, pSrcDst, len);
    return lumStsNoErr;
}

}  // extern "C"
