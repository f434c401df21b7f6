#include "reports.h"

#include <cstdio>

// ================================================================ format

psReportFormat::psReportFormat() : m_framed(false) { setPositions(0); }

psReportFormat::psReportFormat(int p1, int p2, int p3, int p4, int p5, int p6) : m_framed(false)
{
    setPositions(p1, p2, p3, p4, p5, p6);
}

void psReportFormat::setPositions(int p1, int p2, int p3, int p4, int p5, int p6)
{
    const int p[NUM_ITEMS] = {p1, p2, p3, p4, p5, p6};
    for (int i = 0; i < NUM_ITEMS; ++i) m_pos[i] = p[i];
}

psString psReportFormat::sepLine()
{
    psString s("+");
    for (int i = 0; i < FRAME_WIDTH - 1; ++i) s += '-';
    s += "+\n";
    return s;
}

psString psReportFormat::firstLine()
{
    m_framed = true;
    return sepLine();
}

psString psReportFormat::lastLine()
{
    m_framed = false;
    return sepLine();
}

void psReportFormat::setItem(psString& line, const psString& text, int position)
{
    if (text.empty()) return;
    int start = position;
    if (position < 0) {
        start = (-position - 1) - text.length();
        if (start < 0) return;  // does not fit before its right edge
    }
    if (line.length() > start)
        line += ' ';  // the line already reaches the column: keep one blank between items
    else
        while (line.length() < start) line += ' ';
    line += text;
}

psString psReportFormat::getLine(const psString& i1, const psString& i2, const psString& i3, const psString& i4,
                                 const psString& i5, const psString& i6) const
{
    const psString* items[NUM_ITEMS] = {&i1, &i2, &i3, &i4, &i5, &i6};
    psString line(m_framed ? "|" : " ");
    for (int i = 0; i < NUM_ITEMS; ++i) setItem(line, *items[i], m_pos[i]);
    if (m_framed && line.length() <= FRAME_WIDTH) {
        while (line.length() < FRAME_WIDTH) line += ' ';
        line += '|';
    }
    line += '\n';
    return line;
}

// Columns available to left-aligned item i: up to one blank before the next
// non-empty item, or up to the frame; 0 when the item is not wrapped.
int psReportFormat::roomFor(int i, const psString* items) const
{
    if (m_pos[i] < 0) return 0;
    int end = FRAME_WIDTH;
    for (int j = i + 1; j < NUM_ITEMS; ++j) {
        if (items[j].empty()) continue;
        int start = m_pos[j] >= 0 ? m_pos[j] : (-m_pos[j] - 1) - items[j].length();
        if (start > m_pos[i]) end = start - 1;
        break;
    }
    int room = end - m_pos[i];
    return room > 0 ? room : 0;
}

psString psReportFormat::getPieceItem(psString& text, int width)
{
    if (width <= 0 || text.length() <= width) {
        psString all = text;
        text.free();
        return all;
    }
    int cut = -1;
    for (int i = width; i > 0; --i) {
        if (text[i] == ' ') {
            cut = i;
            break;
        }
    }
    psString piece;
    if (cut > 0) {
        piece = text.substr(0, cut).trimmed();
        text = text.substr(cut);
    } else {  // one long word: cut it hard
        piece = text.substr(0, width);
        text = text.substr(width);
    }
    text.trim();
    return piece;
}

psString psReportFormat::getLines(const psString& i1, const psString& i2, const psString& i3, const psString& i4,
                                  const psString& i5, const psString& i6) const
{
    psString rest[NUM_ITEMS] = {i1, i2, i3, i4, i5, i6};
    int room[NUM_ITEMS];
    for (int i = 0; i < NUM_ITEMS; ++i) room[i] = roomFor(i, rest);

    psString out;
    bool more = true;
    while (more) {
        psString piece[NUM_ITEMS];
        more = false;
        for (int i = 0; i < NUM_ITEMS; ++i) {
            piece[i] = room[i] ? getPieceItem(rest[i], room[i]) : rest[i];
            if (!room[i]) rest[i].free();
            more = more || !rest[i].empty();
        }
        out += getLine(piece[0], piece[1], piece[2], piece[3], piece[4], piece[5]);
    }
    return out;
}

psString psReportFormat::labelLine(const psString& label, const psString& text, int width) const
{
    if (width < label.length()) width = label.length();
    psReportFormat f(2, width + 4);
    f.m_framed = m_framed;
    psString head = label.empty() ? psString() : sFormat(label, -width) + ":";
    return f.getLines(head, text);
}

psString psReportFormat::getTimeStr(long seconds)
{
    char buf[64];
    std::snprintf(buf, sizeof buf, "%02ld:%02ld:%02ld", seconds / 3600, (seconds % 3600) / 60, seconds % 60);
    return psString(buf);
}

psString psReportFormat::cutoffNL(const psString& text)
{
    psString s;
    for (int i = 0; i < text.length(); ++i)
        if (text[i] != '\n' && text[i] != '\r') s += text[i];
    return s;
}

psString psTimeText(time_t t) { return psReportFormat::cutoffNL(std::ctime(&t)); }

psString psCellText(const psString& text)
{
    psString s;
    for (int i = 0; i < text.length(); ++i) {
        char c = text[i];
        s += c == ',' ? ';' : (c == '\n' || c == '\r') ? ' ' : c;
    }
    return s.trim();
}

// ================================================================ shared block helpers

namespace {

void addItem(psReportItems& items, const psString& label, const psString& value)
{
    items.add(psReportItem{label, value.empty() ? psString("-") : value});
}

int labelWidth(const psReportItems& items)
{
    int w = 9;
    for (const psReportItem& it : items)
        if (it.label.length() > w) w = it.label.length();
    return w;
}

// Framed block of labelled lines; a label repeated on consecutive items is shown once.
psString labelBlock(const psReportItems& items)
{
    psReportFormat f;
    const int width = labelWidth(items);
    psString out = f.firstLine();
    const psString* prev = nullptr;
    for (const psReportItem& it : items) {
        out += f.labelLine(prev && *prev == it.label ? psString() : it.label, it.value, width);
        prev = &it.label;
    }
    out += f.lastLine();
    return out;
}

psString csvLines(const psReportItems& items)
{
    psString out;
    for (const psReportItem& it : items) out << psCellText(it.label) << "," << psCellText(it.value) << "\n";
    return out;
}

void cellLines(psCStream& c, const psReportItems& items)
{
    for (const psReportItem& it : items) c << psCellText(it.label) << psCellText(it.value) << "\n";
}

psString orDash(const psString& s) { return s.empty() ? psString("-") : s; }

}  // namespace

void psWriteBlock(psOStream& o, const psString& text) { o << ERR << text << END_MSG_FLUSH; }

void psCellLine(psCStream& c, const psStringList& cells)
{
    for (const psString& s : cells) c << psCellText(s);
    c << "\n";
}

// ================================================================ run title

psReportTitle::psReportTitle(const psRunContext& context)
{
    addItem(m_items, "Computer", context.processor);
    if (!context.libraries.isEmpty()) {
        for (const psString& lib : context.libraries) addItem(m_items, "Library", lib);
    } else {
        addItem(m_items, "Library", "no library information registered");
    }
    addItem(m_items, "Start", psTimeText(context.start));
    addItem(m_items, "Timing", context.timing);
    addItem(m_items, "Test", context.selection);
}

psOStream& operator<<(psOStream& o, const psReportTitle& r)
{
    psWriteBlock(o, labelBlock(r.items()));
    return o;
}

psUStream& operator<<(psUStream& u, const psReportTitle& r)
{
    psWriteBlock(u, csvLines(r.items()));
    return u;
}

psCStream& operator<<(psCStream& c, const psReportTitle& r)
{
    cellLines(c, r.items());
    return c;
}

// ================================================================ test title

psReportTestTitle::psReportTestTitle(const psTestFacts& t)
{
    addItem(m_items, "Function", t.function);
    addItem(m_items, "Test", t.testName);
    addItem(m_items, "Source", t.source);
    addItem(m_items, "Description", t.description);
    addItem(m_items, "Start", psTimeText(t.start));
}

psOStream& operator<<(psOStream& o, const psReportTestTitle& r)
{
    if (!r.items().isEmpty()) psWriteBlock(o, labelBlock(r.items()));
    return o;
}

// The summary file holds one line per test, written by the result report.
psUStream& operator<<(psUStream& u, const psReportTestTitle&) { return u; }

// ================================================================ test result

const char* psReportTestResult::header()
{
    return "Function,Class,Control87,Status87,ControlSSX,StatusSSX,Test,Time (sec.),SrcName,Result,ExeName";
}

psReportTestResult::psReportTestResult() : m_hasTest(false), m_result(UNDEFINED), m_seconds(0) {}

psReportTestResult::psReportTestResult(const psTestFacts& t)
    : m_hasTest(true), m_result(t.result), m_seconds(static_cast<long>(difftime(t.end, t.start)))
{
    psString seconds;
    seconds << m_seconds;
    const psString fields[] = {
        t.function,
        t.description,
        t.control87,
        t.status87,
        t.controlSSX,
        t.statusSSX,
        t.testName,
        seconds,
        t.source,
        psResultWord(m_result),
        t.exeName,
    };
    for (const psString& f : fields) {
        if (!m_line.empty()) m_line += ",";
        m_line += orDash(psCellText(f));
    }
}

psOStream& operator<<(psOStream& o, const psReportTestResult& r)
{
    if (!r.hasTest()) return o;
    psString text;
    if (r.result() == UNDEFINED) text << "--No measurements have been done\n";
    psReportFormat f(2, 13, -78);
    text << f.firstLine();
    text << f.getLine("Result   :", psResultWord(r.result()), "Time " + psReportFormat::getTimeStr(r.seconds()));
    text << f.lastLine();
    psWriteBlock(o, text);
    return o;
}

psUStream& operator<<(psUStream& u, const psReportTestResult& r)
{
    psWriteBlock(u, psString(r.hasTest() ? r.line().c_str() : psReportTestResult::header()) + "\n");
    return u;
}

// ================================================================ summary

psReportEnd::psReportEnd(const psRunCounts* counts)
{
    static const int none[12] = {0};
    if (counts)
        build(counts->m_total, counts->m_counts, counts->m_startTime, counts->m_endTime);
    else
        build(0, none, 0, 0);
}

psReportEnd::psReportEnd(int total, const int counts[12], time_t start, time_t end) { build(total, counts, start, end); }

// The counters keep the warning and failure class totals in the WARNING and FAIL
// counters. The rows nest: Failures = Fails + Warnings + Undefined, and each class
// splits into its named code and the rest of the class.
void psReportEnd::build(int total, const int counts[12], time_t start, time_t end)
{
    const int fails = counts[FAIL];
    const int warnings = counts[WARNING];
    const int rows[] = {
        total,
        counts[OK],
        fails + warnings + counts[UNDEFINED],
        fails,
        fails - counts[EXCPTFAIL],
        counts[EXCPTFAIL],
        warnings,
        warnings - counts[BADSTSWRN],
        counts[BADSTSWRN],
        counts[UNDEFINED],
    };
    static const char* const labels[] = {
        ".Number of tests", ".Successes      ", ".Failures       ", "...Fails        ", ".....-FAIL      ",
        ".....-EXCPTFAIL ", "...Warnings     ", ".....-WARNING   ", ".....-BADSTSWRN ", "...Undefined    ",
    };
    for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
        psString v;
        v << rows[i];
        m_rows.add(psReportItem{labels[i], v});
    }
    m_rows.add(psReportItem{".Total time     ", psReportFormat::getTimeStr(static_cast<long>(difftime(end, start)))});
}

psOStream& operator<<(psOStream& o, const psReportEnd& r)
{
    psReportFormat f(2, -29);
    psString text = f.firstLine();
    text += f.getLine("PS Summary");
    for (const psReportItem& row : r.rows()) text += f.getLine(row.label, row.value);
    text += f.lastLine();
    psWriteBlock(o, text);
    return o;
}

psUStream& operator<<(psUStream& u, const psReportEnd& r)
{
    psWriteBlock(u, "END_DATA\n" + csvLines(r.rows()));
    return u;
}

psCStream& operator<<(psCStream& c, const psReportEnd& r)
{
    c << "END_DATA" << "\n";
    cellLines(c, r.rows());
    return c;
}
