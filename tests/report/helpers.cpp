#include "helpers.h"

#include <sstream>

std::string runTitle(const std::string& start) {
    return "Computer,Test machine; 2 logical processors\nLibrary,lumdc AVX2 (l9); 9.0.0\nStart," + start +
           "\nTiming,Auto\nTest,all 5 tests\n"
           "function,Parm1,Parm2,Parm3,Parm4,Parm5,Parm6,Parm7,Parm8,Comment,Clocks,per,Time (usec),MFlops\n";
}

std::string row(const std::string& function, const std::string& parm, const std::string& clocks,
                const std::string& comment) {
    return function + "," + parm + ",-,-,-,-,-,-,-," + comment + "," + clocks + ",e,1.0,-\n";
}

report::Table tableOf(const std::string& text, const std::string& name) {
    std::istringstream in(text);
    return report::parseTable(in, name);
}

nlohmann::json recordOf(const std::string& start, const std::vector<std::pair<std::string, bool>>& tests) {
    nlohmann::json r = {
        {"start", start},
        {"command", {"perfdc", "-B"}},
        {"host", {{"cpu", "Test CPU"}, {"logical_cpus", 2}, {"hypervisor", nullptr}, {"tsc_hz", 2.5e9},
                  {"governor", "performance"}}},
        {"build", {{"compiler", "GCC 12"}, {"build_type", "Release"}, {"lum_path", "avx2"}, {"preload", nullptr}}},
        {"clock", {{"core_per_tick_start", 1.4}, {"core_per_tick_end", 1.6}, {"cycle_counter", "perf_event"}}},
        {"tests", nlohmann::json::array()}};
    for (const auto& [function, disturbed] : tests)
        r["tests"].push_back({{"function", function}, {"seconds", 1.0}, {"other_cpus_busy", disturbed ? 0.6 : 0.0},
                              {"steal", 0.0}, {"disturbed", disturbed}});
    return r;
}

report::Table recordedTableOf(const std::string& text, const std::vector<nlohmann::json>& record,
                              const std::string& name) {
    report::Table t = tableOf(text, name);
    std::string lines;
    for (const nlohmann::json& r : record) lines += r.dump() + "\n";
    std::istringstream in(lines);
    report::attachRecord(t, report::parseRecord(in, "t.runs.jsonl"), "t.runs.jsonl");
    return t;
}
