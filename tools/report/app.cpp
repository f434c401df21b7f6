#include "app.h"

#include "html.h"
#include "markdown.h"
#include "terminal.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace report {

namespace {

void writePage(const std::string& path, const Document& d) {
    std::ofstream page(path, std::ios::binary | std::ios::trunc);
    if (!page) throw TableError(fmt::format("{}: cannot write the page: {}", path, std::strerror(errno)));
    writeHtml(page, d);
    page.close();
    if (!page) throw TableError(fmt::format("{}: writing the page failed", path));
}

}  // namespace

int runReport(const Options& o, std::ostream& out, std::ostream& err) {
    const size_t wanted = o.compare ? 2 : 1;
    if (o.tables.size() != wanted) {
        err << (o.compare ? "perfdc-report: --compare takes two tables, BASE.csv and NEW.csv\n"
                          : "perfdc-report: give one table, or --compare BASE.csv NEW.csv\n");
        return kUsage;
    }
    if (o.failAbove >= 0 && !o.compare) {
        err << "perfdc-report: --fail-above needs --compare\n";
        return kUsage;
    }
    try {
        std::vector<Table> tables;
        for (const std::string& path : o.tables) tables.push_back(readTable(path));
        Document d;
        std::vector<FunctionComparison> slower;
        if (o.compare) {
            Comparison c = compareTables(tables[0], tables[1], o.noise / 100);
            d = compareDocument(tables[0], tables[1], c);
            if (o.failAbove >= 0) slower = slowerThan(c, o.failAbove / 100);
        } else {
            d = summaryDocument(tables[0]);
        }
        if (o.markdown)
            writeMarkdown(out, d);
        else
            writeText(out, d);
        if (!o.html.empty()) {
            writePage(o.html, d);
            err << "perfdc-report: page written to " << o.html << "\n";
        }
        for (const FunctionComparison& f : slower)
            err << fmt::format("perfdc-report: {} is slower by {:.1f}%, more than the allowed {:.1f}%\n", f.function,
                               100 * (f.ratio - 1), o.failAbove);
        return slower.empty() ? kOk : kSlower;
    } catch (const TableError& e) {
        err << "perfdc-report: " << e.what() << "\n";
        return kBadInput;
    }
}

}  // namespace report
