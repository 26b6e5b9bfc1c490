#include "survey/levels.h"

#include <algorithm>
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

}  // namespace

std::vector<LevelSize> levelSizes(const Json& facts, unsigned cpu) {
    std::map<unsigned, LevelSize> sizes;
    if (const auto caches = facts.find("caches"); caches != facts.end())
        for (const Json& cache : *caches) {
            const auto cpus = cache.value("cpus", Json());
            const auto list =
                machine::parseNumberList(cpus.is_string() ? cpus.get<std::string>() : "");
            const bool ofThisCpu = !list || list->empty() || machine::contains(*list, cpu);
            if (ofThisCpu && cache.value("type", "") != "instruction" &&
                cache.value("size_bytes", Json()).is_number())
                sizes[cache.at("level").get<unsigned>()] = {
                    .name = "L" + std::to_string(cache.at("level").get<unsigned>()),
                    .bytes = cache.at("size_bytes").get<std::uint64_t>(),
                    .cpus = list.value_or(machine::NumberList())};
        }
    std::vector<LevelSize> levels;
    levels.reserve(sizes.size() + 1);
    for (auto& [level, size] : sizes)
        levels.push_back(std::move(size));
    levels.push_back({.name = "memory", .bytes = std::nullopt});
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

}  // namespace survey
