// Black-box tests of the session: where output files land and how they are opened,
// the sources of the key list, the stop points and the signal file (files that cannot
// be opened: test_open_errors.cpp). Every run must
// end with exit code 0.
#include "runner.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace {

TEST(SessionFiles, NamesAndPlaces) {
    const std::string abs = "/ABS/";  // replaced by the sandbox folder
    // expected: files relative to the sandbox
    struct Case { std::vector<std::string> args; std::vector<std::string> mkdirs; std::vector<std::string> expected; };
    const Case cases[] = {
        // Default names: the program's title in the program's folder.
        {{"-o", "-r", "-u", "-q", "-g"}, {}, {"bin/perfdc.txt", "bin/perfdc.csv", "bin/perfdc_sum.csv", "bin/perfdc_name.csv", "bin/perfdc.end"}},
        {{"-nrun7", "-u", "-r"}, {}, {"bin/run7_sum.csv", "bin/run7.csv"}},
        {{"-lout", "-r", "-o"}, {"bin/out"}, {"bin/out/perfdc.csv", "bin/out/perfdc.txt"}},
        {{"-l" + abs + "abs", "-rres"}, {"abs"}, {"abs/res.csv"}},
        // A name with a dot keeps it; suffixes are appended whole.
        {{"-rresult.tab", "-uabc", "-qabc", "-gsig.x"}, {}, {"bin/result.tab", "bin/abc_sum.csv", "bin/abc_name.csv", "bin/sig.x"}},
        // An absolute name is used as it is.
        {{"-r" + abs + "x", "-o" + abs + "listing"}, {}, {"x", "listing"}},
        // Several files for one stream.
        {{"-ra", "-rb"}, {}, {"bin/a.csv", "bin/b.csv"}},
    };
    for (const auto& c : cases) {
        Sandbox box("bin/perfdc");
        for (const std::string& d : c.mkdirs) box.write(d + "/.keep", "");
        std::vector<std::string> args;
        for (std::string a : c.args) {
            size_t p = a.find(abs);
            if (p != std::string::npos) a.replace(p, abs.size(), box.root() + "/");
            args.push_back(a);
        }
        RunResult r = box.run(quick(args), RunOptions{"bin/perfdc", ".", "", ""});
        EXPECT_EQ(r.exitCode, 0);
        for (const std::string& f : c.expected) EXPECT_TRUE(box.exists(f)) << c.args[0] << ": " << f << "\n" << r.output;
        // Nothing but the absolute names lands in the working folder itself.
        for (const std::string& f : box.files("."))
            EXPECT_TRUE(f == "x" || f == "listing") << "unexpected file in the working folder: " << f;
    }
}

TEST(SessionFiles, ProgramFoundThroughTheSearchPath) {
    Sandbox box("bin/perfdc");
    box.write("work/.keep", "");
    RunResult r = box.run(quick({"-r", "-o"}), RunOptions{"perfdc", "work", "bin", ""});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_TRUE(r.hasLine("-r: write performance result table to perfdc.csv")) << r.output;
    EXPECT_TRUE(box.exists("work/perfdc.csv"));
    EXPECT_TRUE(box.exists("work/perfdc.txt"));
    EXPECT_FALSE(box.exists("bin/perfdc.csv"));
}

TEST(SessionFiles, LowerCaseCreatesUpperCaseAppends) {
    const struct { const char* key; const char* file; bool keepsOld; } cases[] = {
        {"-o", "perfdc.txt", false}, {"-O", "perfdc.txt", true},     {"-r", "perfdc.csv", false},
        {"-R", "perfdc.csv", true},  {"-u", "perfdc_sum.csv", false}, {"-U", "perfdc_sum.csv", true},
        {"-q", "perfdc_name.csv", false},
    };
    for (const auto& c : cases) {
        Sandbox box;
        box.write(c.file, "previous run\n");
        RunResult r = box.run(quick({c.key}));
        EXPECT_EQ(r.exitCode, 0);
        const std::string text = box.read(c.file);
        EXPECT_EQ(text.rfind("previous run\n", 0) == 0, c.keepsOld) << c.key << "\n" << text;
        EXPECT_GT(text.size(), std::string("previous run\n").size()) << c.key;
    }
}

TEST(SessionFiles, ListingHoldsTheConsoleButNotTheSortingLine) {
    Sandbox box;
    RunResult r = box.run(quick({"-o"}));
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.count("Sorting functions...\n"), 1);
    const std::string listing = box.read("perfdc.txt");
    EXPECT_NE(listing.find("Command line options: \n-B: batch mode\n"), std::string::npos) << listing;
    EXPECT_NE(listing.find("PS Summary"), std::string::npos) << listing;
    EXPECT_EQ(listing.find("Sorting functions"), std::string::npos) << listing;
}

// ---------------------------------------------------------------- key sources

TEST(SessionSources, NoArgumentsReadTheFirstCfgLine) {
    // program: relative to the sandbox, which is the working folder
    struct Case { const char* program; const char* cfgPath; const char* header; };
    const Case cases[] = {
        {"perfdc", "perfdc.cfg", "Command line options: read from perfdc.cfg file"},
        // Not in the working folder: looked for beside the program.
        {"bin/perfdc", "bin/perfdc.cfg", "Command line options: read from ./bin/perfdc.cfg file"},
    };
    for (const auto& c : cases) {
        Sandbox box(c.program);
        box.write(c.cfgPath, "-B -f=none \"-tx y\" -rcfg\n-osecond_line\n");
        RunResult r = box.run({}, RunOptions{std::string("./") + c.program, ".", "", ""});
        EXPECT_EQ(r.exitCode, 0);
        EXPECT_TRUE(r.hasLine(c.header)) << r.output;
        EXPECT_TRUE(r.hasLine("-B: batch mode")) << r.output;
        EXPECT_TRUE(r.hasLine("-tx y: run tests containing 'x y'")) << r.output;
        EXPECT_EQ(r.count("second_line"), 0) << r.output;
        EXPECT_NE(r.output.find("PS Summary"), std::string::npos);
    }
}

TEST(SessionSources, ArgumentsWinOverTheCfgFile) {
    Sandbox box;
    box.write("perfdc.cfg", "-rfromcfg\n");
    RunResult r = box.run(quick({}));
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.output.rfind("Command line options: \n-B: batch mode\n", 0), 0u) << r.output;
    EXPECT_FALSE(box.exists("fromcfg.csv"));
}

// With no arguments and no .cfg file there is no echo at all; the CPU test runs.
TEST(SessionSources, NoKeysAtAllRunsEverything) {
    Sandbox box;
    RunResult r = box.run({});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.count("Command line options"), 0) << r.output;
    EXPECT_EQ(r.count("Sorting functions...\n"), 1);
    EXPECT_NE(r.output.find(" Vendor    : "), std::string::npos) << r.output;
    EXPECT_NE(r.output.find(" Frequency : "), std::string::npos) << r.output;
    EXPECT_TRUE(std::regex_search(r.output, std::regex("\\.Number of tests +[1-9]"))) << r.output;
    EXPECT_TRUE(std::regex_search(r.output, std::regex("\\.Successes +[1-9]"))) << r.output;
}

// ---------------------------------------------------------------- stop points

TEST(SessionStops, WhatEachStopPrints) {
    const struct { std::vector<std::string> args; bool sorting, header, summary, help; } cases[] = {
        {{"-B", "-f=none"}, true, true, true, false},
        {{"-B", "-f=none", "-s-"}, false, true, true, false},
        {{"-s-", "-s", "-B", "-f=none"}, false, true, true, false},
        {{"-e"}, true, true, false, false},
        {{"-e", "-s-"}, false, true, false, false},
        {{"-h", "-e"}, false, false, false, true},
        {{"-v", "-e"}, false, false, false, false},
        {{"-B", "-f=none", "-xyz", "-", "junk"}, true, true, true, false},
    };
    for (const auto& c : cases) {
        Sandbox box;
        RunResult r = box.run(c.args);
        std::string what;
        for (const std::string& a : c.args) what += a + " ";
        EXPECT_EQ(r.exitCode, 0) << what;
        EXPECT_EQ(r.count("Sorting functions...\n"), c.sorting ? 1 : 0) << what << "\n" << r.output;
        EXPECT_EQ(r.count("LUM libraries information has been set into PS") > 0, c.header) << what;
        EXPECT_EQ(r.count("PS Summary") > 0, c.summary) << what;
        EXPECT_EQ(r.count("QUICK HELP") > 0, c.help) << what;
        // Enumerating and help never run a test.
        if (!c.summary) {
            EXPECT_EQ(r.count(" Frequency : "), 0) << what;
        }
    }
}

TEST(SessionStops, SignalFileIsWrittenOnEveryStop) {
    const std::regex content("[0-9]{2,}:[0-9]{2}:[0-9]{2}\n[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9][0-9] "
                             "[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}\n\n");
    const std::vector<std::vector<std::string>> cases = {
        {"-g", "-h"}, {"-gdone", "-v"}, {"-e", "-g"}, {"-B", "-f=none", "-g"}, {"-gfirst", "-g", "-B", "-f=none"}};
    for (const auto& args : cases) {
        Sandbox box;
        RunResult r = box.run(args);
        EXPECT_EQ(r.exitCode, 0);
        const std::string file = args[0] == "-gdone" ? "done.end" : "perfdc.end";
        ASSERT_TRUE(box.exists(file)) << args[0] << "\n" << r.output;
        EXPECT_TRUE(std::regex_match(box.read(file), content)) << box.read(file);
        EXPECT_FALSE(box.exists("first.end"));
    }
}

}  // namespace
