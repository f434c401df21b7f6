// The test lifecycle: one run reads the test's parameters, walks every combination
// of their values, prepares the data, times the function, watches the
// floating-point status and reports each combination. A crash or trap inside a
// run ends that run with EXCPTFAIL; the session goes on with the next test.
#include "test.h"

#include "cache.h"
#include "exceptions.h"
#include "inifile.h"
#include "instream.h"
#include "memory.h"
#include "parameter.h"
#include "paths.h"
#include "progress.h"
#include "table.h"

#include "fpguard.h"
#include "ticker.h"

#include <cstring>
#include <exception>

psResult psTest::m_currentResult = UNDEFINED;
int psTest::m_hot = 0;
bool psTest::m_cache = false;
bool psTest::m_pressing = false;
int psTest::m_vectorNum = 0;
int psTest::m_vectorShift = 0;
int psTest::m_timeout = 300;
int psTest::m_nameMode = 0;
bool psTest::m_nameExit = false;
const psTool* psTest::m_pSessionTool = nullptr;

psStringList* g_pHotList = nullptr;

int psRegHotFunction(psString name)
{
    if (!g_pHotList) g_pHotList = new psStringList;
    g_pHotList->add(name);
    return 1;
}

namespace {

// State of the run in progress (one test runs at a time).
struct RunState {
    OutputLevel mask = 1;          // console mask at the start of the run
    unsigned x87Control = 0;       // floating-point environment found at the start
    unsigned mxcsr = 0;
    bool dataPending = false;      // initData was called and flushData not yet
    unsigned run87Control = 0;     // guard words accumulated over all combinations
    unsigned run87Status = 0;
    unsigned runSSX = 0;
};
RunState s_run;

// Brings the process back to a usable state after a trapped signal or an
// exception thrown from the middle of a measurement.
void recoverFromTrap()
{
    psWatchdog::stop();
    g_progress.clear();  // a run stopped inside a timing leaves no status line behind
    ps_clear_fpu();
    ps_set_cw_fpu(s_run.x87Control, 0xFFFF);
    ps_set_ssx(s_run.mxcsr & ~63u, 0xFFFF);
    psResetPriority();
    g_ostrm.setOutLevel(s_run.mask);
    g_cstrm.tableFlush();
}

void failRun(const char* message)
{
    recoverFromTrap();
    g_ostrm << ERR << message << "\n" << END_MSG_FLUSH;
    psTest::m_currentResult = psMaxResult(psTest::m_currentResult, EXCPTFAIL);
}

// Runs one step of the test with the signal trap armed; a trapped signal or a
// thrown exception is printed at the error level and fails the run.
template <class Step>
bool guarded(Step&& step)
{
    psTrapKeeper keeper;
    try {
        PS_ARM_SIGNAL_TRAP();
        step();
        return true;
    } catch (const psException& e) {
        failRun(e.msg());
    } catch (const std::exception& e) {
        failRun((psString("--LUM. Exception: ") + e.what()).c_str());
    }
    return false;
}

}  // namespace

// ---------------------------------------------------------------- identity

psTestInfo::psTestInfo(const psString& s)
{
    int first = s.find('/');
    if (first < 0) {
        className = s;
        return;
    }
    className = s.substr(0, first);
    int second = s.find('/', first + 1);
    if (second < 0) {
        testName = s.substr(first + 1);
        return;
    }
    testName = s.substr(first + 1, second - first - 1);
    regMacro = s.substr(second + 1);
}

psTest::psTest(psCallFunc call, psInitFunc init, psLoopFunc loop, psStatFunc stat, psString funcName,
               psString srcPath, psString info)
    : m_deprecated(false), m_startTime(time(nullptr)), m_endTime(m_startTime), m_funcName(funcName),
      m_fileName(srcPath.getFileName()), m_srcPath(srcPath), m_info(info), m_loop(loop), m_stat(stat), m_call(call),
      m_init(init), m_custom(nullptr), m_first(true), m_bad87(false), m_badSSX(false), m_cacheParm(nullptr),
      m_shrink(false), m_result(UNDEFINED)
{
    initSettings();
}

psTest::psTest(psLoopFunc loop, psStatFunc stat, psString funcName, psString srcPath, psString info)
    : psTest(nullptr, nullptr, loop, stat, funcName, srcPath, info)
{
}

psTest::psTest(psCustomFunc custom, psString funcName, psString srcPath, psString info)
    : psTest(nullptr, nullptr, nullptr, nullptr, funcName, srcPath, info)
{
    m_custom = custom;
}

psTest::~psTest() {}

void psTest::initSettings()
{
    m_first = true;
    m_bad87 = m_badSSX = false;
    m_cacheParm = nullptr;
    m_shrink = false;
    m_deprecated = false;
    m_currentResult = UNDEFINED;
    m_parms.clear();
}

int psTest::compareFunc(const psTest* other) const { return m_funcName.compare(other->m_funcName); }

bool psTest::tobeRun(psConditions& c)
{
    if (!c.tobeRun(names())) return false;
    return m_hot != 2 || isHotLine();
}

bool psTest::isHotLine() { return g_pHotList && g_pHotList->contains(m_funcName); }

// ---------------------------------------------------------------- run

bool psTest::setIniSection(const psString& name)
{
    psTraceScope trace("setIniSection");
    psIniFile* ini = g_istrm.getIniFile();
    if (m_pressing && ini && !ini->sectionExist(name)) return false;
    if (ini && g_istrm.isWriting()) ini->write(name);
    g_istrm.setIniSection(name);
    return true;
}

psResult psTest::run()
{
    m_result = OK;
    m_currentResult = UNDEFINED;
    if (m_pSessionTool) m_tool = *m_pSessionTool;
    if (m_info.regMacro.contains("Ibs")) m_tool.setCallInit(true);
    if (!setIniSection(m_funcName)) return UNDEFINED;

    s_run = RunState();
    s_run.mask = g_ostrm.getOutLevel();
    s_run.x87Control = ps_get_cw_fpu();
    s_run.mxcsr = ps_get_ssx();
    m_parms.clear();

    bool going = guarded([this] {
        psTraceScope trace("beginTest");
        beginTest();
    });
    m_startTime = time(nullptr);
    const psReportTestTitle title(facts());
    g_ostrm << title;
    g_ustrm << title;

    bool canRun = false;
    if (going) going = guarded([this, &canRun] {
        psTraceScope trace("canStart");
        canRun = canStart();
    });
    if (going && !canRun) {
        g_ostrm << ERR << "-- Can't start timing\n" << END_MSG;
        m_currentResult = DATAFAIL;
    } else if (going && m_cache && !m_cacheParm) {
        g_ostrm << ERR << "-- Can't run " << "In-Outof-Cache" << " timing: no program support for function "
                << m_funcName << "\n"
                << END_MSG;
    } else if (going) {
        going = guarded([this] {
            psTraceScope trace("parmsFromIstrm");
            parmsFromIstrm();
        });
        if (going) putTableName();
        if (going && (m_nameExit || g_istrm.isWriting())) {
            m_currentResult = OK;
        } else if (going) {
            outputRegInfo();
            if (!guarded([this] {
                    psTraceScope trace("loopData");
                    loopData();
                })) {
                if (s_run.dataPending) guarded([this] { flushData(); });
                s_run.dataPending = false;
                g_cstrm.linePostponeOut(m_numResultColm + m_numParmsColm);
                g_cstrm.identicalLinesStop();
            }
        }
    }
    guarded([this] {
        psTraceScope trace("flushStart");
        flushStart();
    });

    m_result = m_currentResult;
    m_endTime = time(nullptr);
    const psReportTestResult report(facts());
    g_ostrm << report;
    g_ustrm << report;
    g_ostrm.flush();
    g_cstrm.flush();
    g_ostrm.flush();

    guarded([this] {
        psTraceScope trace("endTest");
        endTest();
    });
    ps_set_cw_fpu(s_run.x87Control, 0xFFFF);
    ps_set_ssx(s_run.mxcsr, 0xFFFF);
    m_result = m_currentResult;
    return m_result;
}

void psTest::putTableName()
{
    if (m_funcName.startsWith("__ps")) return;
    if (m_nameMode & 1) putTableNameLine();
    if (m_nameMode & 2) {
        psNameTableScope names;
        putTableNameLine();
    }
}

psTestFacts psTest::facts() const
{
    psTestFacts f;
    f.function = m_funcName;
    f.testName = m_info.testName;
    f.source = m_fileName;
    f.description = m_info.className;
    f.start = m_startTime;
    f.end = m_endTime;
    f.result = m_result;
    // The guards' words are known only while they hold accumulated words (a cleared
    // x87 control word is 0, which no real control word is); on a processor without
    // SSE the SSE texts say so themselves.
    if (g_ctrl87.controlWord() != 0) {
        f.control87 = g_ctrl87.strCW();
        f.status87 = g_ctrl87.strSW();
    }
    if (!g_ssx.hasSSE() || g_ssx.accumulated() != 0) {
        f.controlSSX = g_ssx.strCW();
        f.statusSSX = g_ssx.strExceptionState();
    }
    f.exeName = psPaths::m_exePath;
    return f;
}

void psTest::parmsFromIstrm()
{
    for (psParameter* p : m_parms) p->fromIStream(g_istrm);
}

psResult psTest::runTiming()
{
    if (!m_loop && !m_stat && !m_call) return m_custom ? m_tool.timing(m_custom) : UNDEFINED;
    return m_tool.timing(m_loop, m_stat, m_call, m_init);
}

// ---------------------------------------------------------------- parameter sets

bool psTest::canContinue()
{
    if (m_parms.isEmpty()) return m_first;
    if (m_shrink && m_cacheParm) {
        m_shrink = false;
        if (m_cacheParm->repeatValue()) return true;
        g_ostrm << ERR << m_cacheParm->information();
        putTextParms();
        g_ostrm << "-- Fail to allocate " << m_cacheParm->comment() << " data\n" << END_MSG;
        m_currentResult = psMaxResult(m_currentResult, DATAFAIL);
        return false;
    }
    if (m_first) {
        for (psParameter* p : m_parms)
            if (!p->firstValue()) return false;
        return true;
    }
    // Odometer order: the last parameter varies fastest.
    auto& items = m_parms.items();
    for (auto it = items.end(); it != items.begin();) {
        --it;
        if ((*it)->nextValue()) return true;
        (*it)->firstValue();
    }
    return false;
}

// Times one prepared combination and reports it.
static void measureCombination(psTest* t)
{
    t->printAllMemoryBlocks("before");
    const OutputLevel mask = g_ostrm.getOutLevel();
    t->initCtrlStatus();
    if (mask == 3) g_ostrm.setOutLevel(7);
    if (g_progress.active()) g_progress.measuring(t->getFuncName(), psProgress::parmsText(t->parameters()));
    psResult code = t->runTiming();
    g_progress.clear();
    g_ostrm.setOutLevel(mask);
    if (code == UNDEFINED) {
        g_ostrm << ERR << "-- Internal test problem: runTiming() function returns undefined result\n" << END_MSG;
        psTest::m_currentResult = psMaxResult(psTest::m_currentResult, FAIL);
    } else {
        t->printAllMemoryBlocks("after");
        if (!psIsFailure(code)) code = psMaxResult(code, t->checkOutput());
    }
    code = psMaxResult(code, t->checkCtrlStatus());
    // Warnings that the console does not show do not spoil the run's result.
    psResult forRun = (psIsWarning(code) && mask < 2) ? OK : code;
    psTest::m_currentResult = psMaxResult(psTest::m_currentResult, forRun);
    t->outputResult(code);
}

void psTest::loopData()
{
    m_first = true;
    g_cstrm.identicalLinesStart(m_numParmsColm);
    bool firstPass = true;
    bool empty = false;
    while (m_currentResult < ACCURFAIL) {
        m_vectorNum = 0;
        m_vectorShift = 0;
        if (!canContinue()) {
            if (m_first) {
                g_ostrm << ERR << "-- One of argument list for timing is empty\n" << END_MSG;
                m_currentResult = psMaxResult(m_currentResult, DATAFAIL);
                empty = true;
            }
            break;
        }
        m_first = false;
        // A combination that does not return in time (its data preparation, timing
        // and check) is stopped like a crash; the countdown restarts between timings.
        psWatchdog::start(m_timeout);
        s_run.dataPending = true;
        if (initData()) {
            if (firstPass) outputConst();
            if (m_cacheParm && !m_cacheParm->validPlacement()) {
                m_shrink = true;
            } else {
                putTextParms(PERF);
                if (m_tool.getSetAndUse()) reserveAllVectors();
                if (m_hot == 2 && !isHotLine())
                    g_ostrm << PERF << "  measuring is omitted: not hot line\n" << END_MSG;
                else
                    measureCombination(this);
                firstPass = false;
            }
        }
        flushData();
        s_run.dataPending = false;
    }
    psWatchdog::stop();
    if (!empty && m_currentResult == UNDEFINED) {
        g_ostrm << ERR << "-- Error while initialization of function data\n" << END_MSG;
        m_currentResult = DATAFAIL;
    }
    g_cstrm.linePostponeOut(m_numResultColm + m_numParmsColm);
    if (g_cstrm.identicalLinesStop()) {
        g_ostrm << WARN << "-- Warning: duplicate lines in performance table (csv-file)\n" << END_MSG;
        m_currentResult = psMaxResult(m_currentResult, g_ostrm.getOutLevel() > 1 ? DATAWRN : OK);
    }
    // The guard words of the whole run stay readable for the test's result report.
    g_ctrl87.setWords(s_run.run87Control, s_run.run87Status);
    g_ssx.setAccumulated(s_run.runSSX);
}

// ---------------------------------------------------------------- parameters only

void psTest::startAndStop()
{
    const OutputLevel mask = g_ostrm.getOutLevel();
    g_ostrm.setOutLevel(1);
    psTrapKeeper keeper;
    try {
        PS_ARM_SIGNAL_TRAP();
        beginTest();
        canStart();
        flushStart();
        endTest();
    } catch (const psException& e) {
        g_ostrm << ERR << e.msg() << " in startAndStop of " << m_funcName << " test\n" << END_MSG;
    } catch (const std::exception& e) {
        g_ostrm << ERR << "--LUM. Exception: " << e.what() << " in startAndStop of " << m_funcName << " test\n"
                << END_MSG;
    }
    g_ostrm.setOutLevel(mask);
}

// ---------------------------------------------------------------- memory

void* psTest::allocate(int size, int align, void* mem)
{
    int a = align;
    if (a < 0) a = (psGetAlignSrc() && m_vectorNum > 0) ? 0 : -a * psGetVectorAlign();
    void* p = psMalloc(size, a, m_vectorShift, mem);
    if (!p) return nullptr;
    ++m_vectorNum;
    m_vectorShift += psGetVectorShift();
    if (m_vectorShift >= 32768) m_vectorShift = 0;
    return p;
}

void psTest::deallocate(void* p) { psFree(p); }

// The owner tag of a block handed out through allocate is the psObject that
// holds the block (a vector), or null.
template <class Visit>
static int forEachOwner(Visit&& visit)
{
    int n = 0;
    void* owner = nullptr;
    for (void* p = psMallocFirst(nullptr, &owner); p; p = psMallocNext(nullptr, &owner))
        if (owner && visit(static_cast<psObject*>(owner))) ++n;
    return n;
}

int psTest::reserveAllVectors()
{
    return forEachOwner([](psObject* o) { return o->reserveCopy(); });
}

int psTest::resetAllVectors()
{
    return forEachOwner([](psObject* o) { return o->setReservedCopy(); });
}

void psTest::setTimingResult(double clocks, const psString& comment)
{
    m_tool.setFuncTicks(clocks);
    m_tool.setComment(comment);
}

// ---------------------------------------------------------------- floating-point status

void psTest::initCtrlStatus()
{
    g_ctrl87.init();
    g_ssx.init();
}

void psTest::clearCtrlStatus() { psClearCtrlStatus(); }

bool psTest::badCtrlStatus(bool& x87, bool& sse) { return psBadCtrlStatus(x87, sse); }

psResult psTest::checkCtrlStatus()
{
    s_run.run87Control |= g_ctrl87.controlWord();
    s_run.run87Status |= g_ctrl87.statusWord();
    s_run.runSSX |= g_ssx.accumulated();
    bool x87 = false, sse = false;
    psResult r = UNDEFINED;
    if (badCtrlStatus(x87, sse)) {
        m_bad87 = m_bad87 || x87;
        m_badSSX = m_badSSX || sse;
        printCtrlStatus(x87, sse);
        r = BADSTSWRN;
    }
    clearCtrlStatus();
    return r;
}

void psTest::printCtrlStatus(bool x87, bool sse) { psPrintCtrlStatus(x87, sse); }
