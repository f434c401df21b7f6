// psSessionSettings: what the command-line keys leave behind for the session run:
// the key table itself, the ask, batch, level and listing modes, the output and ini
// files, the selection conditions and the library settings of -T and -N. The keys
// write it; the session (psSession derives from it) reads it. Also the session-wide
// timing engine g_tool, whose settings the keys and the dialogue set and every test
// takes over at the start of its run.
#ifndef PS_SETTINGS_H
#define PS_SETTINGS_H

#include "cmdlist.h"
#include "conditions.h"
#include "lumtypes.h"
#include "paths.h"
#include "timing.h"

class psSessionSettings;

// Echo text of an applied key, computed from its argument.
typedef psString (*psKeyInfoFunc)(psString arg);
// What an applied key does.
typedef void (*psKeyApplyFunc)(psString arg, psSessionSettings* session);

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

class psSessionSettings : public psPaths {
public:
    psSessionSettings();
    ~psSessionSettings();
    psSessionSettings(const psSessionSettings&) = delete;
    psSessionSettings& operator=(const psSessionSettings&) = delete;

    // ---- key table
    void initOption(char key, psString help, psKeyInfoFunc info, psKeyApplyFunc apply, psString descr, bool hidden);
    psOption* getOption(char key);
    const psList<psOption*>& getOptions() const { return options; }
    void deleteOptions();

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

    static bool isExit(int level) { return m_exitLevel >= level; }
    static psString getExitInfo();

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
    psString sglName;
    Lum64u cpuFeature;  // -T (0: not given)
    int numThreads;     // -N (0 or less: not given)

    static psCommandList* pCmdList;
    static int m_exitLevel;
    static int& m_nameMode;  // bit 1: "-q+", bit 2: a name-table file (the tests' psTest::m_nameMode)
    static bool& m_nameExit; // -Q (the tests' psTest::m_nameExit)
};

// The session-wide engine whose settings every test takes over at the start of its run.
extern psTool g_tool;

#endif
