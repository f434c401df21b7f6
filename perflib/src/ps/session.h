// psSession: the spine of the program. run() registers the CPU information test,
// reads the command line, initialises the measured library, sorts and selects the
// tests, asks for common data, runs the tests and writes the closing reports.
// A program may derive its own session and register it before main runs. The
// session is the only layer that touches the globals (the session object, g_tool):
// it gathers the run's facts and hands them down to the reports and tests.
#ifndef PS_SESSION_H
#define PS_SESSION_H

#include "runcontext.h"
#include "settings.h"
#include "streams.h"

class psSession : public psSessionSettings {
public:
    psSession();

    // ---- virtual operations, in slot order
    virtual ~psSession();
    virtual void initSession();
    virtual int run(int argc, char** argv);
    virtual void funcTitleToCStream();
    virtual void parmsTitleToCStream();
    virtual void resultTitleToCStream();
    virtual void putTableTitle();
    virtual void putTableTitleLine();
    virtual bool startSession() { return true; }
    virtual void updateOptions();
    virtual bool parseCommandLine(int argc, char** argv);
    virtual void listTests(int mode);
    virtual void hint(char key, bool hide);
    virtual void hint_quick(bool hide);
    virtual void hint_full(bool hide);
    virtual void hint_descr(char key);
    virtual void outputHeader();
    virtual void outputFooter();
    virtual void outputSignal();
    // The console set-up dialogue (defined with the dialogue functions below).
    virtual void readCommonData();

    // ---- console set-up dialogue; each read* returns non-zero when it asked the console
    int readTimingMethod();
    int readTestParameters();
    int readDataOffset();
    void readAccuracy(int method);
    static psString getEnterTitle(psString title);

    // ---- key table
    void applyOption(char key, const psString& arg);

    // ---- steps of run
    bool hintOutput();
    bool enumOutput();
    void selectTestParameters();
    void beginCommonData();
    void endCommonData();
    bool readCfgFile(psString& line, psString& fileName);

    // The facts of the run that the title reports print.
    psRunContext runContext() const;
    // The banner printed by -v and before every help display.
    static psString banner();

    psString cmdText;

private:
    // Fills pCmdList from argv, the .cfg file or the forced command line.
    void readCommandKeys(int argc, char** argv);
};

// The session object (the registered one, or the one main created).
psSession* psGetSession();
int psRegSession(psSession* session);
// A function called before the common test parameters are selected.
int psRegParmFunc(void (*fn)());
// Appends a blank and the text to the forced command line.
int psRegCmdLine(psString text);
const psString& psForcedCmdLine();
// Enables the -q and -Q keys (they are enabled by default).
int psRegQKeys();

#endif
