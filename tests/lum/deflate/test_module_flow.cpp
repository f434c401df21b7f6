// The benchmark module's call sequence: LZ77 with freshly emptied heads and a prev table
// never cleared, the Huffman stage with the fixed codes and no header, the module's own
// close of the bit stream, and inflate from the fixed-block mode over the input itself.
#include <cstring>
#include <random>

#include "deflate_test_util.h"

namespace {

using namespace deflate_test;

struct ModuleFlow {
    Bytes data;
    std::vector<Lum16u> dist;
    Bytes huff, lit;
    std::vector<Lum32s> head = std::vector<Lum32s>(32768), prev = std::vector<Lum32s>(32768);
    int distLen = 0, huffLen = 0;
    Lum32u code = 0;
    int codeLen = 0;
    LumInflateMode mode = lumInflateFixedBlock;
    LumInflateState state{};
    Lum32u litFreq[286] = {}, distFreq[30] = {};

    explicit ModuleFlow(Bytes input) : data(std::move(input)), dist(2 * data.size()), huff(2 * data.size()), lit(data.size()) {
        std::mt19937 gen(99);
        for (auto& p : prev) p = static_cast<Lum32s>(gen());  // never cleared: garbage
    }

    LumStatus lz77(int level) {
        std::fill(head.begin(), head.end(), -32768);
        const Lum8u* src = data.data();
        int srcIdx = 0, srcLen = static_cast<int>(data.size()), dstLen = static_cast<int>(data.size());
        const LumStatus st = lumsDeflateLZ77_8u(&src, &srcLen, &srcIdx, src, 32768, head.data(), prev.data(), 32768,
                                                litFreq, distFreq, lit.data(), dist.data(), &dstLen, level,
                                                lumLZ77FinishFlush);
        distLen = static_cast<int>(data.size()) - dstLen;
        return st;
    }

    LumStatus huffman() {
        int dstIdx = 0;
        code = 0;
        codeLen = 0;
        const LumStatus st = lumsDeflateHuff_8u(lit.data(), dist.data(), distLen, &code, &codeLen, fixedCodes().lit,
                                                fixedCodes().dist, huff.data(), &dstIdx);
        // The module's close: whole bytes, the end-of-block code, the rest padded.
        huffLen = dstIdx;
        for (; codeLen > 8; codeLen -= 8, code >>= 8) huff[huffLen++] = static_cast<Lum8u>(code);
        code |= static_cast<Lum32u>(fixedCodes().lit[256].code) << codeLen;
        codeLen += fixedCodes().lit[256].len;
        for (; codeLen > 0; codeLen -= 8, code >>= 8) huff[huffLen++] = static_cast<Lum8u>(code);
        return st;
    }

    LumStatus inflate() {
        codeLen = 0;
        mode = lumInflateFixedBlock;
        state.word[3] = 0;
        const Lum8u* src = huff.data();
        Lum8u* dst = data.data();
        int srcLen = huffLen, dstLen = static_cast<int>(data.size());
        return lumsInflate_8u(&src, &srcLen, &code, &codeLen, 0, &dst, &dstLen, 0, &mode, &state);
    }
};

TEST(ModuleFlow, EveryFileAndLevelRoundTripsRepeatedly) {
    SKIP_WITHOUT_CORPUS();
    for (const char* file : kCorpusFiles) {
        const Bytes original = readCorpus(file, std::min<size_t>(102400, kMaxFileBytes));
        ModuleFlow flow(original);
        for (int level : {1, 6, 9}) {
            for (int rep = 0; rep < 2; ++rep) {
                ASSERT_EQ(flow.lz77(level), lumStsNoErr) << file << " level " << level;
                ASSERT_EQ(flow.huffman(), lumStsNoErr) << file;
                for (int call = 0; call < 2; ++call) {
                    std::memset(flow.data.data(), 0, flow.data.size());
                    ASSERT_EQ(flow.inflate(), lumStsNoErr) << file << " level " << level;
                    ASSERT_TRUE(flow.data == original) << file << " level " << level;
                    EXPECT_NE(flow.mode, lumInflateFixedBlock);
                }
            }
        }
    }
}

}  // namespace
