#include "session.h"

#include "cpuinfo.h"
#include "keys.h"
#include "libenv.h"
#include "parameter.h"
#include "recorder.h"
#include "registry.h"
#include "reports.h"
#include "table.h"
#include "tabletitle.h"

#include <cstdio>
#include <ctime>

#ifndef PERFDC_BUILD_DATE
#define PERFDC_BUILD_DATE __DATE__
#endif

static const char* const PS_VERSION = "2.0";

psCommandList* psSession::pCmdList = nullptr;
int psSession::m_exitLevel = 0;
int psSession::m_nameMode = 0;
bool psSession::m_nameExit = false;

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

psSession::psSession()
    : askMode(0), batMode(false), levelMode(ERR), quickMode(false), enumMode(100), unopened(false), iniWrite(false),
      cmdText("Command line options: ")
{
}

psSession::~psSession() { deleteOptions(); }

void psSession::deleteOptions()
{
    for (psOption* o : options) delete o;
    options.clear();
}

void psSession::initSession()
{
    deleteOptions();
    psRegisterKeys(this);
}

void psSession::initOption(char key, psString help, psKeyInfoFunc info, psKeyApplyFunc apply, psString descr, bool hidden)
{
    options.add(new psOption{key, hidden, help, info, apply, descr});
}

psOption* psSession::getOption(char key)
{
    for (psOption* o : options)
        if (o->key == key) return o;
    return nullptr;
}

psString psSession::getExitInfo()
{
    switch (m_exitLevel) {
    case 2: return "ignored because of -h option";
    case 1: return "ignored because of -e option";
    case 3: return "ignored because of -v option";
    default: return "ignored";
    }
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
void psSession::putTableTitleLine() { psPutTableTitleLine(); }
void psSession::putTableTitle() { psPutTableTitle(); }

void psSession::outputHeader()
{
    psReportTitle title(pTestList);
    g_ostrm << title;
    g_cstrm << title;
    g_qstrm << title;
    g_ustrm << title;
    g_ustrm << psReportTestResult(nullptr);
}

void psSession::listTests(int mode)
{
    psReportTitle title(pTestList);
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
static void initLibrary()
{
    psApplyLumSettings();
    setLumLibInfo();
}

int psSession::run(int argc, char** argv)
{
    g_ostrm.setMsgLevel(PERF);
    g_ostrm.addSink(&c_out);
    setLumEnvironment();
    initSession();
    psRegTest(new psCpuTest);
    pTestList->m_startTime = time(nullptr);

    int result = 0;
    if (!parseCommandLine(argc, argv) || !startSession() || hintOutput()) {
        pTestList->m_endTime = time(nullptr);
    } else {
        initLibrary();
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
