#include "survey/columns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <set>

#include "survey/verdict.h"

namespace survey {
namespace {

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
    return parameters.strideBytes && parameters.strideBytes != parameters.wordBytes
               ? std::to_string(*parameters.strideBytes)
               : "";
}

}  // namespace

std::string figureText(double value) {
    std::array<char, 32> text;
    const double magnitude = std::abs(value);
    const int decimals = magnitude < 9.995 ? 2 : magnitude < 99.95 ? 1 : 0;
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string percentText(double share) {
    std::array<char, 16> text;
    std::snprintf(text.data(), text.size(), "%.*f%%", share < 0.0995 ? 1 : 0, 100 * share);
    return text.data();
}

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

std::vector<PointTable> tablesOf(const std::vector<const Point*>& points) {
    std::vector<PointTable> tables;
    for (const Point* const point : points) {
        auto found = std::ranges::find_if(tables, [&](const PointTable& it) {
            return it.plan == point->plan && it.unit == point->unit();
        });
        if (found == tables.end())
            found = tables.insert(tables.end(), {point->plan, point->unit(), {}});
        found->points.push_back(point);
    }
    return tables;
}

}  // namespace survey
