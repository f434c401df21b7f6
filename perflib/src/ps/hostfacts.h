// Facts of the machine a run measures on, as the run record keeps them: processor
// name, CPU counts, hypervisor, time-stamp counter rate and invariance, kernel,
// frequency governor and boost. A fact the processor or the operating system does
// not give is left unknown with the reason, never guessed.
#ifndef PS_HOSTFACTS_H
#define PS_HOSTFACTS_H

#include "psstring.h"

#include <optional>
#include <string>

// Where the probes read the operating system. Tests put a simulated one in its place;
// CPUID comes through the framework's host source (psSimulateHost).
struct psOsSource {
    // The whole text of a small /proc or /sys file; false when it cannot be read.
    bool (*readFile)(const std::string& path, std::string& text);
    // System name and kernel release (uname); empty when unknown.
    std::string (*kernel)();
};
const psOsSource& psRealOs();

// A fact that may be missing; `reason` says why it is.
template <class T>
struct psFact {
    std::optional<T> value;
    psString reason;

    void set(const T& v) { value = v, reason = psString(); }
    void missing(const psString& why) { value.reset(), reason = why; }
};

struct psRunHost {
    psFact<psString> cpu;
    psFact<long> logicalCpus;
    psFact<int> threadsPerCore;
    bool underHypervisor = false;    // CPUID says so, named or not
    psFact<psString> hypervisor;     // the name leaf 0x40000000 gives
    psFact<long long> tscHz;
    psString tscHzSource;            // which answer gave tscHz
    psFact<bool> invariantTsc;
    psFact<psString> kernel;
    psFact<psString> governor;       // the governors in force, "," between different ones
    psFact<bool> boost;
};

// Everything but a measured counter rate; tscHz stays unknown when no CPUID leaf
// states the rate (psSetMeasuredTscHz fills it at the end of a run).
psRunHost psGatherRunHost(const psOsSource& os);

// Counter ticks over an interval of the monotonic clock as the rate, when no
// processor leaf stated it.
void psSetMeasuredTscHz(psRunHost& host, unsigned long long ticks, double seconds);

// Number of CPUs in a sysfs CPU list such as "0-3,8,10-11"; 0 when it is not one.
int psCountCpuList(const std::string& list);

#endif
