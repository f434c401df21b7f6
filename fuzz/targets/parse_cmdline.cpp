// The command key list and the key table on any words: the payload's lines are the
// words, and what follows a 0x01 byte is an option file read through -@. Every key is
// echoed (its argument parsed) and applied, except that the keys naming output files are
// only echoed, so that no input makes the target write files. Nothing may crash; the key
// settings are reset after each input.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "fpguard.h"
#include "instream.h"
#include "keys.h"
#include "session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string optionFile = "fuzz_options_" + std::to_string(getpid()) + ".txt";
    const std::string text(reinterpret_cast<const char*>(data), size);
    const size_t cut = text.find('\x01');
    std::vector<std::string> words;
    std::string word;
    for (char c : text.substr(0, cut))
        if (c == '\n' || c == '\0') words.push_back(word), word.clear();
        else word += c;
    words.push_back(word);
    if (cut != std::string::npos) {
        FILE* f = std::fopen(optionFile.c_str(), "wb");
        if (!f) std::abort();
        std::fwrite(text.data() + cut + 1, 1, text.size() - cut - 1, f);
        std::fclose(f);
        words.push_back("-@" + optionFile);
    }
    std::vector<char*> argv;
    for (std::string& w : words) argv.push_back(&w[0]);
    argv.push_back(nullptr);
    {
        psSession session;
        session.initSession();
        psCommandList keys;
        keys.setArgs(int(words.size()), argv.data());
        keys.expandOptionFiles();
        for (const psCommandKey& k : keys) {
            const psOption* o = session.getOption(k.key);
            if (o && o->info && std::strchr("oOrRqQuUg", k.key)) o->info(k.arg);
            else session.applyOption(k.key, k.arg);
        }
    }
    psResetKeySettings();
    g_istrm.data().clear();
    psSession::m_exitLevel = 0;
    ps87::setExceptionValue(59);  // -W unmasks floating-point exceptions: mask them again
    psSSX::setExceptionValue(8064);
    std::remove(optionFile.c_str());
    return 0;
}
