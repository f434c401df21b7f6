// perfdc-report: a summary of one perfdc performance table, or the comparison of
// two, on the terminal, as markdown or as a self-contained HTML page.
#include "app.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    report::Options o;
    CLI::App app{"Summarise a perfdc performance table (.csv), or compare two of them.\n"
                 "Exit codes: 0 done, 1 unusable table, 2 bad arguments, 3 a function slower than --fail-above."};
    app.add_option("tables", o.tables, "RUN.csv, or BASE.csv NEW.csv with --compare")->required();
    app.add_flag("-c,--compare", o.compare, "compare NEW.csv with BASE.csv, matching function and parameter cells");
    app.add_flag("-m,--markdown", o.markdown, "write markdown instead of plain text");
    app.add_option("--html", o.html, "also write a self-contained HTML page with charts to FILE")->type_name("FILE");
    app.add_option("--fail-above", o.failAbove, "exit with 3 when a function is slower by more than PCT percent")
        ->type_name("PCT")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--noise", o.noise, "noise floor in percent: figures closer than this are never told apart")
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
