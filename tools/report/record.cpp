#include "record.h"

#include "table.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace report {

namespace {

using nlohmann::json;

// Facts of the wrong kind count as unknown: a record from another version of
// perfdc may word them differently, and none of them is worth refusing a table.
std::string textAt(const json& object, const char* key) {
    if (!object.is_object()) return {};
    auto it = object.find(key);
    return it != object.end() && it->is_string() ? it->get<std::string>() : std::string();
}

double numberAt(const json& object, const char* key) {
    if (!object.is_object()) return 0;
    auto it = object.find(key);
    return it != object.end() && it->is_number() ? it->get<double>() : 0;
}

const json& objectAt(const json& object, const char* key) {
    static const json none = json::object();
    auto it = object.find(key);
    return it != object.end() && it->is_object() ? *it : none;
}

RunRecord runOf(const json& line, const std::string& name) {
    RunRecord r;
    r.name = name;
    r.start = textAt(line, "start");
    if (auto c = line.find("command"); c != line.end() && c->is_array() && !c->empty() && c->front().is_string())
        r.executable = c->front().get<std::string>();
    const json& host = objectAt(line, "host");
    r.hostName = textAt(host, "host_name");
    if (r.hostName.empty()) r.hostName = textAt(host, "hostname");
    r.cpu = textAt(host, "cpu");
    r.hypervisor = textAt(host, "hypervisor");
    r.kernel = textAt(host, "kernel");
    r.governor = textAt(host, "governor");
    r.logicalCpus = static_cast<int>(numberAt(host, "logical_cpus"));
    r.tscHz = numberAt(host, "tsc_hz");
    if (auto c = host.find("caches"); c != host.end() && c->is_array())
        for (const json& cache : *c) r.caches.push_back(cache.is_string() ? cache.get<std::string>() : cache.dump());
    const json& build = objectAt(line, "build");
    r.compiler = textAt(build, "compiler");
    r.buildType = textAt(build, "build_type");
    r.lumPath = textAt(build, "lum_path");
    r.preload = textAt(build, "preload");
    const json& clock = objectAt(line, "clock");
    r.corePerTickStart = numberAt(clock, "core_per_tick_start");
    r.corePerTickEnd = numberAt(clock, "core_per_tick_end");
    r.cycleCounter = textAt(clock, "cycle_counter");
    if (auto t = line.find("tests"); t != line.end() && t->is_array()) {
        for (const json& test : *t) {
            TestRecord tr{textAt(test, "function"), false, -1, -1};
            if (tr.function.empty()) continue;
            if (auto d = test.find("disturbed"); d != test.end() && d->is_boolean()) tr.disturbed = d->get<bool>();
            if (auto b = test.find("other_cpus_busy"); b != test.end() && b->is_number()) tr.otherCpusBusy = *b;
            if (auto s = test.find("steal"); s != test.end() && s->is_number()) tr.steal = *s;
            r.tests.push_back(tr);
        }
    }
    return r;
}

}  // namespace

double RunRecord::corePerTick() const {
    const bool start = corePerTickStart > 0, end = corePerTickEnd > 0;
    if (start && end) return (corePerTickStart + corePerTickEnd) / 2;
    return start ? corePerTickStart : end ? corePerTickEnd : 0;
}

const TestRecord* RunRecord::test(const std::string& function) const {
    for (const TestRecord& t : tests)
        if (t.function == function) return &t;
    return nullptr;
}

RecordFile parseRecord(std::istream& in, const std::string& name) {
    RecordFile file;
    std::string text;
    for (int number = 1; std::getline(in, text); ++number) {
        if (text.find_first_not_of(" \t\r") == std::string::npos) continue;
        const std::string where = fmt::format("{}:{}", name, number);
        json line = json::parse(text, nullptr, false);
        if (line.is_discarded() || !line.is_object()) {
            file.notes.push_back(fmt::format("{}: not a complete JSON object (a cut line?), left out", where));
            continue;
        }
        RunRecord run = runOf(line, where);
        if (run.start.empty()) {
            file.notes.push_back(fmt::format("{}: no \"start\" text to match a run of the table, left out", where));
            continue;
        }
        file.runs.push_back(std::move(run));
    }
    return file;
}

std::string recordPathFor(const std::string& tablePath) {
    const std::string csv = ".csv";
    const bool isCsv = tablePath.size() > csv.size() && tablePath.compare(tablePath.size() - csv.size(), csv.size(), csv) == 0;
    return (isCsv ? tablePath.substr(0, tablePath.size() - csv.size()) : tablePath) + ".runs.jsonl";
}

void attachRecord(Table& table, const RecordFile& record, const std::string& recordName) {
    table.notes.insert(table.notes.end(), record.notes.begin(), record.notes.end());
    std::vector<bool> used(record.runs.size(), false);
    for (size_t i = 0; i < table.runs.size(); ++i) {
        RunInfo& run = table.runs[i];
        std::string start;
        for (const auto& [label, text] : run.facts)
            if (label == "Start") start = text;
        size_t r = 0;
        while (r < record.runs.size() && (used[r] || record.runs[r].start != start)) ++r;
        if (r == record.runs.size()) {
            table.notes.push_back(fmt::format("{}: run {} (Start {}) has no line in {}: its disturbed tests and "
                                              "core clocks are unknown",
                                              table.name, i + 1, start.empty() ? "-" : start, recordName));
            continue;
        }
        used[r] = true;
        run.record = record.runs[r];
    }
    for (size_t r = 0; r < record.runs.size(); ++r)
        if (!used[r])
            table.notes.push_back(fmt::format("{}: start '{}' matches no run of {} (was the table rewritten without "
                                              "its record?)",
                                              record.runs[r].name, record.runs[r].start, table.name));
    for (Row& row : table.rows) {
        const std::optional<RunRecord>& rec = table.runs[row.run].record;
        if (!rec) continue;
        const TestRecord* test = rec->test(row.function);
        row.disturbed = test && test->disturbed;
        row.corePerTick = rec->corePerTick();
    }
}

Table loadTable(const std::string& path) {
    Table table = readTable(path);
    const std::string recordPath = recordPathFor(path);
    std::ifstream in(recordPath, std::ios::binary);
    if (!in) {
        table.notes.push_back(fmt::format("{}: no run record {} beside it: disturbed tests and core clocks unknown",
                                          path, recordPath));
        return table;
    }
    attachRecord(table, parseRecord(in, recordPath), recordPath);
    return table;
}

}  // namespace report
