// psIniFile: the ini file held in memory. Section "Perf System" keeps the common
// parameters, a section per function name keeps that function's parameters.
#ifndef PS_INIFILE_H
#define PS_INIFILE_H

#include "psstring.h"

struct psValueItem {
    psString name;
    psString value;    // "~~~" marks a bare name written without "="
    psString comment;
    bool operator==(const psValueItem& o) const { return name == o.name; }
};

class psValues : public psList<psValueItem> {
public:
    psValueItem* exist(const psString& name);
};

struct psSectionItem {
    psString name;
    psValues values;
    bool operator==(const psSectionItem& o) const { return name == o.name; }
};

class psSections : public psList<psSectionItem> {
public:
    psSectionItem* exist(const psString& name);
};

class psIniFile {
public:
    psIniFile() : m_modified(false), m_write(false) {}
    ~psIniFile() { close(); }

    // Reads the file (name used as given). With write, a missing file is created
    // empty instead; returns false when that fails or when reading fails.
    bool open(const psString& name, bool write);
    psString read(const psString& section, const psString& name, const psString& comment = psString());
    void write(const psString& section, const psString& name, const psString& value, const psString& comment);
    void write(const psString& section);
    void write(const psString& section, const psString& name);
    bool sectionExist(const psString& section);
    bool valueExist(const psString& section, const psString& name);
    psValues* getSectionValues(const psString& section);
    void eraseSection(const psString& section);
    void deleteKey(const psString& section, const psString& name);
    void updateFile();
    void close();

    const psString& fileName() const { return m_name; }
    bool isModified() const { return m_modified; }
    psSections& sections() { return m_sections; }

private:
    psString m_name;
    psSections m_sections;
    bool m_modified;
    bool m_write;
};

#endif
