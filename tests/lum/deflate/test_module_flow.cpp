// The benchmark module's call sequence: LZ77 with freshly emptied heads and a prev table
// never cleared, the Huffman stage with the fixed codes and no header, the module's own
// close of the bit stream, and inflate from the fixed-block mode over the input itself.
#include <cstring>

#include "deflate_test_util.h"

namespace {

using namespace deflate_test;

TEST(ModuleFlow, EveryFileAndLevelRoundTripsRepeatedly) {
    SKIP_WITHOUT_CORPUS();
    const FixedCodes& codes = fixedCodes();
    std::vector<Lum32s> head(32768), prev(32768);
    std::mt19937 gen(99);
    for (auto& p : prev) p = static_cast<Lum32s>(gen());  // never cleared: garbage
    Lum32u litFreq[286] = {}, distFreq[30] = {};
    for (const char* file : kCorpusFiles) {
        const Bytes original = readCorpus(file, std::min<size_t>(102400, kMaxFileBytes));
        Bytes data = original, lit(data.size()), huff(2 * data.size());
        std::vector<Lum16u> dist(2 * data.size());
        const int size = static_cast<int>(data.size());
        for (int level : {1, 6, 9}) {
            for (int rep = 0; rep < 2; ++rep) {
                std::fill(head.begin(), head.end(), -32768);
                const Lum8u* src = data.data();
                int srcIdx = 0, srcLen = size, room = size, idx = 0, bits = 0;
                ASSERT_EQ(lumsDeflateLZ77_8u(&src, &srcLen, &srcIdx, src, 32768, head.data(), prev.data(), 32768,
                                             litFreq, distFreq, lit.data(), dist.data(), &room, level,
                                             lumLZ77FinishFlush), lumStsNoErr) << file << " level " << level;
                Lum32u code = 0;
                ASSERT_EQ(lumsDeflateHuff_8u(lit.data(), dist.data(), size - room, &code, &bits, codes.lit, codes.dist,
                                             huff.data(), &idx), lumStsNoErr) << file;
                // The module's close: whole bytes, the end-of-block code, the rest padded.
                for (; bits > 8; bits -= 8, code >>= 8) huff[idx++] = static_cast<Lum8u>(code);
                code |= static_cast<Lum32u>(codes.lit[256].code) << bits;
                for (bits += codes.lit[256].len; bits > 0; bits -= 8, code >>= 8) huff[idx++] = static_cast<Lum8u>(code);
                for (int call = 0; call < 2; ++call) {
                    std::memset(data.data(), 0, data.size());
                    LumInflateMode mode = lumInflateFixedBlock;
                    LumInflateState state{};
                    const Lum8u* in = huff.data();
                    Lum8u* dst = data.data();
                    int inLen = idx, dstLen = size;
                    bits = 0;
                    ASSERT_EQ(lumsInflate_8u(&in, &inLen, &code, &bits, 0, &dst, &dstLen, 0, &mode, &state), lumStsNoErr)
                        << file << " level " << level;
                    ASSERT_TRUE(data == original) << file << " level " << level;
                    EXPECT_NE(mode, lumInflateFixedBlock);
                }
            }
        }
    }
}

}  // namespace
