// File paths and default names: where the files of the keys land, relative to the
// program file's directory, the -l/-p directories and the -n name.
#include "paths.h"

#include <gtest/gtest.h>

namespace {

class Paths : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_saved[0] = psPaths::m_exePath;
        m_saved[1] = psPaths::m_defName;
        m_saved[2] = psPaths::m_inDir;
        m_saved[3] = psPaths::m_outDir;
    }
    void TearDown() override
    {
        psPaths::m_exePath = m_saved[0];
        psPaths::m_defName = m_saved[1];
        psPaths::m_inDir = m_saved[2];
        psPaths::m_outDir = m_saved[3];
    }
    // The session's order: program path, then directories and name from the keys.
    static void start(const char* exe, const char* inDir, const char* outDir, const char* name)
    {
        psPaths::m_exePath = exe;
        psPaths::setInDir(inDir);
        psPaths::setOutDir(outDir);
        psPaths::setDefName(name);
    }

private:
    psString m_saved[4];
};

TEST_F(Paths, AbsolutePaths)
{
    const struct {
        const char* path;
        bool absolute;
    } cases[] = {{"/tmp", true}, {"\\share", true}, {"C:x", true}, {"c:", true},
                 {"rel/x", false}, {"", false},     {"x", false},   {"./a", false}};
    for (const auto& c : cases) EXPECT_EQ(isAbsolutePath(c.path), c.absolute) << c.path;
}

TEST_F(Paths, DirectoriesAreRelativeToTheProgram)
{
    const struct {
        const char* exe;
        const char* dir;
        const char* expected;
    } cases[] = {
        {"./bin/perf", "", "./bin/"},
        {"perf", "", ""},
        {"./bin/perf", "out", "./bin/out/"},
        {"./bin/perf", "out/", "./bin/out/"},
        {"./bin/perf", "out\\", "./bin/out\\"},
        {"./bin/perf", "/tmp", "/tmp/"},
        {"perf", "out", "out/"},
    };
    for (const auto& c : cases) {
        psPaths::m_exePath = c.exe;
        EXPECT_EQ(psPaths::genDirName(c.dir).str(), c.expected) << c.exe << " + " << c.dir;
    }
}

// The names of the output keys are checked end to end by the black-box tests;
// here the cases a run there cannot reach.
TEST_F(Paths, OutputFileNames)
{
    const struct {
        const char* exe;
        const char* defName;
        const char* ext;
        const char* expected;
    } cases[] = {
        {"./bin/perf.exe", "", ".ini", "./bin/perf.ini"},
        {"./bin/perf", "a.b", ".txt", "./bin/a.b.txt"},
        {"perf", "", ".txt", "perf.txt"},
    };
    for (const auto& c : cases) {
        start(c.exe, "", "", c.defName);
        EXPECT_EQ(psPaths::genOutPath("", c.ext).str(), c.expected) << c.exe << " " << c.defName;
    }
}

TEST_F(Paths, InputAndOutputDirectoriesAreSeparate)
{
    start("/opt/ps/perf", "data", "/var/out", "");
    EXPECT_EQ(psPaths::genInPath("", ".ini").str(), "/opt/ps/data/perf.ini");
    EXPECT_EQ(psPaths::genOutPath("", ".txt").str(), "/var/out/perf.txt");
}

TEST_F(Paths, FilesOpenedByName)
{
    start("/opt/ps/perf", "/data/", "", "");
    const struct {
        const char* path;
        const char* expected;
    } cases[] = {
        {"/abs/file", "/abs/file"},
        {"book1", "/data/book1"},
        {"/data/book1", "/data/book1"},
    };
    for (const auto& c : cases) EXPECT_EQ(psPaths::getInPath(c.path).str(), c.expected) << c.path;
    EXPECT_EQ(getDirPath("book1", "").str(), "/opt/ps/book1");
    EXPECT_EQ(psPaths::getOutPath("x.csv").str(), "/opt/ps/x.csv");
}

}  // namespace
