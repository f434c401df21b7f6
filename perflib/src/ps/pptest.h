// ppTest: the test base class of the library-function modules. It keeps the
// measured function's name taken apart (ppFunc), orders tests by it, converts
// library statuses into results with the "--LUM ERROR." / "--LUM WARNING." lines,
// and prints the test's memory blocks at the data message level.
#ifndef PP_TEST_H
#define PP_TEST_H

#include "libenv.h"
#include "ppfunc.h"
#include "test.h"

class ppVector;

class ppTest : public psTest {
public:
    ppTest(psCallFunc call, psInitFunc init, psLoopFunc loop, psStatFunc stat, psString funcName,
           psString srcFile, psString tag);

    psResult run() override;
    int compareFunc(const psTest* other) const override;
    void funcToCstrm() override;
    bool isFloatFunction() override { return m_func.isFloat(); }
    void printAllMemoryBlocks(psString when) override;
    psString regInfo() override;

    virtual void printFirstDebugLine(psString when);
    virtual void printLastDebugLine(psString when);
    virtual void printFirstBlockLine(int index, psObject* owner, int size);
    virtual void printLastBlockLine(int index, psObject* owner);
    virtual void printVectorBlock(ppVector* v);
    virtual void printByteBlock(void* p, int size);

    const ppFunc& func() const { return m_func; }

    // A library status as a result: 0 OK, negative FUNCFAIL, positive FUNCWRN (OK
    // when only errors are checked). Prints the status line and raises the run's result.
    static psResult checkStatus(LumStatus status, psString funcName);

    static bool m_checkErrorsOnly;
    // 1: the table names the function in one cell; 3: base name, data types and
    // descriptor in three cells (for sessions whose title has those columns).
    static int m_funcCells;

private:
    ppFunc m_func;
};

#endif
