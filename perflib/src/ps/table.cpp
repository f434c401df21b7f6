#include "table.h"

#include <vector>

psCStream g_cstrm;
psCStream g_qstrm;
psCStream g_mstrm;

// ---------------------------------------------------------------- line store

void addStore(psLineStore& store, const psString* cells)
{
    psStringList line;
    for (int i = 0; i < PS_TABLE_CELLS; ++i) line.add(cells[i]);
    store.add(line);
}

void resetStoreIterator(psLineStore& store, psLineStore::iterator& it) { it = store.begin(); }

bool getStoreNext(psLineStore& store, psString* cells, psLineStore::iterator& it)
{
    if (it == store.end()) return false;
    int i = 0;
    for (const psString& c : *it) cells[i++] = c;
    ++it;
    return true;
}

int getStoreCount(const psLineStore& store) { return store.count(); }
void clearStore(psLineStore& store) { store.clear(); }

// ---------------------------------------------------------------- cells and lines

void psCStream::setNextColm(const psString& text)
{
    if (m_cursor < PS_TABLE_CELLS) m_cells[m_cursor++] = text;
}

void psCStream::setColm(int i, const psString& text)
{
    if (i >= 0 && i < PS_TABLE_CELLS) m_cells[i] = text;
}

bool psCStream::getColm(int i, psString& text) const
{
    if (i < 0 || i >= PS_TABLE_CELLS) return false;
    text = m_cells[i];
    return true;
}

void psCStream::tableOut(int n)
{
    int count = n ? n : m_cursor;
    if (count > PS_TABLE_CELLS) count = PS_TABLE_CELLS;
    psString line;
    for (int i = 0; i < count; ++i) {
        if (i) line += ",";
        line += (i < m_cursor && !m_cells[i].empty()) ? m_cells[i] : psString("-");
    }
    line += "\n";
    for (o_stream* s : m_sinks) {
        s->write(line);
        s->flush();
    }
}

void psCStream::swapTable(psCStream& other)
{
    swapSinks(other);
    std::swap(m_lines, other.m_lines);
}

void psCStream::tableFlush()
{
    m_cursor = 0;
    for (psString& c : m_cells) c.free();
}

void psCStream::lineOut(int n)
{
    tableOut(n);
    ++m_lines;
    if (m_checkCells) addStore(m_checkStore, m_cells);
    tableFlush();
}

void psCStream::linePostpone()
{
    addStore(m_postponed, m_cells);
    tableFlush();
}

void psCStream::linePostponeOut(int n)
{
    psLineStore::iterator it;
    resetStoreIterator(m_postponed, it);
    while (getStoreNext(m_postponed, m_cells, it)) {
        m_cursor = n;
        lineOut(n);
    }
    clearStore(m_postponed);
}

// ---------------------------------------------------------------- duplicate lines

void psCStream::identicalLinesStart(int n)
{
    m_checkCells = n > PS_TABLE_CELLS ? PS_TABLE_CELLS : n;
    clearStore(m_checkStore);
}

bool psCStream::identicalLinesStop()
{
    if (!m_checkCells || m_checkStore.isEmpty()) {
        m_checkCells = 0;
        clearStore(m_checkStore);
        return false;
    }
    bool found = identicalLinesCheck();
    m_checkCells = 0;
    clearStore(m_checkStore);
    return found;
}

bool psCStream::identicalLinesCheck()
{
    const int stored = m_checkStore.count();
    const int first = m_lines - stored + 1;
    std::vector<const psStringList*> lines;
    for (const psStringList& l : m_checkStore) lines.push_back(&l);
    for (int i = 0; i < stored; ++i) {
        for (int j = i + 1; j < stored; ++j) {
            auto a = lines[i]->begin(), b = lines[j]->begin();
            bool same = true;
            for (int k = 0; k < m_checkCells && same; ++k, ++a, ++b) same = (*a == *b);
            if (same) {
                g_ostrm << WARN << " Performance table warning:\n"
                        << " Lines " << (first + i) << " & " << (first + j) << " have identical parameters\n"
                        << END_MSG_FLUSH;
                return true;
            }
        }
    }
    return false;
}

psCStream& operator<<(psCStream& c, const psString& text)
{
    if (text == "\n")
        c.lineOut(0);
    else
        c.setNextColm(text);
    return c;
}

psCStream& operator<<(psCStream& c, const char* text) { return c << psString(text); }
