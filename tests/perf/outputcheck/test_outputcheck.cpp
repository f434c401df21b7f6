// The output check seen from outside: a perfdc whose decoders spoil one byte of
// their output (wrong_decoders.cpp) must report each of them as a failed test,
// while the encoders measured by the same program stay clean.
#include "runner.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// A made-up corpus file: text with repeats, so that every coder has matches to find.
std::string sampleText() {
    std::string s;
    for (int i = 0; s.size() < 20000; ++i) s += "line " + std::to_string(i % 97) + " of the sample text\n";
    return s;
}

}  // namespace

TEST(OutputCheck, WrongDecodersFailAndEncodersPass) {
    Sandbox box;
    box.write("data/bib", sampleText());
    struct Case { const char* func; bool wrong; };
    const Case cases[] = {
        {"lumsDecodeLZSS_8u", true}, {"lumsInflate_8u", true}, {"lumsBWTInv_8u", true},
        {"lumsEncodeLZSS_8u", false}, {"lumsDecodeLZO_8u", false}, {"lumsMTFInv_8u", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.func);
        RunResult r = box.run({"-B", "-LPERF", std::string("-f=") + c.func, "-dMethod=Manual", "-dNumLoops=2",
                               "-dCodeFile=bib", "-dCodeLength=16384", "-p" + box.path("data") + "/", "-u"});
        ASSERT_EQ(0, r.exitCode) << r.output;
        const std::string failure = std::string("-- Output check failed: ") + c.func + " differs from the original data";
        EXPECT_EQ(c.wrong ? 1 : 0, r.count(failure)) << r.output;
        const std::string sum = box.read("perfdc_sum.csv");
        EXPECT_NE(std::string::npos, sum.find(c.wrong ? "\n.Failures,1\n" : "\n.Failures,0\n")) << sum;
        EXPECT_EQ(c.wrong ? 1 : 0, r.count("| Result   : DATAFAIL")) << r.output;
    }
}
