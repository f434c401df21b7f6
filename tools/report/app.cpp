#include "app.h"

#include "benchmark_json.h"
#include "html.h"
#include "machines.h"
#include "markdown.h"
#include "record.h"
#include "terminal.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>
#include <functional>

namespace report {

namespace {

void writeFile(const std::string& path, const char* what, const std::function<void(std::ostream&)>& write) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) throw TableError(fmt::format("{}: cannot write the {}: {}", path, what, std::strerror(errno)));
    write(file);
    file.close();
    if (!file) throw TableError(fmt::format("{}: writing the {} failed", path, what));
}

// The mode's table count, or a message when the arguments do not fit it.
std::string usageError(const Options& o) {
    const size_t n = o.tables.size();
    if (o.compare && o.machines) return "--compare and --machines exclude each other";
    if (o.compare && n != 2) return "--compare takes two tables, BASE.csv and NEW.csv";
    if (o.machines && n < 2) return "--machines takes two or more tables, one per machine";
    if (!o.compare && !o.machines && n != 1) return "give one table, or --compare BASE.csv NEW.csv";
    if (o.failAbove >= 0 && !o.compare) return "--fail-above needs --compare";
    if (!o.json.empty() && (o.compare || o.machines)) return "--json writes one table: give it alone";
    if (o.functionsOnly && (o.compare || o.machines)) return "--functions shapes the summary of one table";
    return {};
}

}  // namespace

int runReport(const Options& o, std::ostream& out, std::ostream& err) {
    if (std::string usage = usageError(o); !usage.empty()) {
        err << "perfdc-report: " << usage << "\n";
        return kUsage;
    }
    try {
        std::vector<Table> tables;
        for (const std::string& path : o.tables) tables.push_back(loadTable(path));
        if (!o.json.empty()) {
            // Built first, so that a table that cannot be converted leaves no empty file.
            std::ostringstream json;
            writeBenchmarkJson(json, tables[0], o.tscGhz * 1e9);
            writeFile(o.json, "JSON file", [&json](std::ostream& f) { f << json.str(); });
            err << "perfdc-report: " << o.json << " written\n";
            return kOk;
        }
        Document d;
        std::vector<FunctionComparison> slower;
        if (o.compare) {
            Comparison c = compareTables(tables[0], tables[1], o.noise / 100);
            d = compareDocument(tables[0], tables[1], c);
            if (o.failAbove >= 0) slower = slowerThan(c, o.failAbove / 100);
            if (o.failAbove >= 0 && c.disturbedSets + c.unknownSets)
                err << fmt::format("perfdc-report: {} of {} parameter sets could not be judged ({} disturbed, {} with "
                                   "the spread unknown); they do not count for --fail-above\n",
                                   c.disturbedSets + c.unknownSets, c.sets.size(), c.disturbedSets, c.unknownSets);
        } else if (o.machines) {
            d = machinesDocument(tables);
        } else {
            d = summaryDocument(tables[0], o.functionsOnly);
        }
        if (o.markdown)
            writeMarkdown(out, d);
        else
            writeText(out, d);
        if (!o.html.empty()) {
            writeFile(o.html, "page", [&](std::ostream& f) { writeHtml(f, d); });
            err << "perfdc-report: page written to " << o.html << "\n";
        }
        for (const FunctionComparison& f : slower)
            err << fmt::format("perfdc-report: {} is slower by {:.1f}%, more than the allowed {:.1f}% and outside "
                               "the noise\n",
                               f.function, 100 * (f.ratio - 1), o.failAbove);
        return slower.empty() ? kOk : kSlower;
    } catch (const TableError& e) {
        err << "perfdc-report: " << e.what() << "\n";
        return kBadInput;
    }
}

}  // namespace report
