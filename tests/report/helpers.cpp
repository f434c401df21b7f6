#include "helpers.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

std::string runTitle(const std::string& start) {
    return "Computer,Test machine; 2 logical processors\nLibrary,lumdc AVX2 (l9); 9.0.0\nStart," + start +
           "\nTiming,Auto\nTest,all 5 tests\n"
           "function,Parm1,Parm2,Parm3,Parm4,Parm5,Parm6,Parm7,Parm8,Comment,Clocks,per,Time (usec),MFlops\n";
}

std::string row(const std::string& function, const std::string& parm, const std::string& clocks,
                const std::string& comment) {
    return function + "," + parm + ",-,-,-,-,-,-,-," + comment + "," + clocks + ",e,1.0,-\n";
}

report::Table tableOf(const std::string& text, const std::string& name) {
    std::istringstream in(text);
    return report::parseTable(in, name);
}

nlohmann::json recordOf(const std::string& start, const std::vector<std::pair<std::string, bool>>& tests) {
    nlohmann::json r = {
        {"start", start},
        {"command", {"perfdc", "-B"}},
        {"host", {{"cpu", "Test CPU"}, {"logical_cpus", 2}, {"hypervisor", nullptr}, {"tsc_hz", 2.5e9},
                  {"governor", "performance"}}},
        {"build", {{"compiler", "GCC 12"}, {"build_type", "Release"}, {"lum_path", "avx2"}, {"preload", nullptr}}},
        {"clock", {{"core_per_tick_start", 1.4}, {"core_per_tick_end", 1.6}, {"cycle_counter", "perf_event"}}},
        {"tests", nlohmann::json::array()}};
    for (const auto& [function, disturbed] : tests)
        r["tests"].push_back({{"function", function}, {"seconds", 1.0}, {"other_cpus_busy", disturbed ? 0.6 : 0.0},
                              {"steal", 0.0}, {"disturbed", disturbed}});
    return r;
}

report::Table recordedTableOf(const std::string& text, const std::vector<nlohmann::json>& record,
                              const std::string& name) {
    report::Table t = tableOf(text, name);
    std::string lines;
    for (const nlohmann::json& r : record) lines += r.dump() + "\n";
    std::istringstream in(lines);
    report::attachRecord(t, report::parseRecord(in, "t.runs.jsonl"), "t.runs.jsonl");
    return t;
}

TempDir::TempDir() {
    std::string pattern = std::string(::testing::TempDir()) + "perfdc_report_XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (!mkdtemp(buf.data())) throw std::runtime_error("cannot create a temporary folder");
    m_root = buf.data();
}

TempDir::~TempDir() {
    std::error_code ec;
    fs::remove_all(m_root, ec);
}

std::string TempDir::write(const std::string& rel, const std::string& content) const {
    std::ofstream(path(rel), std::ios::binary) << content;
    return path(rel);
}

std::string TempDir::read(const std::string& rel) const { return slurp(path(rel)); }

std::string slurp(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

void execArgs(const std::vector<std::string>& args) {
    std::vector<char*> argv;
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
}

Captured runProgram(const std::vector<std::string>& args, const std::string& cwd, const std::vector<std::string>& env) {
    TempDir io;
    const std::string outFile = io.path("out"), errFile = io.path("err");
    pid_t pid = fork();
    if (pid == 0) {
        int in = open("/dev/null", O_RDONLY);
        int out = open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        int err = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (in < 0 || out < 0 || err < 0 || chdir(cwd.c_str()) != 0) _exit(127);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        for (const std::string& e : env) putenv(const_cast<char*>(e.c_str()));
        execArgs(args);
    }
    Captured c;
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) c.exitCode = WEXITSTATUS(status);
    c.out = slurp(outFile);
    c.err = slurp(errFile);
    return c;
}
