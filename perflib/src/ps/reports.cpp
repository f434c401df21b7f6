#include "reports.h"

#include "conditions.h"
#include "cpuinfo.h"
#include "fpguard.h"
#include "libenv.h"
#include "paths.h"
#include "registry.h"
#include "session.h"
#include "timing.h"

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

// Report blocks are written at the error level, so they show at every -L setting.
void writeBlock(psOStream& o, const psString& text) { o << ERR << text << END_MSG_FLUSH; }

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

// ================================================================ run title

psString psReportTitle::timingText()
{
    psString t;
    int loops = 0, start = 0, stop = 0, calls = 0;
    long long clocks = 0;
    if (g_tool.getMethodLoop(loops)) {
        t << "Manual loop, numLoops = " << loops;
    } else if (g_tool.getMethodStat(calls, clocks)) {
        t << "Statistic, NumCalls = " << calls << ", TotalCpuClocks = " << clocks;
    } else if (g_tool.getMethodBest(start, stop, clocks)) {
        t << "Iterative, StartNumLoops = " << start << ", StopNumLoops = " << stop << ", MinCpuClocks = " << clocks
          << ", accuracy = " << psTool::getAccuracyStr(g_tool.getAccuracy());
    } else {
        g_tool.getAutoParameters(start, stop, clocks);
        t << "Auto, loops " << start << ".." << stop << ", MinCpuClocks = " << clocks
          << ", accuracy = " << psTool::getAccuracyStr(g_tool.getAccuracy());
    }
    if (g_tool.getSetAndUse()) t << ", Set&Use";
    if (g_tool.getPreferCalls()) t << ", calls preferred";
    if (g_tool.getCallInit()) t << ", init before measuring";
    return t;
}

psString psReportTitle::selectionText(psTestList* list)
{
    int all = 0, kept = 0;
    psSession* s = psGetSession();
    const psConditions* cond = s ? &s->conditions : nullptr;
    if (list) {
        for (psTest* t : *list) {
            ++all;
            if (!cond || cond->tobeRun(t)) ++kept;
        }
    }
    psString text;
    if (!cond || cond->count() == 0)
        text << "all " << all << " tests";
    else
        text << kept << " of " << all << " tests selected by " << cond->count() << " condition"
             << (cond->count() > 1 ? "s" : "") << (cond->logic == COND_OR ? " (-kor)" : "");
    if (!psTestList::m_startFunc.empty()) text << ", starting from '" << psTestList::m_startFunc << "'";
    return text;
}

psReportTitle::psReportTitle(psTestList* list)
{
    addItem(m_items, "Computer", cpuInfo());
    if (g_pLibInfoList && !g_pLibInfoList->isEmpty()) {
        for (const psString& lib : *g_pLibInfoList) addItem(m_items, "Library", lib);
    } else {
        addItem(m_items, "Library", "no library information registered");
    }
    addItem(m_items, "Start", psTimeText(list ? list->m_startTime : std::time(nullptr)));
    addItem(m_items, "Timing", timingText());
    addItem(m_items, "Test", selectionText(list));
}

psOStream& operator<<(psOStream& o, const psReportTitle& r)
{
    writeBlock(o, labelBlock(r.items()));
    return o;
}

psUStream& operator<<(psUStream& u, const psReportTitle& r)
{
    writeBlock(u, csvLines(r.items()));
    return u;
}

psCStream& operator<<(psCStream& c, const psReportTitle& r)
{
    cellLines(c, r.items());
    return c;
}

// ================================================================ test title

psReportTestTitle::psReportTestTitle(psTest* t)
{
    if (!t) return;
    addItem(m_items, "Function", t->getFuncName());
    addItem(m_items, "Test", t->getInfo().testName);
    addItem(m_items, "Source", t->getFileName());
    addItem(m_items, "Description", t->getInfo().className);
    addItem(m_items, "Start", psTimeText(t->getStartTime()));
}

psOStream& operator<<(psOStream& o, const psReportTestTitle& r)
{
    if (!r.items().isEmpty()) writeBlock(o, labelBlock(r.items()));
    return o;
}

// The summary file holds one line per test, written by the result report.
psUStream& operator<<(psUStream& u, const psReportTestTitle&) { return u; }

// ================================================================ test result

const char* psReportTestResult::header()
{
    return "Function,Class,Control87,Status87,ControlSSX,StatusSSX,Test,Time (sec.),SrcName,Result,ExeName";
}

psReportTestResult::psReportTestResult(psTest* t) : m_hasTest(t != nullptr), m_result(UNDEFINED), m_seconds(0)
{
    if (!t) return;
    m_result = t->getResult();
    m_seconds = static_cast<long>(difftime(t->getEndTime(), t->getStartTime()));
    // The guards' words are known only while they hold accumulated words (a cleared
    // x87 control word is 0, which no real control word is); on a processor without
    // SSE the SSE texts say so themselves.
    const bool x87Known = g_ctrl87.controlWord() != 0;
    const bool sseKnown = !g_ssx.hasSSE() || g_ssx.accumulated() != 0;
    psString seconds;
    seconds << m_seconds;
    const psString fields[] = {
        t->getFuncName(),
        t->getInfo().className,
        x87Known ? g_ctrl87.strCW() : psString("?"),
        x87Known ? g_ctrl87.strSW() : psString("?"),
        sseKnown ? g_ssx.strCW() : psString("?"),
        sseKnown ? g_ssx.strExceptionState() : psString("?"),
        t->getInfo().testName,
        seconds,
        t->getFileName(),
        psResultWord(m_result),
        psPaths::m_exePath,
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
    writeBlock(o, text);
    return o;
}

psUStream& operator<<(psUStream& u, const psReportTestResult& r)
{
    writeBlock(u, psString(r.hasTest() ? r.line().c_str() : psReportTestResult::header()) + "\n");
    return u;
}

// ================================================================ summary

psReportEnd::psReportEnd(psTestList* list)
{
    static const int none[12] = {0};
    if (list)
        build(list->m_total, list->m_counts, list->m_startTime, list->m_endTime);
    else
        build(0, none, 0, 0);
}

psReportEnd::psReportEnd(int total, const int counts[12], time_t start, time_t end) { build(total, counts, start, end); }

// The test list keeps the warning and failure class totals in the WARNING and FAIL
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
    writeBlock(o, text);
    return o;
}

psUStream& operator<<(psUStream& u, const psReportEnd& r)
{
    writeBlock(u, "END_DATA\n" + csvLines(r.rows()));
    return u;
}

psCStream& operator<<(psCStream& c, const psReportEnd& r)
{
    c << "END_DATA" << "\n";
    cellLines(c, r.rows());
    return c;
}

// ================================================================ listing

psString psReportList::baseName(const psString& name)
{
    static const char* const parts[] = {"Init", "Close", "Alloc", "Malloc", "Free", "PutVal", "RotateCenter",
                                        "ResizeShift", "Get_", "Get", "Set_", "Set", "DrawText"};
    for (const char* part : parts) {
        const psString p(part);
        for (int at = name.find(p, 1); at > 0; at = name.find(p, at + 1)) {
            // A part is a word of its own: followed by the end, "_" or a new capitalised word.
            const char next = name[at + p.length()];
            if (p.last() != '_' && next != '\0' && next != '_' && !(next >= 'A' && next <= 'Z')) continue;
            const int suffix = name.find('_', at);
            return suffix < 0 ? name.substr(0, at) : name.substr(0, at) + name.substr(suffix);
        }
    }
    return name;
}

psStringList psReportList::createFuncList(const psStringList& names)
{
    psStringList bases;
    for (const psString& n : names) {
        psString b = baseName(n);
        if (!bases.contains(b)) bases.add(b);
    }
    psStringList out;
    for (const psString& b : bases) {
        out.add(b);
        for (const psString& n : names)
            if (n != b && baseName(n) == b && !out.contains(n)) out.add(n);
    }
    return out;
}

psReportList::psReportList(psTestList* list, psConditions& cond, int mode) : m_mode(mode)
{
    if (!list) return;
    if (mode == 0) {
        for (psTest* t : *list)
            if (t->tobeRun(cond)) m_entries.add(Entry{t->getFuncName(), t->getInfo().testName, t->getFileName(), true});
        return;
    }
    // Library functions only: the framework's own information tests begin with "__".
    psStringList names;
    for (psTest* t : *list)
        if (!t->getFuncName().startsWith("__")) names.add(t->getFuncName());
    for (const psString& name : createFuncList(names)) {
        Entry e{name, psString(), psString(), false};
        for (psTest* t : *list) {
            if (t->getFuncName() != name) continue;
            e.test = t->getInfo().testName;
            e.source = t->getFileName();
            e.exists = e.exists || t->tobeRun(cond);
        }
        if (mode > 0 || !e.exists) m_entries.add(e);
    }
}

psStringList psReportList::columns(int mode)
{
    psStringList c;
    c.add("   #");
    c.add("Function");
    c.add("Test");
    c.add("Source");
    if (mode != 0) c.add("Exist");
    return c;
}

psStringList psReportList::cells(int index, const Entry& e) const
{
    psStringList c;
    psString number;
    number << index;
    c.add(sFormat(number, 4));
    c.add(e.function);
    c.add(orDash(e.test));
    c.add(orDash(e.source));
    if (m_mode != 0) c.add(e.exists ? "+" : "-");
    return c;
}

namespace {

psString tabLine(const psStringList& cells)
{
    psString line;
    for (const psString& c : cells) {
        if (!line.empty()) line += "\t";
        line += c;
    }
    return line + "\n";
}

void cellLine(psCStream& c, const psStringList& cells)
{
    for (const psString& s : cells) c << psCellText(s);
    c << "\n";
}

}  // namespace

psOStream& operator<<(psOStream& o, const psReportList& r)
{
    psString text = tabLine(psReportList::columns(r.mode()));
    int n = 0;
    for (const psReportList::Entry& e : r.entries()) text += tabLine(r.cells(++n, e));
    writeBlock(o, text);
    return o;
}

psCStream& operator<<(psCStream& c, const psReportList& r)
{
    cellLine(c, psReportList::columns(r.mode()));
    int n = 0;
    for (const psReportList::Entry& e : r.entries()) cellLine(c, r.cells(++n, e));
    return c;
}
