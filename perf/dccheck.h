// The output check of decoders and inverse transforms: the bytes a measured
// function must reproduce are kept aside while its data is prepared, and after
// the (untimed) end of its measurement its output is compared with them, so that
// a fast but wrong library never yields a clean result.
#ifndef DC_CHECK_H
#define DC_CHECK_H

#include "psstring.h"
#include "results.h"

#include <vector>

class dcExpected {
public:
    // Keeps a copy of the len bytes at p as what the output must be.
    void set(const void* p, int len);
    void clear() { m_bytes.clear(); m_set = false; }
    bool isSet() const { return m_set; }
    unsigned char* data() { return m_bytes.data(); }
    int length() const { return static_cast<int>(m_bytes.size()); }

    // UNDEFINED when nothing is kept or the output matches; otherwise prints what
    // differs on the console and returns DATAFAIL.
    psResult compare(const void* out, int outLen, const psString& funcName) const;

private:
    std::vector<unsigned char> m_bytes;
    bool m_set = false;
};

// Compares an output with reference bytes the caller holds; as dcExpected::compare.
psResult dcCompareOutput(const void* out, int outLen, const void* ref, int refLen, const psString& funcName);

// Rotates the n bytes at p to their lexicographically smallest rotation: what an
// inverse Burrows-Wheeler transform gives for index 0.
void dcSmallestRotation(unsigned char* p, int n);

#endif
