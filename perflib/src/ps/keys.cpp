#include "keys.h"

#include "cpuinfo.h"
#include "fpguard.h"
#include "instream.h"
#include "libenv.h"
#include "recorder.h"
#include "registry.h"
#include "table.h"

#include <cctype>

bool s_version = false;
char s_hintArg = 0;
bool s_hintHide = true;
bool is_W_flagUsed = false;
bool qKeys = true;

void psResetKeySettings()
{
    s_version = false;
    s_hintArg = 0;
    s_hintHide = true;
    is_W_flagUsed = false;
}

// ---------------------------------------------------------------- argument decoders

int psAskLevel(const psString& arg)
{
    int level = 0;
    for (int i = 0; i < arg.length(); ++i) {
        switch (arg[i]) {
        case 'T': level |= ASK_TIMING; break;
        case 'P': level |= ASK_PARAMS; break;
        case 'M': level |= ASK_MISALIGN; break;
        default: break;
        }
    }
    return level ? level : ASK_TIMING | ASK_PARAMS | ASK_MISALIGN | ASK_EACH_TEST;
}

// Joins the words of the bits set in level, in bit order.
static psString bitWords(int level, const char* const* words, int n, const char* sep)
{
    psString s;
    for (int i = 0; i < n; ++i) {
        if (!(level & (1 << i))) continue;
        if (!s.empty()) s += sep;
        s += words[i];
    }
    return s;
}

psString psAskText(int level)
{
    static const char* const words[] = {"timing method", "common parameters", "data misalignment", "each test parameters"};
    return psString(" ") + bitWords(level, words, 4, ", ");
}

psString psLevelText(int level)
{
    static const char* const words[] = {"errors",        "warnings",    "performance results", "measurement process",
                                        "tracing info", "memory info", "data info"};
    return bitWords(level, words, 7, ",");
}

static char upperFirst(const psString& arg) { return static_cast<char>(std::toupper(static_cast<unsigned char>(arg[0]))); }

// ---------------------------------------------------------------- echo helpers

// The text, or the reason why the key has no effect when the program stops early.
static psString exitNote(int level, const psString& text)
{
    return psSessionSettings::isExit(level) ? psSessionSettings::getExitInfo() : text;
}

static bool cmdHasKey(char key) { return psSessionSettings::pCmdList && psSessionSettings::pCmdList->isKey(key); }

static psString outPath(const psString& arg, const char* ext) { return psPaths::genOutPath(arg, ext); }

static const char* const NO_LUM_HEADER = "ignored: <lumcore.h> is not included before <pp.h> in test files";

// ---------------------------------------------------------------- echo functions

psString B_info(psString) { return exitNote(1, "batch mode"); }
psString A_info(psString arg) { return exitNote(1, psString("ask") + psAskText(psAskLevel(arg)) + " from console"); }

psString d_info(psString arg)
{
    if (arg.empty()) return exitNote(1, "ignored: empty data argument");
    int eq = arg.find('=');
    bool named = eq > 0 && !arg.substr(0, eq).trimmed().empty();
    return exitNote(1, named ? psString("set PS parameter ") + arg : psString("ignored: incorrect data format"));
}

psString i_info(psString arg) { return exitNote(1, psString("read from ") + psPaths::genInPath(arg, ".ini")); }
psString I_info(psString arg)
{
    return exitNote(1, psString("write PS parameters to ") + psPaths::genInPath(arg, ".ini") + " and exit");
}
psString P_info(psString) { return exitNote(1, "read tested function names from ini-file if any"); }
psString o_info(psString arg) { return psString("write console output to ") + outPath(arg, ".txt"); }
psString O_info(psString arg) { return psString("add console output to ") + outPath(arg, ".txt"); }

psString L_info(psString arg)
{
    int level = psLevelFromText(arg);
    if (!level) return exitNote(1, "ignored: incorrect level of console output");
    return exitNote(1, psString("write ") + psLevelText(level) + " to console");
}

psString r_info(psString arg) { return psString("write performance result table to ") + outPath(arg, ".csv"); }
psString R_info(psString arg) { return psString("add performance result table to ") + outPath(arg, ".csv"); }

psString q_info(psString arg)
{
    if (arg[0] != '+') return exitNote(1, psString("write function parameter name lines to ") + outPath(arg, "_name.csv"));
    if (cmdHasKey('r') || cmdHasKey('R'))
        return exitNote(1, "add function parameter name lines to csv files defined by -r & -R keys");
    return exitNote(1, "ignored because -r or -R options are not present in command line");
}

psString Q_info(psString)
{
    if (!cmdHasKey('q')) return exitNote(1, "ignored because -q option is not present in command line");
    return exitNote(1, "exit after function parameter name table creation and don't run tests");
}

psString u_info(psString arg) { return exitNote(1, psString("write summary table to ") + outPath(arg, "_sum.csv")); }
psString U_info(psString arg) { return exitNote(1, psString("add summary table to ") + outPath(arg, "_sum.csv")); }
psString g_info(psString arg) { return psString("create file ") + outPath(arg, ".end") + " at the end of PS work"; }

psString n_info(psString arg)
{
    if (arg.empty()) return "ignored: empty default name";
    return psString("name ini-file and output files as ") + arg + ".<proper-ext>";
}

psString p_info(psString arg)
{
    if (arg.empty()) return "ignored: empty directory name";
    return psString("open test data files & ini-file in ") + psPaths::genDirName(arg);
}

psString l_info(psString arg)
{
    if (arg.empty()) return "ignored: empty directory name";
    return psString("open output files in ") + psPaths::genDirName(arg);
}

// Echo of a selection key: texts[code] wraps the pattern, texts[COND_EMPTY] is the
// whole text for an empty pattern.
static psString conditionInfo(psString arg, const char* const (&texts)[5][2])
{
    int code = getCondition(arg);
    psString s(texts[code][0]);
    if (code != COND_EMPTY) s << arg << texts[code][1];
    return exitNote(2, s);
}

psString f_info(psString arg)
{
    static const char* const texts[5][2] = {
        {"test functions containing '", "'"},
        {"don't test functions without '", "' in the name"},
        {"don't test functions containing '", "'"},
        {"test function equal to '", "'"},
        {"ignored: empty function pattern", ""},
    };
    return conditionInfo(arg, texts);
}

psString t_info(psString arg)
{
    static const char* const texts[5][2] = {
        {"run tests containing '", "'"},
        {"don't run tests which doesn't contain '", "'"},
        {"don't run tests containing '", "'"},
        {"run test equal to '", "'"},
        {"ignored: empty test pattern", ""},
    };
    return conditionInfo(arg, texts);
}

psString m_info(psString arg)
{
    static const char* const texts[5][2] = {
        {"run tests from file containing '", "' in file name"},
        {"don't run tests from file which doesn't contain '", "' in file name"},
        {"don't run tests from file containing '", "' in file name"},
        {"run test equal from file with exact name '", "'"},
        {"ignored: empty file pattern", ""},
    };
    return conditionInfo(arg, texts);
}

static bool isOrLogic(const psString& arg) { return upperFirst(arg) == 'O'; }

psString k_info(psString arg)
{
    if (isOrLogic(arg)) return "keys composition: -f<conditions> OR -t<conditions> OR -m<conditiosn>";
    return "keys composition: -f<conditions> AND -t<conditions> AND -m<conditions>";
}

psString F_info(psString arg) { return exitNote(1, psString("start testing from ") + arg + " function"); }

// Priority of a -Y argument (1 high, 2 normal, 3 low), 0 when not understood.
static int priorityOf(const psString& arg)
{
    switch (upperFirst(arg)) {
    case 'H': return 1;
    case 'N': return 2;
    case 'L': return 3;
    default: return 0;
    }
}

psString Y_info(psString arg)
{
    static const char* const words[] = {"high", "normal", "low"};
    int p = priorityOf(arg);
    if (!p) return exitNote(1, "ignored: incorrect process priority value");
    return exitNote(1, psString("set ") + words[p - 1] + " process priority");
}

static bool isHotOnly(const psString& arg) { return upperFirst(arg) == 'O'; }

psString H_info(psString arg)
{
    return exitNote(2, isHotOnly(arg) ? "run tests for hot functions only" : "add 'Interest' column to table file");
}

psString W_info(psString) { return "unmask floating-point exceptions"; }

psString T_info(psString arg)
{
    if (!psLumEnvironmentRegistered()) return NO_LUM_HEADER;
    if (!psCpuFeatures::cpuFeatures(arg)) return "ignored: incorrect CPU features";
    return psString("call lumSetCpuFeatures ( Lum64u ") + arg + " )";
}

static int threadsOf(const psString& arg)
{
    int n = 0;
    n << arg;
    return n;
}

psString N_info(psString arg)
{
    if (!psLumEnvironmentRegistered()) return NO_LUM_HEADER;
    if (threadsOf(arg) < 1) return "ignored: incorrect number of threads";
    return psString("call lumSetNumThreads(") + arg + ")";
}

psString S_info(psString) { return exitNote(1, "include to measurement data set & use time"); }
psString C_info(psString)
{
    return exitNote(1, "test data size will be in cache and out of cache if that is supported by test");
}
psString s_info(psString arg) { return exitNote(2, arg[0] == '-' ? "don't sort functions" : "sort functions"); }

psString e_info(psString arg)
{
    if (psSessionSettings::m_exitLevel == 2) return psSessionSettings::getExitInfo();
    if (arg == "+") return "enumerate applied and not applied library functions and exit";
    if (arg == "-") return "enumerate not applied library functions and exit";
    return "enumerate tested functions and exit";
}

psString v_info(psString) { return "type the version number of the Performance System and exit"; }

// Echo of -h and -?: short help, extended help (the key's own letter repeated) or
// the help of one key.
static psString helpInfo(const psString& arg, char self, const char* hidden)
{
    if (arg.empty()) return psString("type short help") + hidden + " and exit";
    if (arg[0] == self) return psString("type extended help") + hidden + " and exit";
    psString s("type extended help for -");
    s << arg[0] << " key and exit";
    return s;
}

psString h_info(psString arg) { return helpInfo(arg, 'h', ""); }
psString hq_info(psString arg) { return helpInfo(arg, '?', " with hidden keys"); }

// ---------------------------------------------------------------- apply functions

// Adds an output file to a stream; a file that cannot be opened is remembered for the
// fatal message after all keys. Returns whether the file opened.
static bool addOutput(psSinks& sinks, const psString& path, bool append, psSessionSettings* s)
{
    if (sinks.addStream(path, append)) return true;
    s->unopenedFile();
    return false;
}

static void B_apply(psString, psSessionSettings* s) { s->setBatMode(); }
static void A_apply(psString arg, psSessionSettings* s) { s->addAskMode(psAskLevel(arg)); }
static void d_apply(psString arg, psSessionSettings*) { g_istrm.data().set(arg); }
static void i_apply(psString arg, psSessionSettings* s) { s->setIniMode(psPaths::genInPath(arg, ".ini"), false); }
static void I_apply(psString arg, psSessionSettings* s) { s->setIniMode(psPaths::genInPath(arg, ".ini"), true); }
static void P_apply(psString, psSessionSettings*) { psTest::m_pressing = true; }
static void o_apply(psString arg, psSessionSettings* s) { addOutput(g_ostrm, outPath(arg, ".txt"), false, s); }
static void O_apply(psString arg, psSessionSettings* s) { addOutput(g_ostrm, outPath(arg, ".txt"), true, s); }
static void L_apply(psString arg, psSessionSettings* s) { s->addLevelMode(psLevelFromText(arg)); }
// A performance table that opens gets its run record beside it.
static void addTable(const psString& path, bool append, psSessionSettings* s)
{
    if (addOutput(g_cstrm, path, append, s)) g_runRecorder.tableOpened(path, append);
}

static void r_apply(psString arg, psSessionSettings* s) { addTable(outPath(arg, ".csv"), false, s); }
static void R_apply(psString arg, psSessionSettings* s) { addTable(outPath(arg, ".csv"), true, s); }

static void q_apply(psString arg, psSessionSettings* s)
{
    if (arg[0] == '+') {
        psSessionSettings::m_nameMode |= 1;
        return;
    }
    psSessionSettings::m_nameMode |= 2;
    addOutput(g_qstrm, outPath(arg, "_name.csv"), false, s);
}

static void Q_apply(psString, psSessionSettings*)
{
    if (cmdHasKey('q')) psSessionSettings::m_nameExit = true;
}

static void u_apply(psString arg, psSessionSettings* s) { addOutput(g_ustrm, outPath(arg, "_sum.csv"), false, s); }
static void U_apply(psString arg, psSessionSettings* s) { addOutput(g_ustrm, outPath(arg, "_sum.csv"), true, s); }
static void g_apply(psString arg, psSessionSettings* s) { s->setSglName(outPath(arg, ".end")); }

// The selection keys add one condition each; an empty pattern adds nothing.
static void addCondition(int field, psString arg, psSessionSettings* s)
{
    int code = getCondition(arg);
    s->addCondition(makeCondition(field, code, arg));
}

static void f_apply(psString arg, psSessionSettings* s) { addCondition(COND_FUNC, arg, s); }
static void t_apply(psString arg, psSessionSettings* s) { addCondition(COND_TEST, arg, s); }
static void m_apply(psString arg, psSessionSettings* s) { addCondition(COND_FILE, arg, s); }
static void k_apply(psString arg, psSessionSettings* s) { s->logicCondition(isOrLogic(arg) ? COND_OR : COND_AND); }
static void F_apply(psString arg, psSessionSettings*) { psTestList::m_startFunc = arg; }

static void Y_apply(psString arg, psSessionSettings*)
{
    int p = priorityOf(arg);
    if (p) psTool::m_priority = p;
}

static void H_apply(psString arg, psSessionSettings*) { psTest::m_hot = isHotOnly(arg) ? 2 : 1; }

static void W_apply(psString, psSessionSettings*)
{
    is_W_flagUsed = true;
    ps87::setExceptionValue(0x20);
    psSSX::setExceptionValue(0x1000);
}

static void T_apply(psString arg, psSessionSettings* s) { s->cpuFeature = psCpuFeatures::cpuFeatures(arg); }
static void N_apply(psString arg, psSessionSettings* s) { s->numThreads = threadsOf(arg); }
static void S_apply(psString, psSessionSettings*) { g_tool.setSetAndUse(true); }
static void C_apply(psString, psSessionSettings*) { psTest::m_cache = true; }

static void s_apply(psString arg, psSessionSettings* s)
{
    if (arg[0] == '-') s->setQuickMode();
}

static void e_apply(psString arg, psSessionSettings* s) { s->setEnumMode(arg == "-" ? -1 : arg == "+" ? 1 : 0); }
static void v_apply(psString, psSessionSettings*) { s_version = true; }

static void setHint(const psString& arg, bool hide)
{
    s_hintHide = hide;
    s_hintArg = arg.empty() ? 1 : arg[0];
}

static void h_apply(psString arg, psSessionSettings*) { setHint(arg, true); }
static void hq_apply(psString arg, psSessionSettings*) { setHint(arg, false); }

// ---------------------------------------------------------------- descriptions

// How a default output file name is made.
static psString pathLines(const char* ext)
{
    psString s("If file-name is empty then default file path will be used:\n");
    s << "    <default-dir>/<default-name>" << ext << "\n"
      << "    <default-dir> : <exe-file-dir> or -l key argument if any\n"
      << "    <default-name>: <exe-file-name-without-extention> or -n key argument if any\n";
    return s;
}

static psString severalFiles(char key, const char* verb)
{
    psString s("If several -");
    s << key << " keys present in command line then all these files will be " << verb << "\n    and filled\n";
    return s;
}

// ---------------------------------------------------------------- the table

namespace {

// When a key is registered.
enum { ALWAYS, WITH_Q_KEYS, WITH_LIBRARY };

struct KeySpec {
    char key;
    const char* help;
    psKeyInfoFunc info;
    psKeyApplyFunc apply;
    psString descr;
    bool hidden;
    int when;
};

}  // namespace

// The library is there when its initialise entry is not the fallback's.
static bool libraryPresent() { return lum_Init && lum_Init() != PS_LUM_NO_LIBRARY; }

void psRegisterKeys(psSessionSettings* session)
{
    const KeySpec table[] = {
        {'B', "-B               = batch mode (no console input)\n", B_info, B_apply,
         "If both -B and -A key present in command line then -B key is performed\n", false, ALWAYS},
        {'A', "-A<Timing|Params|Misalign|All> = set detail level of the console input\n", A_info, A_apply,
         "Timing  : adjust timing method at the very beginning\n"
         "Params  : adjust common parameters for all tests at the very beginning\n"
         "Misalign: adjust memory misalignment at the very beginning\n"
         "All     : adjust all above-listed and adjust test parameters\n"
         "          before each test running\n"
         "Certain parameter may be adjusted from console only if it is not defined\n"
         "    by -d key or in ini-file\n"
         "If -A has no mode then -AAll mode is implemented\n"
         "If several -A keys present in command line then all modes are combined\n"
         "If both -A and -B key present in command line then -B key is performed\n"
         "If neither of -A and -B key present in command line then\n"
         "    -ATimingParams is performed\n",
         false, ALWAYS},
        {'d', "-d<name>=<value> = set PS parameter value\n", d_info, d_apply,
         "Any parameter asked from console or written in ini-file may be set by -d key\n"
         "Data set by -d option has the highest priority\n"
         "-d key may be used several times in command line\n",
         false, ALWAYS},
        {'i', "-i[<file-name>]  = read PS parameters from ini-file\n", i_info, i_apply,
         "Ini-file section [Perf System] contains common parameters for all tests\n"
         "Ini-file section [<func-name>] contains parameters for measurement of this function\n"
         "A parameter is read from ini-file only if it is not defined by -d key\n"
         "At the same time this parameter will not be asked from console\n"
         "If file-name is empty then default file path will be used:\n"
         "    <default-dir>/<default-name>.ini\n"
         "    <default-dir> : <exe-file-dir> or -p key argument if any\n"
         "    <default-name>: <exe-file-name-without-extention> or -n key argument if any\n"
         "If several -i or -I keys present in command line then only the last key is valid\n",
         false, ALWAYS},
        {'I', "-I[<file-name>]  = write PS parameters to ini-file and exit\n", I_info, I_apply,
         "This key opens ini-file and put test parameters with default values\n"
         "If the parameter is already present in ini-file then PS doesn't overwrite it\n"
         "Ini-file section [Perf System] will contain common parameters for all tests\n"
         "Ini-file section [<func-name>] will contain parameters for measurement of this function\n"
         "If file-name is empty then default file path will be used:\n"
         "    <default-dir>/<default-name>.ini\n"
         "    <default-dir> : <exe-file-dir> or -p key argument if any\n"
         "    <default-name>: <exe-file-name-without-extention> or -n key argument if any\n"
         "If several -i or -I keys present in command line then only the last key is valid\n",
         false, ALWAYS},
        {'P', "-P               = read tested function names from ini-file\n", P_info, P_apply,
         "This key affects only if -i key is present in command line\n"
         "All functions present in ini-file as section names will be measured\n"
         "Other functions will not be measured\n",
         false, ALWAYS},
        {'o', "-o[<file-name>]  = create txt-file and write console output\n", o_info, o_apply,
         pathLines(".txt") + severalFiles('o', "created"), false, ALWAYS},
        {'O', "-O[<file-name>]  = add console output to txt-file\n", O_info, O_apply,
         pathLines(".txt") + severalFiles('O', "opened"), false, ALWAYS},
        {'L', "-L<ERR|WARN|PERF|INFO|TRACE|DATA> = set detail level of the console output\n", L_info, L_apply,
         "ERR  : output errors\n"
         "WARN : output errors & warnings\n"
         "PERF : output errors & warnings & performance for each parameter set\n"
         "INFO : output errors & warnings & performance for each parameter set &\n"
         "       detailed course of performance measurement\n"
         "TRACE: output errors & warnings & performance for each parameter set &\n"
         "       PS function call tracing\n"
         "DATA : output errors & warnings & performance for each parameter set &\n"
         "       vectors data before and after lum function call\n"
         "If several -L keys present in command line then all modes are combined\n",
         false, ALWAYS},
        {'r', "-r[<file-name>]  = create csv-file and write PS results\n", r_info, r_apply,
         psString("This key creates table file for performance results\n") + pathLines(".csv") +
             severalFiles('r', "created"),
         false, ALWAYS},
        {'R', "-R[<file-name>]  = add PS results to csv-file\n", R_info, R_apply,
         psString("This key adds for performance results to table file\n") + pathLines(".csv") +
             severalFiles('R', "opened"),
         false, ALWAYS},
        {'q',
         "-q[<file-name>]  = create csv-file (*_name.csv is default) and write function parameter name lines\n"
         "-q+              = add function parameter name lines to PS results table file\n",
         q_info, q_apply,
         pathLines("_name.csv") +
             "If several -q[<file-name>] keys present in command line then all these files\n"
             "    will be created and filled\n"
             "-q+ key affects only if -r or -R keys are present in command line\n",
         false, WITH_Q_KEYS},
        {'Q', "-Q               = exit after function parameter name table creation\n", Q_info, Q_apply,
         "This key affects only if -q or -q+ keys are present in command line\n", false, WITH_Q_KEYS},
        {'u', "-u[<file-name>]  = create csv-file and write summary table ('_sum' is added to default title name)\n",
         u_info, u_apply, pathLines("_sum.csv") + severalFiles('u', "created"), false, ALWAYS},
        {'U', "-U[<file-name>]  = add summary table to csv-file ('_sum' is added to default title name)\n", U_info,
         U_apply, pathLines("_sum.csv") + severalFiles('U', "opened"), false, ALWAYS},
        {'g', "-g[<file-name>]  = create signal file at the end of the whole testing\n", g_info, g_apply,
         pathLines(".end") + "If several -g keys present in command line then only the last key is valid\n", false,
         ALWAYS},
        {'n', "-n<title-name>   = default title name for ini-file and output files\n", n_info, nullptr,
         "This key sets default file name for input and output files defined by \n"
         "    -i, -I, -o, -O, -r, -R, -u, -U, -g, -q keys\n"
         "If several -n keys present in command line then only the last key is valid\n",
         false, ALWAYS},
        {'p', "-p<dir-name>     = default directory for input files i.e. ini & test data files\n", p_info, nullptr,
         "This key sets default file directory for input files defined by -i, -I keys\n"
         "    and also for data files opened in a test by i_stream class\n"
         "If several -p keys present in command line then only the last key is valid\n",
         false, ALWAYS},
        {'l', "-l<dir-name>     = default directory for output files (listings)\n", l_info, nullptr,
         "This key sets default file directory for output files defined by \n"
         "    -o, -O, -r, -R, -u, -U, -g, -q keys\n"
         "If several -l keys present in command line then only the last key is valid\n",
         false, ALWAYS},
        {'f',
         "-f < or-pattern> = run tests for functions with pattern in name\n"
         "-f-<not-pattern> = don't run tests for functions with pattern in name\n"
         "-f+<and-pattern> = run only tests for functions with pattern in name\n"
         "-f=< eq-pattern> = run tests for function with this full name\n",
         f_info, f_apply,
         "Several -f keys may present in command line.\n"
         "The test will be run if function name meets following conditions:\n"
         "       it is equal to one of -f= arguments\n"
         "    OR\n"
         "       it contains one of -f arguments\n"
         "       AND\n"
         "       it contains all of -f+ arguments if any\n"
         "       AND\n"
         "       it doesn't contain any of -f- arguments\n",
         false, ALWAYS},
        {'t', "-t[-|+|=]<patrn> = run (don't run) tests with pattern in test name\n", t_info, t_apply,
         "Several -t keys may present in command line.\n"
         "The test will be run if its name meets following conditions:\n"
         "       it equals to one of -t= arguments\n"
         "    OR\n"
         "       it contains one of -t arguments\n"
         "       AND\n"
         "       it contains all of -t+ arguments if any\n"
         "       AND\n"
         "       it doesn't contain any of -t- arguments\n",
         false, ALWAYS},
        {'m', "-m[-|+|=]<patrn> = run (don't run) tests registered in file with pattern in file name\n", m_info,
         m_apply,
         "Several -m keys may present in command line.\n"
         "In order to run the test source file name has to meet following conditions:\n"
         "    It must be equal to one of -m= arguments\n"
         "    OR\n"
         "       It must contain one of -m arguments\n"
         "       AND\n"
         "       it must contain all of -m+ arguments if any\n"
         "       AND\n"
         "       it mustn't contain one of -m- arguments if any\n",
         false, ALWAYS},
        {'k', "-k<and|or>       = compose different keys (-f,-t,-m) by logical operation\n", k_info, k_apply,
         "This key sets composition operation for -f, -t, -m conditions\n"
         "-kand key runs the test if\n"
         "                    function name meets -f conditions\n"
         "                AND test name meets -t conditions\n"
         "                AND source file name meets -m conditions\n"
         "-kor key runs the test if\n"
         "                    function name meets -f conditions\n"
         "                 OR test name meets -t conditions\n"
         "                 OR source file name meets -m conditions\n"
         "If no -k keys present in command line then -kand key is realized\n"
         "If several -k keys present in command line then only the last key is valid\n",
         false, ALWAYS},
        {'F', "-F<func-name>    = start testing from function with func-name full name\n", F_info, F_apply,
         "If several -F keys present in command line then only the last key is valid\n", false, ALWAYS},
        {'Y', "-Y<HIGH|NORMAL>  = set high or normal process prioritY (normal is default)\n", Y_info, Y_apply,
         "If several -Y keys present in command line then only the last key is valid\n", false, ALWAYS},
        {'H', "-H[ONLY]         = add 'Interest' column to table file [and run only hot tests]\n", H_info, H_apply,
         "If both -H & -HO keys present in command line then only the last key is valid\n", false, ALWAYS},
        {'W', "-W= unmask floating-point exceptions\n", W_info, W_apply,
         "This key is used for unmasking floating-point exceptions\n", false, ALWAYS},
        // The tab is replaced by the list of CPU features once the keys are applied.
        {'T', "-T[<cpu-features>]   = call lumSetCpuFeatures( cpuFeatures )\n", T_info, T_apply,
         "This key works only if you link lum*merged libraries\n"
         "    and include <lumcore.h> before <pp.h> in your test file.\n"
         "To run LUM code optimized for specific processor enter following {cpu-features}:\n"
         "\tIf several -T keys present in command line then only the last key is valid\n",
         false, WITH_LIBRARY},
        {'N', "-N[<num-threads>]= call lumSetNumThreads( <num-threads> )\n", N_info, N_apply,
         "This key works only if you link lum* libraries\n"
         "    and include <lumcore.h> before <pp.h> in your test file.\n"
         "If several -N keys present in command line then only the last key is valid\n",
         false, WITH_LIBRARY},
        {'S', "-SU              = measure functions with data set & use\n", S_info, S_apply,
         "This option should be used to prove parallelize function advantage\n"
         "Test does not show clear function performance\n",
         true, ALWAYS},
        {'C', "-C               = run tests with data in cache and out of cache (if that is supported by test)\n",
         C_info, C_apply,
         "This option should be used to clarify performance difference between in-cache and out-of-cache data\n"
         "Not all tests support this option\n",
         true, ALWAYS},
        {'s', "-s[-]            = sort or don't sort functions (sort mode is default)\n", s_info, s_apply,
         "If both -s & -s- keys present in command line then only the last key is valid\n", false, ALWAYS},
        {'e', "-e               = enumerate tests and exit\n", e_info, e_apply, "", false, ALWAYS},
        {'v', "-v               = type the version number of the Performance System and exit\n", v_info, v_apply, "",
         false, ALWAYS},
        {'@', "-@<file-name>    = read command line options from specified file\n", nullptr, nullptr,
         "This key works as if command line is extended by the file content\n"
         "    where <new line> symbol is converted to <space symbol>.\n"
         "Several -@ keys may present in command line.\n",
         false, ALWAYS},
        {'h',
         "-h               = type short help and exit\n"
         "-hh              = type extended help and exit\n"
         "-h<key>          = type extended help for the key and exit\n",
         h_info, h_apply, "If several -h present in command line then only the last key is valid\n", false, ALWAYS},
        {'?', "", hq_info, hq_apply,
         "-?               = type short help with hidden keys and exit\n"
         "-??              = type extended help with hidden keys and exit\n"
         "-?<key>          = type extended help for the key and exit\n"
         "If several -? keys present in command line then only the last key is valid\n",
         false, ALWAYS},
    };
    const bool library = libraryPresent();
    for (const KeySpec& k : table) {
        if (k.when == WITH_Q_KEYS && !qKeys) continue;
        if (k.when == WITH_LIBRARY && !library) continue;
        session->initOption(k.key, k.help, k.info, k.apply, k.descr, k.hidden);
    }
}

// ---------------------------------------------------------------- help displays

psString psHintQuick(const psList<psOption*>& options, bool hide)
{
    psString s("QUICK HELP");
    if (!hide) s += " with hidden keys";
    s += "\n";
    for (const psOption* o : options)
        if (!(hide && o->hidden)) s += o->help;
    return s;
}

psString psHintFull(const psList<psOption*>& options, bool hide)
{
    psString s("EXTENDED HELP");
    if (!hide) s += " with hidden keys";
    s += "\n";
    for (const psOption* o : options) {
        if (o->help.empty() || (hide && o->hidden)) continue;
        s << "\n" << o->help;
        if (o->hidden) s += "This is hidden key used by developers only\n";
        s += o->descr;
    }
    return s;
}

psString psHintDescr(const psList<psOption*>& options, char key)
{
    psString s("EXTENDED KEY HELP\n");
    const psOption* found = nullptr;
    for (const psOption* o : options)
        if (o->key == key && !found) found = o;
    if (!found) {
        s << "Key -" << key << " is not valid\n";
    } else {
        if (found->help.empty())
            s << "Key -" << key << " is deprecated\n";
        else
            s += found->help;
        s += found->descr.empty() ? psString("No extended description for this key\n") : found->descr;
    }
    s += "\nUse -h option to type full key list\n";
    return s;
}

psString psFillPlaceholder(const psString& descr, const psString& text)
{
    int tab = descr.find('\t');
    if (tab < 0) return descr;
    return descr.substr(0, tab) + text + descr.substr(tab + 1);
}
