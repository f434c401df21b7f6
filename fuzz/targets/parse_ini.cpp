// The ini file reader on any file: every value it read can be asked for, and a value
// written (which never replaces one the file has) reads back from the rewritten file.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "inifile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "fuzz_ini_" + std::to_string(getpid()) + ".ini";
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) std::abort();
    std::fwrite(data, 1, size, f);
    std::fclose(f);
    psString want = "1";
    {
        psIniFile ini;
        if (!ini.open(path.c_str(), true)) std::abort();
        for (psSectionItem& s : ini.sections())
            for (psValueItem& v : s.values) ini.read(s.name, v.name);
        if (ini.valueExist("Perf System", "fuzz")) want = ini.read("Perf System", "fuzz");
        ini.write("Perf System", "fuzz", "1", "written by the fuzz target");
    }  // closing writes the file back
    psIniFile again;
    if (!again.open(path.c_str(), false) || again.read("Perf System", "fuzz") != want) std::abort();
    std::remove(path.c_str());
    return 0;
}
