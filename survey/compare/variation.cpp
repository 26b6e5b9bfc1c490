#include "survey/compare/variation.h"

#include <algorithm>

#include "survey/compare/variation_data.h"
#include "survey/levels.h"

namespace survey {
namespace {

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
    std::vector<unsigned> cpus = parameters.cpus;
    if (rowOf(parameters).sharesArray() && !cpus.empty())
        cpus.resize(1);  // one array, which may fill a cache that they share
    for (const LevelSize& level : levelSizes(facts, cpus))
        if (level.bytes && parameters.sizeBytes.value_or(0) <= *level.bytes / 4 * 3)
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
