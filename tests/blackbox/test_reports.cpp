// Black-box checks of what a run leaves behind: the performance table and the
// name table cell by cell, the summary file, and the framed console blocks.
#include "runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

namespace {

const char* const kTitle = "function,Parm1,Parm2,Parm3,Parm4,Parm5,Parm6,Parm7,Parm8,Comment,Clocks,per,Time (usec),MFlops";
const char* const kSumHeader =
    "Function,Class,Control87,Status87,ControlSSX,StatusSSX,Test,Time (sec.),SrcName,Result,ExeName";
const char* const kRunLabels[] = {"Computer", "Library", "Start", "Timing", "Test"};
// The only test that needs no library and no data: the built-in CPU information test.
const char* const kCpuOnly = "-f=__psOrvexCpuTest";

bool startsWith(const std::string& s, const std::string& prefix) { return s.compare(0, prefix.size(), prefix) == 0; }

// The run title opens every table and the summary file: one "label,text" line per item.
size_t expectRunTitle(const std::vector<std::string>& lines) {
    size_t i = 0;
    for (const char* label : kRunLabels) {
        EXPECT_LT(i, lines.size());
        if (i >= lines.size()) return i;
        EXPECT_TRUE(startsWith(lines[i], std::string(label) + ",")) << lines[i];
        EXPECT_EQ(cells(lines[i]).size(), 2u) << lines[i];
        // Several library lines share the label.
        do ++i;
        while (i < lines.size() && std::string(label) == "Library" && startsWith(lines[i], "Library,"));
    }
    return i;
}

// Every line of the performance table after its title has exactly the title's cells,
// "-" for empty ones.
void expectTable(const std::string& table, const std::string& title, size_t width) {
    const std::vector<std::string> lines = splitLines(table);
    const size_t at = expectRunTitle(lines);
    ASSERT_LT(at, lines.size());
    EXPECT_EQ(lines[at], title);
    for (size_t i = at + 1; i < lines.size(); ++i) {
        const std::vector<std::string> row = cells(lines[i]);
        EXPECT_EQ(row.size(), width) << lines[i];
        for (const std::string& cell : row) EXPECT_FALSE(cell.empty()) << lines[i];
    }
}

class ReportFiles : public ::testing::Test {
protected:
    Sandbox box;
};

}  // namespace

// One run writes the table and the summary file; its console shows the framed blocks.
TEST_F(ReportFiles, TableSummaryFileAndConsoleBlocks) {
    const RunResult r = box.run({"-B", "-r", "-u", kCpuOnly});
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_TRUE(box.exists("perfdc.csv")) << r.output;
    ASSERT_TRUE(box.exists("perfdc_sum.csv")) << r.output;
    expectTable(box.read("perfdc.csv"), kTitle, 14);

    const std::vector<std::string> lines = splitLines(box.read("perfdc_sum.csv"));
    size_t i = expectRunTitle(lines);
    ASSERT_LT(i, lines.size());
    EXPECT_EQ(lines[i], kSumHeader);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), std::string(kSumHeader)), 1);

    // One line per test run, 11 fields, the program path last.
    int testLines = 0;
    for (++i; i < lines.size() && lines[i] != "END_DATA"; ++i, ++testLines) {
        const std::vector<std::string> f = cells(lines[i]);
        ASSERT_EQ(f.size(), 11u) << lines[i];
        EXPECT_EQ(f[0], "__psOrvexCpuTest");
        EXPECT_EQ(f[10], "./perfdc");
        for (const std::string& field : f) EXPECT_FALSE(field.empty()) << lines[i];
    }
    EXPECT_EQ(testLines, 1);

    // The end block closes the file (its rows are checked with the report unit tests).
    ASSERT_EQ(lines.size(), i + 1 + 11);
    EXPECT_EQ(lines[i + 1], ".Number of tests,1");
    EXPECT_EQ(lines[i + 2], ".Successes,1");
    EXPECT_EQ(lines.back().rfind(".Total time,", 0), 0u);

    const std::string sep = "+" + std::string(77, '-') + "+";
    // Run title, test title, test result and summary: four blocks, two frame lines each.
    EXPECT_EQ(r.count(sep + "\n"), 8) << r.output;
    EXPECT_EQ(r.count("| PS Summary "), 1);
    int framedLines = 0;
    for (const std::string& line : splitLines(r.output)) {
        if (line.empty() || line[0] != '|') continue;
        ++framedLines;
        EXPECT_EQ(line.size(), 79u) << line;
        EXPECT_EQ(line.back(), '|') << line;
    }
    EXPECT_GE(framedLines, 5 + 5 + 1 + 12);
    for (const char* label : {"| Computer : ", "| Timing   : ", "| Function   : __psOrvexCpuTest ", "| Test       : __psOrvexCpu ",
                              "| Source     : ps ", "| Description: Orvex CPU information ", "| Start      : ", "| Result   : OK "})
        EXPECT_EQ(r.count(label), 1) << label << "\n" << r.output;
    EXPECT_TRUE(std::regex_search(r.output, std::regex("\\| Result   : OK +Time \\d\\d:\\d\\d:\\d\\d \\|\n"))) << r.output;
}

TEST_F(ReportFiles, InterestColumn) {
    const RunResult r = box.run({"-B", "-r", "-H", kCpuOnly});
    ASSERT_EQ(r.exitCode, 0) << r.output;
    expectTable(box.read("perfdc.csv"), std::string(kTitle) + ",Interest", 15);
}

TEST_F(ReportFiles, NameTableGetsTheTitleLine) {
    const RunResult r = box.run({"-B", "-r", "-q", kCpuOnly});
    ASSERT_EQ(r.exitCode, 0) << r.output;
    ASSERT_TRUE(box.exists("perfdc_name.csv")) << r.output;
    const std::vector<std::string> names = splitLines(box.read("perfdc_name.csv"));
    const size_t at = expectRunTitle(names);
    ASSERT_LT(at, names.size());
    EXPECT_EQ(names[at], kTitle);
    // The title line went to the table as well, once.
    const std::vector<std::string> table = splitLines(box.read("perfdc.csv"));
    EXPECT_EQ(std::count(table.begin(), table.end(), std::string(kTitle)), 1);
}

TEST_F(ReportFiles, EnumerationListsTestsOnConsoleAndTable) {
    const RunResult r = box.run({"-B", "-e", "-r", kCpuOnly});
    ASSERT_EQ(r.exitCode, 0) << r.output;
    EXPECT_TRUE(r.hasLine("   #\tFunction\tTest\tSource")) << r.output;
    EXPECT_TRUE(r.hasLine("   1\t__psOrvexCpuTest\t__psOrvexCpu\tps")) << r.output;
    EXPECT_EQ(r.count("PS Summary"), 0);
    // The header's run title, the listing's own run title, then the listing.
    const std::vector<std::string> table = splitLines(box.read("perfdc.csv"));
    const size_t second = expectRunTitle(table);
    const size_t at = second + expectRunTitle(std::vector<std::string>(table.begin() + second, table.end()));
    ASSERT_EQ(table.size(), at + 2);
    EXPECT_EQ(table[at + 1], "1,__psOrvexCpuTest,__psOrvexCpu,ps");
}
