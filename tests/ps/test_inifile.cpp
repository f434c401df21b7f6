// The ini file: reading with comments, sections, merges and bare names; writing
// back without overwriting.
#include "inifile.h"

#include "helpers.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <sys/stat.h>

namespace {

class IniFileTest : public ::testing::Test {
protected:
    void SetUp() override { path = psTestTempPath("inifile_test.ini"); std::remove(path.c_str()); }
    void TearDown() override { std::remove(path.c_str()); }

    void put(const std::string& text) const { psTestWriteFile(path, text); }
    std::string content() const { return psTestReadFile(path); }

    std::string path;
};

}  // namespace

TEST_F(IniFileTest, ReadsLinesSectionsAndComments) {
    put("len=5\n"
        "// a whole-line comment\n"
        "[ Perf System ]\n"
        "len = 64 // bytes\n"
        "len=2\n"
        "  \t\n"
        "flag\n"
        "[abc\n"
        "path = a//b\n"
        "[F]\r\n"
        "n=1\r\n"
        "[Perf System]\n"
        "later = yes\n");
    psIniFile ini;
    ASSERT_TRUE(ini.open(path.c_str(), false));
    struct Case { const char* section; const char* name; const char* value; bool exists; };
    const Case cases[] = {
        {"Perf System", "len", "64", true},  // first occurrence wins; comment cut
        {"Perf System", "later", "yes", true},  // second part of the section merged in
        {"Perf System", "flag", "", true},      // bare name: present, no value
        {"Perf System", "[abc", "", true},      // no closing bracket: a bare name
        {"Perf System", "path", "a", true},     // the comment begins at the first //
        {"F", "n", "1", true},                  // carriage returns dropped
        {"Perf System", "n", "", false},
        {"Nowhere", "len", "", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.section) + "/" + c.name);
        EXPECT_EQ(c.value, std::string(ini.read(c.section, c.name)));
        EXPECT_EQ(c.exists, ini.valueExist(c.section, c.name));
    }
    ASSERT_EQ(2, ini.sections().count());
    EXPECT_EQ("Perf System", std::string(ini.sections().front().name)) << "values before any section are dropped";
    EXPECT_EQ(5, ini.getSectionValues("Perf System")->count());
    EXPECT_FALSE(ini.isModified());
}

TEST_F(IniFileTest, WritesNewEntriesOnlyAndRewritesOnlyWhenModified) {
    const std::string original = "[Perf System]\nlen = 64 // hand-written\n";
    put(original);
    {
        psIniFile ini;
        ASSERT_TRUE(ini.open(path.c_str(), true));
        ini.write("Perf System", "len", "128", "len = 128");
        ini.write("Perf System");
        EXPECT_FALSE(ini.isModified());
        EXPECT_EQ("64", std::string(ini.read("Perf System", "len")));
    }
    EXPECT_EQ(original, content()) << "an unmodified file is left as it was";

    {
        psIniFile ini;
        ASSERT_TRUE(ini.open(path.c_str(), true));
        ini.write("Perf System", "Method", "Auto", "Method = Auto");
        ini.write("crc32", "bare");
        ini.write("crc32", "", "x", "ignored");
        ini.write("empty");
    }
    EXPECT_EQ("\n[Perf System]\nlen=64\nMethod=Auto\t// Method = Auto\n"
              "\n[crc32]\nbare\n"
              "\n[empty]\n",
              content());

    {
        psIniFile ini;
        ASSERT_TRUE(ini.open(path.c_str(), true));
        ini.deleteKey("Perf System", "len");
        ini.eraseSection("crc32");
        ini.deleteKey("none", "x");
    }
    EXPECT_EQ("\n[Perf System]\nMethod=Auto\n\n[empty]\n", content());
}

TEST_F(IniFileTest, MissingOrUnwritableFiles) {
    Capture out;
    g_ostrm.setOutLevel(ERR);
    psIniFile ini;
    EXPECT_FALSE(ini.open(path.c_str(), false));
    EXPECT_EQ(out.text(), "-- Can't open file " + path + " to read: No such file or directory\n");
    EXPECT_TRUE(ini.open(path.c_str(), true)) << "-I creates the file";
    EXPECT_TRUE(std::ifstream(path).good());
    const std::string noDir = psTestTempPath("no_such_dir/x.ini");
    EXPECT_FALSE(ini.open(noDir.c_str(), true));
    EXPECT_NE(out.text().find("-- Can't open file " + noDir + " to write: No such file or directory\n"), std::string::npos);

    // The file turned into a folder before the values are written back: said, not lost silently.
    ASSERT_TRUE(ini.open(path.c_str(), true));
    ini.write("Perf System", "Method", "Auto", "");
    std::remove(path.c_str());
    ASSERT_EQ(mkdir(path.c_str(), 0755), 0);
    ini.close();
    rmdir(path.c_str());
    EXPECT_NE(out.text().find("-- Can't open file " + path + " to write: Is a directory\n"), std::string::npos) << out.text();
}
