#include "paths.h"

psString psPaths::m_exePath;
psString psPaths::m_defName;
psString psPaths::m_inDir;
psString psPaths::m_outDir;

bool isAbsolutePath(const psString& path)
{
    return path[0] == '/' || path[0] == '\\' || (path.length() >= 2 && path[1] == ':');
}

psString getDirPath(const psString& path, const psString& dir)
{
    if (isAbsolutePath(path)) return path;
    if (dir.empty()) return psPaths::m_exePath.getFileDir() + path;
    if (!path.startsWith(dir)) return dir + path;
    return path;
}

psString psPaths::genDirName(const psString& dir)
{
    if (dir.empty()) return m_exePath.getFileDir();
    psString d = dir;
    if (d.last() != '\\' && d.last() != '/') d += "/";
    return isAbsolutePath(d) ? d : m_exePath.getFileDir() + d;
}

void psPaths::setDefName(const psString& name) { m_defName = name.empty() ? m_exePath.getFileTitle() : name; }
void psPaths::setInDir(const psString& dir) { m_inDir = genDirName(dir); }
void psPaths::setOutDir(const psString& dir) { m_outDir = genDirName(dir); }

psString psPaths::genPathName(const psString& dir, const psString& name, const psString& ext)
{
    if (isAbsolutePath(name)) return name;
    psString n = name.empty() ? m_defName + ext : name;
    if (n.find('.') < 0) n += ext;
    return dir + n;
}
