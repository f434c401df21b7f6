// The watchdog end to end: a program whose first test never returns, run with a
// short PERFDC_TEST_TIMEOUT, stops that test as a crash and goes on with the next.
#include "helpers.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace {

struct Outcome {
    std::string out;
    double seconds;
};

Outcome runHangProgram(const std::string& timeout, const std::string& args)
{
    const std::string errFile = psTestTempPath("watchdog_err.txt");
    const std::string command = "PERFDC_TEST_TIMEOUT='" + timeout + "' " PERFDC_HANG_PROGRAM " -B " + args +
                                " </dev/null 2>" + errFile;
    const auto start = std::chrono::steady_clock::now();
    Outcome run;
    if (FILE* p = popen(command.c_str(), "r")) {
        char buf[4096];
        size_t n;
        while ((n = fread(buf, 1, sizeof buf, p)) > 0) run.out.append(buf, n);
        pclose(p);
    }
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.out += "\n[stderr]\n" + psTestReadFile(errFile);
    std::remove(errFile.c_str());
    return run;
}

bool has(const Outcome& r, const std::string& text) { return r.out.find(text) != std::string::npos; }

TEST(Watchdog, AFunctionThatNeverReturnsEndsItsTestAndTheRunGoesOn)
{
    const Outcome r = runHangProgram("1", "");
    EXPECT_TRUE(has(r, "-- Test stopped after 1 seconds without returning\n")) << r.out;
    // The hung test fails like a crash; the next test is measured as usual.
    const size_t hang = r.out.find("| Function   : lumsHang_8u");
    const size_t quick = r.out.find("| Function   : lumsQuick_8u");
    ASSERT_NE(hang, std::string::npos) << r.out;
    ASSERT_NE(quick, std::string::npos) << r.out;
    EXPECT_NE(r.out.find("| Result   : EXCPTFAIL", hang), std::string::npos) << r.out;
    EXPECT_LT(r.out.find("| Result   : EXCPTFAIL", hang), quick);
    EXPECT_NE(r.out.find("| Result   : OK", quick), std::string::npos) << r.out;
    EXPECT_TRUE(has(r, "| .....-EXCPTFAIL          1")) << r.out;
    EXPECT_LT(r.seconds, 60.0);
}

TEST(Watchdog, ATimeoutThatIsNoNumberIsSaidOnStandardError)
{
    for (const char* bad : {"soon", "-5", "10s", "99999999999"}) {
        const Outcome r = runHangProgram(bad, "-e");  // -e lists the tests and runs none
        const std::string note = std::string("PERFDC_TEST_TIMEOUT=") + bad +
                                 " is no number of seconds: a test is stopped after 300 s\n";
        EXPECT_NE(r.out.find("[stderr]\n" + note), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("lumsQuick_8u"), std::string::npos) << r.out;
    }
}

}  // namespace
