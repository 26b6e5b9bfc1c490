#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <stdexcept>

#include "survey/export/export.h"
#include "survey/run/measure.h"
#include "survey/verdict.h"

namespace survey {
namespace {

constexpr std::array<const char*, 4> rateNames{"bytes_per_second", "flops_per_second",
                                               "loads_per_second", "accesses_per_second"};

/// "hierarchy/a-l/size:16384/word:64/cpus:0/nodes:0", as google/benchmark names arguments.
std::string nameFor(const Point& point) {
    const Parameters& it = point.parameters;
    std::string name = point.plan + "/" + it.pattern;
    const auto add = [&name](const char* field, const std::string& value) {
        name.append("/").append(field).append(":").append(value);
    };
    if (it.sizeBytes)
        add("size", std::to_string(*it.sizeBytes));
    if (it.wordBytes)
        add("word", std::to_string(*it.wordBytes));
    if (it.strideBytes && it.strideBytes != it.wordBytes)
        add("stride", std::to_string(*it.strideBytes));
    add("cpus", cpusText(it.cpus));
    if (it.nodes)
        add("nodes", machine::listText(*it.nodes));
    if (it.pages && *it.pages != Kestrel::pkSystem)
        add("pages", std::string(nameOf(*it.pages)));
    if (!it.loadCpus.empty())
        add("beside", cpusText(it.loadCpus));
    return name;
}

struct Iterations {
    double seconds;  ///< of one
    std::uint64_t count;
};

Iterations iterationsOf(Unit unit, double value, const Detail& detail) {
    double work = 0;
    for (const WorkerWork& worker : detail.workers)
        work += worker.work / static_cast<double>(std::max<std::uint64_t>(worker.passes, 1));
    if (textOf(unit).higherIsBetter)
        return {work / value, detail.fewestPasses()};
    const double fewest = std::ranges::min(detail.workers, {}, &WorkerWork::work).work;
    return {value, static_cast<std::uint64_t>(fewest)};
}

Json benchmarkFrom(const Session& session, const Point& point, std::size_t sample) {
    const Detail& detail = point.details[sample];
    const auto [seconds, count] = iterationsOf(point.unit(), point.samples[sample], detail);
    Json json{{"name", nameFor(point)},
              {"run_name", nameFor(point)},
              {"run_type", "iteration"},
              {"threads", detail.workers.size()},
              {"iterations", count},
              {"real_time", seconds * 1e9},
              {"cpu_time", seconds * 1e9},
              {"time_unit", "ns"},
              {rateNames[static_cast<std::size_t>(point.unit())],
               valueOf(Unit::bytesPerSecond, detail.workers, session.counterHz)}};
    if (point.verdict == Verdict::ok)
        return json;
    const std::string why = std::string(nameOf(point.verdict)) +
                            (point.causes.empty() ? "" : ": " + point.causes.front());
    json["label"] = why;
    if (point.verdict != Verdict::noisy) {
        json["error_occurred"] = true;
        json["error_message"] = why;
    }
    return json;
}

/// Samples of one name are repetitions of one benchmark, whichever session took them.
void number(Json& benchmarks) {
    struct Family {
        std::size_t index, repetitions = 0;
    };
    std::map<std::string, Family> families;
    for (Json& benchmark : benchmarks) {
        Family& family =
            families.try_emplace(benchmark["name"], Family{.index = families.size()}).first->second;
        benchmark["family_index"] = family.index;
        benchmark["per_family_instance_index"] = 0;
        benchmark["repetition_index"] = family.repetitions++;
    }
    for (Json& benchmark : benchmarks)
        benchmark["repetitions"] = families.at(benchmark["name"]).repetitions;
}

}  // namespace

std::string benchmarkOf(const Survey& survey) {
    Json benchmarks = Json::array();
    for (const Session& session : survey.sessions)
        for (const Point& point : session.points)
            for (std::size_t sample = 0; sample < point.samples.size(); ++sample) {
                if (point.details.empty() || point.details[sample].workers.empty())
                    throw std::runtime_error("has samples without details: " +
                                             textOf(point.parameters));
                benchmarks.push_back(benchmarkFrom(session, point, sample));
            }
    number(benchmarks);
    const Session& last = survey.sessions.back();
    const Json context{{"date", last.started},
                       {"host_name", survey.host.name},
                       {"executable", last.command},
                       {"num_cpus", survey.host.cpus},
                       {"mhz_per_cpu", std::llround(last.counterHz / 1e6)},
                       {"kestrel_version", last.program.version},
                       {"cpu_time", "not measured: real_time again"}};
    return Json{{"context", context}, {"benchmarks", benchmarks}}.dump(1) + '\n';
}

}  // namespace survey
