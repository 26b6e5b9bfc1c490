#include "survey/compare/compare.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>

#include "survey/verdict.h"

namespace survey {
namespace {

constexpr std::array<std::string_view, 4> conclusionNames{"worse", "better", "cannot tell", "same"};

std::string troubleOf(const Point& point) {
    std::string text(nameOf(point.verdict));
    return point.causes.empty() ? text : text + ": " + point.causes.front();
}

/// A point of a survey, and the facts of the session that measured it first.
struct Found {
    ComparedSide side;
    const Json* facts = nullptr;
};

using Points = std::map<Parameters, Found>;

/// Takes each point of each session once: a plan and the user's own list may both have it.
Points pointsOf(const Survey& survey) {
    Points points;
    std::map<Parameters, std::vector<double>> all;
    for (const Session& session : survey.sessions) {
        std::set<Parameters> seen;
        for (const Point& point : session.points) {
            if (!seen.insert(point.parameters).second)
                continue;
            Found& found = points[point.parameters];
            if (found.facts == nullptr)
                found.facts = &session.facts;
            ++found.side.sessions;
            if (point.verdict == Verdict::ok)
                found.side.headlines.push_back(point.summary.value);
            else
                found.side.trouble = troubleOf(point);
            if (point.summary.count != 0)
                all[point.parameters].push_back(point.summary.value);
        }
    }
    for (auto& [parameters, found] : points)
        found.side.value =
            geometricMean(found.side.headlines.empty() ? all[parameters] : found.side.headlines);
    return points;
}

bool isMeasured(const ComparedSide& side) {
    return side.value > 0;
}

/// Those that stand on both sides and that one of them could measure.
void pair(const Points& before, const Points& after, Comparison& comparison) {
    for (const auto& [parameters, found] : before) {
        const auto other = after.find(parameters);
        if (other == after.end())
            ++comparison.onlyBefore;
        else if (isMeasured(found.side) || isMeasured(other->second.side))
            comparison.points.push_back({.parameters = parameters,
                                         .kind = kindOf(parameters, *found.facts),
                                         .before = found.side,
                                         .after = other->second.side,
                                         .difference = {}});
    }
    for (const auto& [parameters, found] : after)
        comparison.onlyAfter += before.contains(parameters) ? 0 : 1;
}

void conclude(std::vector<ComparedPoint>& points, std::span<const Variation> published) {
    std::vector<TwoSides> sides;
    std::vector<ComparedPoint*> tested;
    std::vector<Kind> kinds;
    for (ComparedPoint& point : points) {
        if (!point.before.isTrusted() || !point.after.isTrusted())
            continue;
        const auto kind = std::ranges::find(kinds, point.kind);
        const auto place = static_cast<std::size_t>(kind - kinds.begin());
        if (kind == kinds.end())
            kinds.push_back(point.kind);
        const Variation variation = variationOf(point.kind, published);
        sides.push_back({.before = point.before.headlines,
                         .after = point.after.headlines,
                         .higherIsBetter = textOf(unitOf(point.parameters)).higherIsBetter,
                         .kind = place,
                         .publishedCv = variation.cv,
                         .publishedDegrees = variation.degrees});
        tested.push_back(&point);
    }
    const std::vector<Difference> differences = differencesOf(sides);
    for (std::size_t i = 0; i < tested.size(); ++i)
        tested[i]->difference = differences[i];
}

std::size_t sharedSessions(const Survey& before, const Survey& after) {
    std::set<std::string> ids;
    for (const Session& session : before.sessions)
        ids.insert(session.id);
    return static_cast<std::size_t>(std::ranges::count_if(
        after.sessions, [&](const Session& session) { return ids.contains(session.id); }));
}

/// By conclusion, and the largest change first.
auto importance(const ComparedPoint& it) {
    return std::pair(it.conclusion(), -std::abs(it.change().value_or(0)));
}

}  // namespace

std::string_view nameOf(Conclusion conclusion) {
    return conclusionNames[static_cast<std::size_t>(conclusion)];
}

std::optional<double> ComparedPoint::change() const {
    if (difference)
        return difference->value;
    if (!isMeasured(before) || !isMeasured(after))
        return std::nullopt;
    return after.value / before.value - 1;
}

std::size_t Comparison::count(Conclusion conclusion) const {
    return static_cast<std::size_t>(std::ranges::count_if(
        points, [&](const ComparedPoint& it) { return it.conclusion() == conclusion; }));
}

bool Comparison::leansOnPublished() const {
    return std::ranges::all_of(points, [](const ComparedPoint& it) {
        return it.before.headlines.size() < 2 && it.after.headlines.size() < 2;
    });
}

Comparison compare(const Survey& before, const Survey& after,
                   std::span<const Variation> published) {
    Comparison comparison;
    pair(pointsOf(before), pointsOf(after), comparison);
    conclude(comparison.points, published);
    comparison.sharedSessions = sharedSessions(before, after);
    comparison.facts = factDifferences(before, after);
    std::ranges::stable_sort(comparison.points, {}, importance);
    return comparison;
}

}  // namespace survey
