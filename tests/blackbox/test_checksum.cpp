// Black-box runs of the checksum module on the lum libraries: the table lines and
// cells, the summary file and counts, and the value sources of the shared length
// parameter. The -T/-N messages are checked with the other keys.
#include "runner.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

const char* const kFuncs[] = {"lumsAdler32_8u", "lumsCRC32_8u", "lumsCRC32C_8u", "lumsCRC32_BZ2_8u"};
const char* const kLengths[] = {"16384", "32768", "65536", "131072", "262144"};

bool isPositiveNumber(const std::string& s) {
    char* end = nullptr;
    double v = std::strtod(s.c_str(), &end);
    return !s.empty() && *end == 0 && v > 0;
}

class ChecksumRun : public ::testing::Test {
protected:
    Sandbox box;
};

}  // namespace

TEST_F(ChecksumRun, ManualTimingFillsTheTableAndTheSummary) {
    RunResult r = box.run({"-B", "-mp_dcchecksum_ia", "-dMethod=Manual", "-dNumLoops=3", "-r", "-u"});
    ASSERT_EQ(0, r.exitCode) << r.output;
    EXPECT_EQ(0, r.count("duplicate lines")) << r.output;

    auto lines = resultLines(box.read("perfdc.csv"));
    ASSERT_EQ(20u, lines.size()) << box.read("perfdc.csv");
    for (size_t i = 0; i < lines.size(); ++i) {
        const auto& c = lines[i];
        SCOPED_TRACE(i);
        ASSERT_EQ(14u, c.size());
        EXPECT_EQ(kFuncs[i / 5], c[0]);
        EXPECT_EQ(kLengths[i % 5], c[1]);
        for (int k = 2; k <= 8; ++k) EXPECT_EQ("-", c[k]);
        EXPECT_EQ("nLps=3", c[9]);
        EXPECT_TRUE(isPositiveNumber(c[10])) << c[10];
        EXPECT_EQ("e", c[11]);
        EXPECT_TRUE(isPositiveNumber(c[12])) << c[12];
        EXPECT_EQ("-", c[13]);  // checksums are no floating-point functions
    }

    std::string sum = box.read("perfdc_sum.csv");
    for (const char* f : kFuncs) {
        bool found = false;
        for (const std::string& line : splitLines(sum)) {
            auto c = cells(line);
            if (c.size() == 11 && c[0] == f) {
                found = true;
                EXPECT_EQ("TimdcChecksum", c[1]);
                EXPECT_EQ("p_dcchecksum_ia.cpp", c[8]);
                EXPECT_EQ("OK", c[9]);
            }
        }
        EXPECT_TRUE(found) << f;
    }
    EXPECT_NE(std::string::npos, sum.find("\n.Number of tests,4\n")) << sum;
    EXPECT_NE(std::string::npos, sum.find("\n.Successes,4\n")) << sum;
    EXPECT_TRUE(r.output.find("| .Number of tests         4") != std::string::npos) << r.output;
}

TEST_F(ChecksumRun, LengthValuesFromEverySource) {
    // ini: written to perfdc.ini when not empty
    struct Case { std::vector<std::string> args; std::string ini; std::vector<std::string> lengths; };
    const Case cases[] = {
        {{"-dCodeLength=1000;4096"}, "", {"1000", "4096"}},
        {{"-dCodeLength=100 400 *2"}, "", {"100", "200", "400"}},
        {{"-i"}, "[Perf System]\nCodeLength = 2048 // from the ini file\n", {"2048"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.front());
        if (!c.ini.empty()) box.write("perfdc.ini", c.ini);
        std::vector<std::string> args = {"-B", "-f=lumsCRC32_8u", "-dMethod=Manual", "-dNumLoops=2", "-r"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        RunResult r = box.run(args);
        ASSERT_EQ(0, r.exitCode) << r.output;
        auto lines = resultLines(box.read("perfdc.csv"));
        ASSERT_EQ(c.lengths.size(), lines.size()) << r.output;
        for (size_t i = 0; i < lines.size(); ++i) {
            EXPECT_EQ("lumsCRC32_8u", lines[i][0]);
            EXPECT_EQ(c.lengths[i], lines[i][1]);
        }
    }
}

TEST_F(ChecksumRun, BadLengthTextIsReported) {
    RunResult r = box.run({"-B", "-f=lumsCRC32_8u", "-dMethod=Manual", "-dNumLoops=2", "-dCodeLength=abc", "-r"});
    EXPECT_EQ(0, r.exitCode);
    EXPECT_NE(std::string::npos, r.output.find("--LUM. Exception: Invalid value of CodeLength = abc")) << r.output;
    EXPECT_TRUE(resultLines(box.read("perfdc.csv")).empty());
    EXPECT_EQ(1, r.count("| Result   : EXCPTFAIL ")) << r.output;
}

TEST_F(ChecksumRun, DuplicateLinesAreNamedByTheirPlaceInTheTable) {
    // Title lines 1..6, then the two identical result lines; name lines sent to a
    // separate name file must not shift the numbers.
    for (const char* names : {"", "-q"}) {
        SCOPED_TRACE(names);
        std::vector<std::string> args = {"-B", "-f=lumsCRC32_8u", "-dMethod=Manual", "-dNumLoops=2",
                                         "-dCodeLength=1000;1000", "-r", "-LWARN"};
        if (*names) args.push_back(names);
        RunResult r = box.run(args);
        EXPECT_TRUE(r.hasLine(" Lines 7 & 8 have identical parameters")) << r.output;
        EXPECT_TRUE(r.hasLine("-- Warning: duplicate lines in performance table (csv-file)")) << r.output;
        EXPECT_EQ(2u, resultLines(box.read("perfdc.csv")).size());
    }
}
