#include "survey/show.h"

#include <algorithm>

#include "machine/text.h"
#include "survey/columns.h"
#include "survey/levels.h"

namespace survey {
namespace {

using machine::printable;  // a file may hold anything

std::string padded(const std::string& text, std::size_t width, bool left) {
    const std::string blanks(width > text.size() ? width - text.size() : 0, ' ');
    return left ? text + blanks : blanks + text;
}

/// A text that is too long for its column ends in an ellipsis of its own.
std::string cut(std::string text, std::size_t width) {
    if (text.size() <= width)
        return text;
    return width > 2 ? text.substr(0, width - 2) + ".." : text.substr(0, width);
}

void showTable(std::ostream& out, const std::vector<const Point*>& points) {
    constexpr std::size_t most = 80, widestCpus = 12;
    const std::vector<Column> columns = columnsFor(points);
    std::vector<std::size_t> widths;
    std::size_t used = 0;
    for (const Column& column : columns) {
        std::size_t width = column.head.size();
        for (const Point* const point : points)
            width = std::max(width, column.text(*point).size());
        if (column.head == "CPUs" || column.head == "beside")
            width = std::min(width, widestCpus);
        if (&column == &columns.back())
            width = std::min(width, most > used ? most - used : column.head.size());
        widths.push_back(width);
        used += width + 2;
    }
    const auto line = [&](auto text) {
        std::string row;
        for (std::size_t i = 0; i < columns.size(); ++i)
            row += (i == 0 ? "" : "  ") +
                   padded(cut(printable(text(columns[i])), widths[i]), widths[i], columns[i].left);
        row.erase(row.find_last_not_of(' ') + 1);
        out << row << '\n';
    };
    line([](const Column& column) { return column.head; });
    for (const Point* const point : points)
        line([&](const Column& column) { return column.text(*point); });
}

void showPoints(std::ostream& out, const Session& session, const Shown& shown) {
    const auto tables = tablesOf(pointsShown(session, shown));
    for (const PointTable& table : tables) {
        out << '\n' << printable(table.plan) << ", " << textOf(table.unit).forPeople << '\n';
        showTable(out, table.points);
    }
    if (tables.empty())
        out << "no such points\n";
}

std::string levelText(const Level& level, const std::string& pattern) {
    const auto found = std::ranges::find(level.figures, pattern, &LevelFigure::pattern);
    if (found == level.figures.end())
        return "-";
    return figureText(found->value * textOf(found->unit).scale) +
           (found->verdict == Verdict::noisy ? "~" : "");
}

void showLevels(std::ostream& out, const Session& session) {
    constexpr std::size_t first = 18, others = 12;
    for (const Hierarchy& each : hierarchiesOf(session)) {
        out << "\nlevels, " << each.place << '\n';
        std::string head = padded("", first, true), units = head;
        for (const std::string& pattern : each.patterns) {
            head += padded(pattern, others, false);
            units +=
                padded(std::string(textOf(unitOf({.pattern = pattern})).forPeople), others, false);
        }
        out << head << '\n' << units << '\n';
        for (const Level& level : each.levels) {
            const std::string size =
                level.size.bytes ? " (" + sizeText(*level.size.bytes) + ")" : "";
            std::string row = padded(level.size.name + size, first, true);
            for (const std::string& pattern : each.patterns)
                row += padded(levelText(level, pattern), others, false);
            out << row << '\n';
        }
    }
}

}  // namespace

std::vector<const Point*> pointsShown(const Session& session, const Shown& shown) {
    std::vector<const Point*> points;
    for (const Point& point : session.points)
        if ((!shown.onlyNoisy || point.verdict == Verdict::noisy ||
             point.verdict == Verdict::invalid) &&
            textOf(point.parameters).find(shown.containing) != std::string::npos)
            points.push_back(&point);
    return points;
}

void show(std::ostream& out, const Survey& survey, const Session& session, const Shown& shown) {
    out << printable(survey.host.name) << ": " << printable(survey.host.processor)
        << ", session of " << printable(session.started)
        << (session.label.empty() ? "" : ", " + printable(session.label))
        << (session.complete ? "" : ", not complete") << '\n';
    if (shown.points)
        showPoints(out, session, shown);
    if (shown.levels)
        showLevels(out, session);
}

}  // namespace survey
