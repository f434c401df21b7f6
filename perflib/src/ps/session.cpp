#include "session.h"

#include "cpuinfo.h"
#include "cputest.h"
#include "instream.h"
#include "keys.h"
#include "libenv.h"
#include "listing.h"
#include "parameter.h"
#include "recorder.h"
#include "registry.h"
#include "reports.h"
#include "table.h"
#include "tabletitle.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#ifndef PERFDC_BUILD_DATE
#define PERFDC_BUILD_DATE __DATE__
#endif

static const char* const PS_VERSION = "2.0";

static psSession* s_session = nullptr;
static void (*s_parmFunc)() = nullptr;
// Static initialisers of other units may register before this unit's own statics
// are built, so the forced command line lives in a function-local object.
static psString& forcedCmdLine()
{
    static psString text;
    return text;
}

psSession* psGetSession() { return s_session; }

int psRegSession(psSession* session)
{
    s_session = session;
    return 1;
}

int psRegParmFunc(void (*fn)())
{
    s_parmFunc = fn;
    return 1;
}

int psRegCmdLine(psString text)
{
    forcedCmdLine() << " " << text;
    return 1;
}

const psString& psForcedCmdLine() { return forcedCmdLine(); }

int psRegQKeys()
{
    qKeys = true;
    return 1;
}

// ---------------------------------------------------------------- construction

psSession::psSession() : cmdText("Command line options: ") {}

psSession::~psSession() {}

void psSession::initSession()
{
    deleteOptions();
    psRegisterKeys(this);
}

psString psSession::banner()
{
    psString s("\n");
    s << "Orvex Lumica. Performance System " << PS_VERSION << ", " << PERFDC_BUILD_DATE << "\n";
    return s;
}

// ---------------------------------------------------------------- command line

bool psSession::readCfgFile(psString& line, psString& fileName)
{
    fileName = m_exePath.getFileTitle() + ".cfg";
    if (psReadFirstLine(fileName, line)) return true;
    psString beside = m_exePath.getFileDir() + fileName;
    if (beside == fileName || !psReadFirstLine(beside, line)) return false;
    fileName = beside;
    return true;
}

void psSession::readCommandKeys(int argc, char** argv)
{
    delete pCmdList;
    pCmdList = new psCommandList;
    psString line, cfgName;
    if (argc > 1) {
        pCmdList->setArgs(argc - 1, argv + 1);
        cmdText += "\n";
    } else if (readCfgFile(line, cfgName)) {
        pCmdList->setArgs(line.c_str());
        cmdText << "read from " << cfgName << " file\n";
    } else if (!forcedCmdLine().empty()) {
        pCmdList->setArgs(forcedCmdLine().c_str());
        cmdText += "set by _FORCE_CMDLINE preprocessor definition\n";
    } else {
        cmdText = psString();
    }
}

bool psSession::parseCommandLine(int argc, char** argv)
{
    m_exePath = argc > 0 && argv[0] ? argv[0] : "";
    askMode = 0;
    batMode = false;
    quickMode = false;
    enumMode = 100;
    unopened = false;
    m_nameMode = 0;
    m_nameExit = false;
    cpuFeature = 0;
    numThreads = 0;
    iniFile = psString();
    cmdText = "Command line options: ";

    readCommandKeys(argc, argv);

    if (pCmdList->isKey('?') || pCmdList->isKey('h'))
        m_exitLevel = 2;
    else if (pCmdList->isKey('e'))
        m_exitLevel = 1;
    else if (pCmdList->isKey('v'))
        m_exitLevel = 3;
    else
        m_exitLevel = 0;

    // Directories and the default name hold for every file key, wherever it stands.
    psString arg;
    setInDir("");
    if (pCmdList->getArg('p', arg)) setInDir(arg);
    setOutDir("");
    if (pCmdList->getArg('l', arg)) setOutDir(arg);
    setDefName("");
    if (pCmdList->getArg('n', arg)) setDefName(arg);

    g_ostrm.setOutLevel(ERR | WARN | PERF);
    if (!pCmdList->expandOptionFiles()) unopened = true;
    for (const psCommandKey& k : *pCmdList) applyOption(k.key, k.arg);

    g_ostrm << cmdText;
    cmdText = psString();

    if (unopened) {
        g_ostrm << "FATAL ERROR: can't open output file for writing\n";
        return false;
    }
    if (!iniFile.empty() && !g_istrm.setIniFile(iniFile, iniWrite) && iniWrite) {
        g_ostrm << "FATAL ERROR: can't open ini-file for writing\n";
        return false;
    }
    updateOptions();
    return true;
}

void psSession::applyOption(char key, const psString& arg)
{
    cmdText << "-" << key << arg << ": ";
    psOption* o = getOption(key);
    // A key without an echo (a -@ read from an option file) is treated as unknown.
    if (!o || !o->info) {
        cmdText += "ignored: incorrect option key\n";
        return;
    }
    cmdText << o->info(arg) << "\n";
    if (o->apply) o->apply(arg, this);
}

void psSession::updateOptions()
{
    psOption* t = getOption('T');
    if (t) t->descr = psFillPlaceholder(t->descr, psCpuFeatures::optimizedList());
    if (batMode)
        askMode = 0;
    else if (askMode == 0)
        askMode = ASK_TIMING | ASK_PARAMS;
}

// ---------------------------------------------------------------- help

bool psSession::hintOutput()
{
    if (!s_version && !s_hintArg) return false;
    g_ostrm << banner();
    if (s_hintArg) hint(s_hintArg, s_hintHide);
    g_ostrm.flush();
    return true;
}

void psSession::hint(char key, bool hide)
{
    if (key == 1)
        hint_quick(hide);
    else if (key == 'h' && hide)
        hint_full(true);
    else if (key == '?' && !hide)
        hint_full(false);
    else
        hint_descr(key);
}

void psSession::hint_quick(bool hide) { g_ostrm << psHintQuick(options, hide); }
void psSession::hint_full(bool hide) { g_ostrm << psHintFull(options, hide); }
void psSession::hint_descr(char key) { g_ostrm << psHintDescr(options, key); }

// ---------------------------------------------------------------- tables and reports

void psSession::funcTitleToCStream() { psFuncTitleToCStream(g_cstrm); }
void psSession::parmsTitleToCStream() { psParmsTitleToCStream(g_cstrm); }
void psSession::resultTitleToCStream() { psResultTitleToCStream(g_cstrm); }
void psSession::putTableTitleLine()
{
    const psTableTitleSteps steps{[this] { funcTitleToCStream(); }, [this] { parmsTitleToCStream(); },
                                  [this] { resultTitleToCStream(); }};
    psPutTableTitleLine(&steps);
}

void psSession::putTableTitle()
{
    psPutTableTitle([this] { putTableTitleLine(); });
}

// ---------------------------------------------------------------- the run's facts

namespace {

// The timing method of the engine and its settings, as the run title shows them.
psString timingText(const psTool& tool)
{
    psString t;
    int loops = 0, start = 0, stop = 0, calls = 0;
    long long clocks = 0;
    if (tool.getMethodLoop(loops)) {
        t << "Manual loop, numLoops = " << loops;
    } else if (tool.getMethodStat(calls, clocks)) {
        t << "Statistic, NumCalls = " << calls << ", TotalCpuClocks = " << clocks;
    } else if (tool.getMethodBest(start, stop, clocks)) {
        t << "Iterative, StartNumLoops = " << start << ", StopNumLoops = " << stop << ", MinCpuClocks = " << clocks
          << ", accuracy = " << psTool::getAccuracyStr(tool.getAccuracy());
    } else {
        tool.getAutoParameters(start, stop, clocks);
        t << "Auto, loops " << start << ".." << stop << ", MinCpuClocks = " << clocks
          << ", accuracy = " << psTool::getAccuracyStr(tool.getAccuracy());
    }
    if (tool.getSetAndUse()) t << ", Set&Use";
    if (tool.getPreferCalls()) t << ", calls preferred";
    if (tool.getCallInit()) t << ", init before measuring";
    return t;
}

// How many of the tests the conditions keep, and where -F starts.
psString selectionText(psTestList* list, const psConditions& cond)
{
    int all = 0, kept = 0;
    if (list) {
        for (psTest* t : *list) {
            ++all;
            if (cond.tobeRun(t->names())) ++kept;
        }
    }
    psString text;
    if (cond.count() == 0)
        text << "all " << all << " tests";
    else
        text << kept << " of " << all << " tests selected by " << cond.count() << " condition"
             << (cond.count() > 1 ? "s" : "") << (cond.logic == COND_OR ? " (-kor)" : "");
    if (!psTestList::m_startFunc.empty()) text << ", starting from '" << psTestList::m_startFunc << "'";
    return text;
}

// The host facts of the CPU information test: the cache size is the library's
// answer when it gives one.
psHostFacts hostFacts()
{
    int cache = 0;
    const bool answered = lum_GetMaxCacheSizeB && lum_GetMaxCacheSizeB(&cache) == 0 && cache > 0;
    return psHostFacts::gather(answered ? cache : 0);
}

// Seconds a parameter combination may run (PERFDC_TEST_TIMEOUT; 0 turns the limit off).
// A value that is no count of seconds is said on standard error, away from the
// listing, and the default holds.
int testTimeout()
{
    const int fallback = 300;
    const char* text = std::getenv("PERFDC_TEST_TIMEOUT");
    if (!text || !*text) return fallback;
    char* end = nullptr;
    errno = 0;
    const long seconds = std::strtol(text, &end, 10);
    if (errno == 0 && end != text && *end == '\0' && seconds >= 0 && seconds <= INT_MAX) return static_cast<int>(seconds);
    std::fprintf(stderr, "PERFDC_TEST_TIMEOUT=%s is no number of seconds: a test is stopped after %d s\n", text,
                 fallback);
    return fallback;
}

}  // namespace

psRunContext psSession::runContext() const
{
    psRunContext context;
    context.processor = cpuInfo();
    if (g_pLibInfoList) context.libraries = *g_pLibInfoList;
    context.start = pTestList ? pTestList->m_startTime : std::time(nullptr);
    context.timing = timingText(g_tool);
    context.selection = selectionText(pTestList, conditions);
    return context;
}

// ---------------------------------------------------------------- reports

void psSession::outputHeader()
{
    psReportTitle title(runContext());
    g_ostrm << title;
    g_cstrm << title;
    g_qstrm << title;
    g_ustrm << title;
    g_ustrm << psReportTestResult();
}

void psSession::listTests(int mode)
{
    psReportTitle title(runContext());
    psReportList list(pTestList, conditions, mode);
    g_ostrm << title;
    g_cstrm << title;
    g_ostrm << list;
    g_cstrm << list;
}

bool psSession::enumOutput()
{
    if (enumMode > 1) return false;
    listTests(enumMode);
    return true;
}

void psSession::outputFooter()
{
    psReportEnd end(pTestList);
    g_ostrm << ERR << end << END_MSG;
    g_ustrm << end;
}

void psSession::outputSignal()
{
    if (sglName.empty() || !pTestList) return;
    o_stream* f = createOStream(sglName, false);
    if (!f) return;
    time_t end = pTestList->m_endTime;
    psString text = psReportFormat::getTimeStr(static_cast<long>(difftime(end, pTestList->m_startTime)));
    text << "\n" << std::ctime(&end) << "\n";
    f->write(text);
    delete f;
}

// ---------------------------------------------------------------- common data

void psSession::selectTestParameters()
{
    if (!g_pCommonParms || !pTestList) return;
    bool savedBat = batMode;
    int savedAsk = askMode;
    batMode = true;
    askMode = 0;
    pTestList->selectCommonParms(conditions, *g_pCommonParms);
    batMode = savedBat;
    askMode = savedAsk;
}

void psSession::beginCommonData() { g_ostrm.setOutLevel(ERR | WARN | PERF); }

void psSession::endCommonData()
{
    g_ostrm.setOutLevel(levelMode);
    if (!(askMode & ASK_EACH_TEST)) g_istrm.setIStream(nullptr);
}

// ---------------------------------------------------------------- the run

// Applies -T and -N through the library slots and registers the version lines.
static void initLibrary(Lum64u cpuFeature, int numThreads)
{
    psApplyLumSettings(cpuFeature, numThreads);
    setLumLibInfo();
}

int psSession::run(int argc, char** argv)
{
    g_ostrm.setMsgLevel(PERF);
    g_ostrm.addSink(&c_out);
    setLumEnvironment();
    initSession();
    psRegTest(new psCpuTest(hostFacts));
    psTest::m_timeout = testTimeout();
    pTestList->m_startTime = time(nullptr);

    int result = 0;
    if (!parseCommandLine(argc, argv) || !startSession() || hintOutput()) {
        pTestList->m_endTime = time(nullptr);
    } else {
        initLibrary(cpuFeature, numThreads);
        if (!pTestList) {
            std::printf("Error! pTestList is NULL");
            return 0;
        }
        if (!quickMode) {
            // Straight to standard output: this line never reaches the listing files.
            g_ostrm.flush();
            std::printf("Sorting functions...");
            std::fflush(stdout);
            pTestList->sortFunc();
            std::printf("\n");
        }
        pTestList->startWithCpuTest();
        outputHeader();
        if (enumOutput()) {
            pTestList->m_endTime = time(nullptr);
        } else {
            if (s_parmFunc) s_parmFunc();
            selectTestParameters();
            beginCommonData();
            readCommonData();
            endCommonData();
            if (!g_pHotList) {
                g_pHotList = new psStringList;
                g_pHotList->add(psString());
            }
            putTableTitle();
            g_runRecorder.begin(argc, argv, psTimeText(pTestList->m_startTime));
            result = pTestList->runTests(conditions) ? 1 : 0;
            pTestList->m_endTime = time(nullptr);
            g_runRecorder.finish();
            outputFooter();
        }
    }
    outputSignal();
    g_ostrm.flush();
    pTestList->deleteTests();
    delete pTestList;
    pTestList = nullptr;
    return result;
}
