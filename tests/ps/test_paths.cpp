// File paths and default names: where files land relative to the program's folder,
// the -l/-p folders and the -n name. The names the output keys give are checked end
// to end by the black-box tests; here the cases a run there cannot reach.
#include "paths.h"

#include <gtest/gtest.h>

namespace {

// Sets the paths as the session does: the program path, then the keys' folders and name.
class Paths : public ::testing::Test {
protected:
    static void start(const char* exe, const char* inDir = "", const char* outDir = "", const char* name = "") {
        psPaths::m_exePath = exe;
        psPaths::setInDir(inDir);
        psPaths::setOutDir(outDir);
        psPaths::setDefName(name);
    }
    void TearDown() override {
        psPaths::m_exePath = saved[0];
        psPaths::m_defName = saved[1];
        psPaths::m_inDir = saved[2];
        psPaths::m_outDir = saved[3];
    }
    const psString saved[4] = {psPaths::m_exePath, psPaths::m_defName, psPaths::m_inDir, psPaths::m_outDir};
};

TEST_F(Paths, AbsolutePathsAndFolders) {
    const struct { const char* path; bool absolute; } paths[] = {
        {"/tmp", true}, {"\\share", true}, {"C:x", true}, {"c:", true},
        {"rel/x", false}, {"", false}, {"x", false}, {"./a", false}};
    for (const auto& c : paths) EXPECT_EQ(isAbsolutePath(c.path), c.absolute) << c.path;

    const struct { const char* exe; const char* dir; const char* expected; } folders[] = {
        {"./bin/perf", "", "./bin/"},          {"perf", "", ""},
        {"./bin/perf", "out", "./bin/out/"},   {"./bin/perf", "out/", "./bin/out/"},
        {"./bin/perf", "out\\", "./bin/out\\"}, {"./bin/perf", "/tmp", "/tmp/"},
        {"perf", "out", "out/"},
    };
    for (const auto& c : folders) {
        psPaths::m_exePath = c.exe;
        EXPECT_EQ(psPaths::genDirName(c.dir).str(), c.expected) << c.exe << " + " << c.dir;
    }
}

TEST_F(Paths, FileNames) {
    const struct { const char* exe; const char* defName; const char* ext; const char* expected; } names[] = {
        {"./bin/perf.exe", "", ".ini", "./bin/perf.ini"},
        {"./bin/perf", "a.b", ".txt", "./bin/a.b.txt"},
        {"perf", "", ".txt", "perf.txt"},
    };
    for (const auto& c : names) {
        start(c.exe, "", "", c.defName);
        EXPECT_EQ(psPaths::genOutPath("", c.ext).str(), c.expected) << c.exe << " " << c.defName;
    }
    // -p and -l are separate folders.
    start("/opt/ps/perf", "data", "/var/out");
    EXPECT_EQ(psPaths::genInPath("", ".ini").str(), "/opt/ps/data/perf.ini");
    EXPECT_EQ(psPaths::genOutPath("", ".txt").str(), "/var/out/perf.txt");
    // Files opened by name: data files in the -p folder unless named in full.
    start("/opt/ps/perf", "/data/");
    for (const char* path : {"/abs/file", "book1", "/data/book1"})
        EXPECT_EQ(psPaths::getInPath(path).str(), path[0] == '/' ? path : std::string("/data/") + path) << path;
    EXPECT_EQ(getDirPath("book1", "").str(), "/opt/ps/book1");
    EXPECT_EQ(psPaths::getOutPath("x.csv").str(), "/opt/ps/x.csv");
}

}  // namespace
