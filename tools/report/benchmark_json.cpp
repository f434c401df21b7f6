#include "benchmark_json.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <ctime>
#include <map>

namespace report {

namespace {

using Json = nlohmann::ordered_json;

// One row's figures in one run; a set measured twice in a run keeps its lower figure.
struct Entry {
    int run = 0;
    double clocks = 0, core = 0;
    long iterations = 1;
    bool disturbed = false;
};

struct Benchmark {
    std::string name;
    std::vector<Entry> runs;
};

// perfdc's comment cell names the loop count as "nLps=<n>".
long loopsOf(const std::string& comment) {
    const size_t at = comment.find("nLps=");
    if (at == std::string::npos) return 1;
    const long n = std::strtol(comment.c_str() + at + 5, nullptr, 10);
    return n > 0 ? n : 1;
}

// The Start text ("Tue Nov 24 00:53:39 2026", local time of the measuring
// machine) in the ISO form the format uses; the text itself when it is not that.
std::string isoDate(const std::string& start) {
    std::tm tm{};
    const char* end = strptime(start.c_str(), "%a %b %d %H:%M:%S %Y", &tm);
    if (!end || *end) return start;
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%S", &tm);
    return buf;
}

Json context(const Table& t) {
    Json c;
    const RunRecord* r = nullptr;
    for (const RunInfo& run : t.runs)
        if (run.record) {
            r = &*run.record;
            break;
        }
    c["date"] = isoDate(t.fact("Start"));
    c["host_name"] = r && !r->hostName.empty() ? r->hostName : t.fact("Computer");
    c["executable"] = r && !r->executable.empty() ? r->executable : "perfdc";
    if (r && r->logicalCpus > 0) c["num_cpus"] = r->logicalCpus;
    if (r && r->tscHz > 0) c["mhz_per_cpu"] = std::lround(r->tscHz / 1e6);
    if (r && !r->governor.empty()) c["cpu_scaling_enabled"] = r->governor != "performance";
    if (r && !r->caches.empty()) {
        Json caches = Json::array();
        for (const std::string& cache : r->caches) {
            Json parsed = Json::parse(cache, nullptr, false);
            caches.push_back(parsed.is_discarded() ? Json(cache) : parsed);
        }
        c["caches"] = caches;
    }
    if (r && !r->buildType.empty()) {
        std::string type = r->buildType;
        for (char& ch : type) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
        c["library_build_type"] = type.find("deb") != std::string::npos ? "debug" : "release";
    }
    c["perfdc_computer"] = t.fact("Computer");
    c["perfdc_library"] = t.fact("Library");
    c["perfdc_timing"] = t.fact("Timing");
    if (r && !r->cpu.empty()) c["perfdc_cpu"] = r->cpu;
    if (r && !r->lumPath.empty()) c["perfdc_lum_path"] = r->lumPath;
    if (r && !r->preload.empty()) c["perfdc_preload"] = r->preload;
    c["perfdc_runs"] = t.runs.size();
    return c;
}

double mean(const std::vector<double>& v) {
    double sum = 0;
    for (double x : v) sum += x;
    return sum / static_cast<double>(v.size());
}

double stddev(const std::vector<double>& v) {
    if (v.size() < 2) return 0;
    const double m = mean(v);
    double sum = 0;
    for (double x : v) sum += (x - m) * (x - m);
    return std::sqrt(sum / static_cast<double>(v.size() - 1));
}

double medianOf(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    const size_t mid = v.size() / 2;
    return v.size() % 2 ? v[mid] : (v[mid - 1] + v[mid]) / 2;
}

}  // namespace

std::string benchmarkName(const std::string& function, const std::vector<std::string>& parms) {
    std::string name = function;
    for (const std::string& p : parms)
        if (!p.empty() && p != "-") name += "/" + p;
    return name;
}

void writeBenchmarkJson(std::ostream& out, const Table& table, double tscHz) {
    std::vector<double> rate(table.runs.size(), tscHz);
    for (size_t i = 0; i < table.runs.size(); ++i) {
        const std::optional<RunRecord>& rec = table.runs[i].record;
        if (rec && rec->tscHz > 0) rate[i] = rec->tscHz;
        if (!(rate[i] > 0))
            throw TableError(fmt::format("{}: run {} has no TSC rate (no run record with host.tsc_hz beside the table) "
                                         "to turn clocks into nanoseconds: give it with --tsc-ghz",
                                         table.name, i + 1));
    }

    std::vector<Benchmark> benchmarks;
    std::map<std::string, size_t> index;
    for (const Row& row : table.rows) {
        const std::string name = benchmarkName(row.function, row.parms);
        auto [it, fresh] = index.emplace(name, benchmarks.size());
        if (fresh) benchmarks.push_back(Benchmark{name, {}});
        std::vector<Entry>& runs = benchmarks[it->second].runs;
        Entry e{row.run, row.clocks, row.corePerTick > 0 ? row.clocks * row.corePerTick : 0, loopsOf(row.comment),
                row.disturbed};
        if (!runs.empty() && runs.back().run == row.run) {
            if (e.clocks < runs.back().clocks) runs.back() = e;
        } else {
            runs.push_back(e);
        }
    }

    Json doc;
    doc["context"] = context(table);
    Json list = Json::array();
    for (size_t family = 0; family < benchmarks.size(); ++family) {
        const Benchmark& b = benchmarks[family];
        const int repetitions = static_cast<int>(b.runs.size());
        auto entry = [&](const std::string& name, const char* runType) {
            Json j;
            j["name"] = name;
            j["family_index"] = family;
            j["per_family_instance_index"] = 0;
            j["run_name"] = b.name;
            j["run_type"] = runType;
            j["repetitions"] = repetitions;
            return j;
        };
        auto times = [](Json& j, double ns, double clocks, double core) {
            j["real_time"] = ns;
            j["cpu_time"] = ns;
            j["time_unit"] = "ns";
            j["clocks_per_element"] = clocks;
            if (core > 0) j["core_clocks_per_element"] = core;
        };
        std::vector<double> ns, clocks, core;
        bool coreKnown = true;
        for (int i = 0; i < repetitions; ++i) {
            const Entry& e = b.runs[i];
            Json j = entry(b.name, "iteration");
            j["repetition_index"] = i;
            j["threads"] = 1;
            j["iterations"] = e.iterations;
            ns.push_back(e.clocks / rate[e.run] * 1e9);
            clocks.push_back(e.clocks);
            core.push_back(e.core);
            coreKnown = coreKnown && e.core > 0;
            times(j, ns.back(), e.clocks, e.core);
            if (e.disturbed) j["disturbed"] = true;
            list.push_back(j);
        }
        if (repetitions < 2) continue;
        const std::pair<const char*, double (*)(const std::vector<double>&)> aggregates[] = {
            {"mean", mean}, {"median", [](const std::vector<double>& v) { return medianOf(v); }}, {"stddev", stddev}};
        for (const auto& [what, fn] : aggregates) {
            Json j = entry(b.name + "_" + what, "aggregate");
            j["threads"] = 1;
            j["aggregate_name"] = what;
            j["aggregate_unit"] = "time";
            j["iterations"] = repetitions;
            times(j, fn(ns), fn(clocks), coreKnown ? fn(core) : 0);
            list.push_back(j);
        }
    }
    doc["benchmarks"] = list;
    out << doc.dump(2) << "\n";
}

}  // namespace report
