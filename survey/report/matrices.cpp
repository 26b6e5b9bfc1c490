// Sharing between CPUs and distances between nodes, as coloured tables.
#include <algorithm>
#include <cmath>
#include <set>

#include "survey/columns.h"
#include "survey/report/pictures.h"

namespace survey {
namespace {

/// A figure between something and something else.
struct Between {
    std::string row, column;
    const Point* point;
};

/// From 1, the best figure of a matrix, to 8, the worst, by ratios.
int depthOf(const Point& point, double least, double most) {
    constexpr double depths = 7;
    if (!(most > least))
        return 1;
    const double share = std::log(point.summary.value / least) / std::log(most / least);
    const double worse = textOf(point.unit()).higherIsBetter ? 1 - share : share;
    return 1 + static_cast<int>(std::lround(depths * worse));
}

Cell cellOf(const Point& point, double least, double most) {
    if (!isDrawable(point))
        return {std::string(point.verdict == Verdict::invalid ? "invalid" : "-")};
    const bool isNoisy = point.verdict == Verdict::noisy;
    const double scale = textOf(point.unit()).scale;
    return {
        .text = figureText(point.summary.value * scale) + (isNoisy ? "~" : ""),
        .note = figureText(point.summary.min * scale) + "–" + figureText(point.summary.max * scale),
        .look = "depth-" + std::to_string(depthOf(point, least, most))};
}

Table matrixOf(const std::string& title, const std::string& corner,
               const std::vector<Between>& figures) {
    Table table{.caption = title, .heads = {corner}, .rows = {}};
    double least = INFINITY, most = 0;
    for (const Between& figure : figures) {
        if (isDrawable(*figure.point)) {
            least = std::min(least, figure.point->summary.value);
            most = std::max(most, figure.point->summary.value);
        }
        if (std::ranges::find(table.heads, figure.column) == table.heads.end())
            table.heads.push_back(figure.column);
    }
    for (const Between& figure : figures) {
        auto row = std::ranges::find_if(
            table.rows, [&](const auto& it) { return it.front().text == figure.row; });
        if (row == table.rows.end()) {
            row = table.rows.insert(table.rows.end(), {{figure.row}});
            row->resize(table.heads.size());
        }
        const auto column = std::ranges::find(table.heads, figure.column) - table.heads.begin();
        (*row)[static_cast<std::size_t>(column)] = cellOf(*figure.point, least, most);
    }
    return table;
}

std::string sharingTitle(const Parameters& parameters) {
    const std::uint32_t stride = parameters.strideBytes.value_or(0);
    const std::string writers =
        parameters.pattern == "s-lms" ? "both write" : "the first writes, the second reads";
    const std::string where =
        stride == 0 ? "one address" : "addresses " + std::to_string(stride) + " bytes apart";
    return parameters.pattern + ", " + writers + ", " + where + ", " +
           std::string(textOf(unitOf(parameters)).forPeople);
}

std::string nodesTitle(const Parameters& parameters) {
    std::string title = parameters.pattern;
    if (parameters.sizeBytes)
        title += ", " + sizeText(*parameters.sizeBytes);
    if (parameters.pages && *parameters.pages != Kestrel::pkSystem)
        title += ", pages of " + std::string(nameOf(*parameters.pages));
    return title + ", " + std::string(textOf(unitOf(parameters)).forPeople);
}

}  // namespace

std::vector<Table> sharingMatrices(const Entry& entry) {
    std::vector<std::pair<Parameters, std::vector<Between>>> kinds;
    for (const Point& point : entry.session->points) {
        if (point.unit() != Unit::secondsPerAccess || point.parameters.cpus.size() != 2)
            continue;
        Parameters key = point.parameters;
        key.cpus.clear();
        key.nodes.reset();
        auto kind = std::ranges::find(kinds, key, [](const auto& it) { return it.first; });
        if (kind == kinds.end())
            kind = kinds.insert(kinds.end(), {key, {}});
        kind->second.push_back({"CPU " + std::to_string(point.parameters.cpus[0]),
                                "CPU " + std::to_string(point.parameters.cpus[1]), &point});
    }
    std::vector<Table> matrices;
    matrices.reserve(kinds.size());
    for (const auto& [key, figures] : kinds)
        matrices.push_back(matrixOf(sharingTitle(key), "first", figures));
    return matrices;
}

std::vector<Table> nodeMatrices(const Entry& entry) {
    // A row is a set of CPUs that the plan of nodes measured at least once; the rest of its row may
    // have come from other plans.
    const auto keyOf = [](const Point& point) {
        Parameters key = point.parameters;
        key.cpus.clear();
        key.nodes.reset();
        return key;
    };
    std::vector<Parameters> kinds;
    std::set<std::vector<unsigned>> rows;
    for (const Point& point : entry.session->points)
        if (point.plan == "nodes") {
            rows.insert(point.parameters.cpus);
            if (std::ranges::find(kinds, keyOf(point)) == kinds.end())
                kinds.push_back(keyOf(point));
        }
    std::vector<Table> matrices;
    for (const Parameters& kind : kinds) {
        std::vector<Between> figures;
        for (const Point& point : entry.session->points)
            if (keyOf(point) == kind && rows.contains(point.parameters.cpus) &&
                point.parameters.nodes)
                figures.push_back({"CPUs " + cpusText(point.parameters.cpus),
                                   "memory of node " + machine::listText(*point.parameters.nodes),
                                   &point});
        if (figures.size() > 1)  // one node is at no distance from anything
            matrices.push_back(matrixOf(nodesTitle(kind), "", figures));
    }
    return matrices;
}

}  // namespace survey
