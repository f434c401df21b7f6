#include "pptest.h"

#include "memory.h"
#include "ppvector.h"
#include "registry.h"
#include "table.h"

#include <cstdio>

bool ppTest::m_checkErrorsOnly = false;
int ppTest::m_funcCells = 1;

namespace {

// The engine's status converter: statuses of the test being run.
psResult checkCurrentStatus(int status)
{
    psTest* t = psTestList::m_pCurrentTest;
    return ppTest::checkStatus(status, t ? t->getFuncName() : psString());
}

}  // namespace

ppTest::ppTest(psCallFunc call, psInitFunc init, psLoopFunc loop, psStatFunc stat, psString funcName,
               psString srcFile, psString tag)
    : psTest(call, init, loop, stat, funcName, srcFile, tag), m_func(funcName)
{
}

psResult ppTest::checkStatus(LumStatus status, psString funcName)
{
    if (status == 0) return OK;
    if (status > 0 && m_checkErrorsOnly) return OK;
    const bool error = status < 0;
    const char* text = lum_GetStatusString ? lum_GetStatusString(status) : nullptr;
    g_ostrm << (error ? ERR : WARN) << (error ? "--LUM ERROR. " : "--LUM WARNING. ") << "status = " << status;
    if (!funcName.empty()) g_ostrm << " in " << funcName;
    g_ostrm << ": " << (text ? text : "") << "\n" << END_MSG;
    const psResult r = error ? FUNCFAIL : FUNCWRN;
    // A warning the console does not show counts as OK for the run.
    const psResult recorded = (!error && g_ostrm.getOutLevel() < 2) ? OK : r;
    m_currentResult = psMaxResult(m_currentResult, recorded);
    return r;
}

// Library statuses are converted through checkStatus while this test runs; a test
// run outside the registry's loop becomes the current test for that time, so that
// its vectors are placed and reset as its own.
psResult ppTest::run()
{
    psTool::m_pCheckStatus = checkCurrentStatus;
    psTest* previous = psTestList::m_pCurrentTest;
    if (!previous) psTestList::m_pCurrentTest = this;
    psResult r = psTest::run();
    psTestList::m_pCurrentTest = previous;
    return r;
}

int ppTest::compareFunc(const psTest* other) const
{
    const ppTest* o = dynamic_cast<const ppTest*>(other);
    return o ? m_func.compare(o->m_func) : m_func.compare(ppFunc(other->getFuncName()));
}

void ppTest::funcToCstrm()
{
    if (m_funcCells != 3) {
        psTest::funcToCstrm();
        return;
    }
    g_cstrm.setNextColm(m_func.prefix() + m_func.base());
    g_cstrm.setNextColm(m_func.types());
    g_cstrm.setNextColm(m_func.descriptor());
}

psString ppTest::regInfo()
{
    psString s = psTest::regInfo();
    s << "\n   Function " << m_func.name() << ": base " << m_func.prefix() << m_func.base();
    if (!m_func.types().empty()) s << ", data types " << m_func.types();
    if (!m_func.descriptor().empty()) s << ", descriptor " << m_func.descriptor();
    return s;
}

// ---------------------------------------------------------------- memory dump

void ppTest::printAllMemoryBlocks(psString when)
{
    if (!g_ostrm.accepts(DATA)) return;
    printFirstDebugLine(when);
    int size = 0;
    void* owner = nullptr;
    int index = 0;
    for (void* p = psMallocFirst(&size, &owner); p; p = psMallocNext(&size, &owner), ++index) {
        psObject* o = static_cast<psObject*>(owner);
        printFirstBlockLine(index, o, size);
        ppVector* v = dynamic_cast<ppVector*>(o);
        if (v)
            printVectorBlock(v);
        else
            printByteBlock(p, size);
        printLastBlockLine(index, o);
    }
    printLastDebugLine(when);
}

void ppTest::printFirstDebugLine(psString when)
{
    g_ostrm << DATA << "---- memory blocks of " << getFuncName() << " " << when << " measuring\n" << END_MSG;
}

void ppTest::printLastDebugLine(psString when)
{
    g_ostrm << DATA << "---- end of memory blocks " << when << " measuring\n" << END_MSG;
}

void ppTest::printFirstBlockLine(int index, psObject* owner, int size)
{
    g_ostrm << DATA << " block " << index << ": " << size << " bytes";
    if (owner) g_ostrm << ", " << owner->objectInfo();
    g_ostrm << "\n" << END_MSG;
}

void ppTest::printLastBlockLine(int index, psObject* owner)
{
    (void)owner;
    g_ostrm << DATA << " end of block " << index << "\n" << END_MSG;
}

void ppTest::printVectorBlock(ppVector* v) { v->print("  data"); }

void ppTest::printByteBlock(void* p, int size)
{
    const unsigned char* b = static_cast<const unsigned char*>(p);
    const int n = size < 64 ? size : 64;
    psString s = "  bytes:";
    for (int i = 0; i < n; ++i) {
        char buf[8];
        std::snprintf(buf, sizeof buf, "%s%02X", i % 16 ? " " : "\n   ", b[i]);
        s << buf;
    }
    if (n < size) s << " ...";
    g_ostrm << DATA << s << "\n" << END_MSG;
}
