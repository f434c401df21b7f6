#include "runrecord.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

using Json = nlohmann::ordered_json;

double rounded(double v, int digits)
{
    const double scale = std::pow(10.0, digits);
    return std::round(v * scale) / scale;
}

Json toJson(const psString& s) { return s.str(); }
Json toJson(bool v) { return v; }
Json toJson(long v) { return v; }
Json toJson(int v) { return v; }
Json toJson(long long v) { return v; }
Json toJson(double v) { return rounded(v, 4); }

// The value under its key, or null with the reason under "<key>_reason".
template <class T>
void put(Json& o, const std::string& key, const psFact<T>& fact)
{
    if (fact.value) {
        o[key] = toJson(*fact.value);
    } else {
        o[key] = nullptr;
        o[key + "_reason"] = fact.reason.str();
    }
}

Json ratio(double perTick) { return perTick > 0 ? Json(rounded(perTick, 3)) : Json(nullptr); }

Json hostJson(const psRunHost& h)
{
    Json o = Json::object();
    put(o, "cpu", h.cpu);
    put(o, "logical_cpus", h.logicalCpus);
    put(o, "threads_per_core", h.threadsPerCore);
    put(o, "hypervisor", h.hypervisor);
    put(o, "tsc_hz", h.tscHz);
    if (h.tscHz.value) o["tsc_hz_source"] = h.tscHzSource.str();
    put(o, "invariant_tsc", h.invariantTsc);
    put(o, "kernel", h.kernel);
    put(o, "governor", h.governor);
    put(o, "boost", h.boost);
    return o;
}

Json buildJson(const psBuildFacts& b)
{
    Json o = {{"compiler", b.compiler.str()}, {"build_type", b.buildType.str()}};
    put(o, "lum_path", b.lumPath);
    put(o, "preload", b.preload);
    return o;
}

Json clockJson(const psClockFacts& c)
{
    Json o = {{"core_per_tick_start", ratio(c.start.chainPerTick)},
              {"core_per_tick_end", ratio(c.end.chainPerTick)},
              {"cycle_counter", c.cycleCounter.str()}};
    if (c.start.counterPerTick > 0 || c.end.counterPerTick > 0) {
        o["counter_core_per_tick_start"] = ratio(c.start.counterPerTick);
        o["counter_core_per_tick_end"] = ratio(c.end.counterPerTick);
    }
    return o;
}

Json testJson(const psTestRecord& t)
{
    Json o = {{"function", t.function.str()}, {"seconds", rounded(t.load.seconds, 3)}};
    put(o, "other_cpus_busy", t.load.otherCpusBusy);
    put(o, "steal", t.load.steal);
    put(o, "migrations", t.load.migrations);
    o["involuntary_switches"] = t.load.involuntarySwitches;
    o["disturbed"] = t.load.disturbed;
    return o;
}

// "63%" for a share; one decimal below 10 %.
std::string percent(double share)
{
    char buf[32];
    std::snprintf(buf, sizeof buf, share < 0.1 ? "%.1f%%" : "%.0f%%", share * 100);
    return buf;
}

}  // namespace

psString psRunRecordLine(const psRunRecord& run)
{
    Json command = Json::array();
    for (const psString& arg : run.command) command.push_back(arg.str());
    Json tests = Json::array();
    for (const psTestRecord& t : run.tests) tests.push_back(testJson(t));
    Json o = {{"start", run.start.str()},
              {"command", command},
              {"host", hostJson(run.host)},
              {"build", buildJson(run.build)},
              {"clock", clockJson(run.clock)},
              {"tests", tests},
              {"probe_cpu_seconds", rounded(run.probeSeconds, 4)}};
    // Arguments are bytes, not necessarily UTF-8: invalid sequences become U+FFFD.
    return o.dump(-1, ' ', false, Json::error_handler_t::replace);
}

psString psRunRecordPath(const psString& tablePath)
{
    std::string p = tablePath.str();
    const std::string csv = ".csv";
    if (p.size() > csv.size() && p.compare(p.size() - csv.size(), csv.size(), csv) == 0) p.resize(p.size() - csv.size());
    return p + ".runs.jsonl";
}

bool psWriteRunRecord(const psString& path, const psString& line, bool append, psString& error)
{
    FILE* f = std::fopen(path.c_str(), append ? "a" : "w");
    if (!f) {
        error = std::strerror(errno);
        return false;
    }
    const std::string text = line.str() + "\n";
    bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    if (!ok) error = std::strerror(errno);
    if (std::fclose(f) != 0 && ok) {
        ok = false;
        error = std::strerror(errno);
    }
    return ok;
}

psString psSpoilingConditions(const psRunHost& host, const psBuildFacts& build)
{
    std::string list;
    auto add = [&list](const std::string& s) { list += (list.empty() ? "" : "; ") + s; };
    if (host.governor.value && *host.governor.value != "performance")
        add("frequency governor " + host.governor.value->str() + ", not performance");
    if (build.debug) add("a debug build (" + build.buildType.str() + ")");
    if (host.underHypervisor)
        add("a virtual machine" + (host.hypervisor.value ? " (" + host.hypervisor.value->str() + ")" : std::string()));
    if (list.empty()) return psString();
    return psString("-- Figures of this run may be off: ") + list + "\n";
}

psString psDisturbedWarning(const psTestRecord& t)
{
    if (!t.load.disturbed) return psString();
    std::string what;
    const double busy = t.load.otherCpusBusy.value.value_or(0), steal = t.load.steal.value.value_or(0);
    if (busy > PS_OTHER_BUSY_LIMIT) what = "other CPUs busy " + percent(busy) + " of the time";
    if (steal > PS_STEAL_LIMIT)
        what += (what.empty() ? "" : ", ") + percent(steal) + " of the time stolen by the hypervisor";
    return psString("-- ") + t.function + ": " + what + "; figures may be high\n";
}
