// The report as one self-contained HTML page: inline CSS and SVG charts, no
// scripts, fonts or other files, so it opens without network access.
#ifndef PERFDC_REPORT_HTML_H
#define PERFDC_REPORT_HTML_H

#include "document.h"

#include <ostream>

namespace report {

void writeHtml(std::ostream& out, const Document& d);

}  // namespace report

#endif
