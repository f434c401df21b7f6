// Shared helpers of the block-sorting tests: repeated units, the Huffman and streaming
// drivers; byte vectors, corpus files and work areas come from the lum tests' helpers, the
// forward chain of a block and the .bz2 stream from the fuzz targets' bz2_format.h.
#ifndef TESTS_LUM_BZ2_TEST_BZ2_COMMON_H
#define TESTS_LUM_BZ2_TEST_BZ2_COMMON_H

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "../lum_test.h"
#include "lumdc.h"

namespace bz2test {

using namespace lumtest;
using Symbols = std::vector<Lum16u>;

inline Bytes repeated(const std::string& unit, size_t times) {
    Bytes b;
    for (size_t i = 0; i < times; ++i) b.insert(b.end(), unit.begin(), unit.end());
    return b;
}

// A real pointer for every buffer, empty ones included (the library refuses null ones).
template <class T>
T* ptr(std::vector<T>& v) {
    static T none[1];
    return v.empty() ? none : v.data();
}

// Appends the pending bits of a bit buffer (left-aligned), top byte first.
inline void flushBits(Lum32u& code, int& bits, Bytes& out) {
    for (; bits > 0; bits -= 8, code <<= 8) out.push_back(static_cast<Lum8u>(code >> 24));
    bits = 0;
}

// Packs the context of a ready encoder state and codes `sym` behind it, appending to `out`
// and continuing the bit buffer `code`/`bits` (left-aligned pending bits).
inline LumStatus huffEncode(LumEncodeHuffState_BZ2* st, const Symbols& sym, Lum32u& code, int& bits, Bytes& out) {
    const size_t at = out.size();
    out.resize(at + sym.size() * 3 + 40000);
    int packed = static_cast<int>(out.size() - at);
    LumStatus sts = lumsPackHuffContext_BZ2_16u8u(&code, &bits, out.data() + at, &packed, st);
    const Lum16u* src = sym.data();
    int left = static_cast<int>(sym.size()), coded = static_cast<int>(out.size() - at) - packed;
    if (sts != lumStsNoErr) return sts;
    sts = lumsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &left, out.data() + at + packed, &coded, st);
    EXPECT_EQ(left, 0);
    out.resize(at + static_cast<size_t>(packed + coded));
    return sts;
}

// Unpacks the context into a decoder state made ready by its init and decodes one block into
// `out`, cut to the symbols written; returns the status of the last call.
inline LumStatus huffDecode(LumDecodeHuffState_BZ2* st, Lum32u& code, int& bits, const Lum8u*& src, int& srcLen,
                            Symbols& out) {
    LumStatus sts = lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &srcLen, st);
    int n = sts == lumStsNoErr ? static_cast<int>(out.size()) : 0;
    if (sts == lumStsNoErr) sts = lumsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &srcLen, ptr(out), &n, st);
    out.resize(static_cast<size_t>(n));
    return sts;
}

// Calls `step(&src, &left, dst, &written)` over `in` with `room` elements of room per call,
// resuming after every lumStsDstFullWrn, and returns all that was written.
template <class Out, class In, class Step>
std::vector<Out> drain(std::vector<In> in, int room, Step step) {
    std::vector<Out> out, buf(static_cast<size_t>(room));
    In* p = ptr(in);
    int left = static_cast<int>(in.size());
    for (LumStatus sts = lumStsDstFullWrn; sts == lumStsDstFullWrn;) {
        const int before = left;
        int n = room;
        sts = step(&p, &left, buf.data(), &n);
        EXPECT_TRUE(sts == lumStsNoErr || sts == lumStsDstFullWrn) << sts;
        out.insert(out.end(), buf.begin(), buf.begin() + n);
        if (sts == lumStsDstFullWrn && n == 0 && left == before) {
            ADD_FAILURE() << "a full destination without progress";
            break;
        }
    }
    EXPECT_EQ(left, 0);
    return out;
}

}  // namespace bz2test

#endif
