// Output streams and message levels, the call tracer, reading long lines, and the
// exception type with its signal trap.
#include "exceptions.h"
#include "helpers.h"
#include "streams.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>

namespace {

TEST(Streams, MessagesPassTheOutputMask) {
    Capture cap;
    g_ostrm.setOutLevel(ERR);
    g_ostrm << PERF << "dropped " << END_MSG;
    g_ostrm << ERR << "shown " << END_MSG;
    g_ostrm.setOutLevel(ERR | WARN | PERF);
    g_ostrm << PERF << "perf " << DATA << "data " << END_MSG << "perf-again" << END_MSG_FLUSH;
    EXPECT_EQ(cap.text(), "shown perf perf-again");
}

TEST(Streams, MessageLevelsNestAndCompareNumerically) {
    psOStream o;
    o.setOutLevel(7);
    o.setMsgLevel(ERR);
    EXPECT_FALSE(o.beginMessage(INFO));
    EXPECT_EQ(o.getMsgLevel(), ERR);
    o.setOutLevel(3);
    EXPECT_TRUE(o.beginMessage(WARN));
    EXPECT_EQ(o.getMsgLevel(), WARN);
    o.endMessage();
    EXPECT_EQ(o.getMsgLevel(), ERR);
    // A mask of 0x10 lets level 8 begin although bit 8 is not in it.
    o.setOutLevel(TRACE);
    EXPECT_TRUE(o.beginMessage(INFO));
    // Ending more messages than were begun leaves the error level.
    o << DATA << TRACE;
    o << END_MSG << END_MSG << END_MSG << END_MSG << END_MSG;
    EXPECT_EQ(o.getMsgLevel(), ERR);
}

TEST(Streams, TracerIndentsAndUnwinds) {
    Capture cap;
    g_trace.clear();
    g_ostrm.setOutLevel(TRACE);
    g_trace.traceIn("a");
    g_trace.traceIn("b");
    g_trace.traceOut("a");
    EXPECT_EQ(g_trace.depth(), 0) << "leaving an outer call leaves the inner ones";
    const std::string expected = "****** trace into   a\n"
                                 "******* trace into   b\n"
                                 "******* trace out of a\n";
    EXPECT_EQ(cap.text(), expected);
    EXPECT_EQ(g_trace.text().str(), expected);

    // Without the trace level the console stays silent but the trace is kept.
    const std::string shown = cap.text();
    g_trace.clear();
    g_ostrm.setOutLevel(ERR | WARN | PERF);
    {
        psTraceScope scope("quiet");
        EXPECT_EQ(g_trace.depth(), 1);
    }
    EXPECT_EQ(g_trace.depth(), 0);
    EXPECT_EQ(cap.text(), shown);
    EXPECT_NE(g_trace.text().find("trace out of quiet"), -1);
    g_trace.clear();
}

TEST(Streams, GetlineReadsLongLinesWhole) {
    const std::string path = psTestTempPath("lines.txt");
    psTestWriteFile(path, std::string(1500, 'a') + "\n" + std::string(511, 'b') + "\n\nlast");
    psString name(path.c_str());
    i_stream in(name, IO_READ | IO_EXACT_NAME);
    ASSERT_TRUE(in.isOpen());
    psString line;
    const size_t lengths[] = {1500, 511, 0, 4};
    for (size_t len : lengths) {
        EXPECT_TRUE(in.getline(line));
        EXPECT_EQ(static_cast<size_t>(line.length()), len);
    }
    EXPECT_FALSE(in.getline(line));
    std::remove(path.c_str());
}

// A file that cannot be opened is reported with the system's reason after the colon:
// the cases no run reaches (the others are in the black-box open-error tests).
TEST(Streams, OpenFailuresNameTheReason) {
    const std::string plain = psTestTempPath("plain.txt");
    psTestWriteFile(plain, "x");
    const struct { std::string name; int mode; std::string line; } cases[] = {
        {"", IO_READ, "-- Can't open file. Wrong filename (NULL) to read: No such file or directory\n"},
        {plain, 0, "-- Can't open file " + plain + ": Invalid argument\n"},
    };
    for (const auto& c : cases) {
        Capture cap;
        g_ostrm.setOutLevel(ERR);
        psString name(c.name.c_str());
        o_stream s(name, c.mode | IO_EXACT_NAME);
        EXPECT_FALSE(s.isOpen()) << c.name;
        EXPECT_EQ(cap.text(), c.line);
    }
    std::remove(plain.c_str());
}

// (The prefixes of texts and signals show in the lifecycle tests' messages.)
TEST(Exceptions, ALiteralTextIsAnErrorAndAnOverLongTextIsCut) {
    EXPECT_STREQ(psException("Empty iterator definition").msg(), "--LUM. Exception: Empty iterator definition");
    psException longText(psString(std::string(5000, 'x')));
    EXPECT_LT(std::string(longText.msg()).size(), 1024u);
}

// Raises the signal inside an armed trap and returns the message it became.
std::string trapped(int sig) {
    try {
        PS_ARM_SIGNAL_TRAP();
        std::raise(sig);
        return "no signal";
    } catch (const psException& e) {
        return e.msg();
    }
}

TEST(Exceptions, AnIllegalInstructionBecomesAnException) {
    // (A real illegal storage access and floating-point trap: the lifecycle tests.)
    EXPECT_EQ(trapped(SIGILL), "--LUM. Signal: Illegal instruction.");
    EXPECT_EQ(tsSignal::code(), SIGILL);
}

}  // namespace
