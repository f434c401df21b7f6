// The ini file: reading with comments, sections, merges and bare names; writing
// back without overwriting.
#include "inifile.h"

#include "helpers.h"

#include <gtest/gtest.h>

#include <cstdio>
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
    // (An unmodified file is left as it was: the black-box ini tests.)
    put("[Perf System]\nlen = 64 // hand-written\n");
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

// The file turned into a folder before the values are written back: said, not lost
// silently. (Creating the file with -I, a missing file to read and a folder that does not
// exist are seen in the black-box ini and open-error tests.)
TEST_F(IniFileTest, AFolderInTheFilesPlaceAtWriteBackIsReported) {
    Capture out;
    g_ostrm.setOutLevel(ERR);
    psIniFile ini;
    ASSERT_TRUE(ini.open(path.c_str(), true));
    ini.write("Perf System", "Method", "Auto", "");
    std::remove(path.c_str());
    ASSERT_EQ(mkdir(path.c_str(), 0755), 0);
    ini.close();
    rmdir(path.c_str());
    EXPECT_NE(out.text().find("-- Can't open file " + path + " to write: Is a directory\n"), std::string::npos) << out.text();
}
