// The block-sorting decoders on random and mutated input: every call ends with an error or
// a warning status or a result, within the buffers (exactly sized, so the sanitizers see any
// stray access), with the pointers and lengths consistent with what was consumed and written.
#include "test_bz2_common.h"

namespace {

using namespace bz2test;

bool oneOf(LumStatus s, std::initializer_list<LumStatus> allowed) {
    return std::find(allowed.begin(), allowed.end(), s) != allowed.end();
}

const Bytes kText = repeated("sorting blocks of text, blocks of sorted text; text blocks sort", 1);

TEST(Bz2Fuzz, Z1Z2Decoding) {
    const std::vector<Symbols> valid = {encodeChain(kText).symbols, encodeChain(Bytes(300, 0)).symbols};
    fuzz<Lum16u>(21, valid, 262, [](Symbols& in, std::mt19937& gen) {
        const int room = static_cast<int>(gen() % 300);
        Bytes out(static_cast<size_t>(room));
        Lum16u* p = ptr(in);
        int left = static_cast<int>(in.size()), written = room;
        const LumStatus sts = lumsDecodeZ1Z2_BZ2_16u8u(&p, &left, ptr(out), &written);
        ASSERT_TRUE(oneOf(sts, {lumStsNoErr, lumStsDstFullWrn, lumStsCorruptDataErr})) << sts;
        ASSERT_EQ(p - ptr(in) + left, static_cast<long>(in.size()));
        ASSERT_TRUE(written >= 0 && written <= room);
        ASSERT_TRUE(sts != lumStsNoErr || left == 0);
    });
}

// After four equal bytes the next one counts extra copies and the count starts afresh.
Bytes referenceRleDecode(const Bytes& s) {
    Bytes out;
    for (size_t i = 0, equal = 0; i < s.size(); ++i) {
        if (equal == 4) {
            out.insert(out.end(), s[i], out.back());
            equal = 0;
        } else {
            equal = (equal > 0 && s[i] == out.back()) ? equal + 1 : 1;
            out.push_back(s[i]);
        }
    }
    return out;
}

// Any byte sequence decodes to what the reference gives, through any room.
TEST(Bz2Fuzz, RleDecoding) {
    const std::vector<Bytes> valid = {encodeChain(repeated("aaaaaaab", 90)).rle, encodeChain(Bytes(999, 3)).rle};
    fuzz<Lum8u>(22, valid, 256, [&](Bytes& in, std::mt19937& gen) {
        Area<LumRLEState_BZ2> state(lumsRLEGetSize_BZ2_8u);
        ASSERT_EQ(lumsEncodeRLEInit_BZ2_8u(state.get()), lumStsNoErr);
        ASSERT_EQ(drain<Lum8u>(in, 1 + static_cast<int>(gen() % 200), rleDecodeStep(state.get())), referenceRleDecode(in));
    });
}

// Columns of random blocks (small alphabets give periods and runs) decode to the block,
// exactly as the "next row" chain does; random and mutated columns with any index decode
// within their buffers, in place to the same bytes.
TEST(Bz2Fuzz, InverseBwt) {
    std::vector<Bytes> columns;
    std::mt19937 gen(23);
    for (int t = 0; t < 200 && !HasFailure(); ++t) {
        Bytes block = randomBytes(gen() % 400, gen(), t % 2 ? 1 + int(gen() % 3) : 256);
        const int n = static_cast<int>(block.size());
        Area<> fwd([&](int* size) { return lumsBWTFwdGetSize_8u(n, size); });
        Area<> inv([&](int* size) { return lumsBWTInvGetSize_8u(n, size); });
        Bytes last(block.size()), out(block.size());
        int index = 0;
        ASSERT_EQ(lumsBWTFwd_8u(ptr(block), ptr(last), n, &index, fwd.get()), lumStsNoErr);
        ASSERT_EQ(lumsBWTInv_8u(ptr(last), ptr(out), n, index, inv.get()), lumStsNoErr);
        ASSERT_EQ(out, naiveInverseBwt(last, index));
        ASSERT_EQ(out, block);
        columns.push_back(last);
    }
    fuzz<Lum8u>(25, columns, 256, [](Bytes& last, std::mt19937& g) {
        const int n = static_cast<int>(last.size());
        const int index = static_cast<int>(g() % static_cast<unsigned>(n + 4)) - 2;
        Area<> buff([&](int* size) { return lumsBWTInvGetSize_8u(n, size); });
        Bytes out(last.size());
        const LumStatus sts = lumsBWTInv_8u(ptr(last), ptr(out), n, index, buff.get());
        ASSERT_EQ(sts, (n == 0 || (index >= 0 && index < n)) ? lumStsNoErr : lumStsBadArgErr);
        if (sts != lumStsNoErr) return;
        ASSERT_EQ(lumsBWTInv_8u(ptr(last), ptr(last), n, index, buff.get()), lumStsNoErr);
        ASSERT_EQ(last, out);
    });
}

// Symbols of a real chain, mutated, and plain noise, often with a changed index or
// dictionary size.
TEST(Bz2Fuzz, BlockDecoding) {
    const Chain chain = encodeChain(kText);
    int decoded = 0;
    fuzz<Lum16u>(24, {chain.symbols}, 80, [&](Symbols& sym, std::mt19937& gen) {
        const int index = gen() % 3 ? chain.index : static_cast<int>(gen() % 80) - 5;
        const int size = gen() % 3 ? chain.sizeDictionary : static_cast<int>(gen() % 300) - 10;
        const int room = static_cast<int>(gen() % 120);
        Bytes out(static_cast<size_t>(room));
        Area<> buff([&](int* sz) { return lumsBWTInvGetSize_8u(room, sz); });
        int n = room;
        const LumStatus sts = lumsDecodeBlock_BZ2_16u8u(ptr(sym), static_cast<int>(sym.size()), ptr(out), &n,
                                                        index, size, chain.inUse, buff.get());
        ASSERT_TRUE(oneOf(sts, {lumStsNoErr, lumStsCorruptDataErr, lumStsSizeErr, lumStsBadArgErr})) << sts;
        ASSERT_TRUE(sts != lumStsNoErr || (n >= 0 && n <= room));
        decoded += sts == lumStsNoErr;
    });
    EXPECT_GT(decoded, kFuzzRounds / 20);  // the mutations reach the later stages too
}

}  // namespace
