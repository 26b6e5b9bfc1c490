#include "survey/show.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>

#include "survey/levels.h"
#include "survey/verdict.h"

namespace survey {
namespace {

/// A column of a table: its head, its text for a row, and on which side it is flush.
struct Column {
    std::string head;
    std::function<std::string(const Point&)> text;
    bool left = false;
};

std::string percentText(double share) {
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), "%.*f%%", share < 0.0995 ? 1 : 0, 100 * share);
    return text.data();
}

std::string limitShare(const Point& point) {
    if (!point.limit || point.verdict == Verdict::unsupported)
        return "";
    return percentText(textOf(point.unit()).higherIsBetter ? point.summary.value / *point.limit
                                                           : *point.limit / point.summary.value);
}

/// The verdict and its first cause; how many more there are.
std::string verdictText(const Point& point) {
    std::string text(nameOf(point.verdict));
    if (!point.causes.empty())
        text += ": " + point.causes.front();
    if (point.causes.size() > 1)
        text += " +" + std::to_string(point.causes.size() - 1);
    return text;
}

/// A field that some of the points have.
bool any(const std::vector<const Point*>& points, bool (*has)(const Parameters&)) {
    return std::ranges::any_of(points, [&](const Point* it) { return has(it->parameters); });
}

template <class Field>
bool differs(const std::vector<const Point*>& points, Field field) {
    std::set<std::string> values;
    for (const Point* const point : points)
        values.insert(field(point->parameters));
    return values.size() > 1;
}

std::string nodesText(const Parameters& parameters) {
    return parameters.nodes ? machine::listText(*parameters.nodes) : "";
}

std::string pagesText(const Parameters& parameters) {
    return parameters.pages ? std::string(nameOf(*parameters.pages)) : "";
}

/// A stride that is not simply the word.
std::string strideText(const Parameters& parameters) {
    return parameters.strideBytes ? std::to_string(*parameters.strideBytes) : "";
}

/// Columns that say the same in each row are left out, but for the ones that people look for.
std::vector<Column> columnsFor(const std::vector<const Point*>& points) {
    const UnitText& unit = textOf(points.front()->unit());
    const auto figure = [&unit](double Summary::*field) {
        return [&unit, field](const Point& point) {
            return point.verdict == Verdict::unsupported
                       ? std::string("-")
                       : figureText(point.summary.*field * unit.scale);
        };
    };
    const auto parameter = [](auto text) {
        return [text](const Point& point) { return text(point.parameters); };
    };
    std::vector<Column> columns;
    if (any(points, [](const Parameters& it) { return it.sizeBytes.has_value(); }))
        columns.push_back({"size", parameter([](const Parameters& it) {
                               return it.sizeBytes ? sizeText(*it.sizeBytes) : "";
                           })});
    columns.push_back(
        {"pattern", parameter([](const Parameters& it) { return it.pattern; }), true});
    if (any(points, [](const Parameters& it) { return it.wordBytes.has_value(); }))
        columns.push_back({"word", parameter([](const Parameters& it) {
                               return it.wordBytes ? std::to_string(*it.wordBytes) : "";
                           })});
    const bool strided = any(points, [](const Parameters& it) {
        return it.strideBytes && it.wordBytes && it.strideBytes != it.wordBytes;
    });
    if (strided || differs(points, strideText))
        columns.push_back({"stride", parameter(strideText)});
    columns.push_back({"CPUs", parameter([](const Parameters& it) { return cpusText(it.cpus); })});
    if (differs(points, nodesText))
        columns.push_back({"nodes", parameter(nodesText)});
    if (differs(points, pagesText))
        columns.push_back({"pages", parameter(pagesText)});
    if (any(points, [](const Parameters& it) { return !it.loadCpus.empty(); })) {
        columns.push_back(
            {"beside", parameter([](const Parameters& it) { return cpusText(it.loadCpus); })});
        columns.push_back({"GB/s", [](const Point& point) {
                               return point.load ? figureText(*point.load * 1e-9) : "";
                           }});
    }
    columns.push_back({std::string(unit.forPeople), figure(&Summary::value)});
    columns.push_back({"min", figure(&Summary::min)});
    columns.push_back({"max", figure(&Summary::max)});
    columns.push_back({"CV", [](const Point& point) {
                           return point.verdict == Verdict::unsupported
                                      ? std::string()
                                      : percentText(point.summary.cv);
                       }});
    if (std::ranges::any_of(points, [](const Point* it) { return it->limit.has_value(); }))
        columns.push_back({"limit", limitShare});
    columns.push_back({"verdict", verdictText, true});
    return columns;
}

/// Characters, as a terminal shows them; all texts here are ASCII but for a label.
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
                   padded(cut(text(columns[i]), widths[i]), widths[i], columns[i].left);
        row.erase(row.find_last_not_of(' ') + 1);
        out << row << '\n';
    };
    line([](const Column& column) { return column.head; });
    for (const Point* const point : points)
        line([&](const Column& column) { return column.text(*point); });
}

bool isShown(const Point& point, const Shown& shown) {
    if (shown.onlyNoisy && point.verdict != Verdict::noisy && point.verdict != Verdict::invalid)
        return false;
    return shown.containing.empty() ||
           textOf(point.parameters).find(shown.containing) != std::string::npos;
}

void showPoints(std::ostream& out, const Session& session, const Shown& shown) {
    // By plan and unit, in the order of the points.
    std::vector<std::pair<std::pair<std::string, Unit>, std::vector<const Point*>>> tables;
    for (const Point& point : session.points) {
        if (!isShown(point, shown))
            continue;
        const std::pair key{point.plan, point.unit()};
        auto found = std::ranges::find(tables, key, [](const auto& it) { return it.first; });
        if (found == tables.end())
            found = tables.insert(tables.end(), {key, {}});
        found->second.push_back(&point);
    }
    for (const auto& [key, points] : tables) {
        out << '\n' << key.first << ", " << textOf(key.second).forPeople << '\n';
        showTable(out, points);
    }
}

/// Points that make one picture: the same CPUs, nodes and pages.
using Group = std::pair<std::string, std::vector<const Point*>>;

std::vector<Group> hierarchies(const Session& session) {
    std::vector<Group> groups;
    for (const Point& point : session.points) {
        if (point.plan != "hierarchy")
            continue;
        std::string title = "CPU " + cpusText(point.parameters.cpus);
        if (point.parameters.nodes)
            title += ", node " + machine::listText(*point.parameters.nodes);
        if (point.parameters.pages && *point.parameters.pages != Kestrel::pkSystem)
            title += ", pages of " + std::string(nameOf(*point.parameters.pages));
        auto found = std::ranges::find(groups, title, &Group::first);
        if (found == groups.end())
            found = groups.insert(groups.end(), {title, {}});
        found->second.push_back(&point);
    }
    return groups;
}

std::string levelText(const Level& level, const std::string& pattern) {
    const auto found = std::ranges::find(level.figures, pattern, &LevelFigure::pattern);
    if (found == level.figures.end())
        return "-";
    return figureText(found->value * textOf(found->unit).scale) +
           (found->verdict == Verdict::noisy ? "~" : "");
}

void showLevels(std::ostream& out, const Session& session) {
    for (const auto& [title, points] : hierarchies(session)) {
        const auto levels =
            levelsOf(levelSizes(session.facts, points.front()->parameters.cpus.front()), points);
        std::vector<std::string> patterns;
        for (const Point* const point : points)
            if (std::ranges::find(patterns, point->parameters.pattern) == patterns.end())
                patterns.push_back(point->parameters.pattern);
        out << "\nlevels, " << title << '\n';
        std::string head = padded("", 18, true);
        for (const std::string& pattern : patterns)
            head += padded(pattern, 12, false);
        out << head << '\n';
        std::string units = padded("", 18, true);
        for (const std::string& pattern : patterns)
            units += padded(std::string(textOf(unitOf({.pattern = pattern})).forPeople), 12, false);
        out << units << '\n';
        for (const Level& level : levels) {
            std::string row =
                padded(level.size.name +
                           (level.size.bytes ? " (" + sizeText(*level.size.bytes) + ")" : ""),
                       18, true);
            for (const std::string& pattern : patterns)
                row += padded(levelText(level, pattern), 12, false);
            out << row << '\n';
        }
    }
}

}  // namespace

std::string figureText(double value) {
    std::array<char, 32> text;
    const double magnitude = std::abs(value);
    const int decimals = magnitude < 9.995 ? 2 : magnitude < 99.95 ? 1 : 0;
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

void show(std::ostream& out, const Survey& survey, const Session& session, const Shown& shown) {
    out << survey.host.name << ": " << survey.host.processor << ", session of " << session.started
        << (session.label.empty() ? "" : ", " + session.label)
        << (session.complete ? "" : ", not complete") << '\n';
    if (shown.points)
        showPoints(out, session, shown);
    if (shown.levels)
        showLevels(out, session);
}

}  // namespace survey
