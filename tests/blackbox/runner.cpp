#include "runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

bool RunResult::hasLine(const std::string& line) const {
    for (const std::string& l : splitLines(output))
        if (l == line) return true;
    return false;
}

int RunResult::count(const std::string& text) const {
    int n = 0;
    for (size_t pos = output.find(text); !text.empty() && pos != std::string::npos; pos = output.find(text, pos + 1))
        ++n;
    return n;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::vector<std::string> cells(const std::string& line) {
    std::vector<std::string> out;
    size_t from = 0;
    for (size_t comma; (comma = line.find(',', from)) != std::string::npos; from = comma + 1)
        out.push_back(line.substr(from, comma - from));
    out.push_back(line.substr(from));
    return out;
}

std::vector<std::vector<std::string>> resultLines(const std::string& table) {
    std::vector<std::vector<std::string>> out;
    bool seen = false;
    for (const std::string& line : splitLines(table)) {
        if (seen && !line.empty()) out.push_back(cells(line));
        if (line.rfind("function,", 0) == 0) seen = true;
    }
    return out;
}

std::vector<std::string> quick(std::vector<std::string> args) {
    args.insert(args.begin(), {"-B", "-f=none"});
    return args;
}

Sandbox::Sandbox(const std::string& program) {
    std::string pattern = std::string(::testing::TempDir()) + "perfdc_bb_XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    const char* dir = mkdtemp(buf.data());
    if (!dir) throw std::runtime_error("cannot create a temporary folder");
    m_root = dir;
    fs::path target(path(program));
    fs::create_directories(target.parent_path());
    fs::copy_file(PERFDC_BIN, target, fs::copy_options::overwrite_existing);
    fs::permissions(target, fs::perms::owner_all, fs::perm_options::add);
}

Sandbox::~Sandbox() { std::error_code ec; fs::remove_all(m_root, ec); }

void Sandbox::write(const std::string& rel, const std::string& content) const {
    fs::path p(path(rel));
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << content;
}

std::string Sandbox::read(const std::string& rel) const {
    std::ifstream in(path(rel), std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

bool Sandbox::exists(const std::string& rel) const { return fs::exists(path(rel)); }

std::vector<std::string> Sandbox::files(const std::string& rel) const {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(path(rel)))
        if (e.is_regular_file()) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

RunResult Sandbox::run(const std::vector<std::string>& args, const RunOptions& options) const {
    RunResult result;
    int pipeFds[2], inFds[2];
    if (pipe(pipeFds) != 0 || pipe(inFds) != 0) return result;
    // The answers fit in the pipe's buffer: written before the program starts.
    if (::write(inFds[1], options.input.data(), options.input.size()) != static_cast<ssize_t>(options.input.size()))
        return result;
    close(inFds[1]);
    const std::string cwd = path(options.cwd);
    pid_t pid = fork();
    if (pid == 0) {
        dup2(inFds[0], STDIN_FILENO);
        close(inFds[0]);
        dup2(pipeFds[1], STDOUT_FILENO);
        dup2(pipeFds[1], STDERR_FILENO);
        close(pipeFds[0]);
        close(pipeFds[1]);
        if (chdir(cwd.c_str()) != 0) _exit(126);
        if (!options.searchDir.empty()) {
            const char* old = getenv("PATH");
            std::string newPath = path(options.searchDir) + (old ? std::string(":") + old : std::string());
            setenv("PATH", newPath.c_str(), 1);
        }
        std::vector<std::string> words = {options.program};
        words.insert(words.end(), args.begin(), args.end());
        std::vector<char*> argv;
        for (std::string& w : words) argv.push_back(&w[0]);
        argv.push_back(nullptr);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    close(pipeFds[1]);
    close(inFds[0]);
    char buf[4096];
    for (ssize_t n; (n = ::read(pipeFds[0], buf, sizeof buf)) > 0;) result.output.append(buf, static_cast<size_t>(n));
    close(pipeFds[0]);
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    return result;
}
