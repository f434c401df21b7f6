// perfdc-report's table reader on any text: a table or a TableError, nothing else, and
// every row it keeps has the header's parameter columns.
#include <sstream>
#include <string>

#include "report/table.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    try {
        const report::Table t = report::parseTable(in, "fuzz.csv");
        for (const report::Row& r : t.rows)
            if (r.parms.size() != t.parmHeaders.size() || r.clocks < 0) std::abort();
    } catch (const report::TableError&) {
    }
    return 0;
}
