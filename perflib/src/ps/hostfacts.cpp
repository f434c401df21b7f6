#include "hostfacts.h"

#include "cpuinfo.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <sys/utsname.h>

namespace {

const char* const kCpuDir = "/sys/devices/system/cpu/";

bool readRealFile(const std::string& path, std::string& text)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::ostringstream s;
    s << in.rdbuf();
    text = s.str();
    return !in.bad();
}

std::string realKernel()
{
    utsname u;
    if (uname(&u) != 0) return std::string();
    return std::string(u.sysname) + " " + u.release;
}

const psOsSource kRealOs = {readRealFile, realKernel};

// The first line of a file, trimmed; false when the file cannot be read or is empty.
bool readLine(const psOsSource& os, const std::string& path, std::string& line)
{
    std::string text;
    if (!os.readFile(path, text)) return false;
    line = text.substr(0, text.find('\n'));
    while (!line.empty() && (line.back() == ' ' || line.back() == '\r')) line.pop_back();
    return !line.empty();
}

// The 12 printable characters of three CPUID registers, trimmed.
psString registerName(unsigned b, unsigned c, unsigned d)
{
    psString s;
    for (unsigned reg : {b, c, d})
        for (int byte = 0; byte < 4; ++byte) {
            char ch = static_cast<char>(reg >> (8 * byte));
            if (ch >= 0x20 && ch < 0x7F) s += ch;
        }
    return s.trimmed();
}

void hypervisor(psRunHost& h)
{
    h.underHypervisor = psCpuid(1).c >> 31 & 1u;
    if (!h.underHypervisor) {
        h.hypervisor.missing("the processor reports no hypervisor (CPUID leaf 1, ECX bit 31 clear)");
        return;
    }
    // The hypervisor leaves lie outside the basic range, so they are asked directly.
    psCpuidRegs r = psHost().cpuid(0x40000000u, 0);
    psString name = registerName(r.b, r.c, r.d);
    if (name.empty())
        h.hypervisor.missing("a hypervisor is present but CPUID leaf 0x40000000 gives no name");
    else
        h.hypervisor.set(name);
}

// The rate the processor states: leaf 0x15 (crystal and ratio), else the timing
// leaf 0x40000010 some hypervisors give (kHz in EAX).
void statedTscHz(psRunHost& h)
{
    psCpuidRegs r = psCpuid(0x15);
    if (r.a && r.b && r.c) {
        h.tscHz.set(static_cast<long long>(r.c) * r.b / r.a);
        h.tscHzSource = "CPUID leaf 0x15";
        return;
    }
    if (h.underHypervisor && psHost().cpuid(0x40000000u, 0).a >= 0x40000010u) {
        unsigned khz = psHost().cpuid(0x40000010u, 0).a;
        if (khz) {
            h.tscHz.set(khz * 1000LL);
            h.tscHzSource = "CPUID leaf 0x40000010";
            return;
        }
    }
    h.tscHz.missing("no CPUID leaf states the counter's rate and the run did not measure it");
}

void invariantTsc(psRunHost& h)
{
    if (psCpuid(0x80000000u).a < 0x80000007u)
        h.invariantTsc.missing("the processor does not answer CPUID leaf 0x80000007");
    else
        h.invariantTsc.set(psCpuid(0x80000007u).d >> 8 & 1u);
}

void governor(psRunHost& h, const psOsSource& os)
{
    std::set<std::string> names;
    std::string list;
    const long cpus = h.logicalCpus.value.value_or(1);
    for (long i = 0; i < cpus; ++i) {
        std::string name;
        if (!readLine(os, kCpuDir + ("cpu" + std::to_string(i)) + "/cpufreq/scaling_governor", name)) continue;
        if (names.insert(name).second) list += (list.empty() ? "" : ",") + name;
    }
    if (list.empty())
        h.governor.missing("no frequency scaling driver is active (no cpufreq/scaling_governor in sysfs)");
    else
        h.governor.set(list);
}

void boost(psRunHost& h, const psOsSource& os)
{
    std::string v;
    if (readLine(os, kCpuDir + std::string("cpufreq/boost"), v) && (v == "0" || v == "1"))
        h.boost.set(v == "1");
    else if (readLine(os, kCpuDir + std::string("intel_pstate/no_turbo"), v) && (v == "0" || v == "1"))
        h.boost.set(v == "0");
    else
        h.boost.missing("the kernel shows no boost switch (neither cpufreq/boost nor intel_pstate/no_turbo)");
}

}  // namespace

const psOsSource& psRealOs() { return kRealOs; }

int psCountCpuList(const std::string& list)
{
    int count = 0;
    std::string text = list;
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, ',');) {
        unsigned first = 0, last = 0;
        char dash = 0, extra = 0;
        const int n = std::sscanf(part.c_str(), "%u%c%u%c", &first, &dash, &last, &extra);
        if (n == 1)
            ++count;
        else if (n == 3 && dash == '-' && last >= first)
            count += static_cast<int>(last - first + 1);
        else
            return 0;
    }
    return count;
}

psRunHost psGatherRunHost(const psOsSource& os)
{
    psRunHost h;
    psString name = psCpuName();
    if (name.empty())
        h.cpu.missing("the processor names itself neither by brand nor by vendor");
    else
        h.cpu.set(name);

    long cpus = psHost().onlineProcessors();
    if (cpus > 0)
        h.logicalCpus.set(cpus);
    else
        h.logicalCpus.missing("the operating system does not tell the number of online CPUs");

    std::string siblings;
    int perCore = readLine(os, kCpuDir + std::string("cpu0/topology/thread_siblings_list"), siblings)
                      ? psCountCpuList(siblings)
                      : 0;
    if (perCore > 0)
        h.threadsPerCore.set(perCore);
    else
        h.threadsPerCore.missing("the operating system does not describe the core topology (cpu0/topology in sysfs)");

    hypervisor(h);
    statedTscHz(h);
    invariantTsc(h);

    std::string kernel = os.kernel();
    if (kernel.empty())
        h.kernel.missing("uname gave no answer");
    else
        h.kernel.set(kernel);

    governor(h, os);
    boost(h, os);
    return h;
}

void psSetMeasuredTscHz(psRunHost& host, unsigned long long ticks, double seconds)
{
    if (host.tscHz.value || seconds <= 0 || ticks == 0) return;
    host.tscHz.set(static_cast<long long>(ticks / seconds + 0.5));
    host.tscHzSource = "measured against the monotonic clock over the run";
}
