#include "inifile.h"

#include "streams.h"

#include <cerrno>
#include <cstdio>

namespace {

const char* const kBareName = "~~~";

// One line of the file without its comment and surrounding blanks.
psString cleanLine(psString line)
{
    int comment = line.find("//");
    if (comment >= 0) line = line.substr(0, comment);
    line.trim();
    // A file written on another system may end its lines with a carriage return.
    while (line.last() == '\r' || line.last() == ' ' || line.last() == '\t') line = line.substr(0, line.length() - 1);
    return line;
}

// The section name of a header line "[name]", or false when the line is no header.
bool headerName(const psString& line, psString& name)
{
    int open = line.find('[');
    if (open < 0) return false;
    int close = line.find(']', open + 1);
    if (close < 0) return false;
    name = line.substr(open + 1, close - open - 1).trimmed();
    return true;
}

// Opens the file in the mode and closes it again; a failure is reported with its reason.
bool canWrite(const psString& name, const char* how)
{
    FILE* f = std::fopen(name.c_str(), how);
    if (!f) {
        psReportFileError("open", name, IO_WRITE, errno);
        return false;
    }
    std::fclose(f);
    return true;
}

}  // namespace

psValueItem* psValues::exist(const psString& name)
{
    for (psValueItem& v : *this)
        if (v.name == name) return &v;
    return nullptr;
}

psSectionItem* psSections::exist(const psString& name)
{
    for (psSectionItem& s : *this)
        if (s.name == name) return &s;
    return nullptr;
}

bool psIniFile::open(const psString& name, bool write)
{
    close();
    m_name = name;
    m_write = write;
    psString path = name;
    i_stream in(path, IO_READ | IO_EXACT_NAME, !write);
    if (!in.isOpen()) {
        if (!write) return false;
        // Creating the file now tells at once whether it can be written at the end.
        return canWrite(name, "w");
    }
    psSectionItem* current = nullptr;
    psString line;
    while (in.getline(line)) {
        line = cleanLine(line);
        if (line.empty()) continue;
        psString section;
        if (headerName(line, section)) {
            current = m_sections.exist(section);
            if (!current) {
                m_sections.add(psSectionItem{section, psValues()});
                current = &m_sections.back();
            }
            continue;
        }
        if (!current) continue;
        int eq = line.find('=');
        psValueItem item;
        item.name = (eq < 0 ? line : line.substr(0, eq)).trimmed();
        item.value = eq < 0 ? psString(kBareName) : line.substr(eq + 1).trimmed();
        if (!item.name.empty() && !current->values.exist(item.name)) current->values.add(item);
    }
    in.close();
    if (write) {
        // An existing file that cannot be rewritten is as bad as one that cannot be created.
        return canWrite(name, "a");
    }
    return true;
}

psString psIniFile::read(const psString& section, const psString& name, const psString& comment)
{
    (void)comment;
    psSectionItem* s = m_sections.exist(section);
    if (!s) return psString();
    psValueItem* v = s->values.exist(name);
    // A bare name holds no value.
    if (!v || v->value == kBareName) return psString();
    return v->value;
}

void psIniFile::write(const psString& section, const psString& name, const psString& value, const psString& comment)
{
    psSectionItem* s = m_sections.exist(section);
    if (!s) {
        m_sections.add(psSectionItem{section, psValues()});
        s = &m_sections.back();
        m_modified = true;
    }
    if (name.empty() || s->values.exist(name)) return;
    s->values.add(psValueItem{name, value, comment});
    m_modified = true;
}

void psIniFile::write(const psString& section) { write(section, psString(), psString(), psString()); }

void psIniFile::write(const psString& section, const psString& name) { write(section, name, kBareName, psString()); }

bool psIniFile::sectionExist(const psString& section) { return m_sections.exist(section) != nullptr; }

bool psIniFile::valueExist(const psString& section, const psString& name)
{
    psSectionItem* s = m_sections.exist(section);
    return s && s->values.exist(name);
}

psValues* psIniFile::getSectionValues(const psString& section)
{
    psSectionItem* s = m_sections.exist(section);
    return s ? &s->values : nullptr;
}

void psIniFile::eraseSection(const psString& section)
{
    for (auto it = m_sections.begin(); it != m_sections.end(); ++it)
        if (it->name == section) {
            m_sections.erase(it);
            m_modified = true;
            return;
        }
}

void psIniFile::deleteKey(const psString& section, const psString& name)
{
    psValues* values = getSectionValues(section);
    if (!values) return;
    for (auto it = values->begin(); it != values->end(); ++it)
        if (it->name == name) {
            values->erase(it);
            m_modified = true;
            return;
        }
}

void psIniFile::updateFile()
{
    if (!m_modified || m_name.empty()) return;
    FILE* f = std::fopen(m_name.c_str(), "w");
    if (!f) {
        psReportFileError("open", m_name, IO_WRITE, errno);
        return;
    }
    for (const psSectionItem& s : m_sections) {
        std::fprintf(f, "\n[%s]\n", s.name.c_str());
        for (const psValueItem& v : s.values) {
            if (v.value == kBareName) {
                std::fprintf(f, "%s\n", v.name.c_str());
                continue;
            }
            std::fprintf(f, "%s=%s", v.name.c_str(), v.value.c_str());
            if (!v.comment.empty()) std::fprintf(f, "\t// %s", v.comment.c_str());
            std::fputc('\n', f);
        }
    }
    std::fclose(f);
    m_modified = false;
}

void psIniFile::close()
{
    updateFile();
    m_sections.clear();
    m_modified = false;
    m_write = false;
}
