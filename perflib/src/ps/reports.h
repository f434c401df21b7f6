// Report blocks written around the measurements: the run title, the title and
// result of each test and the closing "PS Summary". Each report is a small object
// built from the facts it is handed (the run's context, one test's facts, the
// result counters) and then streamed to the console (a framed block), to the
// summary file or to a table stream. The blocks know neither tests nor the session.
#ifndef PS_REPORTS_H
#define PS_REPORTS_H

#include "psstring.h"
#include "results.h"
#include "runcontext.h"
#include "streams.h"
#include "table.h"

#include <ctime>

// Frame and column layout of the console blocks. A line is "|" + items + padding
// + "|" when framed (79 characters), or a blank + items when not. Each of the six
// items has a column: a position p >= 0 is the column where the item starts, a
// negative one means the item ends just before column -p - 1 (right alignment).
class psReportFormat {
public:
    enum { FRAME_WIDTH = 78, NUM_ITEMS = 6 };

    psReportFormat();
    psReportFormat(int p1, int p2 = 0, int p3 = 0, int p4 = 0, int p5 = 0, int p6 = 0);

    void setPositions(int p1, int p2 = 0, int p3 = 0, int p4 = 0, int p5 = 0, int p6 = 0);
    int position(int i) const { return (i >= 0 && i < NUM_ITEMS) ? m_pos[i] : 0; }
    bool isFramed() const { return m_framed; }

    static psString sepLine();
    psString firstLine();
    psString lastLine();

    // One line with the items at their columns; never wraps.
    psString getLine(const psString& i1, const psString& i2 = psString(), const psString& i3 = psString(),
                     const psString& i4 = psString(), const psString& i5 = psString(),
                     const psString& i6 = psString()) const;
    // As getLine, but a left-aligned item too long for the room up to the next
    // item (or the frame) is cut at blanks into pieces that continue on further
    // lines at the same column.
    psString getLines(const psString& i1, const psString& i2 = psString(), const psString& i3 = psString(),
                      const psString& i4 = psString(), const psString& i5 = psString(),
                      const psString& i6 = psString()) const;
    // " <label padded to width>: <text>", the text wrapped under itself.
    psString labelLine(const psString& label, const psString& text, int width = 9) const;

    static void setItem(psString& line, const psString& text, int position);
    static psString getTimeStr(long seconds);
    static psString cutoffNL(const psString& text);
    // First piece of text that fits into width columns, cut after a blank when
    // there is one; text keeps the rest without its leading blanks.
    static psString getPieceItem(psString& text, int width);

private:
    int roomFor(int i, const psString* items) const;

    bool m_framed;
    int m_pos[NUM_ITEMS];
};

// Start time as ctime text without its line end.
psString psTimeText(time_t t);
// A text made fit for one cell of a comma-separated line (commas become ';', line ends blanks).
psString psCellText(const psString& text);

// A (label, value) pair of a report.
struct psReportItem {
    psString label;
    psString value;
};
typedef psList<psReportItem> psReportItems;

// A report block goes to the console at the error level, so it shows at every -L setting.
void psWriteBlock(psOStream& o, const psString& text);
// One table line of a text per cell.
void psCellLine(psCStream& c, const psStringList& cells);

// The run's title: computer, library, start time, timing method and test selection.
class psReportTitle {
public:
    explicit psReportTitle(const psRunContext& context);
    const psReportItems& items() const { return m_items; }

private:
    psReportItems m_items;
};

// What the title and result blocks of one test show; the test fills it in.
struct psTestFacts {
    psString function;
    psString testName;
    psString source;       // file name of the registered source
    psString description;  // class of the registration
    time_t start = 0;
    time_t end = 0;
    int result = UNDEFINED;
    // The floating-point guard words of the run as text, "?" when unknown.
    psString control87 = "?", status87 = "?", controlSSX = "?", statusSSX = "?";
    psString exeName;      // the program that ran the test
};

// The title of one test: function, test name, source, description, start time.
class psReportTestTitle {
public:
    explicit psReportTestTitle(const psTestFacts& t);
    const psReportItems& items() const { return m_items; }

private:
    psReportItems m_items;
};

// The result of one test, and its line of the summary file. Built without a test
// it holds only the summary file's header.
class psReportTestResult {
public:
    psReportTestResult();
    explicit psReportTestResult(const psTestFacts& t);

    bool hasTest() const { return m_hasTest; }
    int result() const { return m_result; }
    long seconds() const { return m_seconds; }
    static const char* header();
    // The comma-separated summary line, without its line end (empty without a test).
    const psString& line() const { return m_line; }

private:
    bool m_hasTest;
    int m_result;
    long m_seconds;
    psString m_line;
};

// The closing "PS Summary": the result counters of the run and the run time.
class psReportEnd {
public:
    explicit psReportEnd(const psRunCounts* counts);
    psReportEnd(int total, const int counts[12], time_t start, time_t end);

    const psReportItems& rows() const { return m_rows; }

private:
    void build(int total, const int counts[12], time_t start, time_t end);
    psReportItems m_rows;
};

psOStream& operator<<(psOStream& o, const psReportTitle& r);
psUStream& operator<<(psUStream& u, const psReportTitle& r);
psCStream& operator<<(psCStream& c, const psReportTitle& r);

psOStream& operator<<(psOStream& o, const psReportTestTitle& r);
psUStream& operator<<(psUStream& u, const psReportTestTitle& r);

psOStream& operator<<(psOStream& o, const psReportTestResult& r);
psUStream& operator<<(psUStream& u, const psReportTestResult& r);

psOStream& operator<<(psOStream& o, const psReportEnd& r);
psUStream& operator<<(psUStream& u, const psReportEnd& r);
psCStream& operator<<(psCStream& c, const psReportEnd& r);

#endif
