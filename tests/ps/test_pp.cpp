// The library-function layer: function names taken apart and ordered, typed data
// vectors and their fills, and the conversion of library statuses into results.
#include "pp.h"

#include "helpers.h"
#include "memory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <set>

TEST(PpFunc, NamesAreTakenApart) {
    struct Case { const char* name; const char* prefix; const char* base; const char* types; const char* descriptor; };
    const Case cases[] = {
        {"lumsCRC32C_8u", "lums", "CRC32C", "8u", ""},
        {"lumsCRC32_BZ2_8u", "lums", "CRC32_BZ2", "8u", ""},
        {"lumsEncodeHuff_BZ2_16u8u", "lums", "EncodeHuff_BZ2", "16u8u", ""},
        {"lumsExpandDictionary_8u_I", "lums", "ExpandDictionary", "8u", "I"},
        {"lumsBWTFwd_SelectSort_8u", "lums", "BWTFwd_SelectSort", "8u", ""},
        {"lumsEncodeLZOGetSize", "lums", "EncodeLZOGetSize", "", ""},
        {"lumsAdd_32fc_C1R_Sfs", "lums", "Add", "32fc", "C1R_Sfs"},
        {"__psOrvexCpuTest", "__ps", "OrvexCpuTest", "", ""},
    };
    for (const Case& c : cases) {
        ppFunc f(c.name);
        EXPECT_STREQ(c.prefix, f.prefix()) << c.name;
        EXPECT_STREQ(c.base, f.base()) << c.name;
        EXPECT_STREQ(c.types, f.types()) << c.name;
        EXPECT_STREQ(c.descriptor, f.descriptor()) << c.name;
    }
    EXPECT_TRUE(ppFunc("lumsAdd_32fc_C1R").isFloat());
    EXPECT_FALSE(ppFunc("lumsCRC32_8u").isFloat());
}

TEST(PpFunc, OrderIsBaseNameThenTypesThenDescriptor) {
    // Each name sorts before the next one.
    const char* const ordered[] = {
        "lumsCRC32_8u",       // prefix+base "lumsCRC32" is a prefix of the next
        "lumsCRC32C_8u",      // "C" (0x43) before "_" (0x5F)
        "lumsCRC32_BZ2_8u",
        "lumsDecode_8u16u",   // same base: types decide
        "lumsDecode_8u32s",
        "lumsExpand_8u",      // same base and types: descriptor decides
        "lumsExpand_8u_I",
    };
    const int n = sizeof ordered / sizeof ordered[0];
    for (int i = 0; i + 1 < n; ++i) {
        EXPECT_LT(ppFunc(ordered[i]).compare(ppFunc(ordered[i + 1])), 0) << ordered[i];
        EXPECT_GT(ppFunc(ordered[i + 1]).compare(ppFunc(ordered[i])), 0) << ordered[i];
    }
    EXPECT_EQ(0, ppFunc("lumsCRC32_8u").compare(ppFunc("lumsCRC32_8u")));
    // Library tests sort by these parts; plain tests by the bytes of the name.
    ppTest a(nullptr, nullptr, nullptr, nullptr, "lumsCRC32C_8u", "x.cpp", "T//PP_REG");
    psTest plain(nullptr, nullptr, "lumsCRC32C_8u", "x.cpp", ""), plainB(nullptr, nullptr, "lumsCRC32_8u", "x.cpp", "");
    EXPECT_LT(plain.compareFunc(&plainB), 0);
    EXPECT_GT(a.compareFunc(&plainB), 0);
}

class PpVectorTest : public ::testing::Test {
protected:
    void TearDown() override {
        while (void* p = psMallocFirst(nullptr, nullptr)) psFree(p);
        psFreeAll();
    }
};

TEST_F(PpVectorTest, ZeroConstantAndBoundedRandomFills) {
    ppVector v(pp16s);
    ASSERT_TRUE(v.create(1000, ppFillZero));
    for (int i = 0; i < v.length(); ++i) ASSERT_EQ(0, v.ptr<short>()[i]);
    ASSERT_TRUE(v.create(1000, ppFillConst, -7));
    for (int i = 0; i < v.length(); ++i) ASSERT_EQ(-7, v.ptr<short>()[i]);

    ASSERT_TRUE(v.create(4000, ppFillRandom, -3, 5));
    std::set<int> seen;
    for (int i = 0; i < v.length(); ++i) seen.insert(v.ptr<short>()[i]);
    EXPECT_EQ(9u, seen.size()) << "every value of -3..5 appears";
    EXPECT_EQ(-3, *seen.begin());
    EXPECT_EQ(5, *seen.rbegin());

    ppVector f(pp32f);
    ASSERT_TRUE(f.create(1000, ppFillRandom, 0.5, 0.75));
    for (int i = 0; i < f.length(); ++i) {
        ASSERT_GE(f.ptr<float>()[i], 0.5f);
        ASSERT_LE(f.ptr<float>()[i], 0.75f);
    }
}

TEST_F(PpVectorTest, RandomWithoutBoundsCoversTheTypeAndRepeatsPerSeed) {
    ppVector a(pp8u), b(pp8u), c(pp8u);
    ASSERT_TRUE(a.create(10000, ppFillRandom));
    ASSERT_TRUE(b.create(10000, ppFillRandom));
    ASSERT_TRUE(c.create(10000, ppFillRandom, 0, 0, 7));
    std::set<int> seen;
    for (int i = 0; i < a.length(); ++i) seen.insert(a.ptr<unsigned char>()[i]);
    EXPECT_EQ(256u, seen.size());
    EXPECT_EQ(0, std::memcmp(a.data(), b.data(), 10000));
    EXPECT_NE(0, std::memcmp(a.data(), c.data(), 10000));
}

TEST_F(PpVectorTest, JaehneSignalIsAChirpAroundTheTypesMiddle) {
    ppVector u(pp8u), s(pp16s), d(pp64f);
    const int n = 256;
    ASSERT_TRUE(u.create(n, ppFillJaehne));
    ASSERT_TRUE(s.create(n, ppFillJaehne));
    ASSERT_TRUE(d.create(n, ppFillJaehne, 2.0));
    const double pi = 3.14159265358979323846;
    for (int i = 0; i < n; ++i) {
        double x = std::sin(0.5 * pi * i * i / n);
        ASSERT_NEAR(127.5 + 127.5 * x, u.get(i), 0.5001) << i;
        ASSERT_NEAR(32767 * x, s.get(i), 0.5001) << i;
        ASSERT_DOUBLE_EQ(2.0 * x, d.get(i)) << i;
    }
}

TEST_F(PpVectorTest, PristineCopyRestoresTheContents) {
    ppVector v(pp32s);
    EXPECT_FALSE(v.reserveCopy()) << "no data yet";
    ASSERT_TRUE(v.create(64, ppFillConst, 9));
    EXPECT_FALSE(v.setReservedCopy()) << "nothing reserved yet";
    ASSERT_TRUE(v.reserveCopy());
    for (int i = 0; i < 64; ++i) v.ptr<int>()[i] = -i;
    ASSERT_TRUE(v.setReservedCopy());
    for (int i = 0; i < 64; ++i) ASSERT_EQ(9, v.ptr<int>()[i]);
}

TEST_F(PpVectorTest, PrintsAtTheDataLevelOnly) {
    ppVector v(pp8u);
    ASSERT_TRUE(v.create(20, ppFillConst, 4));
    Capture out;
    g_ostrm.setOutLevel(ERR);
    v.print("src");
    EXPECT_EQ("", out.text());
    g_ostrm.setOutLevel(ERR | DATA);
    v.print("src", 18);
    EXPECT_EQ("src (8u, len=20):\n    4 4 4 4 4 4 4 4 4 4 4 4 4 4 4 4\n    4 4 ...\n", out.text());
}

namespace {
const char* statusText(LumStatus s) { return s == -2 ? "Null pointer" : s == 3 ? "Destination full" : "Other"; }
}  // namespace

TEST(CheckStatus, StatusesBecomeResultsWithTheirLines) {
    // recorded: the run's result afterwards
    struct Case { LumStatus status; const char* name; OutputLevel mask; bool errorsOnly; psResult returned, recorded;
                  const char* line; };
    const Case cases[] = {
        {0, "lumsX_8u", ERR | WARN, false, OK, UNDEFINED, ""},
        {-2, "lumsX_8u", ERR | WARN, false, FUNCFAIL, FUNCFAIL, "--LUM ERROR. status = -2 in lumsX_8u: Null pointer\n"},
        {-2, "", ERR, false, FUNCFAIL, FUNCFAIL, "--LUM ERROR. status = -2: Null pointer\n"},
        {3, "lumsY_8u", ERR | WARN, false, FUNCWRN, FUNCWRN, "--LUM WARNING. status = 3 in lumsY_8u: Destination full\n"},
        // Warnings hidden by the console count as OK for the run but are still returned.
        {3, "lumsY_8u", ERR, false, FUNCWRN, OK, ""},
        {3, "lumsY_8u", ERR | WARN, true, OK, UNDEFINED, ""},
    };
    const psLumGetStatusStringFunc saved = lum_GetStatusString;
    lum_GetStatusString = statusText;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.status);
        psTest::m_currentResult = UNDEFINED;
        ppTest::m_checkErrorsOnly = c.errorsOnly;
        Capture out;
        g_ostrm.setOutLevel(c.mask);
        EXPECT_EQ(c.returned, ppTest::checkStatus(c.status, c.name));
        EXPECT_EQ(c.recorded, psTest::m_currentResult);
        EXPECT_EQ(c.line, out.text());
    }
    lum_GetStatusString = saved;
    ppTest::m_checkErrorsOnly = false;
    psTest::m_currentResult = UNDEFINED;
}
