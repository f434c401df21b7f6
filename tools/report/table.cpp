#include "table.h"

#include <fmt/format.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace report {

namespace {

// Labels of the title lines that open every run.
const char* const kTitleLabels[] = {"Computer", "Library", "Start", "Timing", "Test"};

bool isTitleLabel(const std::string& cell) {
    for (const char* label : kTitleLabels)
        if (cell == label) return true;
    return false;
}

bool isHeader(const std::vector<std::string>& cells) {
    return !cells.empty() && (cells[0] == "function" || cells[0] == "funcBase");
}

// Column positions taken from a header line.
struct Layout {
    size_t width = 0;
    size_t comment = 0, clocks = 0, unit = 0;
};

class Parser {
public:
    Parser(Table& table) : m_table(table) {}

    void line(const std::string& text, int number, bool ended);
    void finish();

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw TableError(fmt::format("{}:{}: {}", m_table.name, m_number, what));
    }
    void header(const std::vector<std::string>& cells);
    void result(const std::vector<std::string>& cells, bool ended);
    void newRun() {
        RunInfo run;
        run.line = m_number;
        m_table.runs.push_back(std::move(run));
        m_haveHeader = false;
    }

    Table& m_table;
    Layout m_layout;
    bool m_haveHeader = false;
    int m_number = 0;
};

void Parser::line(const std::string& text, int number, bool ended) {
    m_number = number;
    if (text.empty()) return;  // perfdc writes an empty line for an empty cell list
    std::vector<std::string> cells = splitCells(text);
    if (isHeader(cells)) {
        header(cells);
    } else if (!m_haveHeader) {
        if (cells.size() != 2 || cells[0].empty())
            fail("not a perfdc performance table: expected title lines such as 'Computer,...' "
                 "and the header line 'function,Parm1,...,Comment,Clocks,per,...'");
        if (m_table.runs.empty()) newRun();
        m_table.runs.back().facts.emplace_back(cells[0], cells[1]);
    } else if (cells.size() == 2 && isTitleLabel(cells[0])) {
        // The title of the next run appended with -R.
        newRun();
        m_table.runs.back().facts.emplace_back(cells[0], cells[1]);
    } else {
        result(cells, ended);
    }
}

void Parser::header(const std::vector<std::string>& cells) {
    if (m_table.runs.empty() || m_haveHeader) newRun();
    Layout layout;
    layout.width = cells.size();
    for (size_t i = 0; i < cells.size(); ++i) {
        if (cells[i] == "Comment" && !layout.comment) layout.comment = i;
        if (cells[i] == "Clocks" && !layout.clocks) layout.clocks = i;
        if (cells[i] == "per" && !layout.unit) layout.unit = i;
    }
    if (!layout.comment || !layout.clocks || !layout.unit)
        fail("header line without the 'Comment', 'Clocks' and 'per' columns: not a perfdc performance table");
    std::vector<std::string> parms(cells.begin() + 1, cells.begin() + layout.comment);
    if (!m_table.parmHeaders.empty() && parms.size() != m_table.parmHeaders.size())
        fail(fmt::format("header line with {} parameter columns where the table's first run has {}", parms.size(),
                         m_table.parmHeaders.size()));
    m_table.parmHeaders = parms;
    m_layout = layout;
    m_haveHeader = true;
}

void Parser::result(const std::vector<std::string>& cells, bool ended) {
    if (cells.size() != m_layout.width)
        fail(fmt::format("{} cells where the header line has {}: a ragged or cut-off line (was the run stopped?)",
                         cells.size(), m_layout.width));
    if (!ended) fail("the last line has no line end: the run that wrote it was stopped in the middle of it");
    const std::string& comment = cells[m_layout.comment];
    if (cells[0].empty() || cells[0] == "-") fail("result line without a function name");

    std::vector<std::string> parms;
    const std::string context = fmt::format("{}:{}", m_table.name, m_number);
    for (size_t i = 1; i < m_layout.comment; ++i) parms.push_back(unquoteCell(cells[i], context));

    if (comment == "parmNames") {
        m_table.parmNames.emplace_back(cells[0], parms);
        return;
    }
    if (comment == "deprecated") {
        m_table.notes.push_back(fmt::format("{}: deprecated result line of {} left out (its parameter cells "
                                            "name an old variant, not comparable values)",
                                            context, cells[0]));
        return;
    }
    const std::string& clocks = cells[m_layout.clocks];
    Row row{cells[0], parms, comment, 0.0, cells[m_layout.unit], static_cast<int>(m_table.runs.size()) - 1,
            m_number};
    if (clocks == "-" || clocks.empty()) {
        m_table.notes.push_back(fmt::format("{}: {} has no clocks figure, left out", context, cells[0]));
        return;
    }
    char* end = nullptr;
    errno = 0;
    row.clocks = std::strtod(clocks.c_str(), &end);
    if (end == clocks.c_str() || *end || row.clocks < 0)
        fail(fmt::format("Clocks cell '{}' is not a positive number", clocks));
    // perfdc writes "nan" or "inf" for a measurement that gave no figure; a zero or
    // a value beyond the double range is no figure either. Such a row is left out
    // (and said so) rather than turned into an endless or empty ratio.
    if (errno == ERANGE || !std::isfinite(row.clocks) || row.clocks == 0) {
        m_table.notes.push_back(fmt::format("{}: {} has the Clocks cell '{}', which is no usable figure: left out",
                                            context, cells[0], clocks));
        return;
    }
    m_table.rows.push_back(std::move(row));
}

void Parser::finish() {
    if (m_table.runs.empty()) throw TableError(fmt::format("{}: empty file, not a perfdc performance table", m_table.name));
    if (!m_haveHeader && m_table.parmHeaders.empty())
        throw TableError(fmt::format("{}: title lines but no header line 'function,Parm1,...': not a perfdc "
                                     "performance table, or a run stopped before measuring",
                                     m_table.name));
    if (m_table.rows.empty())
        throw TableError(fmt::format("{}: no result lines to report", m_table.name));
}

}  // namespace

std::string Table::fact(const std::string& label) const {
    if (runs.empty()) return {};
    for (const auto& [key, text] : runs.front().facts)
        if (key == label) return text;
    return {};
}

const std::vector<std::string>* Table::namesOf(const std::string& function) const {
    for (const auto& [func, names] : parmNames)
        if (func == function) return &names;
    return nullptr;
}

std::vector<std::string> splitCells(const std::string& line) {
    std::vector<std::string> out;
    size_t from = 0;
    for (size_t comma; (comma = line.find(',', from)) != std::string::npos; from = comma + 1)
        out.push_back(line.substr(from, comma - from));
    out.push_back(line.substr(from));
    return out;
}

std::string unquoteCell(const std::string& cell, const std::string& context) {
    size_t open = cell.find('"');
    if (open == std::string::npos) return cell;
    size_t close = cell.find('"', open + 1);
    bool blanksBefore = cell.find_first_not_of(' ') == open;
    if (!blanksBefore || close == std::string::npos || close + 1 != cell.size())
        throw TableError(fmt::format("{}: badly quoted cell '{}' (a quoted value is a blank and \"text\")", context,
                                     cell));
    return cell.substr(open + 1, close - open - 1);
}

Table parseTable(std::istream& in, const std::string& name) {
    Table table;
    table.name = name;
    Parser parser(table);
    std::string text;
    for (int number = 1; std::getline(in, text); ++number) {
        if (text.find('\0') != std::string::npos)
            throw TableError(fmt::format("{}:{}: binary data, not a perfdc performance table", name, number));
        bool ended = !in.eof();
        if (!text.empty() && text.back() == '\r') text.pop_back();
        parser.line(text, number, ended);
    }
    parser.finish();
    return table;
}

Table readTable(const std::string& path) {
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) throw TableError(fmt::format("{}: is a folder, not a table file", path));
    std::ifstream in(path, std::ios::binary);
    if (!in) throw TableError(fmt::format("{}: cannot open: {}", path, std::strerror(errno)));
    return parseTable(in, path);
}

}  // namespace report
