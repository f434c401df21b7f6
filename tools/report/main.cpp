// perfdc-report: a summary of one perfdc performance table, the comparison of two,
// or several machines side by side, on the terminal, as markdown or as a
// self-contained HTML page; or one table in Google Benchmark's JSON format.
#include "app.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    report::Options o;
    CLI::App app{"Summarise a perfdc performance table (.csv), compare two of them, or several machines.\n"
                 "Exit codes: 0 done, 1 unusable table, 2 bad arguments, 3 a function slower than --fail-above."};
    app.add_option("tables", o.tables, "RUN.csv; BASE.csv NEW.csv with --compare; one table per machine with --machines")
        ->required();
    app.add_flag("-c,--compare", o.compare, "compare NEW.csv with BASE.csv, matching function and parameter cells");
    app.add_flag("--machines", o.machines, "a function by machine matrix of the tables, ratios to the first");
    app.add_flag("--functions", o.functionsOnly, "summary: only the per-function figures");
    app.add_option("--json", o.json, "write the table in Google Benchmark's JSON format to FILE")->type_name("FILE");
    app.add_option("--tsc-ghz", o.tscGhz, "TSC rate for --json where the run record gives none")
        ->type_name("GHZ")
        ->check(CLI::PositiveNumber);
    app.add_flag("-m,--markdown", o.markdown, "write markdown instead of plain text");
    app.add_option("--html", o.html, "also write a self-contained HTML page with charts to FILE")->type_name("FILE");
    app.add_option("--fail-above", o.failAbove, "exit with 3 when a function is slower by more than PCT percent and outside the noise")
        ->type_name("PCT")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--noise", o.noise, "least noise floor in percent: changes smaller than this are never called real")
        ->type_name("PCT")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        app.exit(e);
        return report::kUsage;
    }
    return report::runReport(o, std::cout, std::cerr);
}
