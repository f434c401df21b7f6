// The console set-up dialogue: the timing method and its numbers, the common test
// parameters and the placement of test vectors, each a named parameter taken from
// -d, the ini file, the console (when its group may be asked) or its default.
#include "session.h"

#include "inifile.h"
#include "memory.h"
#include "parameter.h"
#include "timing.h"

#include <climits>

namespace {

const char* const kCommonSection = "Perf System";
const int kTitleWidth = 78;

// Used when the engine's method is another one, so that its getter leaves the value alone.
const int kDefaultLoops = 10;
const int kDefaultCalls = 12;
const long long kDefaultTotalClocks = 10000;

// One group of questions. The group's title is printed just before its first
// question that reaches the console, so a group whose values all come from -d,
// the ini file or an absent console prints nothing.
struct psQuestionGroup {
    psString title;
    bool asked = false;
};
psQuestionGroup s_group;

void beginGroup(const char* title, bool console)
{
    g_istrm.setIStream(console ? &c_in : nullptr);
    s_group.title = title;
    s_group.asked = false;
}

int endGroup()
{
    s_group.title = psString();
    return s_group.asked ? 1 : 0;
}

// Whether reading the parameter now puts a question on the console.
bool willAsk(psParameter& p)
{
    if (!g_istrm.getIStream() || p.getName().empty() || !p.getAsk()) return false;
    if (psConsoleAtEnd(g_istrm.getIStream())) {
        g_istrm.setIStream(nullptr);
        return false;
    }
    psString value;
    if (g_istrm.data().get(p.getName(), value)) return false;
    psIniFile* ini = g_istrm.getIniFile();
    return !ini || ini->read(g_istrm.getIniSection(), p.getName()).empty();
}

// Reads one parameter of the current group. A refused text is reported and the
// parameter keeps its value; a refused console answer is asked again, a few times.
// Returns whether a value was taken.
bool askParm(psParameter& p)
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        bool console = willAsk(p);
        if (console && !s_group.asked) {
            if (!s_group.title.empty()) g_ostrm << ERR << psSession::getEnterTitle(s_group.title) << END_MSG;
            s_group.asked = true;
        }
        try {
            p.fromIStream(g_istrm);
            return true;
        } catch (psException& e) {
            g_ostrm << ERR << e.msg() << "\n" << END_MSG;
            if (!console || g_istrm.source() != psIStream::SRC_CONSOLE) break;
        }
    }
    g_ostrm << ERR << " " << p.description() << "\n" << END_MSG;
    return false;
}

template <class T>
void atLeast(psDefault<T>& p, T lo)
{
    p.setValidator([lo](const T& v) { return v >= lo; });
}

}  // namespace

psString psSession::getEnterTitle(psString title)
{
    psString core = psString(" ") + title + " ";
    if (core.length() > kTitleWidth - 2) core = core.substr(0, kTitleWidth - 2);
    int stars = kTitleWidth - core.length();
    psString line;
    for (int i = 0; i < stars / 2; ++i) line += '*';
    line += core;
    for (int i = 0; i < stars - stars / 2; ++i) line += '*';
    return psString("\n") + line + "\n";
}

void psSession::readCommonData()
{
    g_istrm.setIniSection(kCommonSection);
    int asked = readTimingMethod();
    asked += readTestParameters();
    asked += readDataOffset();
    if (asked) g_ostrm << ERR << getEnterTitle("End of common specifications") << END_MSG;
}

int psSession::readTimingMethod()
{
    psTool scratch;
    if (g_timingMethodFunc)
        g_timingMethodFunc(scratch);
    else
        scratch.setMethodAuto();

    beginGroup("Specify timing method, please", (askMode & ASK_TIMING) != 0);
    psMapDefault<int> method(scratch.getMethod(), "Method");
    method.addWord("Auto", psTool::AUTO);
    method.addWord("Manual", psTool::MANUAL);
    method.addWord("Statistic", psTool::STATISTIC);
    method.addWord("Iterative", psTool::ITERATIVE);
    askParm(method);

    switch (method.value()) {
    case psTool::MANUAL: {
        int loops = kDefaultLoops;
        scratch.getMethodLoop(loops);
        psDefault<int> numLoops(loops, "NumLoops");
        atLeast(numLoops, 1);
        askParm(numLoops);
        g_tool.setMethodLoop(numLoops.value());
        break;
    }
    case psTool::STATISTIC: {
        int calls = kDefaultCalls;
        long long total = kDefaultTotalClocks;
        scratch.getMethodStat(calls, total);
        psDefault<int> numCalls(calls, "NumCalls");
        psDefault<long long> totalClocks(total, "TotalCpuClocks");
        atLeast(numCalls, 1);
        atLeast(totalClocks, 1LL);
        askParm(numCalls);
        askParm(totalClocks);
        g_tool.setMethodStat(numCalls.value(), totalClocks.value());
        break;
    }
    case psTool::ITERATIVE: {
        int start = 1, stop = 1;
        long long minClocks = 1;
        scratch.getAutoParameters(start, stop, minClocks);
        scratch.getMethodBest(start, stop, minClocks);
        psDefault<int> startLoops(start, "StartNumLoops");
        psDefault<int> stopLoops(stop, "StopNumLoops");
        psDefault<long long> minCpuClocks(minClocks, "MinCpuClocks");
        atLeast(startLoops, 1);
        atLeast(stopLoops, 1);
        atLeast(minCpuClocks, 1LL);
        askParm(startLoops);
        askParm(stopLoops);
        askParm(minCpuClocks);
        g_tool.setMethodBest(startLoops.value(), stopLoops.value(), minCpuClocks.value());
        break;
    }
    default: g_tool.setMethodAuto(); break;
    }
    readAccuracy(method.value());
    return endGroup();
}

void psSession::readAccuracy(int method)
{
    if (method == psTool::MANUAL || method == psTool::STATISTIC) return;
    int def = (method == psTool::AUTO || method == psTool::ITERATIVE) ? 5 : 100;
    psDefault<int> accuracy(def, "Accuracy", "Accuracy, %");
    askParm(accuracy);
    int percent = accuracy.value();
    // 1 to 50 percent are used as given; anything else means "no accuracy demand".
    g_tool.setAccuracy(percent >= 1 && percent <= 50 ? percent * 0.01 : 500.0);
}

int psSession::readTestParameters()
{
    if (!g_pCommonParms || g_pCommonParms->isEmpty()) return 0;
    beginGroup("Specify common test parameters, please", (askMode & ASK_PARAMS) != 0);
    for (psParameter* p : *g_pCommonParms) {
        // The tests that share a parameter take its value as it stands and do not
        // ask again; after a refusal they do, so that each of them reports the
        // refusal and none measures with a value that was not asked for.
        if (askParm(*p)) p->setAsk(false);
    }
    return endGroup();
}

int psSession::readDataOffset()
{
    beginGroup("Specify vectors alignment, please", (askMode & ASK_MISALIGN) != 0);

    psMapDefault<bool> byByte(psGetAlignByByte(), "AlignVectorsBy");
    byByte.addWord("byte", true);
    byByte.addWord("element", false);
    askParm(byByte);
    psSetAlignByByte(byByte.value());

    psDefault<int> align(psGetVectorAlign(), "VectorAlign",
                         byByte.value() ? "VectorAlign by Byte, 0..63" : "VectorAlign by Element, 0..63");
    align.setRange(0, 63);
    askParm(align);
    psSetVectorAlign(align.value());

    psDefault<bool> srcOnly(psGetAlignSrc(), "MisalignFirstVectorOnly");
    askParm(srcOnly);
    psSetAlignSrc(srcOnly.value());

    psDefault<int> shift(psGetVectorShift(), "MutualVectorShift", "MutualVectorShift in Bytes, divisible by 64");
    shift.setValidator([](const int& v) { return v >= 0 && v % 64 == 0; });
    askParm(shift);
    psSetVectorShift(shift.value());

    return endGroup();
}
