// Output streams of the framework: message levels, the files, the console stream
// with its file sinks, the summary stream and the call tracer. The input stream that
// looks parameter values up is in instream.h, above the ini file it reads.
#ifndef PS_STREAMS_H
#define PS_STREAMS_H

#include "psstring.h"

#include <cstdio>

// Level of what is being written (a bit) and two end-of-message commands.
enum MessageLevel {
    ERR = 1,      // errors
    WARN = 2,     // warnings
    PERF = 4,     // performance results
    INFO = 8,     // measurement process
    TRACE = 16,   // tracing info
    MEMORY = 32,  // memory info
    DATA = 64,    // data info
    END_MSG = -10,
    END_MSG_FLUSH = -11
};
// Mask of the levels let through.
typedef int OutputLevel;

// Turns an -L argument into a mask, letter by letter (0: nothing understood).
OutputLevel psLevelFromText(const psString& text);

// io_stream mode bits.
enum {
    IO_READ = 0x001,
    IO_WRITE = 0x002,
    IO_APPEND = 0x004,
    IO_BINARY = 0x008,
    IO_EXACT_NAME = 0x100
};

// One C stdio file. Without IO_EXACT_NAME the name is completed by the input or
// output path rule and the completed name is written back to the caller's string.
class io_stream {
public:
    io_stream(FILE* f) : m_file(f) {}
    io_stream(psString& name, int mode, bool report = true);
    virtual ~io_stream();
    FILE* file() const { return m_file; }
    bool isOpen() const { return m_file != nullptr; }
    void close();

protected:
    FILE* m_file;
};

// An output file reports the first write that fails ("-- Can't write file <name>:
// <reason>"), e.g. a full disk after a successful open; later ones stay quiet.
class o_stream : public io_stream {
public:
    o_stream(FILE* f) : io_stream(f) {}
    o_stream(psString& name, int mode, bool report = true) : io_stream(name, mode, report), m_name(name) {}
    void write(const psString& text);
    void flush();

private:
    void checkWritten(bool ok);
    psString m_name;  // empty for the standard streams
    bool m_failed = false;
};

class i_stream : public io_stream {
public:
    i_stream(FILE* f) : io_stream(f) {}
    i_stream(psString& name, int mode, bool report = true) : io_stream(name, mode, report) {}
    // Reads one line without its line feed; false only at end of file with nothing read.
    bool getline(psString& line);
    // One block read of at most n bytes; returns the count read.
    int read(void* buf, int n);
};

extern i_stream c_in;
extern o_stream c_out;

// Opens a file for output (write or append), with the name used as given; null on failure.
o_stream* createOStream(const psString& name, bool append);
// The system's text of errno now, and of a saved errno value ("unknown reason" for 0).
psString getLastErrorMessage();
psString psErrorText(int err);
// Console error line of a file that cannot be used, with the system's reason:
// "-- Can't <action> file <name> to read|to write: No such file or directory".
void psReportFileError(const char* action, const psString& name, int mode, int err);

// A list of file sinks; the base of the console and table streams.
class psSinks {
public:
    virtual ~psSinks();
    bool addStream(const psString& name, bool append);
    void addSink(o_stream* s) { m_sinks.add(s); }
    void flush();
    void close();
    void clearSinks();
    int sinkCount() const { return m_sinks.count(); }
    void swapSinks(psSinks& other);

protected:
    void writeAll(const psString& text);
    psList<o_stream*> m_sinks;
};

class psOStream : public psSinks {
public:
    psOStream() : m_outLevel(1), m_msgLevel(PERF) {}

    void setOutLevel(OutputLevel l) { m_outLevel = l; }
    OutputLevel getOutLevel() const { return m_outLevel; }
    MessageLevel getMsgLevel() const { return m_msgLevel; }
    void setMsgLevel(MessageLevel l);
    void restoreMsgLevel();
    bool beginMessage(MessageLevel l);
    void endMessage() { restoreMsgLevel(); }
    void endMessageFlush()
    {
        restoreMsgLevel();
        flush();
    }
    // Whether a message of that level would be shown now.
    bool accepts(MessageLevel l) const { return (l & m_outLevel) != 0; }
    void write(const psString& text);

private:
    OutputLevel m_outLevel;
    MessageLevel m_msgLevel;
    psList<MessageLevel> m_saved;
};

psOStream& operator<<(psOStream& o, MessageLevel l);
psOStream& operator<<(psOStream& o, const psString& text);
psOStream& operator<<(psOStream& o, const char* text);
template <class T>
psOStream& operator<<(psOStream& o, T value)
{
    psString s;
    s << value;
    return o << s;
}

// The summary-file stream; reports have a separate form for it.
class psUStream : public psOStream {};

class psTrace {
public:
    void traceIn(const psString& name);
    void traceOut(const psString& name);
    void flush();
    psString getCurName() const;
    const psString& text() const { return m_text; }
    const psString& indent() const { return m_indent; }
    int depth() const { return m_names.count(); }
    void clear();

private:
    psString m_indent;
    psString m_text;
    psStringList m_names;
};

// Traces entry and exit of a scope.
class psTraceScope {
public:
    explicit psTraceScope(const psString& name);
    ~psTraceScope();

private:
    psString m_name;
};

class psCStream;
extern psOStream g_ostrm;
extern psUStream g_ustrm;
extern psTrace g_trace;

// psObject: the root of objects whose memory the framework can report.
class psObject {
public:
    virtual ~psObject() {}
    virtual int objectSize() { return 0; }
    virtual bool reserveCopy() { return false; }
    virtual bool setReservedCopy() { return false; }
    virtual void deleteReservedCopy() {}
    virtual psString objectInfo() { return psString(); }
};

#endif
