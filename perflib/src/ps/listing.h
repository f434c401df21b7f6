// psReportList: the -e listings. Mode 0 lists the tests the selection keeps; mode 1
// every library function known from the test list, with "+" in Exist when a selected
// test measures it; mode -1 only those without.
#ifndef PS_LISTING_H
#define PS_LISTING_H

#include "reports.h"

class psTestList;
class psConditions;

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

psOStream& operator<<(psOStream& o, const psReportList& r);
psCStream& operator<<(psCStream& c, const psReportList& r);

#endif
