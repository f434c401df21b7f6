// Report blocks written around the measurements: the run title, the title and
// result of each test, the closing "PS Summary" and the -e listing. Each report is
// a small object built from the test list or from one test and then streamed to
// the console (a framed block), to the summary file or to a table stream.
#ifndef PS_REPORTS_H
#define PS_REPORTS_H

#include "psstring.h"
#include "streams.h"
#include "table.h"

#include <ctime>

class psTest;
class psTestList;
class psConditions;

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

// The run's title: computer, library, start time, timing method and test selection.
class psReportTitle {
public:
    explicit psReportTitle(psTestList* list);
    const psReportItems& items() const { return m_items; }

    static psString timingText();
    static psString selectionText(psTestList* list);

private:
    psReportItems m_items;
};

// The title of one test: function, test name, source, description, start time.
class psReportTestTitle {
public:
    explicit psReportTestTitle(psTest* t);
    const psReportItems& items() const { return m_items; }

private:
    psReportItems m_items;
};

// The result of one test, and its line of the summary file. Built without a test
// it holds only the summary file's header.
class psReportTestResult {
public:
    explicit psReportTestResult(psTest* t);

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

// The closing "PS Summary": the result counters of the test list and the run time.
class psReportEnd {
public:
    explicit psReportEnd(psTestList* list);
    psReportEnd(int total, const int counts[12], time_t start, time_t end);

    const psReportItems& rows() const { return m_rows; }

private:
    void build(int total, const int counts[12], time_t start, time_t end);
    psReportItems m_rows;
};

// The -e listings: mode 0 the tests the selection keeps; mode 1 every library
// function known from the test list, with "+" in Exist when a selected test
// measures it; mode -1 only those without.
class psReportList {
public:
    struct Entry {
        psString function;
        psString test;
        psString source;
        bool exists;
    };

    psReportList(psTestList* list, psConditions& cond, int mode);

    int mode() const { return m_mode; }
    const psList<Entry>& entries() const { return m_entries; }
    static psStringList columns(int mode);
    psStringList cells(int index, const Entry& e) const;

    // The function a helper belongs to: the name without its recognised part
    // ("Init", "Get", ...), keeping the type suffix; the name itself otherwise.
    static psString baseName(const psString& name);
    // Groups the names: each base function followed by its helpers, in order of
    // first appearance; a base that only appears through a helper is included.
    static psStringList createFuncList(const psStringList& names);

private:
    int m_mode;
    psList<Entry> m_entries;
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

psOStream& operator<<(psOStream& o, const psReportList& r);
psCStream& operator<<(psCStream& c, const psReportList& r);

#endif
