// The command key list: the command line (or an option file, the .cfg line or the
// forced command line) turned into an ordered list of keys, each one letter with one
// argument text. Option files (-@) are spliced into the list in place.
#ifndef PS_CMDLIST_H
#define PS_CMDLIST_H

#include "psstring.h"

// Characters at which option files, the .cfg line and the forced command line are
// cut into words. A word that begins with a double quote runs to the closing quote,
// so a quoted argument may hold blanks.
extern const char* const PS_CMD_SEPARATORS;

// True when the text has at least two characters and begins with "-" or "/".
bool isKeyString(const psString& text);

class psCommandKey {
public:
    psCommandKey() : key(0) {}
    psCommandKey(char k, const psString& a) : key(k), arg(a) {}

    // Fills the key from a key token and the word that followed it (used only when the
    // token carries nothing after its letter and modifier). False when not a key string.
    bool setArg(const psString& token, const psString& next);
    // Copies the argument when the letter matches.
    bool getArg(char k, psString& a) const;

    bool operator==(const psCommandKey& o) const { return key == o.key && arg == o.arg; }

    char key;
    psString arg;  // includes a leading "-", "+" or "=" modifier when one was written
};

class psCommandList : public psList<psCommandKey> {
public:
    // argv-style words: each one is a token, nothing is split inside it.
    void setArgs(int argc, char** argv);
    // A text cut into words at PS_CMD_SEPARATORS.
    void setArgs(const char* text);
    void setArgs(const psStringList& tokens) { insertArgs(tokens, end()); }
    void insertArgs(const psStringList& tokens, iterator pos);
    void insertArgs(const char* text, iterator pos);
    // One key before pos when token is a key string.
    bool insertArg(const psString& token, const psString& next, iterator pos);
    bool setArg(const psString& token, const psString& arg);
    bool setArg(char key, const psString& arg);

    // Reads an option file (name used as written) and inserts its keys before pos.
    bool insertFromFile(const psString& fileName, iterator pos);
    // Replaces every -@ key by the keys of its file. Keys read from a file are not
    // scanned again. Returns false when some file could not be read.
    bool expandOptionFiles();

    bool isKey(char key) const;
    // Argument of the last key with this letter.
    bool getArg(char key, psString& arg) const;
};

// Splits a text into words at PS_CMD_SEPARATORS.
psStringList psSplitCommandText(const psString& text);

// Reads the first line (at most 1023 characters, line feed kept) of the file; false
// when it cannot be opened.
bool psReadFirstLine(const psString& fileName, psString& line);

#endif
