// psSession: the spine of the program. run() registers the CPU information test,
// reads the command line, initialises the measured library, sorts and selects the
// tests, asks for common data, runs the tests and writes the closing reports.
// A program may derive its own session and register it before main runs.
#ifndef PS_SESSION_H
#define PS_SESSION_H

#include "cmdlist.h"
#include "conditions.h"
#include "paths.h"
#include "streams.h"

class psSession;

// Echo text of an applied key, computed from its argument.
typedef psString (*psKeyInfoFunc)(psString arg);
// What an applied key does.
typedef void (*psKeyApplyFunc)(psString arg, psSession* session);

// One registered key.
struct psOption {
    char key;
    bool hidden;      // shown only by the -? help family
    psString help;    // usage line(s)
    psKeyInfoFunc info;
    psKeyApplyFunc apply;
    psString descr;   // extended description
};

// Bits of askMode.
enum { ASK_TIMING = 1, ASK_PARAMS = 2, ASK_MISALIGN = 4, ASK_EACH_TEST = 8 };

class psSession : public psPaths {
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
    void initOption(char key, psString help, psKeyInfoFunc info, psKeyApplyFunc apply, psString descr, bool hidden);
    psOption* getOption(char key);
    const psList<psOption*>& getOptions() const { return options; }
    void applyOption(char key, const psString& arg);

    // ---- settings written by the keys
    void addAskMode(int mode) { askMode |= mode; }
    void setBatMode() { batMode = true; }
    void addLevelMode(int level) { levelMode |= level; }
    void setQuickMode() { quickMode = true; }
    void setEnumMode(int mode) { enumMode = mode; }
    void unopenedFile() { unopened = true; }
    void setIniMode(const psString& path, bool write)
    {
        iniFile = path;
        iniWrite = write;
    }
    void setSglName(const psString& path) { sglName = path; }
    void logicCondition(int logic) { conditions.logic = logic; }
    void addCondition(RunCondition* c) { conditions.add(c); }

    // ---- steps of run
    bool hintOutput();
    bool enumOutput();
    void selectTestParameters();
    void beginCommonData();
    void endCommonData();
    bool readCfgFile(psString& line, psString& fileName);

    static bool isExit(int level) { return m_exitLevel >= level; }
    static psString getExitInfo();
    // The banner printed by -v and before every help display.
    static psString banner();

    psConditions conditions;
    psList<psOption*> options;
    int askMode;
    bool batMode;
    int levelMode;
    bool quickMode;
    int enumMode;
    bool unopened;
    psString iniFile;
    bool iniWrite;
    psString cmdText;
    psString sglName;

    static psCommandList* pCmdList;
    static int m_exitLevel;
    static int m_nameMode;  // bit 1: "-q+", bit 2: a name-table file
    static bool m_nameExit; // -Q

private:
    void deleteOptions();
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
