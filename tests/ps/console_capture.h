// Test helper: sends everything the console stream writes into a temporary file
// while it lives, and restores the stream's sinks and levels afterwards.
#ifndef TESTS_PS_CONSOLE_CAPTURE_H
#define TESTS_PS_CONSOLE_CAPTURE_H

#include "streams.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

inline std::string psTestTempPath(const std::string& name) { return std::string(::testing::TempDir()) + name; }

inline std::string psTestReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

class ConsoleCapture {
public:
    explicit ConsoleCapture(const std::string& name) : m_path(psTestTempPath(name))
    {
        m_outLevel = g_ostrm.getOutLevel();
        m_msgLevel = g_ostrm.getMsgLevel();
        m_file.addStream(m_path.c_str(), false);
        g_ostrm.swapSinks(m_file);
    }
    ~ConsoleCapture()
    {
        g_ostrm.swapSinks(m_file);
        g_ostrm.setOutLevel(m_outLevel);
        g_ostrm.setMsgLevel(m_msgLevel);
        std::remove(m_path.c_str());
    }
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    // Everything written so far.
    std::string text()
    {
        g_ostrm.flush();
        return psTestReadFile(m_path);
    }

private:
    std::string m_path;
    psOStream m_file;
    OutputLevel m_outLevel;
    MessageLevel m_msgLevel;
};

#endif
