#include "survey/report/pictures.h"

#include <algorithm>
#include <map>
#include <set>

#include "survey/columns.h"
#include "survey/levels.h"

namespace survey {
namespace {

using Points = std::vector<const Point*>;

/// The points of a session that agree in all but what `blank` takes out of the parameters, in the
/// order of the session.
template <class Wanted, class Blank>
std::vector<std::pair<Parameters, Points>> alike(const Session& session, Wanted wanted,
                                                 Blank blank) {
    std::vector<std::pair<Parameters, Points>> groups;
    for (const Point& point : session.points) {
        if (!isDrawable(point) || !wanted(point))
            continue;
        Parameters key = point.parameters;
        blank(key);
        auto found = std::ranges::find(groups, key, [](const auto& it) { return it.first; });
        if (found == groups.end())
            found = groups.insert(groups.end(), {key, {}});
        found->second.push_back(&point);
    }
    return groups;
}

std::string cpuCountText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " CPU" : " CPUs");
}

/// The capacities of the caches that these lines' first CPUs use.
std::vector<Chart::Edge> cacheEdges(const std::vector<Entry>& entries) {
    std::vector<Chart::Edge> edges;
    for (const Entry& entry : entries) {
        if (entry.session->points.empty())
            continue;
        const unsigned cpu = entry.session->points.front().parameters.cpus.empty()
                                 ? 0
                                 : entry.session->points.front().parameters.cpus.front();
        for (const LevelSize& level : levelSizes(entry.session->facts, {cpu})) {
            if (!level.bytes)
                continue;
            const std::string text = level.name + " " + sizeText(*level.bytes);
            if (std::ranges::find(edges, text, &Chart::Edge::text) == edges.end())
                edges.push_back({static_cast<double>(*level.bytes), text});
        }
    }
    return edges;
}

std::vector<Chart> sizeChartsOf(Unit unit, const Chart& empty, const std::vector<Entry>& entries) {
    std::vector<Line> lines;
    for (std::size_t entry = 0; entry < entries.size(); ++entry) {
        const auto groups = alike(
            *entries[entry].session,
            [unit](const Point& it) {
                return it.unit() == unit && it.parameters.sizeBytes.value_or(0) != 0 &&
                       it.parameters.loadCpus.empty() &&
                       (it.plan == "hierarchy" || it.plan == "points");
            },
            [](Parameters& key) { key.sizeBytes.reset(); });
        for (const auto& [key, points] : groups) {
            if (points.size() < 2)
                continue;
            Line line{textOf(key), key.pattern, entry, {}};
            for (const Point* const point : points) {
                const std::uint64_t size = *point->parameters.sizeBytes;
                Mark mark = markOf(*point, static_cast<double>(size));
                mark.row = sizeText(size);
                mark.rowOrder = mark.x;
                line.marks.push_back(mark);
            }
            lines.push_back(std::move(line));
        }
    }
    return arranged(empty, std::move(lines), entries);
}

/// The points whose CPUs are the first ones of the largest set among them, one for each number of
/// CPUs; the session's order decides between those that differ in the nodes only.
Points growing(const Points& points) {
    const auto* const largest = *std::ranges::max_element(
        points, {}, [](const Point* it) { return it->parameters.cpus.size(); });
    const std::vector<unsigned>& all = largest->parameters.cpus;
    std::map<std::size_t, const Point*> byCount;
    for (const Point* const point : points) {
        const std::vector<unsigned>& cpus = point->parameters.cpus;
        if (std::equal(cpus.begin(), cpus.end(), all.begin()))
            byCount.emplace(cpus.size(), point);
    }
    Points chosen;
    for (const auto& [count, point] : byCount)
        chosen.push_back(point);
    return chosen;
}

Line scalingLine(std::size_t entry, const Parameters& key, const Points& points) {
    std::string kind = key.pattern;
    if (key.sizeBytes)
        kind += ", " + sizeText(*key.sizeBytes);
    if (key.pages && *key.pages != Kestrel::pkSystem)
        kind += ", pages of " + std::string(nameOf(*key.pages));
    Line line{kind, kind, entry, {}};
    for (const Point* const point : points) {
        const std::size_t count = point->parameters.cpus.size();
        Mark mark = markOf(*point, static_cast<double>(count));
        mark.row = cpuCountText(count);
        mark.rowOrder = mark.x;
        line.marks.push_back(mark);
    }
    return line;
}

}  // namespace

std::vector<Chart> sizeCharts(const std::vector<Entry>& entries) {
    Chart empty{.title = "Bandwidth against size",
                .rows = "size",
                .axis = Axis::bytes,
                .xTitle = "size of each CPU's array",
                .yTitle = "GB/s",
                .edges = cacheEdges(entries)};
    std::vector<Chart> charts = sizeChartsOf(Unit::bytesPerSecond, empty, entries);
    empty.title = "Latency against size";
    empty.yTitle = "ns a load";
    std::ranges::move(sizeChartsOf(Unit::secondsPerLoad, empty, entries),
                      std::back_inserter(charts));
    return charts;
}

std::vector<Chart> scalingCharts(const std::vector<Entry>& entries) {
    std::vector<Line> lines;
    for (std::size_t entry = 0; entry < entries.size(); ++entry)
        for (const auto& [key, points] : alike(
                 *entries[entry].session,
                 [](const Point& it) {
                     return it.unit() == Unit::bytesPerSecond && it.parameters.loadCpus.empty();
                 },
                 [](Parameters& it) {
                     it.cpus.clear();
                     it.nodes.reset();
                 })) {
            // A hierarchy on several sets of CPUs is a picture of its own.
            const bool isHierarchy = std::ranges::all_of(
                points, [](const Point* it) { return it->plan == "hierarchy"; });
            const Points chosen = growing(points);
            if (!isHierarchy && chosen.size() > 1)
                lines.push_back(scalingLine(entry, key, chosen));
        }
    return arranged({.title = "Bandwidth against the number of CPUs",
                     .rows = "CPUs",
                     .axis = Axis::count,
                     .xTitle = "CPUs at work",
                     .yTitle = "GB/s"},
                    std::move(lines), entries);
}

std::vector<Chart> loadedCharts(const std::vector<Entry>& entries) {
    std::vector<Line> lines;
    for (std::size_t entry = 0; entry < entries.size(); ++entry)
        for (const auto& [key, points] : alike(
                 *entries[entry].session,
                 [](const Point& it) {
                     return it.unit() == Unit::secondsPerLoad &&
                            (it.load || it.parameters.loadCpus.empty());
                 },
                 [](Parameters& it) { it.loadCpus.clear(); })) {
            if (points.size() < 2)  // nothing but the load tells these apart
                continue;
            Line line{
                textOf(key), key.pattern + ", " + sizeText(key.sizeBytes.value_or(0)), entry, {}};
            for (const Point* const point : points) {
                const std::size_t readers = point->parameters.loadCpus.size();
                const double load = point->load.value_or(0) * 1e-9;
                Mark mark = markOf(*point, load);
                mark.row = readers == 0 ? "alone" : "beside " + cpuCountText(readers);
                mark.rowOrder = static_cast<double>(readers);
                mark.note = readers == 0 ? "" : "at " + figureText(load) + " GB/s";
                line.marks.push_back(mark);
            }
            lines.push_back(std::move(line));
        }
    return arranged({.title = "Latency while other CPUs read from memory",
                     .rows = "load",
                     .axis = Axis::rate,
                     .xTitle = "what the others read, GB/s",
                     .yTitle = "ns a load"},
                    std::move(lines), entries);
}

std::vector<Chart> kernelTables(const std::vector<Entry>& entries) {
    std::vector<Line> lines;
    for (std::size_t entry = 0; entry < entries.size(); ++entry)
        for (const auto& [key, points] : alike(
                 *entries[entry].session,
                 [](const Point& it) { return it.unit() == Unit::operationsPerSecond; },
                 [](Parameters& it) { it.pattern.clear(); })) {
            const std::string cpus = (key.cpus.size() == 1 ? "CPU " : "CPUs ") + cpusText(key.cpus);
            Line line{cpus, cpus, entry, {}};
            for (const Point* const point : points) {
                Mark mark = markOf(*point, 0);
                mark.row = point->parameters.pattern;
                mark.rowOrder = rowOf(point->parameters).id;
                line.marks.push_back(mark);
            }
            lines.push_back(std::move(line));
        }
    return arranged({.title = "Floating-point kernels",
                     .rows = "kernel",
                     .axis = Axis::none,
                     .xTitle = {},
                     .yTitle = "Gflop/s"},
                    std::move(lines), entries);
}

}  // namespace survey
