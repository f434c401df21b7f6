#include "settings.h"

#include "streams.h"
#include "test.h"

psCommandList* psSessionSettings::pCmdList = nullptr;
int psSessionSettings::m_exitLevel = 0;
int& psSessionSettings::m_nameMode = psTest::m_nameMode;
bool& psSessionSettings::m_nameExit = psTest::m_nameExit;

psTool g_tool;
// Every test takes over the settings of this engine when it starts.
static const int s_bindTool = (psTest::m_pSessionTool = &g_tool, 1);

psSessionSettings::psSessionSettings()
    : askMode(0), batMode(false), levelMode(ERR), quickMode(false), enumMode(100), unopened(false), iniWrite(false),
      cpuFeature(0), numThreads(0)
{
}

psSessionSettings::~psSessionSettings() { deleteOptions(); }

void psSessionSettings::deleteOptions()
{
    for (psOption* o : options) delete o;
    options.clear();
}

void psSessionSettings::initOption(char key, psString help, psKeyInfoFunc info, psKeyApplyFunc apply, psString descr,
                                   bool hidden)
{
    options.add(new psOption{key, hidden, help, info, apply, descr});
}

psOption* psSessionSettings::getOption(char key)
{
    for (psOption* o : options)
        if (o->key == key) return o;
    return nullptr;
}

psString psSessionSettings::getExitInfo()
{
    switch (m_exitLevel) {
    case 2: return "ignored because of -h option";
    case 1: return "ignored because of -e option";
    case 3: return "ignored because of -v option";
    default: return "ignored";
    }
}
