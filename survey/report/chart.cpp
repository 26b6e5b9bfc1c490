#include "survey/report/chart.h"

#include <algorithm>
#include <map>
#include <set>

#include "survey/columns.h"

namespace survey {
namespace {

std::string_view nameOf(Axis axis) {
    switch (axis) {
        case Axis::bytes:
            return "bytes";
        case Axis::count:
            return "count";
        case Axis::rate:
            return "rate";
        case Axis::intensity:
            return "intensity";
        case Axis::none:
            break;
    }
    return "none";
}

Cell cellOf(const Mark& mark) {
    Cell cell{figureText(mark.y) + (mark.isNoisy ? "~" : "")};
    if (mark.low != mark.high)
        cell.note = figureText(mark.low) + "–" + figureText(mark.high);
    if (!mark.note.empty())
        cell.note += (cell.note.empty() ? "" : ", ") + mark.note;
    cell.look = mark.isNoisy ? "noisy" : "";
    return cell;
}

Json toJson(const Chart::Series& series) {
    Json marks = Json::array();
    for (const Mark& mark : series.marks)
        marks.push_back({{"x", mark.x},
                         {"y", mark.y},
                         {"low", mark.low},
                         {"high", mark.high},
                         {"noisy", mark.isNoisy},
                         {"text", mark.row + (mark.note.empty() ? "" : ", " + mark.note)}});
    return {{"name", series.name},
            {"tone", series.tone},
            {"group", series.group},
            {"plain", series.isPlain},
            {"marks", marks}};
}

void shortenKinds(std::vector<Line>& lines) {
    std::map<std::string, std::set<std::string>> kinds;
    for (const Line& line : lines)
        kinds[line.brief].insert(line.kind);
    for (Line& line : lines)
        if (kinds[line.brief].size() == 1)
            line.kind = line.brief;
}

}  // namespace

bool isDrawable(const Point& point) {
    return point.summary.count != 0 &&
           (point.verdict == Verdict::ok || point.verdict == Verdict::noisy);
}

Mark markOf(const Point& point, double x) {
    const double scale = textOf(point.unit()).scale;
    return {.x = x,
            .y = point.summary.value * scale,
            .low = point.summary.min * scale,
            .high = point.summary.max * scale,
            .isNoisy = point.verdict == Verdict::noisy};
}

std::vector<Chart> arranged(const Chart& empty, std::vector<Line> lines,
                            const std::vector<Entry>& entries) {
    shortenKinds(lines);
    const bool several = entries.size() > 1;
    std::vector<Chart> charts;
    for (Line& line : lines) {
        const std::string title = several ? empty.title + ": " + line.kind : empty.title;
        auto chart = std::ranges::find(charts, title, &Chart::title);
        if (chart == charts.end()) {
            chart = charts.insert(charts.end(), empty);
            chart->title = title;
        }
        const std::size_t place = chart->series.size();
        std::ranges::sort(line.marks, {}, &Mark::rowOrder);
        chart->series.push_back({.name = several ? entries[line.entry].name : line.kind,
                                 .tone = several ? line.entry : place,
                                 .group = place,
                                 .marks = std::move(line.marks)});
    }
    return charts;
}

Json toJson(const Chart& chart, const std::string& id) {
    Json series = Json::array(), edges = Json::array();
    for (const Chart::Series& each : chart.series)
        series.push_back(toJson(each));
    for (const Chart::Edge& edge : chart.edges)
        edges.push_back({{"x", edge.x}, {"text", edge.text}});
    return {{"id", id},
            {"axis", nameOf(chart.axis)},
            {"xTitle", chart.xTitle},
            {"yTitle", chart.yTitle},
            {"series", series},
            {"edges", edges}};
}

Table tableOf(const Chart& chart) {
    if (chart.ownTable)
        return *chart.ownTable;
    Table table{.caption = chart.yTitle, .heads = {chart.rows}, .rows = {}};
    std::map<std::pair<double, std::string>, std::vector<Cell>> rows;
    for (const Chart::Series& series : chart.series) {
        for (const Mark& mark : series.marks) {
            std::vector<Cell>& row = rows[{mark.rowOrder, mark.row}];
            row.resize(chart.series.size(), {"-"});
            row[table.heads.size() - 1] = cellOf(mark);
        }
        table.heads.push_back(series.name);
    }
    for (auto& [key, cells] : rows) {
        cells.insert(cells.begin(), {key.second});
        table.rows.push_back(std::move(cells));
    }
    return table;
}

}  // namespace survey
