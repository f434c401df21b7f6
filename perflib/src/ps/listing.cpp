// The -e listings of the test list under the selection conditions.
#include "listing.h"

#include "conditions.h"
#include "registry.h"

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
    c.add(e.test.empty() ? psString("-") : e.test);
    c.add(e.source.empty() ? psString("-") : e.source);
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

}  // namespace

psOStream& operator<<(psOStream& o, const psReportList& r)
{
    psString text = tabLine(psReportList::columns(r.mode()));
    int n = 0;
    for (const psReportList::Entry& e : r.entries()) text += tabLine(r.cells(++n, e));
    psWriteBlock(o, text);
    return o;
}

psCStream& operator<<(psCStream& c, const psReportList& r)
{
    psCellLine(c, psReportList::columns(r.mode()));
    int n = 0;
    for (const psReportList::Entry& e : r.entries()) psCellLine(c, r.cells(++n, e));
    return c;
}
