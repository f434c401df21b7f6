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

// While it lives, the framework reads this machine in place of the real one; `os()`
// is the simulated operating system for the run-record probes.
class Simulated {
public:
    explicit Simulated(const SimHost& host) {
        current() = &host;
        xgetbvCalled() = false;
        psSimulateHost(&kSource);
    }
    ~Simulated() {
        psSimulateHost(nullptr);
        current() = nullptr;
    }
    Simulated(const Simulated&) = delete;
    Simulated& operator=(const Simulated&) = delete;

    static const psOsSource& os() { return kOs; }
    static bool& xgetbvCalled() {
        static bool called = false;
        return called;
    }

private:
    static const SimHost*& current() {
        static const SimHost* host = nullptr;
        return host;
    }
    static psCpuidRegs cpuid(unsigned leaf, unsigned sub) {
        for (const SimLeaf& l : current()->leaves)
            if (l.leaf == leaf && l.sub == sub) return l.regs;
        return psCpuidRegs();
    }
    static unsigned long long xgetbv() {
        xgetbvCalled() = true;
        return current()->xcr0;
    }
    static long long osCache() { return current()->osCacheBytes; }
    static long processors() { return current()->processors; }
    static bool readFile(const std::string& path, std::string& text) {
        auto it = current()->files.find(path);
        if (it == current()->files.end()) return false;
        text = it->second;
        return true;
    }
    static std::string kernel() { return current()->kernel; }

    static constexpr psHostSource kSource = {cpuid, xgetbv, osCache, processors};
    static constexpr psOsSource kOs = {readFile, kernel};
};

#endif
