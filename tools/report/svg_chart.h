// Horizontal grouped bar charts as inline SVG: one group of bars per parameter
// set, one bar per series. The axis turns logarithmic when the figures span more
// than a factor of 50.
#ifndef PERFDC_REPORT_SVG_CHART_H
#define PERFDC_REPORT_SVG_CHART_H

#include "document.h"

#include <string>

namespace report {

// Text made safe for XML and HTML content and attribute values.
std::string escapeXml(const std::string& text);

std::string barChartSvg(const Chart& chart);

}  // namespace report

#endif
