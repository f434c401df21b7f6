// The process entry: runs the registered session (or a plain one) and always
// returns 0, whatever the run's result.
#include "exceptions.h"
#include "instream.h"
#include "memory.h"
#include "session.h"

#include <cstdio>
#include <exception>

int main(int argc, char** argv)
{
    g_trace.traceIn("main");
    psSession* created = nullptr;
    psSession* session = psGetSession();
    if (!session) {
        created = new psSession;
        psRegSession(created);
        session = created;
    }
    // Nothing escapes the session: a stray error is reported and the exit code stays 0.
    try {
        session->run(argc, argv);
    } catch (const psException& e) {
        g_ostrm << ERR << e.msg() << "\n" << END_MSG_FLUSH;
    } catch (const std::exception& e) {
        g_ostrm << ERR << "-- " << e.what() << "\n" << END_MSG_FLUSH;
    }
    std::fflush(stdout);
    psFreeAll();
    g_trace.traceOut("main");
    if (created) {
        psRegSession(nullptr);
        delete created;
    }
    // The ini file is written back (-I) here, while the console and its listing are
    // surely still open, rather than whenever the input stream happens to be destroyed.
    g_istrm.deleteIniFile();
    return 0;
}
