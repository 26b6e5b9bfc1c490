#include "survey/compare/comparison_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "survey/columns.h"
#include "survey/show.h"

namespace survey {
namespace {

constexpr std::size_t width = 80, widestName = 30;

/// No tenths where they would only cost room.
std::string percentText(const char* form, double share) {
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), form, std::abs(share) < 0.9995 ? 1 : 0, 100 * share);
    return text.data();
}

std::string signedPercent(double share) {
    return percentText("%+.*f", share);
}

std::string percent(double share) {
    return percentText("%.*f%%", share);
}

std::string flushRight(const std::string& text, std::size_t columns) {
    return std::string(columns > text.size() ? columns - text.size() : 0, ' ') + text;
}

std::string flushLeft(const std::string& text, std::size_t columns) {
    return text + std::string(columns > text.size() ? columns - text.size() : 0, ' ');
}

std::string cut(const std::string& text, std::size_t columns) {
    return text.size() <= columns ? text : text.substr(0, columns - 2) + "..";
}

/// "2026-01-01 08:30"
std::string minuteOf(const std::string& moment) {
    std::string text = moment.substr(0, 16);
    std::ranges::replace(text, 'T', ' ');
    return text;
}

void showFile(std::ostream& out, const char* side, const ComparedFile& file) {
    const std::vector<Session>& sessions = file.survey.sessions;
    out << side << file.path << ": " << file.survey.host.name << ", "
        << counted(sessions.size(), "session") << ", " << minuteOf(sessions.front().started);
    if (sessions.size() > 1)
        out << " to " << minuteOf(sessions.back().started);
    out << (sessions.back().label.empty() ? "" : ", " + sessions.back().label) << '\n';
}

void showCounts(std::ostream& out, const Comparison& comparison) {
    out << counted(comparison.points.size(), "point") << ": " << comparison.count(Conclusion::worse)
        << " worse, " << comparison.count(Conclusion::better) << " better, "
        << comparison.count(Conclusion::unclear) << " cannot tell, "
        << comparison.count(Conclusion::same) << " the same\n";
    if (comparison.onlyBefore + comparison.onlyAfter != 0)
        out << counted(comparison.onlyBefore, "point") << " only in old, " << comparison.onlyAfter
            << " only in new\n";
    const auto leftOut = std::ranges::count_if(comparison.points, [](const ComparedPoint& it) {
        return it.difference && it.before.headlines.size() + it.after.headlines.size() !=
                                    it.before.sessions + it.after.sessions;
    });
    if (leftOut != 0)
        out << "Sessions in which a point was not ok are left out for "
            << counted(static_cast<std::size_t>(leftOut), "point") << ".\n";
    if (comparison.sharedSessions != 0)
        out << counted(comparison.sharedSessions, "session")
            << " in both files: compared with itself, it proves nothing.\n";
}

std::string factText(const Json& value) {
    const std::string text = value.is_null() ? "unknown"
                             : value.is_string()
                                 ? value.get<std::string>()
                                 : value.dump(-1, ' ', false, Json::error_handler_t::replace);
    return cut(text, width - 6);
}

void showFacts(std::ostream& out, const Comparison& comparison) {
    constexpr std::size_t most = 20;
    if (comparison.facts.empty())
        return;
    out << "\nwhat else differs\n";
    for (std::size_t i = 0; i < std::min(most, comparison.facts.size()); ++i) {
        const FactDifference& fact = comparison.facts[i];
        const std::string name = "  " + fact.name + ": ", old = factText(fact.before),
                          fresh = factText(fact.after);
        if (name.size() + old.size() + fresh.size() + 4 <= width)
            out << name << old << " -> " << fresh << '\n';
        else
            out << name << "\n      " << old << "\n   -> " << fresh << '\n';
    }
    if (comparison.facts.size() > most)
        out << "  and " << comparison.facts.size() - most << " more: --format json lists all\n";
}

/// The point's text, less the nodes where all points have the same.
class Names {
  public:
    explicit Names(const std::vector<ComparedPoint>& points)
        : sameNodes(std::ranges::all_of(points, [&points](const ComparedPoint& it) {
              return !it.parameters.nodes || it.parameters.nodes == nodesOf(points);
          })) {
        for (const ComparedPoint& point : points)
            longest = std::max(longest, textFor(point).size());
        longest = std::min(longest, widestName);
    }
    [[nodiscard]] std::string textFor(const ComparedPoint& point) const {
        Parameters parameters = point.parameters;
        if (sameNodes)
            parameters.nodes.reset();
        return textOf(parameters);
    }
    [[nodiscard]] std::size_t columns() const { return longest; }

  private:
    static std::optional<machine::NumberList> nodesOf(const std::vector<ComparedPoint>& points) {
        for (const ComparedPoint& point : points)
            if (point.parameters.nodes)
                return point.parameters.nodes;
        return std::nullopt;
    }
    bool sameNodes;
    std::size_t longest = 5;
};

/// What the change rests on, or why it cannot be told.
std::string groundOf(const ComparedPoint& point) {
    if (point.difference)
        return flushRight(signedPercent(point.difference->low) + ".." +
                              signedPercent(point.difference->high),
                          14) +
               flushRight(percent(point.difference->smallest), 6);
    const bool old = !point.before.isTrusted();
    return std::string(old ? "  old " : "  new ") + (old ? point.before : point.after).trouble;
}

std::string unitFor(const UnitText& unit) {
    return unit.higherIsBetter ? std::string(unit.forPeople) : "ns";
}

void showPoint(std::ostream& out, const ComparedPoint& point, const Names& names) {
    const UnitText& unit = textOf(unitOf(point.parameters));
    const auto figure = [&unit](double value) {
        return flushRight(value > 0 ? figureText(value * unit.scale) : "-", 7);
    };
    std::string name = names.textFor(point);
    if (name.size() > names.columns()) {
        out << name << '\n';
        name.clear();
    }
    const auto change = point.change();
    out << cut(flushLeft(name, names.columns()) + flushRight(unitFor(unit), 8) +
                   figure(point.before.value) + figure(point.after.value) +
                   flushRight(change ? signedPercent(*change) : "-", 7) + groundOf(point),
               width)
        << '\n';
}

void showPoints(std::ostream& out, const Comparison& comparison, Conclusion conclusion) {
    if (comparison.count(conclusion) == 0)
        return;
    const Names names(comparison.points);
    out << '\n'
        << nameOf(conclusion) << '\n'
        << flushLeft("point", names.columns())
        << "    unit    old    new      %  95% interval finds\n";
    for (const ComparedPoint& point : comparison.points)
        if (point.conclusion() == conclusion)
            showPoint(out, point, names);
}

/// What could have been found, and on what evidence.
void showPower(std::ostream& out, const Comparison& comparison) {
    std::vector<const ComparedPoint*> tested;
    for (const ComparedPoint& point : comparison.points)
        if (point.difference)
            tested.push_back(&point);
    if (tested.empty())
        return;
    const auto [least, most] = std::ranges::minmax_element(
        tested, {}, [](const ComparedPoint* it) { return it->difference->smallest; });
    out << "\nAn interval is of one point by itself. Of so many some leave out 0 by chance, so\n"
           "worse and better ask for more, and for 2 % at least.\n"
           "finds: the smallest change to the worse that would have been found nine times in\n"
           "ten; "
        << percent((*least)->difference->smallest) << " (" << textOf((*least)->kind) << ") to "
        << percent((*most)->difference->smallest) << " (" << textOf((*most)->kind) << ").\n";
    if (comparison.leansOnPublished())
        out << "One session a side: how far sessions differ by themselves is taken from the\n"
               "published variation alone. Three a side (run --append) tell more.\n";
}

}  // namespace

void showComparison(std::ostream& out, const Comparison& comparison, const ComparedFile& before,
                    const ComparedFile& after, bool all) {
    showFile(out, "old  ", before);
    showFile(out, "new  ", after);
    showCounts(out, comparison);
    showFacts(out, comparison);
    for (const Conclusion conclusion : {Conclusion::worse, Conclusion::better, Conclusion::unclear})
        showPoints(out, comparison, conclusion);
    if (all)
        showPoints(out, comparison, Conclusion::same);
    showPower(out, comparison);
}

}  // namespace survey
