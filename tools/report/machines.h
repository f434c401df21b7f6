// Several machines side by side: one table per machine (with rounds or not), a
// function by machine matrix of clocks per element (and core clocks where the
// run records give them) over the parameter sets every machine measured, and
// each machine's ratio to the first.
#ifndef PERFDC_REPORT_MACHINES_H
#define PERFDC_REPORT_MACHINES_H

#include "document.h"

#include <vector>

namespace report {

// The name a machine goes by: the record's host name or CPU, else the table's
// Computer line, else the file name.
std::string machineName(const Table& table);

// Throws TableError when the tables share no parameter set.
Document machinesDocument(const std::vector<Table>& tables);

}  // namespace report

#endif
