#include "survey/compare/comparison_text.h"

namespace survey {
namespace {

Json toJson(const ComparedFile& it) {
    Json sessions = Json::array();
    for (const Session& session : it.survey.sessions)
        sessions.push_back({{"id", session.id},
                            {"label", session.label},
                            {"started", session.started},
                            {"complete", session.complete}});
    return {{"file", it.path}, {"host", it.survey.host.name}, {"sessions", sessions}};
}

Json toJson(const ComparedSide& it) {
    return {{"value", it.value > 0 ? Json(it.value) : Json()},
            {"sessions", it.sessions},
            {"headlines", it.headlines},
            {"trouble", it.trouble.empty() ? Json() : Json(it.trouble)}};
}

Json toJson(const ComparedPoint& it) {
    const UnitText& unit = textOf(unitOf(it.parameters));
    const auto orUnknown = [&it](double Difference::*field) {
        return it.difference ? Json((*it.difference).*field) : Json();
    };
    const auto change = it.change();
    return {{"parameters", toJson(it.parameters)},
            {"kind", textOf(it.kind)},
            {"unit", unit.inFile},
            {"better", unit.higherIsBetter ? "higher" : "lower"},
            {"verdict", nameOf(it.conclusion())},
            {"difference", change ? Json(*change) : Json()},
            {"interval", it.difference ? Json{it.difference->low, it.difference->high} : Json()},
            {"chance", orUnknown(&Difference::chance)},
            {"smallest_found", orUnknown(&Difference::smallest)},
            {"old", toJson(it.before)},
            {"new", toJson(it.after)}};
}

}  // namespace

Json toJson(const Comparison& comparison, const ComparedFile& before, const ComparedFile& after) {
    Json counts, facts = Json::array(), points = Json::array();
    for (const Conclusion conclusion :
         {Conclusion::worse, Conclusion::better, Conclusion::unclear, Conclusion::same})
        counts[std::string(nameOf(conclusion))] = comparison.count(conclusion);
    for (const FactDifference& fact : comparison.facts)
        facts.push_back({{"name", fact.name}, {"old", fact.before}, {"new", fact.after}});
    for (const ComparedPoint& point : comparison.points)
        points.push_back(toJson(point));
    return {{"schema", comparisonSchema},
            {"old", toJson(before)},
            {"new", toJson(after)},
            {"thresholds",
             {{"error_chance", errorChance},
              {"least_difference", leastDifference},
              {"same_within", sameWithin},
              {"interval_coverage", intervalCoverage},
              {"finding_chance", findingChance}}},
            {"counts", counts},
            {"only_old", comparison.onlyBefore},
            {"only_new", comparison.onlyAfter},
            {"shared_sessions", comparison.sharedSessions},
            {"published_variation_alone", comparison.leansOnPublished()},
            {"facts", facts},
            {"points", points}};
}

}  // namespace survey
