// The run record on simulated hosts: host facts from CPUID and sysfs answers, the load
// of a test from /proc/stat and rusage samples, the record line and the warnings.
#include "cpuinfo.h"
#include "runrecord.h"
#include "simhost.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;

// A name of 12 characters in EBX, ECX, EDX (the hypervisor leaf's order).
psCpuidRegs name12(unsigned a, const char* name)
{
    unsigned v[3] = {0, 0, 0};
    std::memcpy(v, name, std::strlen(name));
    return regs(a, v[0], v[1], v[2]);
}

const std::string kCpu = "/sys/devices/system/cpu/";
const unsigned kHypervisorBit = 1u << 31;

// The record line of a run on the host, parsed back.
Json recordOf(const psRunHost& host, const psBuildFacts& build = psBuildFacts())
{
    psRunRecord run;
    run.host = host;
    run.build = build;
    return Json::parse(psRunRecordLine(run).str());
}

TEST(RunRecordHost, FactsFromSimulatedCpuidAndSysfs)
{
    const struct {
        const char* machine;
        SimHost host;
        const char* expected;  // the "host" object of the record
        const char* warning;   // the start warning without "-- Figures of this run may be off: "
    } cases[] = {
        {"bare metal: stated counter rate, performance governor, boost switch",
         {{{0, 0, regs(0x16)}, {0x15, 0, regs(2, 100, 25000000)}, {0x80000000u, 0, regs(0x80000008u)},
           {0x80000007u, 0, regs(0, 0, 0, 1u << 8)}},
          0, 0, 2,
          {{kCpu + "cpu0/topology/thread_siblings_list", "0,2\n"}, {kCpu + "cpu0/cpufreq/scaling_governor", "performance\n"},
           {kCpu + "cpu1/cpufreq/scaling_governor", "performance\n"}, {kCpu + "cpufreq/boost", "1\n"}},
          "Linux 6.1.0"},
         R"j({"cpu":null,"cpu_reason":"the processor names itself neither by brand nor by vendor","logical_cpus":2,
             "threads_per_core":2,"hypervisor":null,
             "hypervisor_reason":"the processor reports no hypervisor (CPUID leaf 1, ECX bit 31 clear)",
             "tsc_hz":1250000000,"tsc_hz_source":"CPUID leaf 0x15","invariant_tsc":true,"kernel":"Linux 6.1.0",
             "governor":"performance","boost":true})j",
         ""},
        {"KVM guest: named hypervisor, no leaf 0x80000007, no cpufreq, no topology",
         {{{0, 0, regs(0xD)}, {1, 0, regs(0, 0, kHypervisorBit)}, {0x40000000u, 0, name12(0x40000001u, "KVMKVMKVM")},
           {0x80000000u, 0, regs(0x80000004u)}},
          0, 0, 2,
          {},
          ""},
         R"j({"cpu":null,"cpu_reason":"the processor names itself neither by brand nor by vendor","logical_cpus":2,
             "threads_per_core":null,
             "threads_per_core_reason":"the operating system does not describe the core topology (cpu0/topology in sysfs)",
             "hypervisor":"KVMKVMKVM","tsc_hz":null,
             "tsc_hz_reason":"no CPUID leaf states the counter's rate and the run did not measure it",
             "invariant_tsc":null,"invariant_tsc_reason":"the processor does not answer CPUID leaf 0x80000007",
             "kernel":null,"kernel_reason":"uname gave no answer",
             "governor":null,"governor_reason":"no frequency scaling driver is active (no cpufreq/scaling_governor in sysfs)",
             "boost":null,
             "boost_reason":"the kernel shows no boost switch (neither cpufreq/boost nor intel_pstate/no_turbo)"})j",
         "a virtual machine (KVMKVMKVM)"},
        {"unnamed hypervisor with a timing leaf, mixed governors, turbo off",
         {{{0, 0, regs(0xD, 0x756E6547, 0x6C65746E, 0x49656E69)}, {1, 0, regs(0, 0, kHypervisorBit)},
           {0x40000000u, 0, regs(0x40000010u)}, {0x40000010u, 0, regs(2500000)},
           {0x80000000u, 0, regs(0x80000007u)}, {0x80000007u, 0, regs(0)}},
          0, 0, 2,
          {{kCpu + "cpu0/topology/thread_siblings_list", "0"}, {kCpu + "cpu0/cpufreq/scaling_governor", "powersave"},
           {kCpu + "cpu1/cpufreq/scaling_governor", "performance"}, {kCpu + "intel_pstate/no_turbo", "1"}},
          "Linux 5.10"},
         R"j({"cpu":"GenuineIntel","logical_cpus":2,"threads_per_core":1,"hypervisor":null,
             "hypervisor_reason":"a hypervisor is present but CPUID leaf 0x40000000 gives no name",
             "tsc_hz":2500000000,"tsc_hz_source":"CPUID leaf 0x40000010","invariant_tsc":false,
             "kernel":"Linux 5.10","governor":"powersave,performance","boost":false})j",
         "frequency governor powersave,performance, not performance; a virtual machine"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.machine);
        Simulated simulated(c.host);
        psRunHost host = psGatherRunHost(kSimOs);
        EXPECT_EQ(recordOf(host)["host"], Json::parse(c.expected));
        const std::string warning = psSpoilingConditions(host, psBuildFacts()).str();
        EXPECT_EQ(warning, *c.warning ? "-- Figures of this run may be off: " + std::string(c.warning) + "\n" : "");
    }
}

TEST(RunRecordHostFacts, MeasuredRateOnlyWhereNoneIsStated)
{
    psRunHost host;
    psSetMeasuredTscHz(host, 3000000000ULL, 1.5);
    EXPECT_EQ(*host.tscHz.value, 2000000000LL);
    psSetMeasuredTscHz(host, 1, 1.0);  // a stated or earlier rate stays
    EXPECT_EQ(*host.tscHz.value, 2000000000LL);
}

TEST(RunRecordHostFacts, CpuLists)
{
    const struct { const char* list; int count; } cases[] = {
        {"0-3,8,10-11\n", 7}, {"5", 1}, {"0,4", 2}, {"3-1", 0}, {"cpu0", 0}, {"", 0},
    };
    for (const auto& c : cases) EXPECT_EQ(psCountCpuList(c.list), c.count) << c.list;
}

// A /proc/stat text with the given busy, idle and steal ticks and `cpus` cpuN lines.
std::string procStat(unsigned long long busy, unsigned long long steal, int cpus)
{
    std::string s = "cpu  " + std::to_string(busy) + " 0 0 5000 7 0 0 " + std::to_string(steal) + " 0 0\n";
    for (int i = 0; i < cpus; ++i) s += "cpu" + std::to_string(i) + " 1 0 0 1 0 0 0 0 0 0\n";
    return s + "intr 1 2 3\nctxt 99\n";
}

psLoadSample sample(const std::string& stat, double wall, double own, long nivcsw, long long migrations)
{
    psLoadSample s;
    s.statRead = psParseProcStat(stat, s.times);
    s.wall = wall;
    s.ownCpuSeconds = own;
    s.involuntarySwitches = nivcsw;
    s.migrations = migrations;
    return s;
}

TEST(RunRecordLoad, SharesAndTheDisturbedMark)
{
    // 100 kernel ticks a second; this process used 1 s of CPU in a 1 s test.
    const char* const shortTest = "the test was shorter than two ticks of /proc/stat (20 ms)";
    const char* const noTime = "the test took no measurable time";
    const char* const noStat = "/proc/stat could not be read";
    const struct {
        const char* load;
        std::string before, after;
        double wall;
        Json shares;  // the test's entry in the record, apart from its name, time and counters
        const char* warning;
    } cases[] = {
        {"quiet", procStat(1000, 0, 2), procStat(1100, 0, 2), 1.0,
         {{"other_cpus_busy", 0.0}, {"steal", 0.0}, {"disturbed", false}}, ""},
        {"the other CPU busy 63%", procStat(1000, 0, 2), procStat(1163, 0, 2), 1.0,
         {{"other_cpus_busy", 0.63}, {"steal", 0.0}, {"disturbed", true}},
         "-- f: other CPUs busy 63% of the time; figures may be high\n"},
        {"2% stolen", procStat(1000, 10, 2), procStat(1100, 14, 2), 1.0,
         {{"other_cpus_busy", 0.0}, {"steal", 0.02}, {"disturbed", true}},
         "-- f: 2.0% of the time stolen by the hypervisor; figures may be high\n"},
        {"busy on 4 of 8 CPUs: a mean of 4/7", procStat(0, 0, 8), procStat(500, 0, 8), 1.0,
         {{"other_cpus_busy", 0.5714}, {"steal", 0.0}, {"disturbed", true}},
         "-- f: other CPUs busy 57% of the time; figures may be high\n"},
        {"one tick in a short test is below the counters' resolution", procStat(1000, 0, 2), procStat(1002, 0, 2), 0.02,
         {{"other_cpus_busy", 0.5}, {"steal", 0.0}, {"disturbed", false}}, ""},
        {"a test shorter than two ticks gives no share", procStat(1000, 0, 2), procStat(1001, 0, 2), 0.005,
         {{"other_cpus_busy", nullptr}, {"other_cpus_busy_reason", shortTest}, {"steal", nullptr},
          {"steal_reason", shortTest}, {"disturbed", false}}, ""},
        {"no time passed", procStat(1000, 0, 2), procStat(1000, 0, 2), 0.0,
         {{"other_cpus_busy", nullptr}, {"other_cpus_busy_reason", noTime}, {"steal", nullptr},
          {"steal_reason", noTime}, {"disturbed", false}}, ""},
        {"one logical CPU", procStat(1000, 0, 1), procStat(1100, 0, 1), 1.0,
         {{"other_cpus_busy", nullptr}, {"other_cpus_busy_reason", "the machine has one logical CPU"},
          {"steal", 0.0}, {"disturbed", false}}, ""},
        {"/proc/stat unreadable", "", "nonsense", 1.0,
         {{"other_cpus_busy", nullptr}, {"other_cpus_busy_reason", noStat}, {"steal", nullptr},
          {"steal_reason", noStat}, {"disturbed", false}}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.load);
        // The own CPU time is measured precisely: 10 ms of a 20 ms test here.
        const double own = c.wall < 1 ? 0.01 : 1.0;
        psTestRecord t{"f", psCompareLoad(sample(c.before, 10, 4, 7, 5), sample(c.after, 10 + c.wall, 4 + own, 10, 7), 100, "")};
        psRunRecord run;
        run.tests.add(t);
        Json expected = {{"function", "f"}, {"seconds", c.wall}, {"migrations", 2}, {"involuntary_switches", 3}};
        expected.update(c.shares);
        EXPECT_EQ(Json::parse(psRunRecordLine(run).str())["tests"][0], expected);
        EXPECT_EQ(psDisturbedWarning(t).str(), c.warning);
    }
    // Migrations that are not counted say why.
    psTestLoad load = psCompareLoad(sample("", 0, 0, 0, -1), sample("", 1, 0, 0, -1), 100, "no counter");
    EXPECT_FALSE(load.migrations.value);
    EXPECT_EQ(load.migrations.reason.str(), "no counter");
}

TEST(RunRecordLine, BuildClockAndCommandFields)
{
    psRunRecord run;
    run.start = "Tue Nov 24 01:00:00 2026";
    run.command.add("perfdc");
    run.command.add("-r\xff");  // not UTF-8: still a valid line
    run.build.compiler = "gcc 12";
    run.build.buildType = "Debug";
    run.build.debug = true;
    run.build.lumPath.set("AVX2");
    run.build.preload.set("/tmp/mylum.so");
    run.clock.start.chainPerTick = 1.41234;
    run.clock.start.counterPerTick = 1.4;
    run.clock.cycleCounter = "perf_event";
    const std::string line = psRunRecordLine(run).str();
    EXPECT_EQ(line.find('\n'), std::string::npos);
    Json j = Json::parse(line);
    EXPECT_EQ(j["start"], "Tue Nov 24 01:00:00 2026");
    EXPECT_EQ(j["command"], Json::parse(R"j(["perfdc", "-r\ufffd"])j"));
    EXPECT_EQ(j["build"], Json::parse(R"j({"compiler":"gcc 12","build_type":"Debug","lum_path":"AVX2",
                                          "preload":"/tmp/mylum.so"})j"));
    EXPECT_EQ(j["clock"], Json::parse(R"j({"core_per_tick_start":1.412,"core_per_tick_end":null,"cycle_counter":"perf_event",
                                          "counter_core_per_tick_start":1.4,"counter_core_per_tick_end":null})j"));
    EXPECT_EQ(j["tests"], Json::array());
    EXPECT_EQ(psSpoilingConditions(psRunHost(), run.build).str(), "-- Figures of this run may be off: a debug build (Debug)\n");
}

TEST(RunRecordLine, PathBesideTheTable)
{
    const struct { const char* table, *record; } cases[] = {
        {"/out/perfdc.csv", "/out/perfdc.runs.jsonl"},
        {"result.tab", "result.tab.runs.jsonl"},
        {"/tmp/x", "/tmp/x.runs.jsonl"},
        {".csv", ".csv.runs.jsonl"},
    };
    for (const auto& c : cases) EXPECT_EQ(psRunRecordPath(c.table).str(), c.record);
}

}  // namespace
