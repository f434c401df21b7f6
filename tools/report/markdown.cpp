#include "markdown.h"

namespace report {

namespace {

// A cell may hold "|", which would end it.
std::string escape(const std::string& text) {
    std::string out;
    for (char c : text) {
        if (c == '|') out += '\\';
        out += c;
    }
    return out;
}

// Real changes in bold, figures from disturbed runs in italics.
std::string marked(const Cell& c) {
    switch (c.tone) {
    case Tone::Slower:
    case Tone::Faster: return "**" + c.text + "**";
    case Tone::Disturbed: return "_" + c.text + "_";
    default: return c.text;
    }
}

void writeTable(std::ostream& out, const std::vector<std::string>& head,
                const std::vector<std::vector<std::string>>& rows, size_t textColumns) {
    out << "|";
    for (const std::string& h : head) out << " " << escape(h) << " |";
    out << "\n|";
    for (size_t i = 0; i < head.size(); ++i) out << (i < textColumns ? "---|" : "---:|");
    out << "\n";
    for (const auto& r : rows) {
        out << "|";
        for (const std::string& c : r) out << " " << escape(c) << " |";
        out << "\n";
    }
}

}  // namespace

void writeMarkdown(std::ostream& out, const Document& d) {
    out << "## " << escape(d.title) << "\n\n";
    std::vector<std::string> head{""};
    for (size_t i = 0; i < d.sources.size(); ++i)
        head.push_back(i < d.sourceLabels.size() ? d.sourceLabels[i] + ": " + d.sources[i] : d.sources[i]);
    std::vector<std::vector<std::string>> facts = factRows(d);
    writeTable(out, head, facts, head.size());
    out << "\n";
    for (const std::string& line : d.headline) out << "**" << escape(line) << "**  \n";
    for (const Section& s : d.sections) {
        out << "\n### " << escape(s.title) << "\n\n";
        std::vector<std::vector<std::string>> rows;
        for (const auto& r : s.rows) {
            std::vector<std::string> cells;
            for (const Cell& c : r) cells.push_back(marked(c));
            rows.push_back(cells);
        }
        writeTable(out, s.head, rows, s.textColumns);
    }
    if (!d.notes.empty()) {
        out << "\n### Notes\n\n";
        for (const std::string& n : d.notes) out << "- " << escape(n) << "\n";
    }
}

}  // namespace report
