#include "cmdlist.h"

#include "streams.h"

#include <cerrno>
#include <cstdio>
#include <iterator>

const char* const PS_CMD_SEPARATORS = " \";\t\r\n";

bool isKeyString(const psString& text) { return text.length() >= 2 && (text[0] == '-' || text[0] == '/'); }

static bool isModifier(char c) { return c == '-' || c == '+' || c == '='; }

bool psCommandKey::setArg(const psString& token, const psString& next)
{
    if (!isKeyString(token)) return false;
    key = token[1];
    psString rest = token.substr(2);
    psString modifier;
    if (isModifier(rest[0])) {
        modifier = rest.substr(0, 1);
        rest = rest.substr(1);
    }
    // A separate word is the argument only when the token carries nothing itself.
    arg = modifier + (rest.empty() ? next : rest);
    return true;
}

bool psCommandKey::getArg(char k, psString& a) const
{
    if (k != key) return false;
    a = arg;
    return true;
}

psStringList psSplitCommandText(const psString& text)
{
    psStringList words;
    text.parse(words, PS_CMD_SEPARATORS);
    return words;
}

void psCommandList::setArgs(int argc, char** argv)
{
    psStringList tokens;
    for (int i = 0; i < argc; ++i) tokens.add(argv[i]);
    setArgs(tokens);
}

void psCommandList::setArgs(const char* text) { insertArgs(text, end()); }

void psCommandList::insertArgs(const char* text, iterator pos) { insertArgs(psSplitCommandText(text), pos); }

void psCommandList::insertArgs(const psStringList& tokens, iterator pos)
{
    for (auto it = tokens.begin(); it != tokens.end(); ++it) {
        const psString& token = *it;
        // A following word that is not a key is this token's candidate argument; it is
        // consumed even when the key does not use it (or the token is no key at all).
        psString next;
        auto following = std::next(it);
        if (following != tokens.end() && !isKeyString(*following)) {
            next = *following;
            it = following;
        }
        insertArg(token, next, pos);
    }
}

bool psCommandList::insertArg(const psString& token, const psString& next, iterator pos)
{
    psCommandKey k;
    if (!k.setArg(token, next)) return false;
    insert(pos, k);
    return true;
}

bool psCommandList::setArg(const psString& token, const psString& arg) { return insertArg(token, arg, end()); }

bool psCommandList::setArg(char key, const psString& arg)
{
    psString token("-");
    token += key;
    return setArg(token, arg);
}

bool psCommandList::insertFromFile(const psString& fileName, iterator pos)
{
    psString name = fileName;
    i_stream in(name, IO_READ | IO_EXACT_NAME, true);
    if (!in.isOpen()) return false;
    psString text, line;
    while (in.getline(line)) {
        text += line;
        text += " ";
    }
    // A name that opens but cannot be read (a folder) counts as unreadable.
    if (std::ferror(in.file())) {
        psReportFileError("read", name, 0, errno);
        return false;
    }
    insertArgs(text, pos);
    return true;
}

bool psCommandList::expandOptionFiles()
{
    bool ok = true;
    for (iterator it = begin(); it != end();) {
        if (it->key != '@') {
            ++it;
            continue;
        }
        psString name = it->arg;
        it = erase(it);
        // Keys from the file go before the following key and are not scanned again.
        if (!insertFromFile(name, it)) ok = false;
    }
    return ok;
}

bool psCommandList::isKey(char key) const
{
    for (const psCommandKey& k : *this)
        if (k.key == key) return true;
    return false;
}

bool psCommandList::getArg(char key, psString& arg) const
{
    for (auto it = items().rbegin(); it != items().rend(); ++it)
        if (it->getArg(key, arg)) return true;
    return false;
}

bool psReadFirstLine(const psString& fileName, psString& line)
{
    FILE* f = std::fopen(fileName.c_str(), "r");
    if (!f) return false;
    char buf[1024];
    line = std::fgets(buf, sizeof buf, f) ? buf : "";
    std::fclose(f);
    return true;
}
