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

Captured runProgram(const std::vector<std::string>& args, const std::string& cwd) {
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
        execArgs(args);
    }
    Captured c;
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) c.exitCode = WEXITSTATUS(status);
    c.out = slurp(outFile);
    c.err = slurp(errFile);
    return c;
}
