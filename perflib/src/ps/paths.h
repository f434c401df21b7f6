// File paths and default names: every file the harness reads or writes is named
// from a default name (program title or -n), an input directory (-p) and an output
// directory (-l), both relative to the program file's directory.
#ifndef PS_PATHS_H
#define PS_PATHS_H

#include "psstring.h"

bool isAbsolutePath(const psString& path);
psString getDirPath(const psString& path, const psString& dir);

class psPaths {
public:
    static psString genDirName(const psString& dir);
    static void setDefName(const psString& name);
    static void setInDir(const psString& dir);
    static void setOutDir(const psString& dir);
    static psString genPathName(const psString& dir, const psString& name, const psString& ext);
    static psString genInPath(const psString& name, const psString& ext) { return genPathName(m_inDir, name, ext); }
    static psString genOutPath(const psString& name, const psString& ext) { return genPathName(m_outDir, name, ext); }
    static psString getInPath(const psString& name) { return getDirPath(name, m_inDir); }
    static psString getOutPath(const psString& name) { return getDirPath(name, m_outDir); }

    static psString m_exePath;
    static psString m_defName;
    static psString m_inDir;
    static psString m_outDir;
};

#endif
