#include "survey/levels.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace survey {
namespace {

struct Range {
    std::uint64_t from, to;  ///< bytes, both included
};

/// Where an array lies well inside a level: too large for the one before by half at least, and no
/// larger than three quarters of the level's own capacity, as it shares that with code and stacks.
Range insideOf(const std::vector<LevelSize>& sizes, std::size_t level) {
    const std::uint64_t before = level != 0 ? sizes[level - 1].bytes.value_or(0) : 0;
    const std::uint64_t from = level + 1 == sizes.size() ? 2 * before : before + before / 2;
    const std::uint64_t to = sizes[level].bytes ? *sizes[level].bytes / 4 * 3 : UINT64_MAX;
    return {from, to};
}

LevelFigure figureOf(std::vector<const Point*> points) {
    std::ranges::sort(points, {}, [](const Point* it) { return it->summary.value; });
    const Point& middle = *points[points.size() / 2];
    LevelFigure figure{.pattern = middle.parameters.pattern,
                       .value = middle.summary.value,
                       .unit = middle.unit(),
                       .verdict = Verdict::ok,
                       .points = points.size()};
    for (const Point* const point : points)
        figure.verdict = std::max(figure.verdict, point->verdict);
    return figure;
}

/// Of these CPUs those that use a cache; all of them where nobody tells who does.
std::vector<unsigned> usersOf(const Json& cache, const std::vector<unsigned>& cpus) {
    const auto found = cache.find("cpus");
    const auto list = found != cache.end() && found->is_string()
                          ? machine::parseNumberList(found->get<std::string>())
                          : std::nullopt;
    if (!list || list->empty())
        return cpus;
    std::vector<unsigned> users;
    std::ranges::copy_if(cpus, std::back_inserter(users),
                         [&](unsigned cpu) { return machine::contains(*list, cpu); });
    return users;
}

bool holdsData(const Json& cache) {
    const auto isNumber = [&](const char* key) {
        const auto found = cache.find(key);
        return found != cache.end() && found->is_number_integer();
    };
    return cache.is_object() && isNumber("level") && isNumber("size_bytes") &&
           cache.value("type", Json()) != "instruction";
}

std::string placeOf(const Parameters& parameters) {
    std::string text = (parameters.cpus.size() == 1 ? "CPU " : "CPUs ") + cpusText(parameters.cpus);
    if (parameters.nodes)
        text += (parameters.nodes->size() == 1 ? ", node " : ", nodes ") +
                machine::listText(*parameters.nodes);
    if (parameters.pages && *parameters.pages != Kestrel::pkSystem)
        text += ", pages of " + std::string(nameOf(*parameters.pages));
    return text;
}

}  // namespace

std::vector<LevelSize> levelSizes(const Json& facts, const std::vector<unsigned>& cpus) {
    std::map<unsigned, std::uint64_t> sizes;
    if (const auto caches = facts.find("caches"); caches != facts.end() && !cpus.empty())
        for (const Json& cache : *caches) {
            if (!holdsData(cache))
                continue;
            const std::vector<unsigned> users = usersOf(cache, cpus);
            if (std::ranges::find(users, cpus.front()) != users.end())
                sizes[cache.at("level").get<unsigned>()] =
                    cache.at("size_bytes").get<std::uint64_t>() / users.size();
        }
    std::vector<LevelSize> levels;
    levels.reserve(sizes.size() + 1);
    for (const auto& [level, bytes] : sizes)
        levels.push_back({"L" + std::to_string(level), bytes});
    levels.push_back({"memory", std::nullopt});
    return levels;
}

std::vector<Level> levelsOf(const std::vector<LevelSize>& sizes,
                            const std::vector<const Point*>& points) {
    std::vector<Level> levels;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const Range range = insideOf(sizes, i);
        std::vector<std::string> patterns;  // in the order of the points
        std::map<std::string, std::vector<const Point*>> inside;
        for (const Point* const point : points) {
            const std::uint64_t size = point->parameters.sizeBytes.value_or(0);
            if (size < range.from || size > range.to || point->summary.count == 0 ||
                point->verdict >= Verdict::invalid)
                continue;
            if (inside[point->parameters.pattern].empty())
                patterns.push_back(point->parameters.pattern);
            inside[point->parameters.pattern].push_back(point);
        }
        Level level{sizes[i], {}};
        for (const std::string& pattern : patterns)
            level.figures.push_back(figureOf(inside[pattern]));
        levels.push_back(std::move(level));
    }
    return levels;
}

std::vector<Hierarchy> hierarchiesOf(const Session& session) {
    std::vector<Hierarchy> all;
    for (const Point& point : session.points) {
        if (point.plan != "hierarchy")
            continue;
        const std::string place = placeOf(point.parameters);
        auto found = std::ranges::find(all, place, &Hierarchy::place);
        if (found == all.end())
            found = all.insert(all.end(), {place, {}, {}, {}});
        found->points.push_back(&point);
        if (std::ranges::find(found->patterns, point.parameters.pattern) == found->patterns.end())
            found->patterns.push_back(point.parameters.pattern);
    }
    for (Hierarchy& each : all)
        each.levels =
            levelsOf(levelSizes(session.facts, each.points.front()->parameters.cpus), each.points);
    return all;
}

}  // namespace survey
