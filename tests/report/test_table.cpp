// Reading perfdc tables: the layouts perfdc writes, and every kind of input that
// must be refused with a message naming the file and line.
#include "helpers.h"

#include <gtest/gtest.h>

using report::TableError;

namespace {

struct BadTable {
    const char* what;
    std::string text;
    const char* message;  // part of the error text
};

const std::string kHead = "function,Parm1,Parm2,Parm3,Parm4,Parm5,Parm6,Parm7,Parm8,Comment,Clocks,per,Time (usec),MFlops\n";

TEST(TableRead, RefusesWhatIsNotAUsableTable) {
    const BadTable cases[] = {
        {"empty file", "", "empty file"},
        {"other csv", "name,age,city\nann,3,x\n", "t.csv:1: not a perfdc performance table"},
        {"prose", "hello world\n", "t.csv:1: not a perfdc performance table"},
        {"binary", std::string("Computer,x\n\x7f" "ELF\0\0", 17), "t.csv:2: binary data"},
        {"title only", "Computer,x\nStart,y\n", "no header line"},
        {"header without Clocks", "Computer,x\nfunction,Parm1,Comment,per\n", "'Clocks'"},
        {"header only", runTitle(), "no result lines"},
        {"ragged line", runTitle() + "lumsCRC32_8u,16384,-,-,-,0.1,e\n", "t.csv:7: 7 cells where the header line has 14"},
        {"run stopped mid-line", runTitle() + row("lumsCRC32_8u", "16384", "0.1") + "lumsCRC32_8u,32768,-,-",
         "t.csv:8: 4 cells"},
        {"last line cut in a cell", runTitle() + "lumsCRC32_8u,16384,-,-,-,-,-,-,-,nLps=5,0.0,e,1.0,-", "no line end"},
        {"clocks not a number", runTitle() + row("lumsCRC32_8u", "16384", "fast"), "Clocks cell 'fast'"},
        {"negative clocks", runTitle() + row("lumsCRC32_8u", "16384", "-0.5"), "Clocks cell '-0.5'"},
        {"unbalanced quote", runTitle() + row("lumsInflate_8u", " \"book1", "3.2"), "t.csv:7: badly quoted cell"},
        {"text after quote", runTitle() + row("lumsInflate_8u", " \"book1\"x", "3.2"), "badly quoted cell"},
        {"no function", runTitle() + row("-", "16384", "0.1"), "without a function name"},
        {"only deprecated lines", runTitle() + row("lumsCRC32_8u", "old", "0.1", "deprecated"), "no result lines"},
        {"runs of different widths", runTitle() + row("f", "1", "0.1") + "Computer,y\nfunction,Parm1,Comment,Clocks,per\n",
         "1 parameter columns"},
    };
    for (const BadTable& c : cases) {
        try {
            tableOf(c.text);
            ADD_FAILURE() << c.what << ": accepted";
        } catch (const TableError& e) {
            EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << c.what << ": " << e.what();
        }
    }
}

TEST(TableRead, RunsAppendedWithTheirTitles) {
    std::string text = runTitle("first") + row("lumsCRC32_8u", "16384", "0.5") + row("lumsCRC32_8u", "32768", "0.25") +
                       runTitle("second") + row("lumsCRC32_8u", "16384", "0.75");
    report::Table t = tableOf(text);
    ASSERT_EQ(t.runs.size(), 2u);
    EXPECT_EQ(t.runs[0].facts.size(), 5u);
    EXPECT_EQ(t.fact("Start"), "first");
    EXPECT_EQ(t.runs[1].line, 9);
    ASSERT_EQ(t.rows.size(), 3u);
    EXPECT_EQ(t.rows[1].run, 0);
    EXPECT_EQ(t.rows[2].run, 1);
    EXPECT_EQ(t.rows[2].line, 15);
    EXPECT_DOUBLE_EQ(t.rows[1].clocks, 0.25);
    EXPECT_EQ(t.rows[0].unit, "e");
    EXPECT_EQ(t.rows[0].parms.size(), 8u);
}

TEST(TableRead, QuotedCellsNameLinesDeprecatedLinesAndLineEnds) {
    std::string text = runTitle() + row("lumsInflate_8u", "FileName", "-", "parmNames") +
                       row("lumsInflate_8u", " \"book1\"", "3.5") + row("lumsInflate_8u", "old", "9", "deprecated") +
                       row("lumsInflate_8u", "paper1", "-");
    // The same table with DOS line ends reads alike.
    std::string dos;
    for (char c : text) dos += c == '\n' ? std::string("\r\n") : std::string(1, c);
    for (const std::string& t : {text, dos}) {
        report::Table table = tableOf(t);
        ASSERT_EQ(table.rows.size(), 1u);
        EXPECT_EQ(table.rows[0].parms[0], "book1");
        ASSERT_NE(table.namesOf("lumsInflate_8u"), nullptr);
        EXPECT_EQ(table.namesOf("lumsInflate_8u")->at(0), "FileName");
        ASSERT_EQ(table.notes.size(), 2u);
        EXPECT_NE(table.notes[0].find("t.csv:9: deprecated result line"), std::string::npos) << table.notes[0];
        EXPECT_NE(table.notes[1].find("no clocks figure"), std::string::npos) << table.notes[1];
    }
    EXPECT_EQ(report::unquoteCell("plain", "x"), "plain");
}

}  // namespace
