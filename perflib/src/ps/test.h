// psTest: one measurable library function together with the way to measure it.
// Test modules derive from it (mostly through ppTest) and override the data
// lifecycle; the framework drives them through run().
#ifndef PS_TEST_H
#define PS_TEST_H

#include "../pstool/timing.h"
#include "conditions.h"
#include "psstring.h"
#include "reports.h"
#include "results.h"
#include "streams.h"

#include <ctime>

class psParameter;
class psCacheIterator;
class ppVector;

// Registration info "<class>/<test name>/<macro>".
class psTestInfo {
public:
    psTestInfo() {}
    explicit psTestInfo(const psString& s);
    psString className;
    psString testName;
    psString regMacro;
};

class psTest : public psObject {
public:
    psTest(psCallFunc call, psInitFunc init, psLoopFunc loop, psStatFunc stat,
           psString funcName, psString srcPath, psString info);
    psTest(psLoopFunc loop, psStatFunc stat, psString funcName, psString srcPath, psString info);
    psTest(psCustomFunc custom, psString funcName, psString srcPath, psString info);
    virtual ~psTest();

    // ---- virtual operations, in slot order
    virtual bool tobeRun(psConditions& c);
    virtual psResult run();
    virtual int compareFunc(const psTest* other) const;
    virtual void putTableResult_Deprecated(psResult code);
    virtual bool canStart() { return true; }
    virtual void flushStart() {}
    virtual bool canContinue();
    virtual bool initData() { return true; }
    virtual void flushData() {}
    virtual psResult runTiming();
    virtual double getFlops() { return 0.0; }
    virtual double getDivisor() { return 1.0; }
    virtual psString getUnit() { return " "; }
    virtual void funcToCstrm();
    virtual void parmsFromIstrm();
    virtual void parmsToOstrm();
    virtual void parmsToCstrm();
    virtual void parmsNameToCstrm();
    virtual void resultToCstrm(psResult code);
    virtual void constToOstrm() {}
    virtual void beginTest() {}
    virtual void endTest() {}
    virtual psString getComment();
    virtual bool isFloatFunction() { return false; }
    virtual bool isHotLine();
    virtual void initSettings();
    virtual void printAllMemoryBlocks(psString when) { (void)when; }
    virtual psString formatClocks(double x);
    virtual psString regInfo();
    virtual void putTableParms();
    virtual void putTableResult(psResult code);
    virtual void putTextParms();
    virtual void putTextParms(MessageLevel level);
    virtual void loopData();
    virtual void outputResult(psResult code);
    virtual void outputConst();
    virtual void outputRegInfo();
    virtual void putTextResult(psResult code);
    // Untimed look, after a measurement, at what the function produced (a decoder
    // must give back its original data); it reports a mismatch itself. UNDEFINED
    // when there is nothing to check, so a clean measurement's result stays as it is.
    virtual psResult checkOutput() { return UNDEFINED; }

    // ---- non-virtual operations
    void putTextError(psResult code);
    psString testResultString();
    double performance(bool flops);
    psString perfString(bool flops);
    void putTableName();
    void putTableNameLine();
    void startAndStop();
    void* allocate(int size, int align, void* mem = nullptr);
    void deallocate(void* p);
    int reserveAllVectors();
    int resetAllVectors();
    void setTimingResult(double clocks, const psString& comment);
    bool setDeprecatedFlag(bool on);
    void initCtrlStatus();
    void clearCtrlStatus();
    bool badCtrlStatus(bool& x87, bool& sse);
    psResult checkCtrlStatus();
    void printCtrlStatus(bool x87, bool sse);
    bool setIniSection(const psString& name);
    // What the test's title and result blocks show, as the test stands now.
    psTestFacts facts() const;

    // ---- identity and state
    const psString& getFuncName() const { return m_funcName; }
    const psString& getFileName() const { return m_fileName; }
    const psString& getSrcPath() const { return m_srcPath; }
    const psTestInfo& getInfo() const { return m_info; }
    psTestNames names() const { return psTestNames{m_funcName, m_info.testName, m_srcPath}; }
    psTool& tool() { return m_tool; }
    psList<psParameter*>& parameters() { return m_parms; }
    void addParameter(psParameter* p) { m_parms.add(p); }
    psResult getResult() const { return m_result; }
    time_t getStartTime() const { return m_startTime; }
    time_t getEndTime() const { return m_endTime; }
    bool isDeprecated() const { return m_deprecated; }
    bool badX87Seen() const { return m_bad87; }
    bool badSSXSeen() const { return m_badSSX; }
    psCacheIterator* cacheParameter() const { return m_cacheParm; }
    void setCacheParameter(psCacheIterator* c) { m_cacheParm = c; }
    psLoopFunc loopFunc() const { return m_loop; }
    psStatFunc statFunc() const { return m_stat; }
    psCallFunc callFunc() const { return m_call; }
    psInitFunc initFunc() const { return m_init; }
    psCustomFunc customFunc() const { return m_custom; }

    // ---- class-wide state
    static psResult m_currentResult;
    static int m_hot;            // 0 off, 1 mark hot lines (-H), 2 hot tests only (-HONLY)
    static bool m_cache;         // -C
    static bool m_pressing;      // -P
    static int m_vectorNum;
    static int m_vectorShift;
    static int m_numParmsColm;
    static int m_numResultColm;
    static int m_timeout;        // seconds a parameter combination may run before it is stopped (0: no limit)
    static int m_nameMode;       // bit 1: name lines in the table ("-q+"), bit 2: a name-table file
    static bool m_nameExit;      // -Q: only the names are written, nothing is measured
    // The session's engine, whose settings every test takes over at the start of its
    // run; the session layer binds it. Without one a test keeps its own settings.
    static const psTool* m_pSessionTool;

protected:
    bool m_deprecated;
    time_t m_startTime;
    time_t m_endTime;
    psString m_funcName;
    psString m_fileName;
    psString m_srcPath;
    psTestInfo m_info;
    psTool m_tool;
    psLoopFunc m_loop;
    psStatFunc m_stat;
    psCallFunc m_call;
    psInitFunc m_init;
    psCustomFunc m_custom;
    bool m_first;
    bool m_bad87;
    bool m_badSSX;
    psList<psParameter*> m_parms;
    psCacheIterator* m_cacheParm;
    bool m_shrink;
    psResult m_result;
};

// The function names read as hot (-H ONLY); created with one empty name when none is registered.
extern psStringList* g_pHotList;
int psRegHotFunction(psString name);

#endif
