// The report as plain text for a terminal: aligned columns, figures right-aligned.
#ifndef PERFDC_REPORT_TERMINAL_H
#define PERFDC_REPORT_TERMINAL_H

#include "document.h"

#include <ostream>

namespace report {

void writeText(std::ostream& out, const Document& d);

}  // namespace report

#endif
