// Replays what the benchmark's BZ2 pipeline module does: its preparation chain on a corpus
// file (the RLE flush written over the start of the encoded data, the stale tail counted
// in), then each measured call several times on what the calls before left: reducing
// reduced data, expanding expanded data, the inverse BWT over its own input, MTF from the
// previous list, RLE decoding of reduced data with the encoder's state, and the
// select-sort with every hint. Every call must return lumStsNoErr.
#include <functional>

#include "lums.h"
#include "test_bz2_common.h"

namespace {

using namespace bz2test;

constexpr int kCodeLength = 102400, kMaxLen = 4 * kCodeLength;

// The module's buffers (every stage's input, named after it) and the preparation every one
// of its tests runs first; `len` is the file's length, `rleLen` that of every later stage.
struct Module {
    int len = 0, rleLen = 0, symLen = 0, sizeDictionary = 0, idx = 0;
    Bytes srcRLE, srcDict, srcBWT, srcMTF, srcZ1Z2, dstZ1Z2, bwtBuff;
    Area<LumRLEState_BZ2> rle{lumsRLEGetSize_BZ2_8u};
    Area<LumMTFState_8u> mtf{lumsMTFGetSize_8u};
    Lum8u inUse[256] = {};
    Lum32u freqTable[258];
    Bytes rleData;  // the dictionary input reduced and expanded, what the decoders give back

    Lum16u* symbols() { return reinterpret_cast<Lum16u*>(dstZ1Z2.data()); }

    void prepare(const Bytes& file, bool inverse) {
        // Stage buffers hold arbitrary bytes, as fresh allocations would.
        static const Bytes noise = randomBytes(kMaxLen, 1);
        for (Bytes* b : {&srcRLE, &srcDict, &srcBWT, &srcMTF, &srcZ1Z2, &dstZ1Z2}) *b = noise;
        len = static_cast<int>(std::min<size_t>(file.size(), kCodeLength));
        std::copy_n(file.begin(), len, srcRLE.begin());

        ASSERT_EQ(lumsEncodeRLEInit_BZ2_8u(rle.get()), lumStsNoErr);
        Lum8u* pSrc = srcRLE.data();
        int srcLen = len, dstLen = kMaxLen;
        ASSERT_EQ(lumsEncodeRLE_BZ2_8u(&pSrc, &srcLen, srcDict.data(), &dstLen, rle.get()), lumStsNoErr);
        rleLen = dstLen;
        ASSERT_EQ(lumsEncodeRLEFlush_BZ2_8u(srcDict.data(), &dstLen, rle.get()), lumStsNoErr);
        rleLen += dstLen;
        ASSERT_EQ(lumsRLEGetInUseTable_8u(inUse, rle.get()), lumStsNoErr);
        // The stale tail may hold values the encoder never wrote: they reduce to rank 0.
        rleData.assign(srcDict.begin(), srcDict.begin() + rleLen);
        const Lum8u first = static_cast<Lum8u>(std::find(inUse, inUse + 256, 1) - inUse);
        for (Lum8u& v : rleData) v = inUse[v] ? v : first;

        ASSERT_EQ(lumsReduceDictionary_8u_I(inUse, srcDict.data(), rleLen, &sizeDictionary), lumStsNoErr);
        ASSERT_EQ(lumsCopy_8u(srcDict.data(), srcBWT.data(), rleLen), lumStsNoErr);
        Area<> fwd([&](int* s) { return lumsBWTFwdGetSize_8u(rleLen, s); });
        ASSERT_EQ(lumsBWTFwd_8u(srcBWT.data(), srcMTF.data(), rleLen, &idx, fwd.get()), lumStsNoErr);
        bwtBuff = inverse ? Area<>([&](int* s) { return lumsBWTInvGetSize_8u(rleLen, s); }).bytes : fwd.bytes;

        ASSERT_EQ(lumsMTFInit_8u(mtf.get()), lumStsNoErr);
        ASSERT_EQ(lumsMTFFwd_8u(srcMTF.data(), srcZ1Z2.data(), rleLen, mtf.get()), lumStsNoErr);
        if (inverse) {
            ASSERT_EQ(lumsMTFInit_8u(mtf.get()), lumStsNoErr);
        }

        std::fill_n(freqTable, 256, 0u);  // the last two counters are left as they were
        for (int i = 0; i < rleLen; ++i) ++freqTable[srcMTF[static_cast<size_t>(i)]];
        pSrc = srcZ1Z2.data();
        srcLen = rleLen;
        symLen = kMaxLen >> 1;
        ASSERT_EQ(lumsEncodeZ1Z2_BZ2_8u16u(&pSrc, &srcLen, symbols(), &symLen, freqTable), lumStsNoErr);
    }
};

// One measured call of the module, with its own argument reset.
struct Call {
    const char* name;
    std::function<LumStatus(Module&)> run;
};

const Call kCalls[] = {
    {"EncodeRLE", [](Module& m) {
         Lum8u* pSrc = m.srcRLE.data();
         int srcLen = m.len, dstLen = kMaxLen;
         return lumsEncodeRLE_BZ2_8u(&pSrc, &srcLen, m.srcDict.data(), &dstLen, m.rle.get());
     }},
    {"ReduceDictionary", [](Module& m) {
         return lumsReduceDictionary_8u_I(m.inUse, m.srcDict.data(), m.rleLen, &m.sizeDictionary);
     }},
    {"ExpandDictionary", [](Module& m) {
         return lumsExpandDictionary_8u_I(m.inUse, m.srcDict.data(), m.rleLen, m.sizeDictionary);
     }},
    {"BWTInv", [](Module& m) { return lumsBWTInv_8u(m.srcMTF.data(), m.srcBWT.data(), m.rleLen, m.idx, m.bwtBuff.data()); }},
    {"MTFFwd", [](Module& m) { return lumsMTFFwd_8u(m.srcMTF.data(), m.srcZ1Z2.data(), m.rleLen, m.mtf.get()); }},
    {"MTFInv", [](Module& m) { return lumsMTFInv_8u(m.srcZ1Z2.data(), m.srcMTF.data(), m.rleLen, m.mtf.get()); }},
    {"DecodeZ1Z2", [](Module& m) {
         Lum16u* pSrc = m.symbols();
         int srcLen = m.symLen, dstLen = kMaxLen;
         return lumsDecodeZ1Z2_BZ2_16u8u(&pSrc, &srcLen, m.srcZ1Z2.data(), &dstLen);
     }},
    {"DecodeBlock", [](Module& m) {
         int dstLen = kMaxLen;
         return lumsDecodeBlock_BZ2_16u8u(m.symbols(), m.symLen, m.srcZ1Z2.data(), &dstLen, m.idx, m.sizeDictionary,
                                          m.inUse, m.bwtBuff.data());
     }},
    {"DecodeRLEState", [](Module& m) {
         Lum8u* pSrc = m.srcDict.data();
         Lum8u* pDst = m.srcRLE.data();
         int srcLen = m.rleLen, dstLen = kMaxLen;
         return lumsDecodeRLEState_BZ2_8u(&pSrc, &srcLen, &pDst, &dstLen, m.rle.get());
     }},
    {"BWTFwd_SelectSort", [](Module& m) -> LumStatus {
         for (int hint = 0; hint <= 3; ++hint) {
             m.idx = 0;
             const LumStatus sts = lumsBWTFwd_SelectSort_8u(m.srcBWT.data(), m.srcMTF.data(), m.rleLen, &m.idx,
                                                            m.bwtBuff.data(), static_cast<LumBWTSortAlgorithmHint>(hint));
             if (sts != lumStsNoErr) return sts;
         }
         return lumStsNoErr;
     }},
    {"EncodeHuffInit", [](Module& m) {
         Area<LumEncodeHuffState_BZ2> st([](int* s) { return lumsEncodeHuffGetSize_BZ2_16u8u(100000, s); });
         return lumsEncodeHuffInit_BZ2_16u8u(m.sizeDictionary, m.freqTable, m.symbols(), m.symLen, st.get());
     }},
};

// Files of different kinds (text, binary, runs, numbers); fewer under the sanitizers.
#ifdef __SANITIZE_ADDRESS__
const char* const kReplayed[] = {"book1", "obj2", "pic"};
#else
const char* const kReplayed[] = {"bib", "book1", "geo", "obj2", "pic", "progp"};
#endif

TEST(Bz2Module, EveryMeasuredCallGivesNoErrorAndItsStageResult) {
    for (const char* name : kReplayed) {
        const Bytes file = corpusFile(name);
        if (file.empty()) GTEST_SKIP() << "corpus not found in " << PERFDC_CORPUS_DIR;
        for (const Call& call : kCalls) {
            const std::string fn = call.name;
            SCOPED_TRACE(std::string(name) + " " + fn);
            Module m;
            m.prepare(file, fn.find("Decode") != std::string::npos || fn.find("Inv") != std::string::npos);
            ASSERT_FALSE(HasFatalFailure());
            auto head = [&m](const Bytes& b) { return Bytes(b.begin(), b.begin() + m.rleLen); };
            const Bytes reduced = head(m.srcBWT), sorted = head(m.srcMTF), ranks = head(m.srcZ1Z2);
            const int index = m.idx;
            ASSERT_EQ(call.run(m), lumStsNoErr);
            // What the first call of a test gives is what its stage is for.
            const std::pair<const char*, std::pair<const Bytes*, const Bytes*>> results[] = {
                {"BWTInv", {&m.srcBWT, &reduced}}, {"DecodeZ1Z2", {&m.srcZ1Z2, &ranks}},
                {"DecodeBlock", {&m.srcZ1Z2, &m.rleData}}, {"ExpandDictionary", {&m.srcDict, &m.rleData}},
                {"BWTFwd_SelectSort", {&m.srcMTF, &sorted}}};
            for (const auto& [stage, got] : results) {
                if (fn != stage) continue;
                EXPECT_EQ(head(*got.first), *got.second);
            }
            EXPECT_TRUE(fn != "BWTFwd_SelectSort" || m.idx == index);
            for (int k = 1; k < 3; ++k) ASSERT_EQ(call.run(m), lumStsNoErr);
        }
    }
}

}  // namespace
