// Black-box tests of parameter values: the ini file read by -i and written by -I,
// -d settings, -P, refused values, and the set-up dialogue answered on standard input.
#include "runner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const char* const kWritten =
    "\n[Perf System]\n"
    "Method=Auto\t// Method = Auto\n"
    "Accuracy=5\t// Accuracy = 5\n"
    "AlignVectorsBy=byte\t// AlignVectorsBy = byte\n"
    "VectorAlign=0\t// VectorAlign = 0\n"
    "MisalignFirstVectorOnly=true\t// MisalignFirstVectorOnly = true\n"
    "MutualVectorShift=512\t// MutualVectorShift = 512\n";

}  // namespace

TEST(IniKeys, WriteEveryParameterOnceAndLeaveTheFileAlone) {
    Sandbox box;
    RunResult r = box.run(quick({"-I"}));
    EXPECT_EQ(0, r.exitCode);
    EXPECT_EQ(kWritten, box.read("perfdc.ini")) << r.output;

    // Nothing new to write: the file, hand-written note included, stays as it is.
    box.write("perfdc.ini", std::string(kWritten) + "// kept by hand\n");
    box.run(quick({"-I"}));
    EXPECT_EQ(std::string(kWritten) + "// kept by hand\n", box.read("perfdc.ini"));

    // A value already there is never overwritten; what it brings in is added.
    box.write("perfdc.ini", "[Perf System]\nMethod = Manual // by hand\n");
    box.run(quick({"-I"}));
    std::string text = box.read("perfdc.ini");
    EXPECT_EQ(0u, text.find("\n[Perf System]\nMethod=Manual\nNumLoops=10\t// NumLoops = 10\n")) << text;
    EXPECT_EQ(std::string::npos, text.find("Accuracy")) << "Manual timing has no accuracy";
}

TEST(IniKeys, ValuesFromIniFileAndSettings) {
    const std::string ini = "[Perf System]\nMethod = Manual\nNumLoops = 7 // loops\n";
    // lines: lines the run must show
    struct Case { std::vector<std::string> args; std::vector<std::string> lines; };
    const Case cases[] = {
        {{"-i"}, {" Method = Manual", " NumLoops = 7"}},
        {{"-i", "-dNumLoops=9"}, {" Method = Manual", " NumLoops = 9"}},
        {{"-dNumLoops=9", "-i", "-dNumLoops=11"}, {" NumLoops = 11"}},
        {{"-i", "-dMethod=Iterative", "-dAccuracy=60"}, {" Method = Iterative", " Accuracy = 60"}},
        {{"-dVectorAlign=99", "-dMutualVectorShift=100"},
         {"--LUM. Exception: Invalid value of VectorAlign = 99", " VectorAlign = 0",
          "--LUM. Exception: Invalid value of MutualVectorShift = 100", " MutualVectorShift = 512"}},
        {{"-iother.ini"}, {" Method = Auto"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.back());
        Sandbox box;
        box.write("perfdc.ini", ini);
        RunResult r = box.run(quick(c.args));
        EXPECT_EQ(0, r.exitCode);
        for (const std::string& l : c.lines) EXPECT_TRUE(r.hasLine(l)) << l << "\n" << r.output;
        EXPECT_EQ(1, r.count("| PS Summary")) << "the run goes on to its end";
        EXPECT_EQ(ini, box.read("perfdc.ini")) << "-i never writes";
    }
}

TEST(IniKeys, PressingMeasuresOnlyFunctionsWithASection) {
    Sandbox box;
    const std::string func = "lumsCRC32_8u";
    box.write("perfdc.ini", "[Perf System]\n[" + func + "]\n");
    // The ini file is named in full: -p moves the default one into the corpus folder.
    std::vector<std::string> args = {"-B", "-f=" + func, "-dMethod=Manual", "-dNumLoops=1", "-dCodeLength=16384",
                                     "-dCodeFile=bib", "-p" + std::string(PERFDC_CORPUS_DIR), "-P",
                                     "-i" + box.path("perfdc.ini")};
    EXPECT_EQ(1, box.run(args).count("| Function   : " + func));
    box.write("perfdc.ini", "[Perf System]\n[another]\n");
    EXPECT_EQ(0, box.run(args).count("| Function   : " + func));
    args.pop_back();
    EXPECT_EQ(1, box.run(args).count("| Function   : " + func)) << "-P without -i selects nothing away";
}

TEST(IniKeys, DialogueAnsweredOnStandardInput) {
    struct Case { std::vector<std::string> args; std::string answers; std::vector<std::string> shown, notShown; };
    const Case cases[] = {
        // A refused answer is asked again; Manual timing has no accuracy to ask. Titles
        // are framed in 78 columns.
        {{"-f=none", "-ATiming"}, "Manual\n0\n100\n",
         {"Specify timing method, please", "\n" + std::string(23, '*') + " Specify timing method, please " + std::string(24, '*') + "\n",
          "\n Method {Auto|Manual|Statistic|Iterative} [Auto] = ", "\n NumLoops [10] = ",
          "Invalid value of NumLoops = 0", " NumLoops = 100\n", "End of common specifications", " MutualVectorShift = 512\n"},
         {"Accuracy", "Specify vectors alignment"}},
        {{"-f=none", "-AMisalign"}, "element\n3\nno\n128\n",
         {"\n AlignVectorsBy {byte|element} [byte] = ", "\n VectorAlign by Element, 0..63 [0] = ",
          "\n MutualVectorShift in Bytes, divisible by 64 [512] = ", " AlignVectorsBy = element\n", " VectorAlign = 3\n",
          " MisalignFirstVectorOnly = false\n", " MutualVectorShift = 128\n"},
         {"Specify timing method"}},
        // Common parameters are asked once; the test takes them as they stand.
        {{"-f=lumsCRC32_8u", "-AParams", "-dMethod=Manual", "-dNumLoops=1", "-r"}, "4096 8192 *2\n",
         {"Specify common test parameters, please", "\n CodeLength (list",
          " for (CodeLength = 4096; CodeLength <= 8192; CodeLength *= 2)\n"},
         {}},
        // A value set by -d or the ini file is not asked, and no answer is used up for it;
        // a blank answer takes the default.
        {{"-f=none", "-ATiming", "-dMethod=Manual"}, "100\n", {" NumLoops = 100\n"}, {" Method {"}},
        {{"-f=none", "-ATiming", "-i"}, "100\n", {" NumLoops = 100\n"}, {" Method {"}},
        {{"-f=none", "-ATiming"}, "\n\n", {" Method = Auto\n", " Accuracy = 5\n"}, {}},
        // Batch mode, values all set, or nothing to read: nothing is asked, no titles.
        {{"-f=none", "-B", "-ATiming"}, "Manual\n3\n", {" Method = Auto\n"}, {"Specify timing method", "*****"}},
        {{"-f=none", "-dMethod=Auto", "-dAccuracy=5"}, "Manual\n", {}, {"*****"}},
        {{"-f=none", "-A"}, "", {" Method = Auto\n"}, {"*****", " [Auto] = "}},
    };
    Sandbox box;
    box.write("perfdc.ini", "[Perf System]\nMethod = Manual\n");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args[1] + " " + c.args.back());
        RunOptions withAnswers;
        withAnswers.input = c.answers;
        RunResult r = box.run(c.args, withAnswers);
        EXPECT_EQ(0, r.exitCode);
        for (const std::string& s : c.shown) EXPECT_NE(std::string::npos, r.output.find(s)) << s << "\n" << r.output;
        for (const std::string& s : c.notShown) EXPECT_EQ(std::string::npos, r.output.find(s)) << s << "\n" << r.output;
    }
    EXPECT_NE(std::string::npos, box.read("perfdc.csv").find("\nlumsCRC32_8u,4096,-,-,-,-,-,-,-,nLps=1,"));
    EXPECT_NE(std::string::npos, box.read("perfdc.csv").find("\nlumsCRC32_8u,8192,-,-,-,-,-,-,-,nLps=1,"));
}
