// The test lifecycle: the data and failure paths of a run, crashes and floating-point
// traps inside measured code, and the Set&Use restore of a library-function test's
// vectors. (The odometer order of the parameter combinations shows in the black-box
// compression tables.)
#include "test.h"

#include "conditions.h"
#include "fpguard.h"
#include "helpers.h"
#include "iterators.h"
#include "memory.h"
#include "pp.h"
#include "registry.h"
#include "session.h"
#include "ticker.h"

#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// A parameter stepping through fixed texts, never read from the settings.
struct Texts : psIterator_NSC<psString> {
    Texts(const char* name, std::vector<const char*> values) : psIterator_NSC<psString>(psString(), name) {
        setAsk(false);
        for (const char* v : values) add(v);
    }
};

psResult quickLoop(int n, long long* clocks) { *clocks = 100LL * n; return OK; }

// A real write through a null pointer; the sanitizers must not stop it before the signal does.
__attribute__((no_sanitize("address", "undefined"))) psResult crashingLoop(int, long long*) {
    volatile int* volatile p = nullptr;
    *p = 1;
    return OK;
}

psResult invalidOperationLoop(int n, long long* clocks) {
    volatile double zero = 0.0;
    volatile double nan = zero / zero;
    (void)nan;
    *clocks = 100LL * n;
    return OK;
}

// A test whose data lifecycle the tests script and record.
class ScriptedTest : public psTest {
public:
    explicit ScriptedTest(psLoopFunc loop = quickLoop, const char* name = "lumsScripted_8u")
        : psTest(loop, nullptr, name, "test_test.cpp", "Scripted//PP_REG") {}
    void beginTest() override {
        if (throwInBegin) throw psException(psString("boom"));
    }
    void flushStart() override {
        if (throwStdInFlushStart) throw std::runtime_error("vector too long");
    }
    bool canStart() override {
        for (psParameter* p : parms) addParameter(p);
        return startOk;
    }
    bool initData() override {
        psString combo;
        for (psParameter* p : parameters()) combo << p->valueString();
        combos.push_back(combo.str());
        return initOk;
    }
    void flushData() override { ++flushes; }
    psResult runTiming() override { return timingCodes.empty() ? psTest::runTiming() : timingCodes[combos.size() - 1]; }
    void outputResult(psResult code) override { codes.push_back(code); psTest::outputResult(code); }

    std::vector<psParameter*> parms;
    bool startOk = true, initOk = true, throwInBegin = false, throwStdInFlushStart = false;
    std::vector<psResult> timingCodes;  // what runTiming returns per combination (empty: measure)
    std::vector<std::string> combos;
    std::vector<psResult> codes;
    int flushes = 0;
};

class LifecycleTest : public ::testing::Test {
protected:
    void SetUp() override {
        savedTool = g_tool;
        g_tool.setMethodLoop(2);
        savedFreq = psCpuTicker::m_freqMHz;
        psCpuTicker::m_freqMHz = 1000;
        psTest::m_numParmsColm = 9;
        psTest::m_numResultColm = 5;
        g_ostrm.setOutLevel(ERR | WARN);
    }
    void TearDown() override {
        g_tool = savedTool;
        psCpuTicker::m_freqMHz = savedFreq;
        psTest::m_hot = 0;
        psTest::m_cache = false;
        psSession::m_nameExit = false;
        while (void* p = psMallocFirst(nullptr, nullptr)) psFree(p);
        psFreeAll();
    }
    bool says(const std::string& line) { return out.text().find(line) != std::string::npos; }

    psTool savedTool;
    unsigned savedFreq = 0;
    Capture out;
    Capture table{g_cstrm};
};

}  // namespace

TEST_F(LifecycleTest, OutcomesOfARun) {
    // timing: what the timing returns per combination (empty: measure); combos: combinations prepared (and flushed)
    struct Case { std::vector<const char*> values; bool startOk, initOk; std::vector<psResult> timing; OutputLevel mask;
                  psResult result; int combos; const char* message; };
    const OutputLevel both = ERR | WARN;
    const Case cases[] = {
        {{}, true, true, {}, both, DATAFAIL, 0, "-- One of argument list for timing is empty\n"},
        {{"1", "2"}, true, false, {}, both, DATAFAIL, 2, "-- Error while initialization of function data\n"},
        {{"1"}, false, true, {}, both, DATAFAIL, 0, "-- Can't start timing\n"},
        // A failure ends the loop after its combination.
        {{"1", "2", "3"}, true, true, {OK, FUNCFAIL, OK}, both, FUNCFAIL, 2, ""},
        {{"1"}, true, true, {UNDEFINED}, both, FAIL, 1,
         "-- Internal test problem: runTiming() function returns undefined result\n"},
        {{"8", "8"}, true, true, {}, both, DATAWRN, 2, "-- Warning: duplicate lines in performance table (csv-file)\n"},
        // Warnings the console does not show count as OK for the run, but keep their code.
        {{"1", "2"}, true, true, {ACCURWRN, OK}, both, ACCURWRN, 2, ""},
        {{"1", "2"}, true, true, {ACCURWRN, OK}, ERR, OK, 2, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.values.size() << " values, result " << c.result);
        Capture local;
        g_ostrm.setOutLevel(c.mask);
        Texts p("len", c.values);
        ScriptedTest t;
        t.parms = {&p};
        t.startOk = c.startOk;
        t.initOk = c.initOk;
        t.timingCodes = c.timing;
        EXPECT_EQ(c.result, t.run());
        EXPECT_EQ(c.combos, static_cast<int>(t.combos.size()));
        EXPECT_EQ(c.combos, t.flushes);
        if (!c.timing.empty()) {
            EXPECT_EQ(std::vector<psResult>(c.timing.begin(), c.timing.begin() + c.combos), t.codes);
        }
        EXPECT_NE(std::string::npos, local.text().find(c.message));
    }
}

TEST_F(LifecycleTest, ModesThatMeasureNothing) {
    psTest::m_cache = true;
    ScriptedTest cache;
    EXPECT_EQ(UNDEFINED, cache.run());
    EXPECT_TRUE(cache.combos.empty());
    EXPECT_TRUE(says("-- Can't run In-Outof-Cache timing: no program support for function lumsScripted_8u\n"));
    psTest::m_cache = false;

    psSession::m_nameExit = true;
    ScriptedTest names;
    EXPECT_EQ(OK, names.run());
    EXPECT_TRUE(names.combos.empty());
}

TEST_F(LifecycleTest, HotOnlyModeSelectsAndMeasuresHotFunctions) {
    psStringList* saved = g_pHotList;
    psStringList hot;
    hot.add("lumsHot_8u");
    g_pHotList = &hot;
    psTest::m_hot = 2;
    psConditions none;
    ScriptedTest cold, warm(quickLoop, "lumsHot_8u");
    EXPECT_FALSE(cold.tobeRun(none));
    EXPECT_TRUE(warm.tobeRun(none));
    EXPECT_TRUE(warm.isHotLine());
    // A cold test run anyway prepares its data but does not measure it.
    g_ostrm.setOutLevel(ERR | WARN | PERF);
    cold.run();
    EXPECT_TRUE(cold.codes.empty());
    EXPECT_TRUE(says("  measuring is omitted: not hot line\n"));
    g_pHotList = saved;
}

// ---------------------------------------------------------------- crashes, traps and exceptions

TEST_F(LifecycleTest, CrashInMeasuredCodeFailsOnlyThatTest) {
    Texts p("len", {"1", "2"});
    ScriptedTest crashing(crashingLoop);
    crashing.parms = {&p};
#if defined(__SANITIZE_ADDRESS__)
    // The jump out of the crashed frames skips their destructors; what they owned is lost.
    __lsan::ScopedDisabler lostOnPurpose;
#endif
    EXPECT_EQ(EXCPTFAIL, crashing.run());
    EXPECT_TRUE(says("--LUM. Signal: Illegal storage access.\n"));
    EXPECT_EQ(1u, crashing.combos.size());
    EXPECT_EQ(1, crashing.flushes) << "the interrupted combination's data is still flushed";
    EXPECT_EQ(ERR | WARN, g_ostrm.getOutLevel());

    ScriptedTest next;
    EXPECT_EQ(OK, next.run()) << "the session goes on";
}

TEST_F(LifecycleTest, InvalidOperationGivesABadStatusWarning) {
    ScriptedTest t(invalidOperationLoop);
    EXPECT_EQ(BADSTSWRN, t.run());
    EXPECT_EQ((std::vector<psResult>{BADSTSWRN}), t.codes);
    EXPECT_TRUE(t.badSSXSeen());
    EXPECT_FALSE(t.badX87Seen());
    EXPECT_TRUE(says("-- Status    SSX: ?Invalid \n"));
    EXPECT_TRUE(says("-- modified control status on test parameters:\n"));
}

TEST_F(LifecycleTest, UnmaskedExceptionTrapsAndTheEnvironmentIsRestored) {
    const unsigned mxcsr = ps_get_ssx();
    psSSX::setExceptionValue(4096);
    ScriptedTest t(invalidOperationLoop);
#if defined(__SANITIZE_ADDRESS__)
    __lsan::ScopedDisabler lostOnPurpose;  // the trap skips the measuring frames' destructors
#endif
    psResult r = t.run();
    psSSX::setExceptionValue(8064);
    EXPECT_EQ(EXCPTFAIL, r);
    EXPECT_TRUE(says("--LUM. Signal: FP error, such as overflow, division by zero, invalid operation.\n"));
    EXPECT_EQ(mxcsr & ~63u, ps_get_ssx() & ~63u) << "the masks are back as they were";
}

TEST_F(LifecycleTest, ExceptionsAreReported) {
    ScriptedTest begin;
    begin.throwInBegin = true;
    EXPECT_EQ(EXCPTFAIL, begin.run());
    EXPECT_TRUE(says("--LUM. Exception: boom\n"));

    ScriptedTest flush;
    flush.throwStdInFlushStart = true;
    EXPECT_EQ(EXCPTFAIL, flush.run()) << "after a clean measurement";
    EXPECT_EQ((std::vector<psResult>{OK}), flush.codes);
    EXPECT_TRUE(says("--LUM. Exception: vector too long\n"));

    // (A parameter text refused before any measurement: the black-box checksum test.)
}

TEST_F(LifecycleTest, StartAndStopReportsExceptionsAndRestoresTheMask) {
    Texts p("len", {"1"});
    ScriptedTest t;
    t.parms = {&p};
    t.startAndStop();
    EXPECT_EQ(1, t.parameters().count()) << "the parameters are registered";
    t.parameters().clear();
    t.throwInBegin = true;
    t.startAndStop();
    EXPECT_EQ("--LUM. Exception: boom in startAndStop of lumsScripted_8u test\n", out.text());
    EXPECT_EQ(ERR | WARN, g_ostrm.getOutLevel());
}

TEST_F(LifecycleTest, AllocationAppliesAlignmentAndMutualShift) {
    psTest t(quickLoop, nullptr, "f", "s.cpp", "");
    psSetVectorAlign(8);
    psTest::m_vectorNum = 0;
    psTest::m_vectorShift = 0;
    void* src = t.allocate(100, -1);
    void* dst = t.allocate(100, -1);
    EXPECT_EQ(8u, reinterpret_cast<uintptr_t>(src) % 64) << "the source is misaligned as asked";
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(dst) % 64) << "only the source is misaligned";
    EXPECT_EQ(2, psTest::m_vectorNum);
    EXPECT_EQ(1024, psTest::m_vectorShift);
    psTest::m_vectorShift = 32768 - 512;
    t.allocate(10, 0);
    EXPECT_EQ(0, psTest::m_vectorShift) << "the shift wraps before 32768";
    psSetVectorAlign(0);
}

// ---------------------------------------------------------------- Set&Use

namespace {

ppVector g_src(pp8u), g_dst(pp8u);
int g_len = 0;
int g_firstByteSeen = -1;

// Changes its own source: without Set&Use every call would see the previous one's result.
int incrementCall() { g_src.ptr<unsigned char>()[0] += 1; return 0; }

class CopyTest : public ppTest {
public:
    explicit CopyTest(psCallFunc call) : ppTest(call, nullptr, nullptr, nullptr, "lumsCopy_8u", "test_test.cpp", "Copy//PP_REG") {}
    bool canStart() override { addParameter(&m_len); return true; }
    bool initData() override {
        g_len = m_len.value();
        return g_src.create(g_len, ppFillRandom) && g_dst.create(g_len, ppFillZero);
    }
    void flushData() override {
        g_firstByteSeen = g_src.ptr<unsigned char>()[0];
        g_src.deleteData();
        g_dst.deleteData();
    }
    double getDivisor() override { return g_len; }
    psString getUnit() override { return "e"; }

private:
    psDefault_NSC<int> m_len{4096, "len", ""};
};

}  // namespace

TEST_F(LifecycleTest, SetAndUseRestoresTheVectorsBeforeEveryCall) {
    // The same random source each time; its first byte is incremented by every call.
    ppVector pristine(pp8u);
    ASSERT_TRUE(pristine.create(4096, ppFillRandom));
    const int first = pristine.ptr<unsigned char>()[0];
    g_tool.setMethodLoop(50);

    // With Set&Use every one of the 50 timed calls starts from the pristine copy.
    g_tool.setSetAndUse(true);
    CopyTest reset(incrementCall);
    ASSERT_EQ(OK, reset.run());
    EXPECT_EQ((first + 1) % 256, g_firstByteSeen);

    // Without it the warm-up call and the 50 timed calls accumulate.
    g_tool.setSetAndUse(false);
    CopyTest plain(incrementCall);
    ASSERT_EQ(OK, plain.run());
    EXPECT_EQ((first + 51) % 256, g_firstByteSeen);
}
