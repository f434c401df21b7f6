#include "html.h"

#include "svg_chart.h"

namespace report {

namespace {

const char* const kStyle = R"(
body { font-family: system-ui, -apple-system, "Segoe UI", sans-serif; margin: 24px; color: #222; max-width: 1100px; }
h1 { font-size: 22px; } h2 { font-size: 18px; margin-top: 28px; }
table { border-collapse: collapse; margin: 8px 0 16px; font-size: 13px; }
th, td { border: 1px solid #ccc; padding: 3px 8px; }
th { background: #f0f0f0; text-align: left; }
td.num { text-align: right; font-variant-numeric: tabular-nums; }
td.faster { background: #d4f4d2; color: #14571b; }
td.slower { background: #fadadb; color: #8a1116; }
td.noise { color: #666; }
td.disturbed { background: #fff1c2; color: #6b4e00; font-style: italic; }
p.headline { font-weight: 600; margin: 4px 0; }
ul.notes { font-size: 12px; color: #555; }
svg { display: block; margin: 6px 0 18px; }
svg text { font-family: inherit; font-size: 11px; fill: #222; }
svg .label { text-anchor: end; dominant-baseline: middle; }
svg .tick { text-anchor: middle; fill: #555; }
svg .axis { text-anchor: middle; fill: #333; }
svg .value { font-size: 9px; fill: #444; }
svg .grid { stroke: #e2e2e2; stroke-width: 1; }
)";

const char* toneClass(Tone t) {
    switch (t) {
    case Tone::Faster: return " faster";
    case Tone::Slower: return " slower";
    case Tone::Noise: return " noise";
    case Tone::Disturbed: return " disturbed";
    default: return "";
    }
}

}  // namespace

void writeHtml(std::ostream& out, const Document& d) {
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" << escapeXml(d.title)
        << "</title>\n<style>" << kStyle << "</style>\n</head>\n<body>\n<h1>" << escapeXml(d.title) << "</h1>\n";
    out << "<table class=\"facts\">\n<tr><th></th>";
    for (size_t i = 0; i < d.sources.size(); ++i)
        out << "<th>" << escapeXml(i < d.sourceLabels.size() ? d.sourceLabels[i] + ": " + d.sources[i] : d.sources[i])
            << "</th>";
    out << "</tr>\n";
    for (const auto& [label, values] : d.facts) {
        out << "<tr><th>" << escapeXml(label) << "</th>";
        for (const std::string& v : values) out << "<td>" << escapeXml(v) << "</td>";
        out << "</tr>\n";
    }
    out << "</table>\n";
    for (const std::string& line : d.headline) out << "<p class=\"headline\">" << escapeXml(line) << "</p>\n";

    for (const Chart& c : d.charts) {
        out << "<h2>" << escapeXml(c.title) << ": " << escapeXml(c.unit) << " per parameter set</h2>\n";
        out << barChartSvg(c);
    }
    for (const Section& s : d.sections) {
        out << "<h2>" << escapeXml(s.title) << "</h2>\n<table>\n<tr>";
        for (const std::string& h : s.head) out << "<th>" << escapeXml(h) << "</th>";
        out << "</tr>\n";
        for (const auto& row : s.rows) {
            out << "<tr>";
            for (size_t i = 0; i < row.size(); ++i)
                out << "<td class=\"" << (i < s.textColumns ? "text" : "num") << toneClass(row[i].tone) << "\">"
                    << escapeXml(row[i].text) << "</td>";
            out << "</tr>\n";
        }
        out << "</table>\n";
    }
    if (!d.notes.empty()) {
        out << "<h2>Notes</h2>\n<ul class=\"notes\">\n";
        for (const std::string& n : d.notes) out << "<li>" << escapeXml(n) << "</li>\n";
        out << "</ul>\n";
    }
    out << "</body>\n</html>\n";
}

}  // namespace report
