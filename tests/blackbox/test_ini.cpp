// Black-box tests of parameter values: the ini file read by -i and written by -I,
// -d settings, -P, refused values, and the set-up dialogue answered on standard input.
#include "runner.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

namespace {

std::vector<std::string> quick(std::vector<std::string> args)
{
    args.insert(args.begin(), {"-B", "-f=none"});
    return args;
}

// A run with standard input read from a file holding the answers.
std::string runAnswered(const Sandbox& box, const std::vector<std::string>& args, const std::string& answers)
{
    box.write("answers.txt", answers);
    std::string cmd = "cd '" + box.root() + "' && ./perfdc";
    for (const std::string& a : args) cmd += " '" + a + "'";
    cmd += " < answers.txt > run.out 2>&1";
    EXPECT_EQ(0, std::system(cmd.c_str()));
    return box.read("run.out");
}

const char* const kWritten =
    "\n[Perf System]\n"
    "Method=Auto\t// Method = Auto\n"
    "Accuracy=5\t// Accuracy = 5\n"
    "AlignVectorsBy=byte\t// AlignVectorsBy = byte\n"
    "VectorAlign=0\t// VectorAlign = 0\n"
    "MisalignFirstVectorOnly=true\t// MisalignFirstVectorOnly = true\n"
    "MutualVectorShift=512\t// MutualVectorShift = 512\n";

}  // namespace

TEST(IniKeys, WriteEveryParameterOnceAndLeaveTheFileAlone)
{
    Sandbox box;
    box.installProgram();
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

TEST(IniKeys, ValuesFromIniFileAndSettings)
{
    const std::string ini = "[Perf System]\nMethod = Manual\nNumLoops = 7 // loops\n";
    struct Case {
        std::vector<std::string> args;
        std::vector<std::string> lines;  // lines the run must show
    };
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
        box.installProgram();
        box.write("perfdc.ini", ini);
        RunResult r = box.run(quick(c.args));
        EXPECT_EQ(0, r.exitCode);
        for (const std::string& l : c.lines) EXPECT_TRUE(r.hasLine(l)) << l << "\n" << r.output;
        EXPECT_EQ(1, r.count("| PS Summary")) << "the run goes on to its end";
        EXPECT_EQ(ini, box.read("perfdc.ini")) << "-i never writes";
    }
}

TEST(IniKeys, FilesThatCannotBeOpened)
{
    Sandbox box;
    box.installProgram();
    RunResult missing = box.run(quick({"-imissing.ini"}));
    EXPECT_EQ(0, missing.exitCode);
    EXPECT_EQ(1, missing.count("-- Can't open file ./missing.ini to read: "));
    EXPECT_EQ(1, missing.count("| PS Summary"));

    RunResult fatal = box.run(quick({"-Inodir/x.ini"}));
    EXPECT_EQ(0, fatal.exitCode);
    EXPECT_TRUE(fatal.hasLine("FATAL ERROR: can't open ini-file for writing")) << fatal.output;
    EXPECT_EQ(0, fatal.count("| PS Summary"));
}

TEST(IniKeys, PressingMeasuresOnlyFunctionsWithASection)
{
    Sandbox box;
    box.installProgram();
    RunResult list = box.run({"-B", "-e"});
    std::smatch m;
    std::string func;
    for (const std::string& l : splitLines(list.output))
        if (std::regex_match(l, m, std::regex("\\s+\\d+\\t(\\S+)\\t.*")) && m[1].str().rfind("__ps", 0) != 0) {
            func = m[1].str();
            break;
        }
    if (func.empty()) GTEST_SKIP() << "no measured library function is built into perfdc";

    const std::vector<std::string> fast = {"-B", "-f=" + func, "-dMethod=Manual", "-dNumLoops=1",
                                           "-dCodeLength=16384", "-dHuffLength=1024", "-dCodeFile=bib",
                                           "-p" + std::string(PERFDC_CORPUS_DIR)};
    box.write("perfdc.ini", "[Perf System]\n[" + func + "]\n");
    std::vector<std::string> args = fast;
    // The ini file is named in full: -p moves the default one into the corpus folder.
    args.insert(args.end(), {"-P", "-i" + box.path("perfdc.ini")});
    EXPECT_EQ(1, box.run(args).count("| Function   : " + func));
    box.write("perfdc.ini", "[Perf System]\n[another]\n");
    EXPECT_EQ(0, box.run(args).count("| Function   : " + func));
    args.pop_back();
    EXPECT_EQ(1, box.run(args).count("| Function   : " + func)) << "-P without -i selects nothing away";
}

TEST(IniKeys, DialogueAnsweredOnStandardInput)
{
    Sandbox box;
    box.installProgram();
    std::string asked = runAnswered(box, {"-f=none", "-ATiming"}, "Manual\n3\n");
    EXPECT_NE(std::string::npos, asked.find("Specify timing method, please"));
    EXPECT_NE(std::string::npos, asked.find(" NumLoops [10] = "));
    EXPECT_NE(std::string::npos, asked.find(" NumLoops = 3\n"));
    EXPECT_NE(std::string::npos, asked.find("End of common specifications"));

    std::string batch = runAnswered(box, {"-f=none", "-B", "-ATiming"}, "Manual\n3\n");
    EXPECT_EQ(std::string::npos, batch.find("Specify timing method"));
    EXPECT_NE(std::string::npos, batch.find(" Method = Auto\n"));

    std::string preset = runAnswered(box, {"-f=none", "-dMethod=Auto", "-dAccuracy=5"}, "Manual\n");
    EXPECT_EQ(std::string::npos, preset.find("*****")) << "nothing left to ask: no titles";
}
