// psTool: the timing engine. It measures how many CPU clocks one call of a
// library function takes, through the test module's kernels, with one of four
// methods (Auto, Manual loop, Statistic, Iterative), and leaves the clocks per
// call, the achieved accuracy, a result code, a status text and a comment.
#ifndef PS_TIMING_H
#define PS_TIMING_H

#include "../ps/psstring.h"
#include "../ps/results.h"

#include <ctime>

class psTool;

// Kernel signatures handed to the engine by a test module.
typedef psResult (*psLoopFunc)(int numLoops, long long* clocks);
typedef psResult (*psStatFunc)(int* numCalls, long long* clocks);
typedef int (*psCallFunc)();
typedef int (*psInitFunc)();
typedef psResult (*psCustomFunc)(psTool& tool, int numLoops);
// Converts a library status into a result (set by the library environment).
typedef psResult (*psCheckStatusFunc)(int status);
// Restores the pristine copies of the current test's vectors (Set&Use).
typedef int (*psResetVectorsFunc)();

class psTool {
public:
    enum Method { AUTO = 0, MANUAL = 1, STATISTIC = 2, ITERATIVE = 3 };

    psTool();
    virtual ~psTool() {}

    // Method selection.
    void setMethodAuto();
    void setMethodLoop(int numLoops);
    void setMethodStat(int numCalls, long long totalClocks);
    void setMethodBest(int start, int stop, long long minClocks);
    bool getMethodAuto() const;
    bool getMethodLoop(int& numLoops) const;
    bool getMethodStat(int& numCalls, long long& totalClocks) const;
    bool getMethodBest(int& start, int& stop, long long& minClocks) const;
    void getAutoParameters(int& start, int& stop, long long& minClocks) const;
    void setLoopFactor(int k);
    int getMethod() const { return m_method; }
    // Stores a method code as it stands (an unknown code is reported when timing).
    void setMethod(int method) { m_method = method; }
    int getNumLoops() const { return m_numLoops; }
    int getNumCalls() const { return m_numCalls; }
    long long getTotalCpuClocks() const { return m_totalCpuClocks; }
    void getLoopOverrides(int& start, int& stop) const
    {
        start = m_autoStartLoops;
        stop = m_autoStopLoops;
    }

    // Measuring.
    psResult timing(psLoopFunc loop, psStatFunc stat, psCallFunc call, psInitFunc init);
    psResult timing(psCustomFunc custom);
    void reset();
    void updateResult(psResult r);
    void ctrlStart();
    void ctrlStop();

    // Results of the last timing.
    psResult getResult() const { return m_result; }
    double getFuncClocks() const { return m_funcClocks; }
    void setFuncTicks(double clocks) { m_funcClocks = clocks; }
    double getAchievedAccuracy() const { return m_achievedAccuracy; }
    const psString& getStatus() const { return m_status; }
    const psString& getComment() const { return m_comment; }
    void setComment(const psString& c) { m_comment = c; }
    long long getNumClocks() const { return m_numClocks; }
    void setNumClocks(long long c) { m_numClocks = c; }
    int getCurLoops() const { return m_curLoops; }

    // Settings.
    double getAccuracy() const { return m_accuracy; }
    void setAccuracy(double a) { m_accuracy = a; }
    bool getPreferCalls() const { return m_preferCalls; }
    void setPreferCalls(bool b) { m_preferCalls = b; }
    bool getSetAndUse() const { return m_setAndUse; }
    void setSetAndUse(bool b) { m_setAndUse = b; }
    bool getCallInit() const { return m_callInit; }
    void setCallInit(bool b) { m_callInit = b; }

    // Whether the floating-point guard saw a bad status since it was last cleared,
    // and printing it at the warning level when asked.
    static bool badCtrlStatus();
    static void printBadCtrlStatus(bool print);

    static psString getAccuracyStr(double a);
    static psString clockStr(long long c);
    static void writeInfo(psString& s);
    static void writeError();

    static int m_priority;                       // process priority while measuring (-Y)
    static psCheckStatusFunc m_pCheckStatus;     // library status -> result, may be null
    static psResetVectorsFunc m_pResetVectors;   // Set&Use vector reset, may be null

private:
    psResult autoLoopTiming();
    psResult customLoopTiming();
    psResult statisticTiming();
    psResult bestTiming(int n, int m, long long minClocks);
    int startIterations(int n, long long minClocks);
    int continueIterations(int start, int max);
    int repeatTiming(int loops, int samples);
    void avoidBadStatus();
    psResult failTiming();
    bool measureEntry(bool useLoop, int n, int* calls, psResult* r);
    void runTimFunc(int n, double* perLoop, bool forceLoop);
    void runTimFuncStat(long long minClocks, int* calls, double* perCall);
    psResult timCall_Loop(int n, long long* clocks, bool resetVectors);
    psResult timCall_Stat(int* n, long long* clocks, bool resetVectors);
    void internalError(int line);

    psResult m_result;
    double m_funcClocks;
    int m_curLoops;
    double m_accuracy;
    int m_method;
    int m_numLoops;
    int m_startNumLoops;
    int m_stopNumLoops;
    bool m_preferCalls;
    bool m_setAndUse;
    long long m_minCpuClocks;
    int m_numCalls;
    long long m_totalCpuClocks;
    bool m_callInit;
    bool m_avoidBadStatus;
    psString m_status;
    psString m_comment;
    long long m_numClocks;
    double m_achievedAccuracy;
    int m_autoStartLoops;
    int m_autoStopLoops;
    time_t m_startTime;
    time_t m_endTime;
    psLoopFunc m_loop;
    psStatFunc m_stat;
    psCallFunc m_call;
    psInitFunc m_init;
};

// Registered function that sets the default timing method (null: Auto).
typedef void (*psTimingMethodFunc)(psTool& tool);
int psRegTimingMethod(psTimingMethodFunc f);
extern psTimingMethodFunc g_timingMethodFunc;

#endif
