// Reading run records and matching them to the runs of a table: what a record
// says is taken, what it does not say or says wrongly counts as unknown, and every
// line or run left unmatched is named.
#include "helpers.h"
#include "record.h"

#include <gtest/gtest.h>

using report::RunRecord;

namespace {

report::RecordFile parsed(const std::string& text) {
    std::istringstream in(text);
    return report::parseRecord(in, "t.runs.jsonl");
}

TEST(RecordRead, FactsTakenAndBadLinesNamed) {
    nlohmann::json full = recordOf("first", {{"lumsCRC32_8u", false}, {"lumsAdler32_8u", true}});
    full["build"]["preload"] = "/opt/my/libcrc.so";
    nlohmann::json odd = recordOf("second", {});
    odd["host"]["cpu"] = 7;              // facts of the wrong kind count as unknown
    odd["host"]["tsc_hz"] = "fast";
    odd["clock"] = {{"core_per_tick_start", nullptr}, {"core_per_tick_end", 1.7}};
    odd["tests"] = {{{"function", "lumsCRC32_8u"}, {"disturbed", "yes"}}, {{"seconds", 1}}};
    const std::string cut = full.dump().substr(0, 80);
    report::RecordFile f = parsed(full.dump() + "\n\n" + cut + "\n" + odd.dump() + "\n{\"command\":[]}\n[1,2]\n");

    ASSERT_EQ(f.runs.size(), 2u);
    const RunRecord& a = f.runs[0];
    EXPECT_EQ(a.name, "t.runs.jsonl:1");
    EXPECT_EQ(a.cpu, "Test CPU");
    EXPECT_EQ(a.executable, "perfdc");
    EXPECT_DOUBLE_EQ(a.tscHz, 2.5e9);
    EXPECT_EQ(a.preload, "/opt/my/libcrc.so");
    EXPECT_EQ(a.hypervisor, "");  // null
    EXPECT_DOUBLE_EQ(a.corePerTick(), 1.5);  // mean of start and end
    ASSERT_NE(a.test("lumsAdler32_8u"), nullptr);
    EXPECT_TRUE(a.test("lumsAdler32_8u")->disturbed);
    EXPECT_FALSE(a.test("lumsCRC32_8u")->disturbed);
    EXPECT_EQ(a.test("lumsInflate_8u"), nullptr);

    const RunRecord& b = f.runs[1];
    EXPECT_EQ(b.cpu, "");
    EXPECT_EQ(b.tscHz, 0);
    EXPECT_DOUBLE_EQ(b.corePerTick(), 1.7);  // only the end is known
    ASSERT_EQ(b.tests.size(), 1u);           // the test without a function name is left out
    EXPECT_FALSE(b.tests[0].disturbed);

    ASSERT_EQ(f.notes.size(), 3u);
    EXPECT_NE(f.notes[0].find("t.runs.jsonl:3: not a complete JSON object"), std::string::npos) << f.notes[0];
    EXPECT_NE(f.notes[1].find("t.runs.jsonl:5: no \"start\""), std::string::npos) << f.notes[1];
    EXPECT_NE(f.notes[2].find("t.runs.jsonl:6: not a complete JSON object"), std::string::npos) << f.notes[2];
}

TEST(RecordRead, RunsMatchedByStartAndDisturbedRowsMarked) {
    // Runs A, B, C in the table; the record has A, C and a line for a run D the
    // table no longer holds.
    const std::string text = runTitle("A") + row("lumsCRC32_8u", "1", "0.5") + row("lumsAdler32_8u", "1", "0.2") +
                             runTitle("B") + row("lumsCRC32_8u", "1", "0.6") + runTitle("C") +
                             row("lumsCRC32_8u", "1", "0.7");
    report::Table t = recordedTableOf(
        text, {recordOf("A", {{"lumsCRC32_8u", true}, {"lumsAdler32_8u", false}}), recordOf("D", {}),
               recordOf("C", {{"lumsCRC32_8u", false}})});
    ASSERT_EQ(t.runs.size(), 3u);
    EXPECT_TRUE(t.runs[0].record && t.runs[2].record);
    EXPECT_FALSE(t.runs[1].record);
    ASSERT_EQ(t.rows.size(), 4u);
    EXPECT_TRUE(t.rows[0].disturbed);
    EXPECT_FALSE(t.rows[1].disturbed);
    EXPECT_DOUBLE_EQ(t.rows[0].corePerTick, 1.5);
    EXPECT_EQ(t.rows[2].corePerTick, 0);  // run B has no record line
    ASSERT_EQ(t.notes.size(), 2u);
    EXPECT_NE(t.notes[0].find("t.csv: run 2 (Start B) has no line in t.runs.jsonl"), std::string::npos) << t.notes[0];
    EXPECT_NE(t.notes[1].find("t.runs.jsonl:2: start 'D' matches no run of t.csv"), std::string::npos) << t.notes[1];
}

TEST(RecordRead, FoundBesideTheTableOrMissingSaidSo) {
    TempDir dir;
    const std::string table = dir.write("x.csv", runTitle("A") + row("lumsCRC32_8u", "1", "0.5"));
    EXPECT_EQ(report::recordPathFor(table), dir.path("x.runs.jsonl"));
    EXPECT_EQ(report::recordPathFor("a.b/x.tab"), "a.b/x.tab.runs.jsonl");
    report::Table bare = report::loadTable(table);
    ASSERT_EQ(bare.notes.size(), 1u);
    EXPECT_NE(bare.notes[0].find("no run record " + dir.path("x.runs.jsonl")), std::string::npos) << bare.notes[0];
    dir.write("x.runs.jsonl", recordOf("A", {{"lumsCRC32_8u", true}}).dump() + "\n");
    report::Table recorded = report::loadTable(table);
    EXPECT_TRUE(recorded.notes.empty());
    EXPECT_TRUE(recorded.rows[0].disturbed);
}

}  // namespace
