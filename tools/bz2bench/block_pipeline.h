// One bzip2 block through the lum block-sorting stages, each stage a call that reads the
// stored output of the stage before it, so that the benchmark can time any one of them on
// real data, or the whole forward or inverse pipeline.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lumdc.h"

namespace bz2bench {

using Bytes = std::vector<Lum8u>;
using Symbols = std::vector<Lum16u>;

class BlockPipeline {
public:
    explicit BlockPipeline(const Bytes& input);

    // Forward stages.
    void rle();                      // input -> rleData, inUse
    void prepareReduce();            // copies rleData to the reduction's buffer
    void reduce();                   // reduces that copy in place
    void bwt(int hint);              // reduced -> bwtData; hint < 0: lumsBWTFwd_8u
    void mtf();                      // bwtData -> mtfData (fresh list)
    void z1z2();                     // mtfData -> symbols, with the end-of-block symbol
    void huffEncode();               // symbols -> coded (init, pack, encode, flush)
    // Inverse stages.
    void huffDecode();               // coded -> decoded symbols (init, unpack, decode)
    void blockDecode();              // decoded symbols -> blockData (RLE-stage bytes)
    void rleDecode();                // blockData -> output
    // Whole pipelines.
    void forward();
    void inverse();

    // The first failing call, empty when every call gave lumStsNoErr.
    const std::string& error() const { return error_; }
    bool roundTripOk() const { return output_ == input_; }
    int codedBytes() const { return codedLen_; }
    // The BWT's input: the reduced output of the RLE stage.
    Bytes bwtInput() const { return Bytes(reduced_.begin(), reduced_.begin() + rleLen_); }

private:
    void check(LumStatus st, const char* what);

    const Bytes& input_;
    std::string error_;
    Bytes rleData_, reduced_, bwtData_, mtfData_, coded_, blockData_, output_;
    Symbols symbols_, decoded_;
    Bytes rleState_, bwtBuff_, bwtInvBuff_, mtfState_, encState_, decState_;
    Lum8u inUse_[256] = {};
    int rleLen_ = 0, sizeDictionary_ = 0, index_ = 0, symbolLen_ = 0, codedLen_ = 0, decodedLen_ = 0;
};

}  // namespace bz2bench
