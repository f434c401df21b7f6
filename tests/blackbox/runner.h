// Black-box test helper: a fresh temporary folder with a copy of the built perfdc
// in it (so that default output files land in that folder), runs of the program
// with given standard input, and access to the files it leaves behind; and runs of
// any program with its standard output and error kept apart.
#ifndef TESTS_BLACKBOX_RUNNER_H
#define TESTS_BLACKBOX_RUNNER_H

#include <string>
#include <vector>

// What one run of the program gave.
struct RunResult {
    int exitCode = -1;   // -1 when the program did not exit normally
    std::string output;  // standard output and standard error, interleaved

    // Whether the output holds this exact line (without its line end).
    bool hasLine(const std::string& line) const;
    // Number of times the text occurs in the output.
    int count(const std::string& text) const;
};

// How the program is started.
struct RunOptions {
    std::string program = "./perfdc";  // argv[0], relative to the working folder
    std::string cwd = ".";              // working folder, relative to the sandbox
    std::string searchDir;              // when set, put first in PATH (argv[0] without folder)
    std::string input;                  // all of standard input (empty: at its end at once)
};

class Sandbox {
public:
    // A copy of the built program goes to the relative path (folders created as needed);
    // an empty path leaves the folder empty.
    explicit Sandbox(const std::string& program = "perfdc");
    ~Sandbox();
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;

    RunResult run(const std::vector<std::string>& args, const RunOptions& options = RunOptions()) const;

    std::string path(const std::string& rel) const { return m_root + "/" + rel; }
    const std::string& root() const { return m_root; }
    std::string write(const std::string& rel, const std::string& content) const;  // returns the path
    std::string read(const std::string& rel) const;
    bool exists(const std::string& rel) const;
    // Names of the plain files directly in the folder, sorted.
    std::vector<std::string> files(const std::string& rel = ".") const;

private:
    std::string m_root;
};

// A temporary folder for the files of a test, without a program in it.
struct TempDir : Sandbox {
    TempDir() : Sandbox("") {}
};

struct Captured {
    int exitCode = -1;  // -1 when the program did not exit normally
    std::string out, err;
};
// Runs the program args[0] (found through PATH when it has no folder) with extra
// environment entries ("NAME=value"); standard input is empty.
Captured runProgram(const std::vector<std::string>& args, const std::string& cwd = ".",
                    const std::vector<std::string>& env = {});
// In a forked child: runs the program args[0] with args, or exits with 127.
[[noreturn]] void execArgs(const std::vector<std::string>& args);

// Lines of a text, without their line ends.
std::vector<std::string> splitLines(const std::string& text);
// Cells of a csv line.
std::vector<std::string> cells(const std::string& line);
// The result lines of a table, as cells: the lines after its "function,..." title.
std::vector<std::vector<std::string>> resultLines(const std::string& table);
// The keys with -B -f=none before them: a batch run that selects no test, so it is short.
std::vector<std::string> quick(std::vector<std::string> args);

#endif
