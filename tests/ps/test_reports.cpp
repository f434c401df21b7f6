// Report blocks, summary-file lines and the -e listing. The run title, the table
// title line, the summary header and the framed console blocks with their labels are
// checked end to end by the black-box tests.
#include "conditions.h"
#include "fpguard.h"
#include "helpers.h"
#include "listing.h"
#include "paths.h"
#include "registry.h"
#include "reports.h"
#include "test.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace {

// Streams one report into a fresh stream of type S that writes a temporary file,
// and returns what the file received.
template <class S, class R>
std::string capture(const R& report, int outLevel = ERR) {
    const std::string path = psTestTempPath("report.txt");
    std::string text;
    {
        S s;
        EXPECT_TRUE(s.addStream(path.c_str(), false));
        if constexpr (std::is_base_of<psOStream, S>::value) s.setOutLevel(outLevel);
        s << report;
        s.flush();
        text = psTestReadFile(path);
    }
    std::remove(path.c_str());
    return text;
}

// A test whose outcome the report tests choose.
class ReportedTest : public psTest {
public:
    ReportedTest(const char* func, const char* info, int result, long seconds = 0)
        : psTest(static_cast<psLoopFunc>(nullptr), static_cast<psStatFunc>(nullptr), func, "/src/perf/p_dcx_ia.cpp", info) {
        m_result = static_cast<psResult>(result);
        m_startTime = 1000;
        m_endTime = 1000 + seconds;
    }
};

}  // namespace

// ---------------------------------------------------------------- format

TEST(ReportFormat, SetItemPlacesTextByPosition) {
    struct Case { const char* line; const char* text; int pos; const char* expect; } cases[] = {
        {"|", "abc", 5, "|    abc"},       // padded to its column
        {"|", "abc", 1, "|abc"},           // line ends at the column
        {"|abcdef", "x", 3, "|abcdef x"},  // past the column: after one blank
        {"|", "abc", -10, "|     abc"},    // ends just before column 9
        {"|", "abcdefghijk", -10, "|"},    // would start left of column 0: dropped
        {"|", "", 3, "|"},                 // empty text adds nothing
    };
    for (const Case& c : cases) {
        psString line(c.line);
        psReportFormat::setItem(line, c.text, c.pos);
        EXPECT_STREQ(line.c_str(), c.expect) << c.text << " at " << c.pos;
    }
}

TEST(ReportFormat, TimesAndCells) {
    psReportFormat f(2, -78);
    EXPECT_STREQ(f.getLine("a").c_str(), "  a\n");  // unframed: a blank, no padding
    f.firstLine();
    // A framed line longer than 78 columns gets no closing frame character.
    EXPECT_EQ(std::string(f.getLine(std::string(90, 'x').c_str()).c_str()), "| " + std::string(90, 'x') + "\n");

    const std::pair<long, const char*> times[] = {
        {0, "00:00:00"}, {59, "00:00:59"}, {3600, "01:00:00"}, {3725, "01:02:05"}, {360000, "100:00:00"}};
    for (const auto& t : times) EXPECT_STREQ(psReportFormat::getTimeStr(t.first).c_str(), t.second);
    EXPECT_STREQ(psReportFormat::cutoffNL("Sun Nov 22 03:23:32 2026\n").c_str(), "Sun Nov 22 03:23:32 2026");
    EXPECT_STREQ(psCellText(" a,b\nc ").c_str(), "a;b c");
}

TEST(ReportFormat, LongItemsWrapAtBlanksUnderThemselves) {
    psReportFormat f;
    f.firstLine();
    std::string words;
    for (int i = 0; i < 30; ++i) words += "word" + std::to_string(i) + " ";
    const std::vector<std::string> lines = psTestLines(f.labelLine("Library", words.c_str()).c_str());
    ASSERT_GT(lines.size(), 2u);
    std::string joined;
    for (size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].size(), 79u);
        EXPECT_EQ(lines[i].back(), '|');
        EXPECT_EQ(lines[i].substr(0, 13), i == 0 ? "| Library  : " : "|            ");
        std::string piece = lines[i].substr(13, 65);
        piece.erase(piece.find_last_not_of(' ') + 1);
        joined += piece + " ";
    }
    EXPECT_EQ(joined, words);

    // A word longer than the room is cut hard.
    psString rest(std::string(30, 'y').c_str());
    EXPECT_STREQ(psReportFormat::getPieceItem(rest, 12).c_str(), std::string(12, 'y').c_str());
    EXPECT_EQ(rest.length(), 18);
}

// ---------------------------------------------------------------- summary

TEST(ReportEnd, RowsNestTheResultCountersOfEveryClass) {
    psTestList list;
    for (psResult r : {OK, OK, ACCURWRN, BADSTSWRN, BADSTSWRN, DATAWRN, FUNCWRN, WARNING, ACCURFAIL, DATAFAIL, FUNCFAIL,
                       EXCPTFAIL, FAIL, UNDEFINED})
        list.plus(r);
    list.m_startTime = 5000;
    list.m_endTime = 5000 + 3725;
    const char* expected =
        "END_DATA\n"
        ".Number of tests,14\n"
        ".Successes,2\n"
        ".Failures,12\n"
        "...Fails,5\n"
        ".....-FAIL,4\n"
        ".....-EXCPTFAIL,1\n"
        "...Warnings,6\n"
        ".....-WARNING,4\n"
        ".....-BADSTSWRN,2\n"
        "...Undefined,1\n"
        ".Total time,01:02:05\n";
    EXPECT_EQ(capture<psUStream>(psReportEnd(&list)), expected);
    EXPECT_EQ(capture<psCStream>(psReportEnd(&list)), expected);

    // Blocks are written at the error level: a console showing only warnings still shows it.
    EXPECT_EQ(capture<psOStream>(psReportEnd(&list), WARN | ERR), capture<psOStream>(psReportEnd(&list), ERR));
}

// ---------------------------------------------------------------- one test

TEST(ReportTestResult, SummaryLineFields) {
    psPaths::m_exePath = "/opt/bin/perfdc";
    struct Case { const char* info; int result; const char* expect; } cases[] = {
        {"TimdcX/xtest/PP_REG", OK, "lumsX_8u,TimdcX,?,?,?,?,xtest,7,p_dcx_ia.cpp,OK,/opt/bin/perfdc"},
        {"TimdcX//PP_REG_I", DATAFAIL, "lumsX_8u,TimdcX,?,?,?,?,-,7,p_dcx_ia.cpp,DATAFAIL,/opt/bin/perfdc"},
        {"A/b/c/d", ACCURWRN, "lumsX_8u,A,?,?,?,?,b,7,p_dcx_ia.cpp,ACCURWRN,/opt/bin/perfdc"},
        {"", 12, "lumsX_8u,-,?,?,?,?,-,7,p_dcx_ia.cpp,UNKNOWN,/opt/bin/perfdc"},
    };
    g_ctrl87.setWords(0, 0);
    g_ssx.setAccumulated(0);
    for (const Case& c : cases) {
        ReportedTest t("lumsX_8u", c.info, c.result, 7);
        psReportTestResult r(t.facts());
        EXPECT_STREQ(r.line().c_str(), c.expect);
        EXPECT_EQ(capture<psUStream>(r), std::string(c.expect) + "\n");
    }
    // The guard words of the run fill their four columns.
    g_ctrl87.setWords(0x27F, 0x1);
    g_ssx.setAccumulated(0x9F80);
    ReportedTest t("lumsX_8u", "TimdcX//", OK);
    psStringList fields;
    psReportTestResult(t.facts()).line().parse(fields, ",");
    ASSERT_EQ(fields.count(), 11);
    EXPECT_STREQ(fields.at(2).c_str(), "Near 53 Invalid Denormal Zerodivide Overflow Underflow Inexact");
    EXPECT_STREQ(fields.at(3).c_str(), "?Invalid");
    EXPECT_STREQ(fields.at(4).c_str(), "Near Invalid Denormal Zerodivide Overflow Underflow Inexact FlushToZero");
    EXPECT_STREQ(fields.at(5).c_str(), "Ok");
    g_ctrl87.setWords(0, 0);
    g_ssx.setAccumulated(0);
    // The summary header has no console form.
    EXPECT_EQ(capture<psOStream>(psReportTestResult()), "");
}

TEST(ReportTestResult, MissingMeasurementIsSaidBeforeTheBlock) {
    ReportedTest idle("lumsX_8u", "TimdcX//", UNDEFINED);
    const std::string idleText = capture<psOStream>(psReportTestResult(idle.facts()));
    EXPECT_EQ(idleText.substr(0, 33), "--No measurements have been done\n");
    EXPECT_EQ(idleText.substr(33, 2), "+-");
}

// ---------------------------------------------------------------- listing

TEST(ReportList, BaseNamesOfHelperFunctions) {
    const std::pair<const char*, const char*> names[] = {
        {"lumsMTFInit_8u", "lumsMTF_8u"},
        {"lumsMTFGetSize_8u", "lumsMTF_8u"},
        {"lumsEncodeRLEInit_BZ2_8u", "lumsEncodeRLE_BZ2_8u"},
        {"lumsEncodeHuffInit_BZ2_16u8u", "lumsEncodeHuff_BZ2_16u8u"},
        {"lumsFooGet_8u", "lumsFoo_8u"},
        {"lumsCRC32_8u", "lumsCRC32_8u"},
        {"lumsInitialize_8u", "lumsInitialize_8u"},  // "Init" inside a longer word
        {"lumsReset_8u", "lumsReset_8u"},            // lower-case "set"
        {"lumsDecodeLZOSafe_8u", "lumsDecodeLZOSafe_8u"},
    };
    for (const auto& n : names) EXPECT_STREQ(psReportList::baseName(n.first).c_str(), n.second) << n.first;

    psStringList in;
    for (const char* n : {"lumsMTFInit_8u", "lumsCRC32_8u", "lumsMTFFwd_8u", "lumsMTF_8u"}) in.add(n);
    std::vector<std::string> got;
    for (const psString& s : psReportList::createFuncList(in)) got.push_back(s.c_str());
    EXPECT_EQ(got, (std::vector<std::string>{"lumsMTF_8u", "lumsMTFInit_8u", "lumsCRC32_8u", "lumsMTFFwd_8u"}));
}

TEST(ReportList, ModesListSelectedAndUnselectedFunctions) {
    psTestList list;
    ReportedTest cpu("__psOrvexCpuTest", "Orvex CPU information/__psOrvexCpu/", OK);
    ReportedTest crc("lumsCRC32_8u", "TimdcChecksum//PP_REG", OK);
    ReportedTest init("lumsMTFInit_8u", "Timdc_BZ2//PP_REG_I", OK);
    for (psTest* t : {static_cast<psTest*>(&cpu), static_cast<psTest*>(&crc), static_cast<psTest*>(&init)}) list.add(t);
    psConditions cond;
    cond.add(makeCondition(COND_FUNC, COND_CONTAINS, "CRC"));

    // (Mode 0, the plain listing, is seen in the black-box enumeration test.)
    EXPECT_EQ(capture<psOStream>(psReportList(&list, cond, 1)),
              "   #\tFunction\tTest\tSource\tExist\n"
              "   1\tlumsCRC32_8u\t-\tp_dcx_ia.cpp\t+\n"
              "   2\tlumsMTF_8u\t-\t-\t-\n"
              "   3\tlumsMTFInit_8u\t-\tp_dcx_ia.cpp\t-\n");
    EXPECT_EQ(capture<psCStream>(psReportList(&list, cond, -1)),
              "#,Function,Test,Source,Exist\n"
              "1,lumsMTF_8u,-,-,-\n"
              "2,lumsMTFInit_8u,-,p_dcx_ia.cpp,-\n");
}
