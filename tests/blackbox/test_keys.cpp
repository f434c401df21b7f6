// Black-box tests of the command-line keys: the echo line of every key, the exit
// notes when the program stops early, and the help displays.
#include "runner.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace {

struct EchoCase { std::vector<std::string> args; std::vector<std::string> lines; };

class Keys : public ::testing::Test {
protected:
    // Runs every case and checks that each expected echo line is in the output.
    void checkEchoes(const std::vector<EchoCase>& cases, const std::vector<std::string>& common) {
        for (const EchoCase& c : cases) {
            std::vector<std::string> args = common;
            args.insert(args.end(), c.args.begin(), c.args.end());
            RunResult r = box.run(args);
            EXPECT_EQ(r.exitCode, 0);
            for (const std::string& line : c.lines) EXPECT_TRUE(r.hasLine(line)) << line << "\n--- output:\n" << r.output;
        }
    }
    Sandbox box;
};

// Keys of a normal run; no test is selected so the runs stay short.
TEST_F(Keys, EchoLinesOfANormalRun) {
    const std::vector<EchoCase> cases = {
        {{"-ATiming", "-AMisalign", "-A", "-Axyz"},
         {"-ATiming: ask timing method from console", "-AMisalign: ask data misalignment from console",
          "-A: ask timing method, common parameters, data misalignment, each test parameters from console",
          "-Axyz: ask timing method, common parameters, data misalignment, each test parameters from console"}},
        {{"-dLen=5", "-d", "-d=5", "-dnoequals", "-d =x"},
         {"-dLen=5: set PS parameter Len=5", "-d: ignored: empty data argument", "-d=5: ignored: incorrect data format",
          "-dnoequals: ignored: incorrect data format", "-d =x: ignored: incorrect data format"}},
        // Level words are read letter by letter, upper case only.
        {{"-LDATA", "-Lxyz", "-LERR", "-LM", "-LERRWARN", "-Lperf", "-LINFO"},
         {"-LDATA: write errors,warnings,performance results,tracing info,data info to console",
          "-Lxyz: ignored: incorrect level of console output", "-LERR: write errors to console",
          "-LM: write errors,warnings,performance results,memory info to console",
          "-LERRWARN: write errors,warnings to console", "-Lperf: ignored: incorrect level of console output",
          "-LINFO: write errors,warnings,performance results,measurement process to console"}},
        {{"-fabc", "-f+abc", "-f-abc", "-f=abc", "-f", "-f=", "-f--x"},
         {"-fabc: test functions containing 'abc'", "-f+abc: don't test functions without 'abc' in the name",
          "-f-abc: don't test functions containing 'abc'", "-f=abc: test function equal to 'abc'",
          "-f: ignored: empty function pattern", "-f=: ignored: empty function pattern",
          "-f--x: don't test functions containing '-x'"}},
        {{"-tabc", "-t+abc", "-t-abc", "-t=abc", "-t-"},
         {"-tabc: run tests containing 'abc'", "-t+abc: don't run tests which doesn't contain 'abc'",
          "-t-abc: don't run tests containing 'abc'", "-t=abc: run test equal to 'abc'",
          "-t-: ignored: empty test pattern"}},
        {{"-mabc", "-m+abc", "-m-abc", "-m=abc", "-m+"},
         {"-mabc: run tests from file containing 'abc' in file name",
          "-m+abc: don't run tests from file which doesn't contain 'abc' in file name",
          "-m-abc: don't run tests from file containing 'abc' in file name",
          "-m=abc: run test equal from file with exact name 'abc'", "-m+: ignored: empty file pattern"}},
        {{"-kx", "-korange"},
         {"-kx: keys composition: -f<conditions> AND -t<conditions> AND -m<conditions>",
          "-korange: keys composition: -f<conditions> OR -t<conditions> OR -m<conditiosn>"}},
        {{"-FlumsCRC", "-YHIGH", "-Ynormal", "-Ylow", "-Yx"},
         {"-FlumsCRC: start testing from lumsCRC function", "-YHIGH: set high process priority",
          "-Ynormal: set normal process priority", "-Ylow: set low process priority",
          "-Yx: ignored: incorrect process priority value"}},
        {{"-H", "-HONLY", "-W", "-SU", "-C", "-P", "-s", "-s-"},
         {"-H: add 'Interest' column to table file", "-HONLY: run tests for hot functions only",
          "-W: unmask floating-point exceptions", "-SU: include to measurement data set & use time",
          "-C: test data size will be in cache and out of cache if that is supported by test",
          "-P: read tested function names from ini-file if any", "-s: sort functions", "-s-: don't sort functions"}},
        {{"-nrun7", "-n", "-pdata", "-p", "-l/tmp", "-l"},
         {"-nrun7: name ini-file and output files as run7.<proper-ext>", "-n: ignored: empty default name",
          "-pdata: open test data files & ini-file in ./data/", "-p: ignored: empty directory name",
          "-l/tmp: open output files in /tmp/", "-l: ignored: empty directory name"}},
        {{"-Q"}, {"-Q: ignored because -q option is not present in command line"}},
        {{"-q+"}, {"-q+: ignored because -r or -R options are not present in command line"}},
        {{"-r", "-q+", "-Q"},
         {"-r: write performance result table to ./perfdc.csv",
          "-q+: add function parameter name lines to csv files defined by -r & -R keys",
          "-Q: exit after function parameter name table creation and don't run tests"}},
        {{"-o", "-O", "-R", "-u", "-U", "-g", "-q", "-i"},
         {"-o: write console output to ./perfdc.txt", "-O: add console output to ./perfdc.txt",
          "-R: add performance result table to ./perfdc.csv", "-u: write summary table to ./perfdc_sum.csv",
          "-U: add summary table to ./perfdc_sum.csv", "-g: create file ./perfdc.end at the end of PS work",
          "-q: write function parameter name lines to ./perfdc_name.csv", "-i: read from ./perfdc.ini"}},
        // A lone "-" is no key: it becomes the argument of the key before it.
        {{"-x", "-", "word", "-e+x"}, {"-x-: ignored: incorrect option key", "-e+x: enumerate tested functions and exit"}},
    };
    checkEchoes(cases, {"-B", "-f=none"});
}

// Keys whose effect is void when the program stops early say why.
TEST_F(Keys, ExitNotes) {
    const std::vector<EchoCase> cases = {
        {{"-e", "-B", "-fa", "-u", "-s-", "-o"},
         {"-e: enumerate tested functions and exit", "-B: ignored because of -e option", "-fa: test functions containing 'a'",
          "-u: ignored because of -e option", "-s-: don't sort functions", "-o: write console output to ./perfdc.txt"}},
        {{"-e+"}, {"-e+: enumerate applied and not applied library functions and exit"}},
        {{"-e-"}, {"-e-: enumerate not applied library functions and exit"}},
        {{"-h", "-e", "-fa", "-s-", "-H", "-g"},
         {"-h: type short help and exit", "-e: ignored because of -h option", "-fa: ignored because of -h option",
          "-s-: ignored because of -h option", "-H: ignored because of -h option",
          "-g: create file ./perfdc.end at the end of PS work"}},
        {{"-v", "-B", "-H", "-kor"},
         {"-v: type the version number of the Performance System and exit", "-B: ignored because of -v option",
          "-H: ignored because of -v option",
          "-kor: keys composition: -f<conditions> OR -t<conditions> OR -m<conditiosn>"}},
        // -e is checked before -v, so the notes name -e.
        {{"-e", "-v", "-B"}, {"-B: ignored because of -e option"}},
        {{"-hh"}, {"-hh: type extended help and exit"}},
        {{"-hB"}, {"-hB: type extended help for -B key and exit"}},
        {{"-?"}, {"-?: type short help with hidden keys and exit"}},
        {{"-??"}, {"-??: type extended help with hidden keys and exit"}},
        {{"-?h"}, {"-?h: type extended help for -h key and exit"}},
    };
    checkEchoes(cases, {});
}

TEST_F(Keys, OptionFileKeysAreEchoedInPlace) {
    box.write("opts", "-fa\n-tb -@other\n");
    RunResult r = box.run({"-B", "-@opts", "-f=none"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_NE(r.output.find("Command line options: \n-B: batch mode\n-fa: test functions containing 'a'\n"
                            "-tb: run tests containing 'b'\n-@other: ignored: incorrect option key\n"
                            "-f=none: test function equal to 'none'\n"),
              std::string::npos)
        << r.output;
}

// -T and -N exist only when a test module brought the library in.
TEST_F(Keys, CpuFeaturesAndThreads) {
    RunResult r = box.run({"-B", "-f=none", "-Tbogus", "-TSSE2", "-N0", "-N2"});
    EXPECT_EQ(r.exitCode, 0);
    if (r.output.find("LUM Core library functions have been integrated into PS") == std::string::npos) {
        for (const char* line : {"-Tbogus: ignored: incorrect option key", "-TSSE2: ignored: incorrect option key",
                                 "-N0: ignored: incorrect option key", "-N2: ignored: incorrect option key"})
            EXPECT_TRUE(r.hasLine(line)) << line << "\n" << r.output;
        return;
    }
    for (const char* line : {"-Tbogus: ignored: incorrect CPU features", "-TSSE2: call lumSetCpuFeatures ( Lum64u SSE2 )",
                             "-N0: ignored: incorrect number of threads", "-N2: call lumSetNumThreads(2)",
                             "--calling lumSetNumThreads( 2 )"})
        EXPECT_TRUE(r.hasLine(line)) << line << "\n" << r.output;
    EXPECT_EQ(r.count("--calling lumSetCpuFeatures( lumCpuFeaturesSSE2="), 1) << r.output;
    EXPECT_EQ(r.count("--calling lumGetNumThreads: numThreads = "), 1) << r.output;
    EXPECT_GE(r.count("--status = lumStsNoErr"), 2) << r.output;
}

// ---------------------------------------------------------------- help displays

const std::regex kBanner("\nOrvex Lumica\\. Performance System 2\\.0, [A-Z][a-z][a-z] [ 0-9][0-9] [0-9]{4}\n");

// The output after the echo block (which ends at the first empty line).
std::string afterEcho(const std::string& output) {
    size_t p = output.find("\n\n");
    return p == std::string::npos ? output : output.substr(p + 1);
}

TEST_F(Keys, VersionPrintsOnlyTheBanner) {
    RunResult r = box.run({"-v"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_TRUE(std::regex_match(afterEcho(r.output), kBanner)) << r.output;
    EXPECT_EQ(r.count("Sorting functions"), 0);
    EXPECT_EQ(r.count("LUM libraries information"), 0);
}

TEST_F(Keys, HelpDisplays) {
    const std::string quickFirst = "QUICK HELP\n-B               = batch mode (no console input)\n"
                                   "-A<Timing|Params|Misalign|All> = set detail level of the console input\n";
    const std::string quickLast = "-h               = type short help and exit\n"
                                  "-hh              = type extended help and exit\n"
                                  "-h<key>          = type extended help for the key and exit\n";
    const std::string hidden = "-SU              = measure functions with data set & use\n"
                               "-C               = run tests with data in cache and out of cache (if that is "
                               "supported by test)\n";
    const std::string oHelp = "\n-o[<file-name>]  = create txt-file and write console output\n"
                              "If file-name is empty then default file path will be used:\n"
                              "    <default-dir>/<default-name>.txt\n"
                              "    <default-dir> : <exe-file-dir> or -l key argument if any\n"
                              "    <default-name>: <exe-file-name-without-extention> or -n key argument if any\n"
                              "If several -o keys present in command line then all these files will be created\n"
                              "    and filled\n";
    const std::string hiddenNote = "This is hidden key used by developers only\n";
    struct Case { const char* key; std::string starts; std::vector<std::string> has; std::vector<std::string> hasNot; };
    const Case cases[] = {
        {"-h", quickFirst, {quickLast}, {hidden, "EXTENDED"}},
        {"-?", "QUICK HELP with hidden keys\n", {hidden, quickLast}, {}},
        {"-hh", "EXTENDED HELP\n", {oHelp, "\n-O[<file-name>]  = add console output to txt-file\n"}, {hiddenNote, "-SU"}},
        {"-??", "EXTENDED HELP with hidden keys\n", {oHelp, hiddenNote, "-SU"}, {}},
    };
    for (const auto& c : cases) {
        RunResult r = box.run({c.key});
        EXPECT_EQ(r.exitCode, 0);
        std::string help = afterEcho(r.output);
        std::smatch m;
        ASSERT_TRUE(std::regex_search(help, m, kBanner) && m.position() == 0) << c.key << "\n" << r.output;
        help = help.substr(static_cast<size_t>(m.length()));
        EXPECT_EQ(help.substr(0, c.starts.size()), c.starts) << c.key;
        for (const std::string& s : c.has) EXPECT_NE(help.find(s), std::string::npos) << c.key << ": " << s;
        for (const std::string& s : c.hasNot) EXPECT_EQ(help.find(s), std::string::npos) << c.key << ": " << s;
        EXPECT_EQ(r.count("Sorting functions"), 0) << c.key;
    }
}

TEST_F(Keys, KeyHelp) {
    const std::string tail = "\nUse -h option to type full key list\n";
    const struct { const char* key; std::string text; } cases[] = {
        {"-hx", "EXTENDED KEY HELP\nKey -x is not valid\n"},
        {"-he", "EXTENDED KEY HELP\n-e               = enumerate tests and exit\nNo extended description for this key\n"},
        {"-h?",
         "EXTENDED KEY HELP\nKey -? is deprecated\n-?               = type short help with hidden keys and exit\n"
         "-??              = type extended help with hidden keys and exit\n"
         "-?<key>          = type extended help for the key and exit\n"
         "If several -? keys present in command line then only the last key is valid\n"},
        {"-?h",
         "EXTENDED KEY HELP\n-h               = type short help and exit\n-hh              = type extended help and exit\n"
         "-h<key>          = type extended help for the key and exit\n"
         "If several -h present in command line then only the last key is valid\n"},
        {"-hq",
         "EXTENDED KEY HELP\n-q[<file-name>]  = create csv-file (*_name.csv is default) and write function parameter "
         "name lines\n-q+              = add function parameter name lines to PS results table file\n"
         "If file-name is empty then default file path will be used:\n"
         "    <default-dir>/<default-name>_name.csv\n"
         "    <default-dir> : <exe-file-dir> or -l key argument if any\n"
         "    <default-name>: <exe-file-name-without-extention> or -n key argument if any\n"
         "If several -q[<file-name>] keys present in command line then all these files\n"
         "    will be created and filled\n"
         "-q+ key affects only if -r or -R keys are present in command line\n"},
    };
    for (const auto& c : cases) {
        RunResult r = box.run({c.key});
        EXPECT_EQ(r.exitCode, 0);
        const std::string expected = c.text + tail;
        ASSERT_GE(r.output.size(), expected.size()) << c.key;
        EXPECT_EQ(r.output.substr(r.output.size() - expected.size()), expected) << c.key << "\n" << r.output;
    }
}

}  // namespace
