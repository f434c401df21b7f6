// Black-box runs with files that cannot be opened or written: every kind of file the
// program opens is reported once with the system's reason after the colon, and the run
// stops before sorting only for the files that must be written from the start (ini
// file, option files, tables, listing).
// A table that opens but cannot be written is reported and the run goes on.
#include "runner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

TEST(OpenErrors, TheMessageNamesTheSystemsReason) {
    // A plain file "plain" and a folder "abc_sum.csv" are in the sandbox.
    const std::string fatalOutput = "FATAL ERROR: can't open output file for writing";
    struct Case { std::vector<std::string> args; std::string line; std::string fatal; };
    const Case cases[] = {
        {{"-f=none", "-iplain/p"}, "-- Can't open file ./plain/p.ini to read: Not a directory", ""},
        {{"-f=none", "-Iplain/p"}, "-- Can't open file ./plain/p.ini to write: Not a directory",
         "FATAL ERROR: can't open ini-file for writing"},
        {{"-f=none", "-uabc"}, "-- Can't open file ./abc_sum.csv to write: Is a directory", fatalOutput},
        {{"-f=none", "-@abc_sum.csv"}, "-- Can't read file abc_sum.csv: Is a directory", fatalOutput},
        {{"-f=none", "-@."}, "-- Can't read file .: Is a directory", fatalOutput},
        {{"-f=none", "-@no_such_options"}, "-- Can't open file no_such_options to read: No such file or directory",
         fatalOutput},
        {{"-f=none", "-o/nonexistent/dir/x.txt"},
         "-- Can't open file /nonexistent/dir/x.txt to write: No such file or directory", fatalOutput},
        {{"-f=none", "-r", "-lmissing"}, "-- Can't open file ./missing/perfdc.csv to write: No such file or directory",
         fatalOutput},
        {{"-f=none", "-I/nonexistent/dir/p.ini"}, "-- Can't open file /nonexistent/dir/p.ini to write: No such file or directory",
         "FATAL ERROR: can't open ini-file for writing"},
        {{"-f=none", "-inot_there"}, "-- Can't open file ./not_there.ini to read: No such file or directory", ""},
        // The signal file is written after the run.
        {{"-f=none", "-gplain/x"}, "-- Can't open file ./plain/x.end to write: Not a directory", ""},
        // Corpus files are read from the input folder.
        {{"-pnowhere", "-f=lumsEncodeRLE_BZ2_8u", "-dMethod=Manual", "-dNumLoops=1"},
         "-- Can't open file ./nowhere/bib to read: No such file or directory", ""},
    };
    for (const auto& c : cases) {
        Sandbox box;
        box.write("plain", "x");
        box.write("abc_sum.csv/.keep", "");
        std::vector<std::string> args = {"-B"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        RunResult r = box.run(args);
        const std::string what = c.args.back();
        EXPECT_EQ(r.exitCode, 0) << what;
        EXPECT_EQ(r.count(c.line + "\n"), 1) << what << "\n" << r.output;
        if (c.fatal.empty()) {
            EXPECT_EQ(r.count("PS Summary"), 1) << what << "\n" << r.output;
        } else {
            EXPECT_TRUE(r.hasLine(c.fatal)) << what << "\n" << r.output;
            EXPECT_EQ(r.count("Sorting functions"), 0) << what;
            EXPECT_EQ(r.count("PS Summary"), 0) << what;
        }
        // No open failure anywhere in the output lacks its reason.
        for (const std::string& line : splitLines(r.output)) {
            if (line.rfind("-- Can't ", 0) == 0) {
                EXPECT_NE(line.back(), ' ') << what << ": " << line;
            }
        }
    }
}

// /dev/full opens, and every write to it fails: the performance table and the summary
// file each say so once, and the run ends as usual, with exit code 0.
TEST(WriteErrors, AFullDeviceIsReportedOncePerFileAndTheRunGoesOn) {
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full on this system";
    const std::string message = "-- Can't write file /dev/full: No space left on device\n";
    for (const auto& [keys, messages] : {std::pair<std::vector<std::string>, int>{{"-r/dev/full"}, 1},
                                        {{"-r/dev/full", "-u/dev/full"}, 2}}) {
        Sandbox box;
        std::vector<std::string> args = {"-B", "-f=__psOrvexCpuTest"};
        args.insert(args.end(), keys.begin(), keys.end());
        RunResult r = box.run(args);
        EXPECT_EQ(r.exitCode, 0) << keys.back();
        EXPECT_EQ(r.count(message), messages) << r.output;
        EXPECT_EQ(r.count("| Result   : OK "), 1) << r.output;
        EXPECT_EQ(r.count("PS Summary"), 1) << r.output;
    }
}

}  // namespace
