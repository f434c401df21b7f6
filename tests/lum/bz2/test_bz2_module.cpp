// Replays what the benchmark's BZ2 pipeline module does: its preparation chain on a corpus
// file (the RLE flush written over the start of the encoded data, the stale tail counted
// in), then each measured call several times on what the calls before left: reducing
// reduced data, expanding expanded data, the inverse BWT over its own input, MTF from the
// previous list, RLE decoding of reduced data with the encoder's state, and the
// select-sort with every hint. Every call must return lumStsNoErr.
#include <gtest/gtest.h>

#include <functional>

#include "test_bz2_common.h"

namespace {

using namespace bz2test;

constexpr int kCodeLength = 102400;
constexpr int kRepeats = 3;

// The module's buffers and the preparation every one of its tests runs first.
struct Module {
    int len = 0, maxLen = 4 * kCodeLength;
    Bytes srcRLE, srcDict, srcBWT, srcMTF, srcZ1Z2, dstZ1Z2;
    int srcRLELen = 0, srcDictLen = 0, srcBWTLen = 0, srcMTFLen = 0, srcZ1Z2Len = 0, dstZ1Z2Len = 0;
    Bytes rleState, mtfState, bwtBuff, huffState;
    Lum8u inUse[256] = {};
    int sizeDictionary = 0, idx = 0;
    Lum32u freqTable[258];
    Bytes rleData;  // the dictionary input reduced and expanded, what the decoders give back

    LumRLEState_BZ2* rle() { return reinterpret_cast<LumRLEState_BZ2*>(rleState.data()); }
    LumMTFState_8u* mtf() { return reinterpret_cast<LumMTFState_8u*>(mtfState.data()); }
    Lum16u* symbols() { return reinterpret_cast<Lum16u*>(dstZ1Z2.data()); }

    void prepare(const Bytes& file, bool inverse) {
        // Stage buffers hold arbitrary bytes, as fresh allocations would.
        static const Bytes noise = randomBytes(static_cast<size_t>(maxLen), 1);
        for (Bytes* b : {&srcRLE, &srcDict, &srcBWT, &srcMTF, &srcZ1Z2, &dstZ1Z2}) *b = noise;
        len = static_cast<int>(std::min<size_t>(file.size(), kCodeLength));
        std::copy_n(file.begin(), len, srcRLE.begin());

        rleState = workArea(lumsRLEGetSize_BZ2_8u);
        ASSERT_EQ(lumsEncodeRLEInit_BZ2_8u(rle()), lumStsNoErr);
        srcRLELen = len;
        Lum8u* pSrc = srcRLE.data();
        int srcLen = srcRLELen, dstLen = maxLen;
        ASSERT_EQ(lumsEncodeRLE_BZ2_8u(&pSrc, &srcLen, srcDict.data(), &dstLen, rle()), lumStsNoErr);
        srcDictLen = dstLen;
        ASSERT_EQ(lumsEncodeRLEFlush_BZ2_8u(srcDict.data(), &dstLen, rle()), lumStsNoErr);
        srcDictLen += dstLen;
        ASSERT_EQ(lumsRLEGetInUseTable_8u(inUse, rle()), lumStsNoErr);
        // The stale tail may hold values the encoder never wrote: they reduce to rank 0.
        rleData.assign(srcDict.begin(), srcDict.begin() + srcDictLen);
        const Lum8u first = static_cast<Lum8u>(std::find(inUse, inUse + 256, 1) - inUse);
        for (Lum8u& v : rleData) v = inUse[v] ? v : first;

        sizeDictionary = static_cast<int>(std::count_if(std::begin(inUse), std::end(inUse),
                                                        [](Lum8u v) { return v != 0; }));
        srcBWTLen = srcDictLen;
        ASSERT_EQ(lumsReduceDictionary_8u_I(inUse, srcDict.data(), srcDictLen, &sizeDictionary), lumStsNoErr);
        ASSERT_EQ(lumsCopy_8u(srcDict.data(), srcBWT.data(), srcDictLen), lumStsNoErr);

        bwtBuff = workArea([&](int* s) { return lumsBWTFwdGetSize_8u(srcBWTLen, s); });
        srcMTFLen = srcBWTLen;
        idx = 0;
        ASSERT_EQ(lumsBWTFwd_8u(srcBWT.data(), srcMTF.data(), srcBWTLen, &idx, bwtBuff.data()), lumStsNoErr);
        if (inverse) bwtBuff = workArea([&](int* s) { return lumsBWTInvGetSize_8u(srcBWTLen, s); });

        mtfState = workArea(lumsMTFGetSize_8u);
        ASSERT_EQ(lumsMTFInit_8u(mtf()), lumStsNoErr);
        srcZ1Z2Len = srcMTFLen;
        ASSERT_EQ(lumsMTFFwd_8u(srcMTF.data(), srcZ1Z2.data(), srcMTFLen, mtf()), lumStsNoErr);
        if (inverse) {
            ASSERT_EQ(lumsMTFInit_8u(mtf()), lumStsNoErr);
        }

        std::fill_n(freqTable, 256, 0u);  // the last two counters are left as they were
        for (int i = 0; i < srcZ1Z2Len; ++i) ++freqTable[srcMTF[static_cast<size_t>(i)]];
        pSrc = srcZ1Z2.data();
        srcLen = srcZ1Z2Len;
        dstLen = maxLen >> 1;
        ASSERT_EQ(lumsEncodeZ1Z2_BZ2_8u16u(&pSrc, &srcLen, symbols(), &dstLen, freqTable), lumStsNoErr);
        dstZ1Z2Len = dstLen;

        huffState = workArea([](int* s) { return lumsEncodeHuffGetSize_BZ2_16u8u(100000, s); });
        ASSERT_EQ(lumsEncodeHuffInit_BZ2_16u8u(sizeDictionary, freqTable, symbols(), dstZ1Z2Len,
                                               reinterpret_cast<LumEncodeHuffState_BZ2*>(huffState.data())),
                  lumStsNoErr);
    }
};

// One measured call of the module, with its own argument reset.
struct Call {
    const char* name;
    std::function<LumStatus(Module&)> run;
};

LumStatus selectSort(Module& m, LumBWTSortAlgorithmHint hint) {
    m.idx = 0;
    return lumsBWTFwd_SelectSort_8u(m.srcBWT.data(), m.srcMTF.data(), m.srcBWTLen, &m.idx, m.bwtBuff.data(), hint);
}

const Call kCalls[] = {
    {"lumsEncodeRLE_BZ2_8u", [](Module& m) {
         Lum8u* pSrc = m.srcRLE.data();
         int srcLen = m.srcRLELen, dstLen = m.maxLen;
         return lumsEncodeRLE_BZ2_8u(&pSrc, &srcLen, m.srcDict.data(), &dstLen, m.rle());
     }},
    {"lumsReduceDictionary_8u_I", [](Module& m) {
         return lumsReduceDictionary_8u_I(m.inUse, m.srcDict.data(), m.srcDictLen, &m.sizeDictionary);
     }},
    {"lumsExpandDictionary_8u_I", [](Module& m) {
         return lumsExpandDictionary_8u_I(m.inUse, m.srcDict.data(), m.srcDictLen, m.sizeDictionary);
     }},
    {"lumsBWTFwd_8u", [](Module& m) {
         m.idx = 0;
         return lumsBWTFwd_8u(m.srcBWT.data(), m.srcMTF.data(), m.srcBWTLen, &m.idx, m.bwtBuff.data());
     }},
    {"lumsBWTInv_8u", [](Module& m) {
         return lumsBWTInv_8u(m.srcMTF.data(), m.srcBWT.data(), m.srcMTFLen, m.idx, m.bwtBuff.data());
     }},
    {"lumsMTFFwd_8u", [](Module& m) {
         m.idx = 0;
         return lumsMTFFwd_8u(m.srcMTF.data(), m.srcZ1Z2.data(), m.srcMTFLen, m.mtf());
     }},
    {"lumsMTFInv_8u", [](Module& m) {
         return lumsMTFInv_8u(m.srcZ1Z2.data(), m.srcMTF.data(), m.srcZ1Z2Len, m.mtf());
     }},
    {"lumsEncodeZ1Z2_BZ2_8u16u", [](Module& m) {
         Lum8u* pSrc = m.srcZ1Z2.data();
         int srcLen = m.srcZ1Z2Len, dstLen = m.maxLen >> 1;
         return lumsEncodeZ1Z2_BZ2_8u16u(&pSrc, &srcLen, m.symbols(), &dstLen, m.freqTable);
     }},
    {"lumsDecodeZ1Z2_BZ2_16u8u", [](Module& m) {
         Lum16u* pSrc = m.symbols();
         int srcLen = m.dstZ1Z2Len, dstLen = m.maxLen;
         return lumsDecodeZ1Z2_BZ2_16u8u(&pSrc, &srcLen, m.srcZ1Z2.data(), &dstLen);
     }},
    {"lumsDecodeBlock_BZ2_16u8u", [](Module& m) {
         int dstLen = m.maxLen;
         return lumsDecodeBlock_BZ2_16u8u(m.symbols(), m.dstZ1Z2Len, m.srcZ1Z2.data(), &dstLen, m.idx,
                                          m.sizeDictionary, m.inUse, m.bwtBuff.data());
     }},
    {"lumsDecodeRLEState_BZ2_8u", [](Module& m) {
         Lum8u* pSrc = m.srcDict.data();
         Lum8u* pDst = m.srcRLE.data();
         int srcLen = m.srcDictLen, dstLen = m.maxLen;
         return lumsDecodeRLEState_BZ2_8u(&pSrc, &srcLen, &pDst, &dstLen, m.rle());
     }},
    {"lumsBWTFwd_SelectSort_8u 0", [](Module& m) { return selectSort(m, lumBWTItohTanakaLimSort); }},
    {"lumsBWTFwd_SelectSort_8u 1", [](Module& m) { return selectSort(m, lumBWTItohTanakaUnlimSort); }},
    {"lumsBWTFwd_SelectSort_8u 2", [](Module& m) { return selectSort(m, lumBWTSuffixSort); }},
    {"lumsBWTFwd_SelectSort_8u 3", [](Module& m) { return selectSort(m, lumBWTAutoSort); }},
    {"lumsEncodeHuffInit_BZ2_16u8u", [](Module& m) {
         return lumsEncodeHuffInit_BZ2_16u8u(m.sizeDictionary, m.freqTable, m.symbols(), m.dstZ1Z2Len,
                                             reinterpret_cast<LumEncodeHuffState_BZ2*>(m.huffState.data()));
     }},
};

// Files of different kinds (text, binary, runs, numbers); fewer under the sanitizers.
std::vector<std::string> replayedFiles() {
#ifdef __SANITIZE_ADDRESS__
    return {"book1", "obj2", "pic"};
#else
    return {"bib", "book1", "geo", "obj2", "pic", "progp"};
#endif
}

TEST(Bz2Module, EveryMeasuredCallGivesNoError) {
    for (const std::string& name : replayedFiles()) {
        const Bytes file = corpusFile(name);
        if (file.empty()) GTEST_SKIP() << "corpus not found in " << PERFDC_CORPUS_DIR;
        for (const Call& call : kCalls) {
            const std::string fn = call.name;
            Module m;
            m.prepare(file, fn.find("Decode") != std::string::npos || fn.find("Inv") != std::string::npos);
            ASSERT_FALSE(HasFatalFailure()) << name << " " << fn;
            const Bytes reduced(m.srcBWT.begin(), m.srcBWT.begin() + m.srcBWTLen);
            const Bytes sorted(m.srcMTF.begin(), m.srcMTF.begin() + m.srcMTFLen);
            const Bytes ranks(m.srcZ1Z2.begin(), m.srcZ1Z2.begin() + m.srcZ1Z2Len);
            const int index = m.idx;
            ASSERT_EQ(call.run(m), lumStsNoErr) << name << " " << fn;

            // What the first call of a test gives is what its stage is for.
            auto head = [](const Bytes& b, size_t n) { return Bytes(b.begin(), b.begin() + static_cast<long>(n)); };
            const std::pair<const char*, std::pair<const Bytes*, const Bytes*>> results[] = {
                {"lumsBWTInv_8u", {&m.srcBWT, &reduced}},
                {"lumsDecodeZ1Z2_BZ2_16u8u", {&m.srcZ1Z2, &ranks}},
                {"lumsDecodeBlock_BZ2_16u8u", {&m.srcZ1Z2, &m.rleData}},
                {"lumsExpandDictionary_8u_I", {&m.srcDict, &m.rleData}},
            };
            for (const auto& [fnName, got] : results) {
                if (fn == fnName) {
                    EXPECT_EQ(head(*got.first, got.second->size()), *got.second) << name;
                }
            }
            if (fn.rfind("lumsBWTFwd", 0) == 0) {
                EXPECT_EQ(head(m.srcMTF, sorted.size()), sorted) << name << " " << fn;
                EXPECT_EQ(m.idx, index) << name << " " << fn;
            }
            for (int k = 1; k < kRepeats; ++k) ASSERT_EQ(call.run(m), lumStsNoErr) << name << " " << fn;
        }
    }
}

}  // namespace
