#include "streams.h"

#include "paths.h"

#include <cerrno>
#include <cstring>

psOStream g_ostrm;
psUStream g_ustrm;
psTrace g_trace;
i_stream c_in(stdin);
o_stream c_out(stdout);

// ---------------------------------------------------------------- levels

OutputLevel psLevelFromText(const psString& text)
{
    OutputLevel m = 0;
    for (int i = 0; i < text.length(); ++i) {
        switch (text[i]) {
        case 'D': m |= 0x47; break;
        case 'E': m |= 0x01; break;
        case 'I': m |= 0x0F; break;
        case 'M': m |= 0x27; break;
        case 'P': m |= 0x07; break;
        case 'T': m |= 0x17; break;
        case 'W': m |= 0x03; break;
        default: break;
        }
    }
    return m;
}

// ---------------------------------------------------------------- files

io_stream::io_stream(psString& name, int mode, bool report) : m_file(nullptr)
{
    if (!(mode & IO_EXACT_NAME) && !name.empty())
        name = (mode & IO_READ) ? psPaths::getInPath(name) : psPaths::getOutPath(name);
    psString how;
    if (mode & IO_READ)
        how = "r";
    else if (mode & IO_WRITE)
        how = (mode & IO_APPEND) ? "a" : "w";
    if (mode & IO_BINARY) how += "b";
    // Without a name there is no such file, without a mode the call is invalid; after
    // fopen its reason is taken at once, before anything else can change errno.
    int err = name.empty() ? ENOENT : EINVAL;
    if (!name.empty() && !how.empty()) {
        m_file = std::fopen(name.c_str(), how.c_str());
        err = errno;
    }
    if (!m_file && report) psReportFileError("open", name, mode, err);
}

io_stream::~io_stream() { close(); }

void io_stream::close()
{
    if (m_file && m_file != stdin && m_file != stdout && m_file != stderr) std::fclose(m_file);
    if (m_file != stdin && m_file != stdout && m_file != stderr) m_file = nullptr;
}

void o_stream::write(const psString& text)
{
    if (m_file)
        checkWritten(std::fputs(text.c_str(), m_file) >= 0);
    else
        std::printf("%s", text.c_str());
}

void o_stream::flush()
{
    const bool ok = std::fflush(m_file ? m_file : stdout) == 0;
    if (m_file) checkWritten(ok);
}

void o_stream::checkWritten(bool ok)
{
    if (ok || m_failed || m_name.empty()) return;
    const int err = errno;
    m_failed = true;  // before the report, which may come back through this stream
    psReportFileError("write", m_name, 0, err);
}

bool i_stream::getline(psString& line)
{
    line.free();
    if (!m_file) return false;
    char buf[512];
    bool eof = false;
    for (;;) {
        if (!std::fgets(buf, sizeof buf, m_file)) {
            eof = true;
            break;
        }
        size_t n = std::strlen(buf);
        if (n && buf[n - 1] == '\n') {
            buf[n - 1] = 0;
            line += buf;
            break;
        }
        line += buf;
        if (n != sizeof buf - 1) break;
    }
    return !line.empty() || !eof;
}

int i_stream::read(void* buf, int n)
{
    if (!m_file || n <= 0) return 0;
    return static_cast<int>(std::fread(buf, 1, static_cast<size_t>(n), m_file));
}

o_stream* createOStream(const psString& name, bool append)
{
    psString n = name;
    o_stream* s = new o_stream(n, append ? (IO_EXACT_NAME | IO_WRITE | IO_APPEND) : (IO_EXACT_NAME | IO_WRITE), true);
    if (!s->isOpen()) {
        delete s;
        return nullptr;
    }
    return s;
}

psString getLastErrorMessage() { return psErrorText(errno); }

psString psErrorText(int err)
{
    const char* text = err ? std::strerror(err) : nullptr;
    return text && *text ? psString(text) : psString("unknown reason");
}

void psReportFileError(const char* action, const psString& name, int mode, int err)
{
    const char* modeWord = (mode & IO_READ) ? " to read" : (mode & IO_WRITE) ? " to write" : "";
    g_ostrm << ERR << "-- Can't " << action << " file";
    if (name.empty())
        g_ostrm << ". Wrong filename (NULL)";
    else
        g_ostrm << " " << name;
    g_ostrm << modeWord << ": " << psErrorText(err) << "\n" << END_MSG;
}

// ---------------------------------------------------------------- sinks

psSinks::~psSinks() { clearSinks(); }

bool psSinks::addStream(const psString& name, bool append)
{
    o_stream* s = createOStream(name, append);
    if (!s) return false;
    m_sinks.add(s);
    return true;
}

void psSinks::flush()
{
    for (o_stream* s : m_sinks) s->flush();
}

void psSinks::close()
{
    for (o_stream* s : m_sinks) s->close();
}

void psSinks::clearSinks()
{
    for (o_stream* s : m_sinks)
        if (s != &c_out) delete s;
    m_sinks.clear();
}

void psSinks::swapSinks(psSinks& other) { std::swap(m_sinks.items(), other.m_sinks.items()); }

void psSinks::writeAll(const psString& text)
{
    for (o_stream* s : m_sinks) s->write(text);
}

// ---------------------------------------------------------------- console stream

void psOStream::setMsgLevel(MessageLevel l)
{
    m_saved.add(m_msgLevel);
    m_msgLevel = l;
}

void psOStream::restoreMsgLevel()
{
    if (m_saved.isEmpty()) {
        m_msgLevel = ERR;
        return;
    }
    m_msgLevel = m_saved.back();
    m_saved.items().pop_back();
}

bool psOStream::beginMessage(MessageLevel l)
{
    if (m_outLevel < static_cast<int>(l)) return false;
    setMsgLevel(l);
    return true;
}

void psOStream::write(const psString& text)
{
    if ((m_msgLevel & m_outLevel) == 0) return;
    writeAll(text);
}

psOStream& operator<<(psOStream& o, MessageLevel l)
{
    if (l == END_MSG)
        o.restoreMsgLevel();
    else if (l == END_MSG_FLUSH)
        o.endMessageFlush();
    else
        o.setMsgLevel(l);
    return o;
}

psOStream& operator<<(psOStream& o, const psString& text)
{
    o.write(text);
    return o;
}

psOStream& operator<<(psOStream& o, const char* text) { return o << psString(text); }

// ---------------------------------------------------------------- tracer

void psTrace::traceIn(const psString& name)
{
    g_ostrm.setMsgLevel(TRACE);
    m_indent += "*";
    psString line = m_indent + "*****" + " trace into   " + name + "\n";
    g_ostrm << line;
    m_text += line;
    flush();
    g_ostrm.restoreMsgLevel();
    m_names.add(name);
}

void psTrace::traceOut(const psString& name)
{
    g_ostrm.setMsgLevel(TRACE);
    psString line = m_indent + "*****" + " trace out of " + name + "\n";
    g_ostrm << line;
    m_text += line;
    flush();
    g_ostrm.restoreMsgLevel();
    // Unwind to the named entry; a name not on the stack only shortens the indentation.
    auto& names = m_names.items();
    auto it = names.end();
    while (it != names.begin()) {
        --it;
        if (m_indent.length()) m_indent = m_indent.substr(0, m_indent.length() - 1);
        if (*it == name) {
            names.erase(it, names.end());
            return;
        }
    }
}

void psTrace::flush()
{
    if (static_cast<int>(g_ostrm.getMsgLevel()) <= g_ostrm.getOutLevel()) g_ostrm.flush();
}

psString psTrace::getCurName() const { return m_names.isEmpty() ? psString() : m_names.back(); }

void psTrace::clear()
{
    m_indent.free();
    m_text.free();
    m_names.clear();
}

psTraceScope::psTraceScope(const psString& name) : m_name(name) { g_trace.traceIn(m_name); }
psTraceScope::~psTraceScope() { g_trace.traceOut(m_name); }
