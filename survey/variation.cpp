#include "survey/variation.h"

#include <algorithm>

#include "survey/levels.h"
#include "survey/variation_data.h"

namespace survey {
namespace {

/// Bytes of all arrays of the point that share a cache with these CPUs.
std::uint64_t bytesIn(const machine::NumberList& cacheCpus, const Parameters& parameters) {
    const std::uint64_t size = parameters.sizeBytes.value_or(0);
    if (rowOf(parameters).sharesArray() || cacheCpus.empty())
        return size;
    return size *
           static_cast<std::uint64_t>(std::ranges::count_if(
               parameters.cpus, [&](unsigned cpu) { return machine::contains(cacheCpus, cpu); }));
}

std::vector<Variation> parsed(const Json& json) {
    std::vector<Variation> all;
    for (const Json& kind : json.at("kinds"))
        all.push_back({.kind = {.pattern = kind.at("pattern").get<std::string>(),
                                .level = kind.at("level").get<std::string>()},
                       .cv = kind.at("cv").get<double>(),
                       .degrees = kind.at("degrees").get<double>()});
    return all;
}

}  // namespace

std::string textOf(const Kind& kind) {
    return kind.pattern + (kind.pattern.empty() ? "" : ", ") + kind.level;
}

Kind kindOf(const Parameters& parameters, const Json& facts) {
    const Unit unit = unitOf(parameters);
    if (unit == Unit::operationsPerSecond)
        return {"", "arithmetic"};
    if (unit == Unit::secondsPerAccess)
        return {"", "sharing"};
    if (!parameters.cpus.empty())
        for (const LevelSize& level : levelSizes(facts, parameters.cpus.front()))
            if (level.bytes && bytesIn(level.cpus, parameters) <= *level.bytes / 4 * 3)
                return {parameters.pattern, level.name};
    return {parameters.pattern, "memory"};
}

const std::vector<Variation>& publishedVariation() {
    static const std::vector<Variation> all = parsed(Json::parse(variationData));
    return all;
}

Variation variationOf(const Kind& kind, std::span<const Variation> published) {
    if (const auto found = std::ranges::find(published, kind, &Variation::kind);
        found != published.end())
        return *found;
    const bool knowsLevel = std::ranges::any_of(
        published, [&](const Variation& it) { return it.kind.level == kind.level; });
    Variation largest{.kind = kind, .cv = 0, .degrees = published.front().degrees};
    for (const Variation& each : published)
        if (!knowsLevel || each.kind.level == kind.level) {
            largest.cv = std::max(largest.cv, each.cv);
            largest.degrees = std::min(largest.degrees, each.degrees);
        }
    return largest;
}

}  // namespace survey
