// Black-box runs with files that cannot be opened: every kind of file the program opens
// is reported with the system's reason after the colon, and the run stops only for the
// files that must be written from the start (ini file, tables, listing).
#include "runner.h"

#include <gtest/gtest.h>

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
        EXPECT_TRUE(r.hasLine(c.line)) << what << "\n" << r.output;
        if (c.fatal.empty()) {
            EXPECT_EQ(r.count("PS Summary"), 1) << what << "\n" << r.output;
        } else {
            EXPECT_TRUE(r.hasLine(c.fatal)) << what << "\n" << r.output;
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

}  // namespace
