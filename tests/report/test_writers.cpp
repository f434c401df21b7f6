// The three forms of a report: what each must hold and keep intact.
#include "benchmark_json.h"
#include "document.h"
#include "helpers.h"
#include "html.h"
#include "machines.h"
#include "markdown.h"
#include "svg_chart.h"
#include "terminal.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <cmath>
#include <iterator>
#include <sstream>

using namespace report;

namespace {

int count(const std::string& text, const std::string& part) {
    int n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
    return n;
}

// A function name with characters that markup must escape.
const std::string kBase = runTitle() + row("lumsCRC32_8u", "16384", "0.4") + row("lumsCRC32_8u", "32768", "0.2") +
                          row("f<x>|&", "1", "100") + row("lumsInflate_8u", "book1", "5");
const std::string kNew = runTitle("later") + row("lumsCRC32_8u", "16384", "0.2") + row("lumsCRC32_8u", "32768", "0.5") +
                         row("f<x>|&", "1", "100") + row("lumsInflate_8u", "book1", "5");

Document compared() {
    static const Table base = tableOf(kBase, "base.csv"), cur = tableOf(kNew, "new.csv");
    return compareDocument(base, cur, compareTables(base, cur, 0.02));
}

TEST(ReportWriters, TerminalAndMarkdownCarryTheComparison) {
    std::ostringstream text, md;
    writeText(text, compared());
    writeMarkdown(md, compared());
    for (const std::string& out : {text.str(), md.str()}) {
        EXPECT_NE(out.find("1.118"), std::string::npos) << out;  // geometric mean of the ratios 0.5 and 2.5
        EXPECT_NE(out.find("later"), std::string::npos);         // the new run's start
        EXPECT_EQ(out.find("nan"), std::string::npos);
    }
    EXPECT_NE(md.str().find("| lumsCRC32_8u | 16384 | 0.4 | - | 0.2 | - | **0.500** | **faster** |"), std::string::npos)
        << md.str();
    EXPECT_NE(md.str().find("f<x>\\|&"), std::string::npos);
    EXPECT_NE(text.str().find("lumsCRC32_8u    16384             0.4            -       0.2           -     0.500          faster   1/1"), std::string::npos) << text.str();
}

TEST(ReportWriters, HtmlPageIsSelfContainedAndEscaped) {
    std::ostringstream page;
    writeHtml(page, compared());
    const std::string html = page.str();
    for (const char* external : {"<script", "<link", "@import", "url(", "src=", "https:"})
        EXPECT_EQ(html.find(external), std::string::npos) << external;
    // Only the SVG namespace name looks like an address.
    EXPECT_EQ(count(html, "http:"), count(html, "xmlns=\"http://www.w3.org/2000/svg\""));
    EXPECT_NE(html.find("f&lt;x&gt;|&amp;"), std::string::npos);
    EXPECT_EQ(html.find("f<x>"), std::string::npos);
    // One chart per module, the ratio cells coloured by their verdict.
    EXPECT_EQ(count(html, "<svg"), 3);
    EXPECT_EQ(count(html, "class=\"num faster\">0.500"), 1);
    EXPECT_EQ(count(html, "class=\"num slower\">2.500"), 1);
}

TEST(ReportWriters, ClockCellsWithoutAFigureAreLeftOutAndSaidSo) {
    // perfdc writes nan or inf when a measurement gave no figure; 0 and 1e999 (past
    // the double range) are no figure either. Each such row is left out with a note
    // in every form, and the ratios of the other rows stay right.
    const char* const cells[] = {"0", "nan", "inf", "1e999", "-nan", "0.0e0"};
    std::string text = runTitle();
    for (const char* cell : cells) text += row("lumsInflate_8u", cell, cell);
    const Table odd = tableOf(text + row("lumsCRC32_8u", "1", "0.4"), "odd.csv");
    const Table good = tableOf(runTitle() + row("lumsCRC32_8u", "1", "0.2") + row("lumsInflate_8u", "0", "3"), "g.csv");
    ASSERT_EQ(odd.rows.size(), 1u);
    ASSERT_EQ(odd.notes.size(), std::size(cells));
    for (size_t i = 0; i < std::size(cells); ++i)
        EXPECT_NE(odd.notes[i].find(fmt::format("has the Clocks cell '{}', which is no usable figure", cells[i])),
                  std::string::npos)
            << odd.notes[i];

    const Document d = compareDocument(good, odd, compareTables(good, odd, 0.02));
    std::ostringstream plain, md, page, json;
    writeText(plain, d);
    writeMarkdown(md, d);
    writeHtml(page, d);
    writeBenchmarkJson(json, odd, 2e9);
    for (const std::string& out : {plain.str(), md.str(), page.str()}) {
        EXPECT_NE(out.find("2.000"), std::string::npos) << out;  // the CRC-32 ratio
        EXPECT_NE(out.find("1e999"), std::string::npos);  // named in the notes
        EXPECT_NE(out.find("lumsInflate_8u"), std::string::npos);  // listed as only in the base table
        const std::string figures = out.substr(0, out.find("Notes"));  // the notes quote the cells
        for (const char* cell : {" nan", ">nan", " inf", ">inf"})
            EXPECT_EQ(figures.find(cell), std::string::npos) << cell << "\n" << out;
    }
    const nlohmann::json doc = nlohmann::json::parse(json.str());
    ASSERT_EQ(doc["benchmarks"].size(), 1u);
    EXPECT_EQ(doc["benchmarks"][0]["name"], "lumsCRC32_8u/1");
    EXPECT_DOUBLE_EQ(doc["benchmarks"][0]["real_time"].get<double>(), 0.2);
}

TEST(ReportWriters, DisturbedRowsAndCoreClocksInEveryForm) {
    // Three rounds a side; every new run of lumsInflate_8u is flagged disturbed.
    std::string base, cur;
    std::vector<nlohmann::json> baseRecord, newRecord;
    for (const std::string start : {"1", "2", "3"}) {
        base += runTitle(start) + row("lumsCRC32_8u", "1", "0.4") + row("lumsInflate_8u", "book1", "5");
        cur += runTitle(start) + row("lumsCRC32_8u", "1", "0.4") + row("lumsInflate_8u", "book1", "9");
        baseRecord.push_back(recordOf(start, {{"lumsCRC32_8u", false}, {"lumsInflate_8u", false}}));
        newRecord.push_back(recordOf(start, {{"lumsCRC32_8u", false}, {"lumsInflate_8u", true}}));
        newRecord.back()["host"]["cpu"] = "Other CPU";
    }
    const Table b = recordedTableOf(base, baseRecord, "base.csv"), n = recordedTableOf(cur, newRecord, "new.csv");
    const Document d = compareDocument(b, n, compareTables(b, n, 0.02));
    std::ostringstream plain, md, page;
    writeText(plain, d);
    writeMarkdown(md, d);
    writeHtml(page, d);
    for (const std::string& out : {plain.str(), md.str(), page.str()}) {
        EXPECT_NE(out.find("new all 3"), std::string::npos) << out;      // the disturbed set
        EXPECT_NE(out.find("Core/tick"), std::string::npos);             // the record's facts
        EXPECT_NE(out.find("Base core"), std::string::npos);
        EXPECT_NE(out.find("Warning: the tables differ in CPU: Test CPU (base) and Other CPU (new)"),
                  std::string::npos);
    }
    EXPECT_NE(md.str().find("| lumsCRC32_8u | 1 | 0.4 | 0.0% | 0.4 | 0.0% | 0.6 | 0.6 |"), std::string::npos) << md.str();  // 1.5 core clocks a tick
    EXPECT_NE(md.str().find("| _disturbed_ |"), std::string::npos) << md.str();
    EXPECT_EQ(count(page.str(), "class=\"text disturbed\""), 0);
    EXPECT_GE(count(page.str(), "class=\"num disturbed\">new all 3"), 1);
    // The summary of the new table marks the set as well, and gives core clocks.
    std::ostringstream summary;
    writeText(summary, summaryDocument(n));
    EXPECT_NE(summary.str().find("core clocks/e"), std::string::npos) << summary.str();
    EXPECT_NE(summary.str().find("all 3"), std::string::npos);
}

TEST(ReportWriters, MachinesSideBySide) {
    // M1 without a record, M2 with one (named by its CPU, with core clocks), M3
    // with two rounds and a set the others lack.
    std::vector<Table> machines;
    machines.push_back(tableOf(runTitle() + row("lumsCRC32_8u", "1", "0.4") + row("lumsCRC32_8u", "2", "0.1") +
                                   row("lumsInflate_8u", "book1", "4"),
                               "m1.csv"));
    machines.push_back(recordedTableOf(runTitle("s") + row("lumsCRC32_8u", "1", "0.2") + row("lumsCRC32_8u", "2", "0.05") +
                                           row("lumsInflate_8u", "book1", "4"),
                                       {recordOf("s", {})}, "m2.csv"));
    machines.push_back(tableOf(runTitle() + row("lumsCRC32_8u", "1", "0.8") + row("lumsCRC32_8u", "2", "0.2") +
                                   runTitle() + row("lumsCRC32_8u", "1", "0.9") + row("lumsCRC32_8u", "2", "0.3") +
                                   row("lumsInflate_8u", "paper1", "3"),
                               "m3.csv"));
    const Document d = machinesDocument(machines);
    std::ostringstream md, page;
    writeMarkdown(md, d);
    writeHtml(page, d);
    EXPECT_NE(md.str().find("|  | M1: m1.csv | M2: m2.csv | M3: m3.csv |"), std::string::npos) << md.str();
    EXPECT_NE(md.str().find("| Machine | Test machine; 2 logical processors | Test CPU | Test machine;"), std::string::npos);
    // CRC-32: geometric means 0.2, 0.1 and 0.4; Inflate is not measured on M3.
    EXPECT_NE(md.str().find("| Checksum | lumsCRC32_8u | 2 | 0.2 | - | 0.1 | 0.15 | 0.500 | 0.4 | - | 2.000 |"),
              std::string::npos)
        << md.str();
    EXPECT_EQ(md.str().find("| lumsInflate_8u |"), std::string::npos);
    EXPECT_NE(md.str().find("1 parameter sets of m1.csv missing on some machine are left out"), std::string::npos);
    EXPECT_EQ(count(page.str(), "<svg"), 1);
    EXPECT_EQ(count(page.str(), "</title></rect>"), 3);
}

TEST(ReportWriters, ChartHasABarPerSeriesAndSetAndSkipsMissingFigures) {
    Chart chart{"Checksum", "clocks/e", {"a", "b", "c"}, {{"base", {1, 2, 3}}, {"new", {2, std::nan(""), 4}}}};
    std::string svg = barChartSvg(chart);
    EXPECT_EQ(count(svg, "</title></rect>"), 5);
    EXPECT_EQ(svg.find("logarithmic"), std::string::npos);
    chart.series[1].values[1] = 1000;  // a range over a factor of 50 turns the axis logarithmic
    EXPECT_NE(barChartSvg(chart).find("logarithmic"), std::string::npos);
    EXPECT_EQ(barChartSvg(Chart{"x", "clocks/e", {"a"}, {{"s", {std::nan("")}}}}), "<p>No figures to chart.</p>\n");
}

}  // namespace
