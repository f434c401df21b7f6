// psIStream: the input stream that gives a parameter its value from the -d
// settings, else the ini file, else a console question, else the default. It sits
// above the ini file it reads.
#ifndef PS_INSTREAM_H
#define PS_INSTREAM_H

#include "streams.h"

// -d settings: name=value pairs, the last one given for a name wins.
struct psData {
    psString name;
    psString value;
    bool operator==(const psData& o) const { return name == o.name && value == o.value; }
};

class psDataList : public psList<psData> {
public:
    void set(const psString& name, const psString& value);
    bool set(const psString& text);  // "name=value"; false when malformed
    bool get(const psString& name, psString& value) const;
    iterator find(const psString& name);
};

class psIniFile;

class psIStream {
public:
    enum Source { SRC_DEFAULT = 0, SRC_CONSOLE = 1, SRC_INI = 2, SRC_DATA = 3 };

    psIStream() : m_console(nullptr), m_ini(nullptr), m_section("Perf System"), m_writeBack(false), m_source(SRC_DEFAULT) {}
    ~psIStream();

    void setIStream(i_stream* in) { m_console = in; }
    i_stream* getIStream() const { return m_console; }
    void close() {}
    bool setIniFile(const psString& name, bool write);
    psIniFile* getIniFile() const { return m_ini; }
    bool isWriting() const { return m_ini && m_writeBack; }
    void deleteIniFile();
    void deleteIStream() { m_console = nullptr; }
    void setIniSection(const psString& name) { m_section = name; }
    const psString& getIniSection() const { return m_section; }
    psDataList& data() { return m_data; }
    int source() const { return m_source; }

    // Value of a parameter: -d setting, else ini file, else console question, else default.
    psString getItemValue(const psString& name, const psString& def, const psString& prompt, const psString& comment);
    // The console question itself.
    psString getItemValue(i_stream& in, const psString& prompt, const psString& def);

private:
    i_stream* m_console;
    psIniFile* m_ini;
    psDataList m_data;
    psString m_section;
    bool m_writeBack;
    int m_source;
};

extern psIStream g_istrm;

#endif
