// The run record beside the performance table: one line per run (-r starts afresh,
// -R appends), its tests in the order of the table, a folder that cannot hold it,
// and a run beside busy processes on the other CPUs, warned about on a terminal.
#include "runner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;

const std::vector<std::string> kQuickRun = {"-B", "-mp_dcchecksum_ia", "-dMethod=Manual", "-dNumLoops=2",
                                            "-dCodeLength=16384"};

std::vector<std::string> with(std::vector<std::string> args, const std::string& key)
{
    args.push_back(key);
    return args;
}

std::vector<Json> records(const Sandbox& box, const std::string& name)
{
    std::vector<Json> out;
    for (const std::string& line : splitLines(box.read(name))) out.push_back(Json::parse(line));
    return out;
}

// Function names of the table's result rows, each once, in order.
std::vector<std::string> tableFunctions(const std::string& table)
{
    std::vector<std::string> out;
    for (const std::string& line : splitLines(table))
        if (line.rfind("lums", 0) == 0 && (out.empty() || out.back() != cells(line)[0])) out.push_back(cells(line)[0]);
    return out;
}

TEST(RunRecord, FreshThenAppendedBesideTheTable)
{
    Sandbox box;
    ASSERT_EQ(box.run(with(kQuickRun, "-rsuite")).exitCode, 0);
    ASSERT_EQ(records(box, "suite.runs.jsonl").size(), 1u);
    RunResult second = box.run(with(kQuickRun, "-Rsuite"));
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_EQ(second.count("run record"), 0) << second.output;

    std::vector<Json> lines = records(box, "suite.runs.jsonl");
    ASSERT_EQ(lines.size(), 2u);
    // (The record's layout, every host fact with its value or reason: the unit tests on
    // simulated hosts.)
    for (const Json& r : lines) {
        EXPECT_TRUE(r["host"]["tsc_hz"].is_number());  // measured over the run where no leaf states it
        EXPECT_TRUE(r["clock"]["core_per_tick_start"].is_number());
        EXPECT_TRUE(r["build"].contains("preload"));
        std::vector<std::string> ran;
        for (const Json& t : r["tests"]) ran.push_back(t["function"]);
        EXPECT_EQ(ran, std::vector<std::string>({"lumsAdler32_8u", "lumsCRC32_8u", "lumsCRC32C_8u", "lumsCRC32_BZ2_8u"}));
    }
    EXPECT_EQ(lines[1]["command"].back(), "-Rsuite");
    // The table holds both runs' rows, in the order the records name them.
    std::vector<std::string> rows = tableFunctions(box.read("suite.csv"));
    ASSERT_EQ(rows.size(), 8u);
    EXPECT_EQ(std::vector<std::string>(rows.begin(), rows.begin() + 4), std::vector<std::string>(rows.begin() + 4, rows.end()));
}

TEST(RunRecord, AFolderThatCannotHoldItLeavesTheTableWhole)
{
    Sandbox box;
    ASSERT_EQ(mkdir(box.path("perfdc.runs.jsonl").c_str(), 0755), 0);  // the record's name is taken by a folder
    RunResult r = box.run(with(kQuickRun, "-r"));
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.count("-- Can't write the run record ./perfdc.runs.jsonl: Is a directory"), 1) << r.output;
    EXPECT_EQ(tableFunctions(box.read("perfdc.csv")).size(), 4u);
}

// Busy loops on every CPU this process may use but the first, which perfdc gets.
class BusyNeighbours {
public:
    BusyNeighbours()
    {
        cpu_set_t all;
        if (sched_getaffinity(0, sizeof all, &all) != 0) return;
        m_saved = all;
        for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
            if (!CPU_ISSET(cpu, &all)) continue;
            if (m_first < 0) {
                m_first = cpu;
                continue;
            }
            pid_t pid = fork();
            if (pid == 0) {
                cpu_set_t one;
                CPU_ZERO(&one);
                CPU_SET(cpu, &one);
                sched_setaffinity(0, sizeof one, &one);
                for (volatile unsigned long n = 0;; n = n + 1) {
                }
            }
            if (pid > 0) m_children.push_back(pid);
        }
        cpu_set_t first;
        CPU_ZERO(&first);
        CPU_SET(m_first, &first);
        sched_setaffinity(0, sizeof first, &first);  // inherited by the program run next
    }
    ~BusyNeighbours()
    {
        for (pid_t pid : m_children) kill(pid, SIGKILL);
        for (pid_t pid : m_children) waitpid(pid, nullptr, 0);
        if (m_first >= 0) sched_setaffinity(0, sizeof m_saved, &m_saved);
    }
    int count() const { return static_cast<int>(m_children.size()); }

private:
    cpu_set_t m_saved;
    int m_first = -1;
    std::vector<pid_t> m_children;
};

TEST(RunRecord, BusyOtherCpusMarkTheTestsAndWarnOnATerminal)
{
    Sandbox box;
    BusyNeighbours busy;
    if (busy.count() == 0) GTEST_SKIP() << "one usable CPU: no other CPU to keep busy";
    if (access("/usr/bin/script", X_OK) != 0) GTEST_SKIP() << "no /usr/bin/script to give the run a terminal";
    // script(1) runs the program on a terminal of its own, so the warnings show.
    RunOptions onTerminal;
    onTerminal.program = "/usr/bin/script";
    RunResult r = box.run({"-qec", "./perfdc -B -f=lumsCRC32_8u -dMethod=Manual -dNumLoops=2 -r", "/dev/null"}, onTerminal);
    EXPECT_EQ(r.exitCode, 0);
    std::vector<Json> lines = records(box, "perfdc.runs.jsonl");
    ASSERT_EQ(lines.size(), 1u);
    const Json& test = lines[0]["tests"].at(0);
    EXPECT_EQ(test["function"], "lumsCRC32_8u");
    EXPECT_GT(test["other_cpus_busy"].get<double>(), 0.5) << test;
    EXPECT_TRUE(test["disturbed"].get<bool>()) << test;
    EXPECT_EQ(r.count("-- lumsCRC32_8u: other CPUs busy "), 1) << r.output;
    EXPECT_EQ(r.count("of the time; figures may be high"), 1) << r.output;
    // Neither the warning nor the record reaches the table.
    EXPECT_EQ(box.read("perfdc.csv").find("busy"), std::string::npos);
}

}  // namespace
