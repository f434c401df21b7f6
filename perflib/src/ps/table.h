// psCStream: the comma-separated table stream. A line is built cell by cell (at
// most 32 cells) and written to every sink, which is flushed after each line so a
// table is complete up to the last finished measurement.
#ifndef PS_TABLE_H
#define PS_TABLE_H

#include "streams.h"

enum { PS_TABLE_CELLS = 32 };

// A store of saved table lines, 32 cells a line.
typedef psList<psStringList> psLineStore;
void addStore(psLineStore& store, const psString* cells);
void resetStoreIterator(psLineStore& store, psLineStore::iterator& it);
bool getStoreNext(psLineStore& store, psString* cells, psLineStore::iterator& it);
int getStoreCount(const psLineStore& store);
void clearStore(psLineStore& store);

class psCStream : public psSinks {
public:
    psCStream() : m_cursor(0), m_lines(0), m_checkCells(0) {}

    void setNextColm(const psString& text);
    void setColm(int i, const psString& text);
    bool getColm(int i, psString& text) const;
    int cursor() const { return m_cursor; }
    void setCursor(int c) { m_cursor = c < 0 ? 0 : (c > PS_TABLE_CELLS ? PS_TABLE_CELLS : c); }
    int lineCount() const { return m_lines; }
    // Exchanges the files and the line counts with another table, so that lines
    // written meanwhile go to, and are counted by, the other table.
    void swapTable(psCStream& other);

    void lineOut(int n);
    void tableOut(int n);
    void tableFlush();
    void linePostpone();
    void linePostponeOut(int n);
    int postponedCount() const { return getStoreCount(m_postponed); }

    void identicalLinesStart(int n);
    bool identicalLinesStop();
    bool identicalLinesCheck();

private:
    psString m_cells[PS_TABLE_CELLS];
    int m_cursor;
    int m_lines;
    int m_checkCells;
    psLineStore m_checkStore;
    psLineStore m_postponed;
};

psCStream& operator<<(psCStream& c, const psString& text);
psCStream& operator<<(psCStream& c, const char* text);

extern psCStream g_cstrm;  // the performance table
extern psCStream g_qstrm;  // the parameter-name table
extern psCStream g_mstrm;  // spare table stream for session reports

// While it lives, lines written to g_cstrm go to the name table's files: the sink
// lists of g_cstrm and g_qstrm are exchanged, and exchanged back at the end.
class psNameTableScope {
public:
    psNameTableScope() { g_cstrm.swapTable(g_qstrm); }
    ~psNameTableScope() { g_cstrm.swapTable(g_qstrm); }
    psNameTableScope(const psNameTableScope&) = delete;
    psNameTableScope& operator=(const psNameTableScope&) = delete;
};

#endif
