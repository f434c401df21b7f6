// The four checksums: known answers, agreement with zlib and with bitwise references on
// every code path the processor runs, continuation, argument errors and path selection.
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "checksums/checksum_paths.h"
#include "lum_test.h"
#include "lumdc.h"

namespace lum::checksums {
// Test names and messages show the family by its function name.
void PrintTo(const ChecksumFamily& family, std::ostream* os) { *os << family.name; }
}  // namespace lum::checksums

namespace {

using lum::checksums::ChecksumFamily;
using lum::checksums::ChecksumPath;
using lum::checksums::kChecksumFamilies;
using lumtest::Bytes;
using lumtest::randomBytes;

// ---- References --------------------------------------------------------------------

Lum32u bitwiseReflected(Lum32u poly, Lum32u crc, const Lum8u* p, size_t n) {
    crc = ~crc;
    for (size_t i = 0; i < n; ++i) {
        crc ^= p[i];
        for (int b = 0; b < 8; ++b) crc = (crc & 1) ? (crc >> 1) ^ poly : crc >> 1;
    }
    return ~crc;
}

Lum32u bitwiseMsbFirst(Lum32u poly, Lum32u crc, const Lum8u* p, size_t n) {
    crc = ~crc;
    for (size_t i = 0; i < n; ++i) {
        crc ^= static_cast<Lum32u>(p[i]) << 24;
        for (int b = 0; b < 8; ++b) crc = (crc & 0x80000000u) ? (crc << 1) ^ poly : crc << 1;
    }
    return ~crc;
}

// zlib for CRC-32 and Adler-32, the bitwise definitions for the other two. zlib's
// functions take 32-bit lengths, so long buffers go in pieces.
Lum32u reference(const std::string& family, Lum32u value, const Lum8u* p, size_t n) {
    if (family == "lumsCRC32C_8u") return bitwiseReflected(0x82F63B78u, value, p, n);
    if (family == "lumsCRC32_BZ2_8u") return bitwiseMsbFirst(0x04C11DB7u, value, p, n);
    const bool crc = family == "lumsCRC32_8u";
    uLong v = value;
    for (size_t done = 0; done < n;) {
        const uInt piece = static_cast<uInt>(std::min<size_t>(n - done, 1u << 30));
        v = crc ? crc32(v, p + done, piece) : adler32(v, p + done, piece);
        done += piece;
    }
    return static_cast<Lum32u>(v);
}

bool runsHere(const ChecksumPath& path) {
    Lum64u detected = 0;
    lumGetCpuFeatures(&detected, nullptr);
    return (path.required & ~detected) == 0;
}

std::string caseName(const testing::TestParamInfo<ChecksumFamily>& info) { return info.param.name; }

class Checksum : public testing::TestWithParam<ChecksumFamily> {
protected:
    void TearDown() override { lumInit(); }
    std::string name() const { return GetParam().name; }
    const lum::checksums::ChecksumSlot& slot() const { return GetParam().slot(); }
    // Whether every path that runs here gives the reference's value.
    bool allPathsMatch(Lum32u initial, const Lum8u* p, size_t n, const std::string& what) const {
        const Lum32u want = reference(name(), initial, p, n);
        bool ok = true;
        for (const ChecksumPath& path : slot()) {
            const Lum32u got = runsHere(path) ? path.fn(initial, p, n) : want;
            if (got != want) ADD_FAILURE() << path.name << " " << what << ": " << std::hex << got << " != " << want;
            ok = ok && got == want;
        }
        return ok;
    }
};

INSTANTIATE_TEST_SUITE_P(Lum, Checksum, testing::ValuesIn(kChecksumFamilies), caseName);

TEST_P(Checksum, CheckValueOnEveryPath) {
    const std::map<std::string, Lum32u> check = {{"lumsCRC32_8u", 0xCBF43926u}, {"lumsCRC32C_8u", 0xE3069283u},
                                                 {"lumsCRC32_BZ2_8u", 0xFC891918u}, {"lumsAdler32_8u", 0x091E01DEu}};
    const Lum8u* text = reinterpret_cast<const Lum8u*>("123456789");
    Lum32u value = GetParam().initial;
    ASSERT_EQ(GetParam().entry(text, 9, &value), lumStsNoErr);
    EXPECT_EQ(value, check.at(name()));
    EXPECT_TRUE(allPathsMatch(GetParam().initial, text, 9, "check value"));
}

// Every length up to 320 at every start offset within a 64-byte line: covers each
// path's thresholds (16-byte lanes, 64- to 256-byte strides) and unaligned loads.
TEST_P(Checksum, EveryPathMatchesReferenceOnShortBuffers) {
    const Bytes data = randomBytes(320 + 64, 1);
    for (size_t offset = 0; offset < 64; ++offset) {
        for (size_t len = 0; len <= 320; ++len) {
            const std::string what = "length " + std::to_string(len) + " offset " + std::to_string(offset);
            ASSERT_TRUE(allPathsMatch(0x5A5AC3C3u, data.data() + offset, len, what));
        }
    }
}

// Lengths around the block sizes of the kernels (three-stream CRC blocks of 256 and
// 4096 bytes, 5248-byte chunks of folding beside the crc32 instruction, 64 KiB Adler
// runs, zlib's 5552-byte runs) and a large unaligned buffer; all-0xFF bytes give the
// largest partial sums (overflow in Adler-32 lanes).
TEST_P(Checksum, EveryPathMatchesReferenceOnLongAndSaturatedBuffers) {
    const Bytes data = randomBytes((1u << 20) + 64, 2);
    for (size_t len : {767, 768, 769, 1023, 5247, 5248, 5249, 5552, 5553, 12287, 12288, 12289, 3 * 5248 + 16,
                       65535, 65536, 65537, 131072 + 77}) {
        for (size_t offset : {0, 3, 61}) {
            EXPECT_TRUE(allPathsMatch(GetParam().initial, data.data() + offset, len,
                                      "length " + std::to_string(len) + " offset " + std::to_string(offset)));
        }
    }
    EXPECT_TRUE(allPathsMatch(GetParam().initial, data.data() + 61, 1u << 20, "1 MiB at offset 61"));
    const Bytes ones(3u << 18, 0xFF);
    EXPECT_TRUE(allPathsMatch(0xFFF0FFF0u, ones.data(), ones.size(), "0xFF bytes"));
}

// ---- Public function ----------------------------------------------------------------

TEST_P(Checksum, RunningValueOverPiecesEqualsValueOverWhole) {
    const Bytes data = randomBytes(200000, 3);
    Lum32u whole = GetParam().initial;
    ASSERT_EQ(GetParam().entry(data.data(), static_cast<int>(data.size()), &whole), lumStsNoErr);
    EXPECT_EQ(whole, reference(name(), GetParam().initial, data.data(), data.size()));

    std::mt19937 gen(4);
    Lum32u running = GetParam().initial;
    for (size_t pos = 0; pos < data.size();) {
        const size_t piece = std::min<size_t>(data.size() - pos, gen() % 5000);
        ASSERT_EQ(GetParam().entry(data.data() + pos, static_cast<int>(piece), &running), lumStsNoErr);
        pos += piece;
    }
    EXPECT_EQ(running, whole);
}

TEST_P(Checksum, BadArgumentsAreRejectedBeforeAnyAccess) {
    const Lum8u data[4] = {1, 2, 3, 4};
    const Lum32u sentinel = 0x12345678u;
    Lum32u value = sentinel;
    EXPECT_EQ(GetParam().entry(nullptr, 4, &value), lumStsNullPtrErr);
    EXPECT_EQ(GetParam().entry(nullptr, 0, &value), lumStsNullPtrErr);
    EXPECT_EQ(GetParam().entry(data, 4, nullptr), lumStsNullPtrErr);
    EXPECT_EQ(GetParam().entry(data, -1, &value), lumStsSizeErr);
    EXPECT_EQ(value, sentinel);
    EXPECT_EQ(GetParam().entry(data, 0, &value), lumStsNoErr);
    EXPECT_EQ(value, sentinel);
}

// Every path is chosen for the lowest feature mask that covers it (the baseline for the
// portable one) and computes there through the public function; lumInit brings back
// the fastest path this processor runs.
TEST_P(Checksum, EachPathIsChosenForItsOwnFeatures) {
    const Bytes data = randomBytes(1000, 5);
    const char* fastest = nullptr;
    for (const ChecksumPath& path : slot()) {
        if (!runsHere(path)) continue;
        fastest = fastest ? fastest : path.name;
        ASSERT_EQ(lumSetCpuFeatures(path.required ? path.required : lumCpuLevelSSE2), lumStsNoErr) << path.name;
        EXPECT_STREQ(slot().current().name, path.name);
        Lum32u value = GetParam().initial;
        ASSERT_EQ(GetParam().entry(data.data(), 1000, &value), lumStsNoErr);
        EXPECT_EQ(value, reference(name(), GetParam().initial, data.data(), 1000)) << path.name;
    }
    ASSERT_EQ(lumInit(), lumStsNoErr);
    EXPECT_STREQ(slot().current().name, fastest);
}

}  // namespace
