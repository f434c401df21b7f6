// perfdc-report as users call it: every command-line error with its exit code and
// message, the gate's exit codes, and its JSON read by Google Benchmark's own
// compare.py.
#include "helpers.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

bool readable(const std::string& path) { return access(path.c_str(), R_OK) == 0; }

// Base: CRC-32 and Adler-32 measured once; new: CRC-32 2.8 times faster.
const std::string kBase = runTitle("b") + row("lumsCRC32_8u", "16384", "0.4") + row("lumsCRC32_8u", "32768", "0.2") +
                          row("lumsAdler32_8u", "16384", "0.1");
const std::string kNew = runTitle("n") + row("lumsCRC32_8u", "16384", "0.2") + row("lumsCRC32_8u", "32768", "0.05") +
                         row("lumsAdler32_8u", "16384", "0.1");

TEST(ReportCommandLine, ExitCodesAndMessages) {
    TempDir dir;
    const std::string base = dir.write("base.csv", kBase), cur = dir.write("new.csv", kNew);
    const std::string bad = dir.write("bad.csv", "not,a,table\n");
    const std::string other = dir.write("other.csv", runTitle() + row("lumsInflate_8u", "book1", "3"));
    // new.csv again, its CRC-32 runs flagged as disturbed by its record.
    const std::string noisy = dir.write("noisy.csv", kNew);
    dir.write("noisy.runs.jsonl", recordOf("n", {{"lumsCRC32_8u", true}}).dump() + "\n");
    struct Case {
        const char* what;
        std::vector<std::string> args;
        int code;
        const char* message;  // part of standard error
    };
    const Case cases[] = {
        {"summary", {base}, 0, ""},
        {"faster passes the gate", {"--compare", base, cur, "--fail-above", "5"}, 0, "could not be judged"},
        {"slower fails it", {"--compare", cur, base, "--fail-above", "100"}, 3, "lumsCRC32_8u is slower by 182.8%"},
        {"slower by less", {"--compare", cur, base, "--fail-above", "200"}, 0, ""},
        {"disturbed never fails", {"--compare", noisy, base, "--fail-above", "5"}, 0, "2 disturbed"},
        {"bad table", {"--compare", base, bad}, 1, "bad.csv:1: not a perfdc performance table"},
        {"missing table", {dir.path("gone.csv")}, 1, "cannot open"},
        {"folder", {dir.path(".")}, 1, "is a folder"},
        {"nothing in common", {"--compare", base, other}, 1, "other.csv have no function and parameter set in common"},
        {"machines, nothing in common", {"--machines", base, other}, 1, "no function and parameter set in common"},
        {"json without a TSC rate", {base, "--json", dir.path("x.json")}, 1, "run 1 has no TSC rate"},
        {"page not writable", {base, "--html", dir.path("no/such/page.html")}, 1, "cannot write the page"},
        {"json not writable", {base, "--json", dir.path("no/x.json"), "--tsc-ghz", "2"}, 1, "cannot write the JSON"},
        {"no table", {}, 2, "tables is required"},
        {"compare with one", {"--compare", base}, 2, "--compare takes two tables"},
        {"two without compare", {base, cur}, 2, "give one table"},
        {"machines with one", {"--machines", base}, 2, "--machines takes two or more"},
        {"compare and machines", {"--compare", "--machines", base, cur}, 2, "exclude each other"},
        {"fail-above alone", {base, "--fail-above", "5"}, 2, "--fail-above needs --compare"},
        {"json with compare", {"--compare", base, cur, "--json", "x.json"}, 2, "--json writes one table"},
        {"functions with compare", {"--compare", base, cur, "--functions"}, 2, "--functions shapes the summary"},
        {"negative limit", {"--compare", base, cur, "--fail-above", "-1"}, 2, "--fail-above"},
        {"limit not a number", {"--compare", base, cur, "--fail-above", "five"}, 2, "--fail-above"},
        {"noise beyond 100", {"--compare", base, cur, "--noise", "200"}, 2, "--noise"},
        {"zero TSC rate", {base, "--json", "x.json", "--tsc-ghz", "0"}, 2, "--tsc-ghz"},
        {"unknown option", {base, "--fast"}, 2, "--fast"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> args{PERFDC_REPORT_BIN};
        args.insert(args.end(), c.args.begin(), c.args.end());
        Captured r = runProgram(args, dir.path(""));
        EXPECT_EQ(r.exitCode, c.code) << c.what << ": " << r.err;
        EXPECT_NE(r.err.find(c.message), std::string::npos) << c.what << ": " << r.err;
    }
    EXPECT_FALSE(readable(dir.path("x.json"))) << "a table that cannot be converted left a file";
}

const char* const kComparePy = "/usr/share/benchmark/compare.py";
const char* const kPython = "/usr/bin/python3";

TEST(ReportJson, ReadByGoogleBenchmarksComparePy) {
    TempDir dir;
    // Three rounds each; new.csv has a record (TSC rate, core clocks), base.csv is
    // converted at a rate given on the command line.
    std::string base, cur;
    std::vector<nlohmann::json> record;
    for (const char* start : {"1", "2", "3"}) {
        base += runTitle(start) + row("lumsCRC32_8u", "16384", "0.25") + row("lumsInflate_8u", " \"book1\"", "5.0");
        cur += runTitle(start) + row("lumsCRC32_8u", "16384", "0.5") + row("lumsInflate_8u", " \"book1\"", "5.0");
        record.push_back(recordOf(start, {{"lumsCRC32_8u", false}, {"lumsInflate_8u", false}}));
    }
    dir.write("base.csv", base);
    dir.write("new.csv", cur);
    std::string lines;
    for (const nlohmann::json& r : record) lines += r.dump() + "\n";
    dir.write("new.runs.jsonl", lines);
    for (const auto& [table, extra] : {std::pair{"base", "--tsc-ghz=2.5"}, std::pair{"new", ""}}) {
        std::vector<std::string> args{PERFDC_REPORT_BIN, dir.path(table + std::string(".csv")), "--json",
                                      dir.path(table + std::string(".json"))};
        if (*extra) args.push_back(extra);
        Captured r = runProgram(args);
        ASSERT_EQ(r.exitCode, 0) << r.err;
    }

    const nlohmann::json doc = nlohmann::json::parse(dir.read("new.json"));
    EXPECT_EQ(doc["context"]["mhz_per_cpu"], 2500);
    EXPECT_EQ(doc["context"]["library_build_type"], "release");
    const nlohmann::json& list = doc["benchmarks"];
    ASSERT_EQ(list.size(), 12u);  // two sets: three runs and mean, median, stddev each
    EXPECT_EQ(list[0]["name"], "lumsCRC32_8u/16384");
    EXPECT_EQ(list[0]["run_type"], "iteration");
    EXPECT_EQ(list[0]["iterations"], 5);                        // nLps=5
    EXPECT_DOUBLE_EQ(list[0]["real_time"].get<double>(), 0.2);  // 0.5 clocks at 2.5 GHz
    EXPECT_DOUBLE_EQ(list[0]["core_clocks_per_element"].get<double>(), 0.75);
    EXPECT_EQ(list[3]["name"], "lumsCRC32_8u/16384_mean");
    EXPECT_EQ(list[3]["aggregate_name"], "mean");
    EXPECT_EQ(list[5]["aggregate_name"], "stddev");
    EXPECT_EQ(list[6]["name"], "lumsInflate_8u/book1");

    if (access(kComparePy, R_OK) != 0 || access(kPython, X_OK) != 0)
        GTEST_SKIP() << kComparePy << " or " << kPython
                     << " is absent (Debian packages libbenchmark-tools, python3, python3-scipy): JSON not checked "
                        "with it";
    Captured cmp = runProgram({kPython, kComparePy, "--no-color", "benchmarks", dir.path("base.json"),
                               dir.path("new.json")});
    ASSERT_EQ(cmp.exitCode, 0) << cmp.err << cmp.out;
    for (const char* name : {"lumsCRC32_8u/16384 ", "lumsCRC32_8u/16384_mean", "lumsInflate_8u/book1_median",
                             "OVERALL_GEOMEAN"})
        EXPECT_NE(cmp.out.find(name), std::string::npos) << name << "\n" << cmp.out;
    // CRC-32 takes twice the time: compare.py's change column says +1.0000.
    EXPECT_NE(cmp.out.find("+1.0000"), std::string::npos) << cmp.out;
}

}  // namespace
