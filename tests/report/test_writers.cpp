// The three forms of a report: what each must hold and keep intact.
#include "document.h"
#include "helpers.h"
#include "html.h"
#include "markdown.h"
#include "svg_chart.h"
#include "terminal.h"

#include <gtest/gtest.h>

#include <cmath>
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
