// The report as GitHub-flavoured markdown, for pasting into a review.
#ifndef PERFDC_REPORT_MARKDOWN_H
#define PERFDC_REPORT_MARKDOWN_H

#include "document.h"

#include <ostream>

namespace report {

void writeMarkdown(std::ostream& out, const Document& d);

}  // namespace report

#endif
