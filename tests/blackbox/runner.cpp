#include "runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <poll.h>
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
    if (program.empty()) return;
    fs::path target(path(program));
    fs::create_directories(target.parent_path());
    fs::copy_file(PERFDC_BIN, target, fs::copy_options::overwrite_existing);
    fs::permissions(target, fs::perms::owner_all, fs::perm_options::add);
}

Sandbox::~Sandbox() { std::error_code ec; fs::remove_all(m_root, ec); }

std::string Sandbox::write(const std::string& rel, const std::string& content) const {
    fs::path p(path(rel));
    fs::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << content;
    return p.string();
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

void execArgs(const std::vector<std::string>& args) {
    std::vector<char*> argv;
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
}

namespace {

// Runs the program in the folder with the given standard input (it fits in the pipe's
// buffer, so it is written before the program starts); standard error goes with
// standard output when `merge` is set.
Captured spawn(const std::vector<std::string>& args, const std::string& cwd, const std::vector<std::string>& env,
               const std::string& input, bool merge) {
    Captured c;
    int in[2], out[2], err[2];
    if (pipe(in) != 0 || pipe(out) != 0 || pipe(err) != 0) return c;
    if (::write(in[1], input.data(), input.size()) != static_cast<ssize_t>(input.size())) return c;
    close(in[1]);
    pid_t pid = fork();
    if (pid == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(merge ? out[1] : err[1], STDERR_FILENO);
        for (int fd : {in[0], out[0], out[1], err[0], err[1]}) close(fd);
        if (chdir(cwd.c_str()) != 0) _exit(126);
        for (const std::string& e : env) putenv(const_cast<char*>(e.c_str()));
        execArgs(args);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    std::string* sinks[2] = {&c.out, &c.err};
    for (int open = 2; open > 0 && poll(fds, 2, -1) > 0;) {
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            char buf[4096];
            const ssize_t n = ::read(fds[i].fd, buf, sizeof buf);
            if (n > 0) {
                sinks[i]->append(buf, static_cast<size_t>(n));
            } else {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) c.exitCode = WEXITSTATUS(status);
    return c;
}

}  // namespace

Captured runProgram(const std::vector<std::string>& args, const std::string& cwd, const std::vector<std::string>& env) {
    return spawn(args, cwd, env, "", false);
}

RunResult Sandbox::run(const std::vector<std::string>& args, const RunOptions& options) const {
    std::vector<std::string> words = {options.program};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<std::string> env;
    if (!options.searchDir.empty()) {
        const char* old = getenv("PATH");
        env.push_back("PATH=" + path(options.searchDir) + (old ? std::string(":") + old : std::string()));
    }
    const Captured c = spawn(words, path(options.cwd), env, options.input, true);
    RunResult result;
    result.exitCode = c.exitCode;
    result.output = c.out;
    return result;
}
