#include "terminal.h"

#include <fmt/format.h>

#include <algorithm>

namespace report {

namespace {

// Writes rows under a head, each column as wide as its widest cell; columns from
// `textColumns` on are right-aligned.
void writeColumns(std::ostream& out, const std::vector<std::string>& head,
                  const std::vector<std::vector<std::string>>& rows, size_t textColumns) {
    std::vector<size_t> width(head.size(), 0);
    auto widen = [&width](const std::vector<std::string>& cells) {
        for (size_t i = 0; i < cells.size() && i < width.size(); ++i) width[i] = std::max(width[i], cells[i].size());
    };
    widen(head);
    for (const auto& r : rows) widen(r);
    auto line = [&](const std::vector<std::string>& cells) {
        std::string text;
        for (size_t i = 0; i < width.size(); ++i) {
            const std::string cell = i < cells.size() ? cells[i] : "";
            if (i) text += "  ";
            text += i < textColumns ? fmt::format("{:<{}}", cell, width[i]) : fmt::format("{:>{}}", cell, width[i]);
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out << text << "\n";
    };
    line(head);
    std::vector<std::string> rule;
    for (size_t w : width) rule.emplace_back(w, '-');
    line(rule);
    for (const auto& r : rows) line(r);
}

}  // namespace

void writeText(std::ostream& out, const Document& d) {
    out << d.title << "\n\n";
    std::vector<std::vector<std::string>> facts = factRows(d);
    if (d.sources.size() > 1) {
        std::vector<std::string> files{"File"}, head{""};
        files.insert(files.end(), d.sources.begin(), d.sources.end());
        head.insert(head.end(), d.sourceLabels.begin(), d.sourceLabels.end());
        facts.insert(facts.begin(), files);
        writeColumns(out, head, facts, head.size());
    } else {
        for (const auto& row : facts) out << fmt::format("{:<9} {}\n", row[0], row.size() > 1 ? row[1] : "");
    }
    out << "\n";
    for (const std::string& line : d.headline) out << line << "\n";
    for (const Section& s : d.sections) {
        out << "\n" << s.title << "\n";
        std::vector<std::vector<std::string>> rows;
        for (const auto& r : s.rows) {
            std::vector<std::string> cells;
            for (const Cell& c : r) cells.push_back(c.text);
            rows.push_back(cells);
        }
        writeColumns(out, s.head, rows, s.textColumns);
    }
    if (!d.notes.empty()) {
        out << "\nNotes\n";
        for (const std::string& n : d.notes) out << "  " << n << "\n";
    }
}

}  // namespace report
