#include "svg_chart.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace report {

namespace {

const char* const kColours[] = {"#4e79a7", "#f28e2b", "#59a14f", "#e15759", "#76b7b2", "#b07aa1", "#9c755f", "#edc948"};
constexpr int kLabelWidth = 360, kPlotWidth = 620, kRight = 80, kTop = 40, kBar = 11, kGap = 9;

// Maps a figure to a bar length in pixels.
struct Scale {
    bool log = false;
    double low = 0, high = 1;  // axis ends (log10 of them on a log axis)

    Scale(double minValue, double maxValue) {
        log = maxValue / minValue > 50;
        if (log) {
            low = std::floor(std::log10(minValue));
            high = std::ceil(std::log10(maxValue));
            if (high <= low) high = low + 1;
        } else {
            high = niceStep(maxValue / 5) * 5;
            if (high < maxValue) high += niceStep(maxValue / 5);
        }
    }
    static double niceStep(double raw) {
        double p = std::pow(10, std::floor(std::log10(raw)));
        for (double m : {1.0, 2.0, 2.5, 5.0, 10.0})
            if (m * p >= raw) return m * p;
        return 10 * p;
    }
    double px(double v) const {
        double t = log ? (std::log10(v) - low) / (high - low) : v / high;
        return std::clamp(t, 0.0, 1.0) * kPlotWidth;
    }
    std::vector<double> ticks() const {
        std::vector<double> t;
        if (log) {
            for (double e = low; e <= high; ++e) t.push_back(std::pow(10, e));
        } else {
            for (int i = 0; i <= 5; ++i) t.push_back(high * i / 5);
        }
        return t;
    }
};

}  // namespace

std::string escapeXml(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        default: out += c;
        }
    }
    return out;
}

std::string barChartSvg(const Chart& chart) {
    double minValue = INFINITY, maxValue = 0;
    for (const ChartSeries& s : chart.series)
        for (double v : s.values)
            if (v > 0 && std::isfinite(v)) {
                minValue = std::min(minValue, v);
                maxValue = std::max(maxValue, v);
            }
    if (maxValue <= 0) return "<p>No figures to chart.</p>\n";
    const Scale scale(minValue, maxValue);
    const int groupHeight = static_cast<int>(chart.series.size()) * kBar + kGap;
    const int plotHeight = static_cast<int>(chart.categories.size()) * groupHeight;
    const int width = kLabelWidth + kPlotWidth + kRight, height = kTop + plotHeight + 36;

    std::string svg = fmt::format(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0}\" height=\"{1}\" viewBox=\"0 0 {0} {1}\" role=\"img\" "
        "aria-label=\"{2}\">\n",
        width, height, escapeXml(chart.title + ": " + chart.unit));
    // Legend.
    int x = kLabelWidth;
    for (size_t i = 0; i < chart.series.size(); ++i) {
        svg += fmt::format("<rect x=\"{}\" y=\"10\" width=\"12\" height=\"12\" fill=\"{}\"/>"
                           "<text x=\"{}\" y=\"21\" class=\"legend\">{}</text>\n",
                           x, kColours[i % 8], x + 16, escapeXml(chart.series[i].name));
        x += 24 + static_cast<int>(chart.series[i].name.size()) * 7;
    }
    // Grid and axis.
    for (double t : scale.ticks()) {
        double tx = kLabelWidth + scale.px(t);
        svg += fmt::format("<line x1=\"{0:.1f}\" y1=\"{1}\" x2=\"{0:.1f}\" y2=\"{2}\" class=\"grid\"/>"
                           "<text x=\"{0:.1f}\" y=\"{3}\" class=\"tick\">{4}</text>\n",
                           tx, kTop - 4, kTop + plotHeight, kTop + plotHeight + 14, t > 0 ? formatClocks(t) : "0");
    }
    svg += fmt::format("<text x=\"{}\" y=\"{}\" class=\"axis\">{}{}</text>\n", kLabelWidth + kPlotWidth / 2,
                       kTop + plotHeight + 30, escapeXml(chart.unit), scale.log ? " (logarithmic scale)" : "");
    // One group of bars per category.
    for (size_t c = 0; c < chart.categories.size(); ++c) {
        int y = kTop + static_cast<int>(c) * groupHeight + kGap / 2;
        svg += fmt::format("<text x=\"{}\" y=\"{}\" class=\"label\">{}</text>\n", kLabelWidth - 8,
                           y + groupHeight / 2, escapeXml(chart.categories[c]));
        for (size_t s = 0; s < chart.series.size(); ++s, y += kBar) {
            double v = chart.series[s].values[c];
            if (!(v > 0) || !std::isfinite(v)) continue;
            double w = std::max(1.0, scale.px(v));
            svg += fmt::format("<rect x=\"{}\" y=\"{}\" width=\"{:.1f}\" height=\"{}\" fill=\"{}\"><title>{}: {} {}"
                               "</title></rect><text x=\"{:.1f}\" y=\"{}\" class=\"value\">{}</text>\n",
                               kLabelWidth, y, w, kBar - 1, kColours[s % 8], escapeXml(chart.series[s].name),
                               formatClocks(v), escapeXml(chart.unit), kLabelWidth + w + 3, y + kBar - 2,
                               formatClocks(v));
        }
    }
    svg += "</svg>\n";
    return svg;
}

}  // namespace report
