// A simulated machine for the host-fact tests: CPUID leaves (unlisted ones answer all
// zero), the register state the OS saves, the OS's cache size and processor count,
// and the /proc and /sys files and kernel text the run record reads.
#ifndef TESTS_PS_SIMHOST_H
#define TESTS_PS_SIMHOST_H

#include "host.h"
#include "hostfacts.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

struct SimLeaf {
    unsigned leaf, sub;
    psCpuidRegs regs;
};

struct SimHost {
    std::vector<SimLeaf> leaves;
    unsigned long long xcr0 = 0;
    long long osCacheBytes = 0;
    long processors = 2;
    std::map<std::string, std::string> files{};
    std::string kernel{};
};

inline psCpuidRegs regs(unsigned a, unsigned b = 0, unsigned c = 0, unsigned d = 0) {
    psCpuidRegs r;
    r.a = a, r.b = b, r.c = c, r.d = d;
    return r;
}

// Up to 16 characters as the registers a, b, c, d of one brand leaf.
inline psCpuidRegs text16(const char* text) {
    unsigned v[4] = {0, 0, 0, 0};
    std::memcpy(v, text, std::min<size_t>(std::strlen(text), 16));
    return regs(v[0], v[1], v[2], v[3]);
}

inline const SimHost* g_simHost = nullptr;
inline bool g_xgetbvCalled = false;

inline const psHostSource kSimHostSource = {
    [](unsigned leaf, unsigned sub) {
        for (const SimLeaf& l : g_simHost->leaves)
            if (l.leaf == leaf && l.sub == sub) return l.regs;
        return psCpuidRegs();
    },
    [] { return g_xgetbvCalled = true, g_simHost->xcr0; },
    [] { return g_simHost->osCacheBytes; },
    [] { return g_simHost->processors; }};

inline const psOsSource kSimOs = {
    [](const std::string& path, std::string& text) {
        auto it = g_simHost->files.find(path);
        if (it == g_simHost->files.end()) return false;
        text = it->second;
        return true;
    },
    [] { return g_simHost->kernel; }};

// While it lives, the framework reads the machine in place of the real one (and the
// run-record probes read kSimOs).
struct Simulated {
    explicit Simulated(const SimHost& host) {
        g_simHost = &host;
        g_xgetbvCalled = false;
        psSimulateHost(&kSimHostSource);
    }
    ~Simulated() {
        psSimulateHost(nullptr);
        g_simHost = nullptr;
    }
    Simulated(const Simulated&) = delete;
    Simulated& operator=(const Simulated&) = delete;
};

#endif
