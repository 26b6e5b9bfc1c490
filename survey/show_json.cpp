#include "machine/text.h"
#include "survey/levels.h"
#include "survey/show.h"
#include "survey/verdict.h"

namespace survey {
namespace {

Json toJson(const Level& level) {
    Json figures = Json::array();
    for (const LevelFigure& figure : level.figures)
        figures.push_back({{"pattern", figure.pattern},
                           {"value", figure.value},
                           {"unit", textOf(figure.unit).inFile},
                           {"verdict", nameOf(figure.verdict)},
                           {"points", figure.points}});
    return {{"name", level.size.name},
            {"bytes", level.size.bytes ? Json(*level.size.bytes) : Json()},
            {"figures", figures}};
}

Json toJson(const Hierarchy& hierarchy) {
    Json levels = Json::array();
    for (const Level& level : hierarchy.levels)
        levels.push_back(toJson(level));
    return {{"place", hierarchy.place}, {"levels", levels}};
}

Json toJson(const Session& session, const Shown& shown) {
    Json json{
        {"id", session.id},           {"label", session.label},        {"started", session.started},
        {"ended", session.ended},     {"complete", session.complete},  {"plan", session.plan},
        {"command", session.command}, {"estimator", session.estimator}};
    if (shown.points) {
        Json& points = json["points"] = Json::array();
        for (const Point* const point : pointsShown(session, shown)) {
            points.push_back(resultsOf(*point));
            points.back()["text"] = textOf(point->parameters);
        }
    }
    if (shown.levels) {
        Json& hierarchies = json["hierarchies"] = Json::array();
        for (const Hierarchy& each : hierarchiesOf(session))
            hierarchies.push_back(toJson(each));
    }
    return json;
}

}  // namespace

Json showJson(const std::vector<SurveyFile>& files, const Shown& shown) {
    Json all = Json::array();
    for (const auto& [path, survey] : files) {
        Json sessions = Json::array();
        for (const Session& session : survey.sessions)
            sessions.push_back(toJson(session, shown));
        all.push_back({{"file", machine::validText(path)},
                       {"host", survey.host.name},
                       {"processor", survey.host.processor},
                       {"sessions", sessions}});
    }
    return {{"schema", "kestrel-survey-show/1"}, {"files", all}};
}

}  // namespace survey
