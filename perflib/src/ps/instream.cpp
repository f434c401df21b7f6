#include "instream.h"

#include "inifile.h"

psIStream g_istrm;

// ---------------------------------------------------------------- -d settings

psDataList::iterator psDataList::find(const psString& name)
{
    for (iterator it = begin(); it != end(); ++it)
        if (it->name == name) return it;
    return end();
}

void psDataList::set(const psString& name, const psString& value)
{
    psData d{name.trimmed(), value.trimmed()};
    if (d.name.empty()) return;
    iterator it = find(d.name);
    if (it != end()) erase(it);
    add(d);
}

bool psDataList::set(const psString& text)
{
    int eq = text.find('=');
    if (eq < 0) return false;
    psString name = text.substr(0, eq).trimmed();
    if (name.empty()) return false;
    set(name, text.substr(eq + 1));
    return true;
}

bool psDataList::get(const psString& name, psString& value) const
{
    for (const psData& d : *this) {
        if (d.name == name) {
            value = d.value;
            return true;
        }
    }
    return false;
}

// ---------------------------------------------------------------- input stream

psIStream::~psIStream() { deleteIniFile(); }

bool psIStream::setIniFile(const psString& name, bool write)
{
    deleteIniFile();
    m_ini = new psIniFile;
    m_writeBack = write;
    bool ok = m_ini->open(name, write);
    if (!ok && write) {
        deleteIniFile();
        return false;
    }
    return ok;
}

void psIStream::deleteIniFile()
{
    if (m_ini) {
        m_ini->close();
        delete m_ini;
        m_ini = nullptr;
    }
    m_writeBack = false;
}

psString psIStream::getItemValue(const psString& name, const psString& def, const psString& prompt, const psString& comment)
{
    psString ask = prompt.empty() ? name : prompt;
    psString value;
    if (m_data.get(name, value)) {
        m_source = SRC_DATA;
    } else {
        psString fromIni;
        if (m_ini) fromIni = m_ini->read(m_section, name, comment);
        if (!fromIni.empty()) {
            value = fromIni;
            m_source = SRC_INI;
        } else if (m_console) {
            value = getItemValue(*m_console, ask, def);
        } else {
            value = def;
            m_source = SRC_DEFAULT;
        }
    }
    if (m_ini && m_writeBack) m_ini->write(m_section, name, value, comment);
    return value;
}

psString psIStream::getItemValue(i_stream& in, const psString& prompt, const psString& def)
{
    c_out.write(psString("\n ") + prompt + " [" + def + "] = ");
    c_out.flush();
    psString answer;
    in.getline(answer);
    if (answer.empty()) {
        m_source = SRC_DEFAULT;
        return def;
    }
    m_source = SRC_CONSOLE;
    return answer;
}

