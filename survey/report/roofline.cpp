// What arithmetic and memory allow together: work of i flop for each byte that it reads cannot
// exceed the kernels' rate, nor i times the bandwidth of where its data lie.
#include <algorithm>
#include <cmath>

#include "survey/columns.h"
#include "survey/levels.h"
#include "survey/report/pictures.h"

namespace survey {
namespace {

using Points = std::vector<const Point*>;

/// Of one session on one set of CPUs.
struct Roof {
    std::string cpus;               ///< "CPU 0"
    const Point *single, *twofold;  ///< the fastest kernel of each precision; one may be missing
    struct Slope {
        std::string level;
        double bandwidth;  ///< GB/s
        bool isNoisy;
    };
    std::vector<Slope> slopes;  ///< by level, the fastest first

    [[nodiscard]] double peak() const { return std::max(figureOf(single), figureOf(twofold)); }
    static double figureOf(const Point* kernel) {
        return kernel != nullptr ? kernel->summary.value * 1e-9 : 0;
    }
};

/// Kernels are named by what they compute with: f-s… or f-d….
const Point* fastest(const Session& session, const std::vector<unsigned>& cpus,
                     std::string_view family) {
    const Point* best = nullptr;
    for (const Point& point : session.points)
        if (point.parameters.cpus == cpus && point.parameters.pattern.starts_with(family) &&
            isDrawable(point) && (best == nullptr || point.summary.value > best->summary.value))
            best = &point;
    return best;
}

std::vector<Roof::Slope> slopesOf(const Session& session, const std::vector<unsigned>& cpus) {
    Points reads;
    for (const Point& point : session.points)
        if (point.parameters.cpus == cpus && point.parameters.pattern == "a-l" &&
            point.parameters.strideBytes == point.parameters.wordBytes &&
            point.parameters.loadCpus.empty() && isDrawable(point))
            reads.push_back(&point);
    std::vector<Roof::Slope> slopes;
    for (const Level& level : levelsOf(levelSizes(session.facts, cpus), reads))
        for (const LevelFigure& figure : level.figures)
            slopes.push_back(
                {level.size.name, figure.value * 1e-9, figure.verdict == Verdict::noisy});
    return slopes;
}

std::vector<Roof> roofsOf(const Session& session) {
    std::vector<std::vector<unsigned>> sets;
    for (const Point& point : session.points)
        if (point.unit() == Unit::operationsPerSecond && isDrawable(point) &&
            std::ranges::find(sets, point.parameters.cpus) == sets.end())
            sets.push_back(point.parameters.cpus);
    std::vector<Roof> roofs;
    for (const std::vector<unsigned>& cpus : sets) {
        Roof roof{.cpus = (cpus.size() == 1 ? "CPU " : "CPUs ") + cpusText(cpus),
                  .single = fastest(session, cpus, "f-s"),
                  .twofold = fastest(session, cpus, "f-d"),
                  .slopes = slopesOf(session, cpus)};
        if (!roof.slopes.empty() && roof.peak() > 0)
            roofs.push_back(std::move(roof));
    }
    return roofs;
}

std::string about(double figure, bool isNoisy) {
    return figureText(figure) + (isNoisy ? "~" : "");
}

/// The drawing's edges, in flop/byte: every slope meets its roof between them.
constexpr double leftEdge = 1.0 / 64;
double rightEdge(const Roof& roof) {
    const auto slowest = std::ranges::min(roof.slopes, {}, &Roof::Slope::bandwidth);
    return std::max(16.0, 4 * std::exp2(std::ceil(std::log2(roof.peak() / slowest.bandwidth))));
}

std::vector<Chart::Series> seriesOf(const Roof& roof) {
    std::vector<Chart::Series> all;
    const auto add = [&](const std::string& name, std::vector<Mark> marks) {
        for (Mark& mark : marks)
            mark.row = name;
        all.push_back({.name = name,
                       .tone = all.size(),
                       .group = all.size(),
                       .marks = std::move(marks),
                       .isPlain = true});
    };
    double steepest = 0;
    for (const Roof::Slope& slope : roof.slopes) {
        const double b = slope.bandwidth;
        steepest = std::max(steepest, b);
        add(slope.level + " " + about(b, slope.isNoisy) + " GB/s",
            {{.x = leftEdge, .y = b * leftEdge}, {.x = roof.peak() / b, .y = roof.peak()}});
    }
    for (const Point* const kernel : {roof.single, roof.twofold})
        if (kernel != nullptr) {
            const double rate = Roof::figureOf(kernel);
            add(kernel->parameters.pattern + " " + about(rate, kernel->verdict == Verdict::noisy) +
                    " Gflop/s",
                {{.x = rate / steepest, .y = rate}, {.x = rightEdge(roof), .y = rate}});
        }
    return all;
}

void addRows(const std::string& session, const Roof& roof, Table& table) {
    const auto reach = [](const Point* kernel, double bandwidth) {
        return kernel != nullptr ? figureText(Roof::figureOf(kernel) / bandwidth) : "-";
    };
    for (const Roof::Slope& slope : roof.slopes)
        table.rows.push_back({{session.empty() ? slope.level : session + ", " + slope.level},
                              {about(slope.bandwidth, slope.isNoisy)},
                              {reach(roof.single, slope.bandwidth)},
                              {reach(roof.twofold, slope.bandwidth)}});
}

Chart emptyChart(const std::string& cpus) {
    return {.title = "Roofline: " + cpus,
            .rows = "level",
            .axis = Axis::intensity,
            .xTitle = "flop for each byte read",
            .yTitle = "Gflop/s",
            .ownTable = Table{.caption = "From this much work on, the kernels set the pace",
                              .heads = {"data in", "GB/s", "flop/byte, single precision",
                                        "flop/byte, double precision"},
                              .rows = {}}};
}

}  // namespace

std::vector<Chart> rooflines(const std::vector<Entry>& entries) {
    const bool several = entries.size() > 1;
    std::vector<Chart> charts;
    for (std::size_t entry = 0; entry < entries.size(); ++entry)
        for (const Roof& roof : roofsOf(*entries[entry].session)) {
            const Chart empty = emptyChart(roof.cpus);
            auto chart = std::ranges::find(charts, empty.title, &Chart::title);
            if (chart == charts.end())
                chart = charts.insert(charts.end(), empty);
            addRows(several ? entries[entry].name : "", roof, *chart->ownTable);
            for (Chart::Series& series : seriesOf(roof)) {
                if (several) {
                    for (Mark& mark : series.marks)
                        mark.row = entries[entry].name + ": " + series.name;
                    series.name = entries[entry].name;
                    series.tone = series.group = entry;
                }
                chart->series.push_back(std::move(series));
            }
        }
    return charts;
}

}  // namespace survey
