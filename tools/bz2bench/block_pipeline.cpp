// The lum block-sorting stages of one block, in the order a bzip2 compressor runs them.
#include "block_pipeline.h"

#include <algorithm>
#include <cstring>

namespace bz2bench {

namespace {

template <typename T>
T* area(Bytes& b) { return reinterpret_cast<T*>(b.data()); }

Bytes sized(LumStatus (*getSize)(int*)) {
    int size = 0;
    getSize(&size);
    return Bytes(static_cast<size_t>(std::max(size, 1)));
}

Bytes sizedFor(LumStatus (*getSize)(int, int*), int n) {
    int size = 0;
    getSize(n, &size);
    return Bytes(static_cast<size_t>(std::max(size, 1)));
}

}  // namespace

BlockPipeline::BlockPipeline(const Bytes& input) : input_(input) {
    const size_t n = input.size();
    rleData_.resize(n * 5 / 4 + 16);
    reduced_.resize(rleData_.size());
    bwtData_.resize(rleData_.size());
    mtfData_.resize(rleData_.size());
    symbols_.resize(rleData_.size() + 1);
    decoded_.resize(symbols_.size());
    coded_.resize(n * 2 + 40000);
    blockData_.resize(rleData_.size());
    output_.resize(n);
    rleState_ = sized(lumsRLEGetSize_BZ2_8u);
    mtfState_ = sized(lumsMTFGetSize_8u);
    bwtBuff_ = sizedFor(lumsBWTFwdGetSize_8u, int(rleData_.size()));
    bwtInvBuff_ = sizedFor(lumsBWTInvGetSize_8u, int(rleData_.size()));
    encState_ = sizedFor(lumsEncodeHuffGetSize_BZ2_16u8u, int(symbols_.size()));
    decState_ = sizedFor(lumsDecodeHuffGetSize_BZ2_8u16u, int(symbols_.size()));
}

void BlockPipeline::check(LumStatus st, const char* what) {
    if (st != lumStsNoErr && error_.empty()) error_ = std::string(what) + ": " + lumGetStatusString(st);
}

void BlockPipeline::rle() {
    auto* st = area<LumRLEState_BZ2>(rleState_);
    check(lumsEncodeRLEInit_BZ2_8u(st), "lumsEncodeRLEInit_BZ2_8u");
    Lum8u* src = const_cast<Lum8u*>(input_.data());
    int srcLen = int(input_.size());
    int len = int(rleData_.size());
    check(lumsEncodeRLE_BZ2_8u(&src, &srcLen, rleData_.data(), &len, st), "lumsEncodeRLE_BZ2_8u");
    int flushed = int(rleData_.size()) - len;
    check(lumsEncodeRLEFlush_BZ2_8u(rleData_.data() + len, &flushed, st), "lumsEncodeRLEFlush_BZ2_8u");
    rleLen_ = len + flushed;
    check(lumsRLEGetInUseTable_8u(inUse_, st), "lumsRLEGetInUseTable_8u");
}

void BlockPipeline::prepareReduce() { std::memcpy(reduced_.data(), rleData_.data(), size_t(rleLen_)); }

void BlockPipeline::reduce() {
    check(lumsReduceDictionary_8u_I(inUse_, reduced_.data(), rleLen_, &sizeDictionary_), "lumsReduceDictionary_8u_I");
}

void BlockPipeline::bwt(int hint) {
    Lum8u* buff = bwtBuff_.data();
    if (hint < 0)
        check(lumsBWTFwd_8u(reduced_.data(), bwtData_.data(), rleLen_, &index_, buff), "lumsBWTFwd_8u");
    else
        check(lumsBWTFwd_SelectSort_8u(reduced_.data(), bwtData_.data(), rleLen_, &index_, buff,
                                       LumBWTSortAlgorithmHint(hint)), "lumsBWTFwd_SelectSort_8u");
}

void BlockPipeline::mtf() {
    auto* st = area<LumMTFState_8u>(mtfState_);
    check(lumsMTFInit_8u(st), "lumsMTFInit_8u");
    check(lumsMTFFwd_8u(bwtData_.data(), mtfData_.data(), rleLen_, st), "lumsMTFFwd_8u");
}

void BlockPipeline::z1z2() {
    Lum8u* src = mtfData_.data();
    int srcLen = rleLen_;
    int len = int(symbols_.size()) - 1;
    Lum32u freq[258];
    check(lumsEncodeZ1Z2_BZ2_8u16u(&src, &srcLen, symbols_.data(), &len, freq), "lumsEncodeZ1Z2_BZ2_8u16u");
    symbols_[size_t(len)] = Lum16u(sizeDictionary_ + 1);  // end of block
    symbolLen_ = len + 1;
}

void BlockPipeline::huffEncode() {
    auto* st = area<LumEncodeHuffState_BZ2>(encState_);
    check(lumsEncodeHuffInit_BZ2_16u8u(sizeDictionary_, nullptr, symbols_.data(), symbolLen_, st),
          "lumsEncodeHuffInit_BZ2_16u8u");
    Lum32u code = 0;
    int bits = 0;
    int packed = int(coded_.size());
    check(lumsPackHuffContext_BZ2_16u8u(&code, &bits, coded_.data(), &packed, st), "lumsPackHuffContext_BZ2_16u8u");
    const Lum16u* src = symbols_.data();
    int srcLen = symbolLen_;
    int len = int(coded_.size()) - packed;
    check(lumsEncodeHuff_BZ2_16u8u(&code, &bits, &src, &srcLen, coded_.data() + packed, &len, st),
          "lumsEncodeHuff_BZ2_16u8u");
    size_t end = size_t(packed + len);
    for (; bits > 0; bits -= 8, code <<= 8) coded_[end++] = Lum8u(code >> 24);
    codedLen_ = int(end);
}

void BlockPipeline::huffDecode() {
    auto* st = area<LumDecodeHuffState_BZ2>(decState_);
    check(lumsDecodeHuffInit_BZ2_8u16u(sizeDictionary_, st), "lumsDecodeHuffInit_BZ2_8u16u");
    Lum32u code = 0;
    int bits = 0;
    const Lum8u* src = coded_.data();
    int srcLen = codedLen_;
    check(lumsUnpackHuffContext_BZ2_8u16u(&code, &bits, &src, &srcLen, st), "lumsUnpackHuffContext_BZ2_8u16u");
    decodedLen_ = int(decoded_.size());
    check(lumsDecodeHuff_BZ2_8u16u(&code, &bits, &src, &srcLen, decoded_.data(), &decodedLen_, st),
          "lumsDecodeHuff_BZ2_8u16u");
}

void BlockPipeline::blockDecode() {
    int len = int(blockData_.size());
    check(lumsDecodeBlock_BZ2_16u8u(decoded_.data(), decodedLen_, blockData_.data(), &len, index_,
                                    sizeDictionary_, inUse_, bwtInvBuff_.data()), "lumsDecodeBlock_BZ2_16u8u");
}

void BlockPipeline::rleDecode() {
    auto* st = area<LumRLEState_BZ2>(rleState_);
    check(lumsEncodeRLEInit_BZ2_8u(st), "lumsEncodeRLEInit_BZ2_8u");
    Lum8u* src = blockData_.data();
    int srcLen = rleLen_;
    Lum8u* dst = output_.data();
    int room = int(output_.size());
    check(lumsDecodeRLEState_BZ2_8u(&src, &srcLen, &dst, &room, st), "lumsDecodeRLEState_BZ2_8u");
}

void BlockPipeline::forward() {
    rle();
    prepareReduce();
    reduce();
    bwt(-1);
    mtf();
    z1z2();
    huffEncode();
}

void BlockPipeline::inverse() {
    huffDecode();
    blockDecode();
    rleDecode();
}

}  // namespace bz2bench
