// Helpers shared by the framework's unit tests: temporary files that stay apart when
// ctest runs several test processes at once, refusals of parameter texts, and a
// capture of what the console or the performance table writes.
#ifndef TESTS_PS_HELPERS_H
#define TESTS_PS_HELPERS_H

#include "parameter.h"
#include "streams.h"
#include "table.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

inline std::string psTestTempPath(const std::string& name) {
    return std::string(::testing::TempDir()) + "perfdc_" + std::to_string(getpid()) + "_" + name;
}

inline std::string psTestReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

inline void psTestWriteFile(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline std::vector<std::string> psTestLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// The text of the refusal, or "" when the parameter takes the text.
inline std::string psTestRefusal(psParameter& p, const char* text) {
    try {
        p.translate(text);
    } catch (psException& e) {
        return e.info();
    }
    return "";
}

// While it lives, what the stream (the console unless another is named) writes goes
// to a temporary file; the stream's files and the console's levels are restored after.
class Capture {
public:
    explicit Capture(psSinks& stream = g_ostrm)
        : m_stream(stream), m_path(psTestTempPath("capture" + std::to_string(++serial()) + ".txt")),
          m_outLevel(g_ostrm.getOutLevel()), m_msgLevel(g_ostrm.getMsgLevel()) {
        m_file.addStream(m_path.c_str(), false);
        m_stream.swapSinks(m_file);
    }
    ~Capture() {
        m_stream.swapSinks(m_file);
        g_ostrm.setOutLevel(m_outLevel);
        g_ostrm.setMsgLevel(m_msgLevel);
        std::remove(m_path.c_str());
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    std::string text() { m_stream.flush(); return psTestReadFile(m_path); }

private:
    static int& serial() { static int n = 0; return n; }
    psSinks& m_stream;
    std::string m_path;
    psSinks m_file;
    OutputLevel m_outLevel;
    MessageLevel m_msgLevel;
};

#endif
