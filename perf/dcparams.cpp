#include "dcparams.h"

#include "dclum.h"
#include "session.h"

psStepIterator<int> g_huffLen;
psStepIterator<int> g_codeLen;
psFileIterator g_codeFile;

void dcSetProgression(psStepIterator<int>& p, const char* name, int lower, int upper)
{
    p.reset();
    p.setName(name);
    p.setPrompt("");
    p.setLower(lower);
    p.setUpper(upper);
    p.setStep(2);
    p.setOperation('*');
    p.validate();
}

void regTestParameters()
{
    psRegParm(&g_huffLen);
    psRegParm(&g_codeLen);
    psRegParm(&g_codeFile);

    dcSetProgression(g_huffLen, "HuffLength", 1024, 32768);
    dcSetProgression(g_codeLen, "CodeLength", 16384, 262144);

    static const char* const files[] = {"bib", "book1", "book2", "geo", "news", "obj1", "obj2",
                                        "paper1", "paper2", "pic", "progc", "progl", "progp", "trans"};
    g_codeFile.reset();
    g_codeFile.setName("CodeFile");
    g_codeFile.setPrompt("");
    g_codeFile.clear();
    for (const char* f : files) g_codeFile.add(f);
}

int dcLoadDataFile(void* dst, int wanted, const psStepIterator<int>* lengthParm)
{
    psString name = g_codeFile.value();
    int got = 0;
    {
        i_stream in(name, IO_READ | IO_BINARY, true);
        if (in.isOpen()) got = in.read(dst, wanted);
    }
    if (lengthParm && lengthParm->getOperation() == '*' && lengthParm->getStep() > 0 &&
        wanted != lengthParm->getLower() && wanted / lengthParm->getStep() >= got)
        got = 0;
    return got < 1 ? 0 : got;
}

[[maybe_unused]] static bool regParms = psRegParmFunc(regTestParameters) != 0;
[[maybe_unused]] static bool regLumEnvironment = psRegLumEnvironment(ppSetLumEnvironment);
[[maybe_unused]] static bool regVersion_lumdc = psRegLumVersion(ppGetLumVersion_lumdc);
