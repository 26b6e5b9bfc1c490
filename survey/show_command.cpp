// kestrel-survey show: what survey files hold, as tables.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <memory>

#include "survey/command.h"
#include "survey/show.h"

namespace survey {
namespace {

struct ShowOrder {
    std::vector<std::string> files;
    bool onlyLevels = false;
    Shown shown;
    std::string format = "text";
};

/// Points that were asked for, and levels unless only points were.
Shown whatToShow(const ShowOrder& order) {
    Shown shown = order.shown;
    const bool somePoints = shown.onlyNoisy || !shown.containing.empty();
    shown.points = !order.onlyLevels || somePoints;
    shown.levels = order.onlyLevels || !somePoints;
    return shown;
}

void checkThatAnyPointContains(const std::vector<SurveyFile>& files, const std::string& text) {
    const auto has = [&](const Session& session) {
        return !pointsShown(session, {.containing = text}).empty();
    };
    if (std::ranges::none_of(files, [&](const SurveyFile& it) {
            return std::ranges::any_of(it.survey.sessions, has);
        }))
        throw std::runtime_error("--point: no point contains '" + text + "'");
}

int showFiles(const ShowOrder& order, std::ostream& out) {
    const std::vector<SurveyFile> files = readSurveys(order.files);
    const Shown shown = whatToShow(order);
    if (!shown.containing.empty())
        checkThatAnyPointContains(files, shown.containing);
    if (order.format == "json") {
        out << showJson(files, shown).dump(1) << '\n';
        return 0;
    }
    const char* between = "";
    for (const auto& [path, survey] : files)
        for (const Session& session : survey.sessions) {
            out << between;
            show(out, survey, session, shown);
            between = "\n\n";
        }
    return 0;
}

}  // namespace

Command addShowCommand(CLI::App& app, const std::string& /*commandLine*/) {
    const auto order = std::make_shared<ShowOrder>();
    app.add_option("file", order->files, "survey files")->required();
    app.add_flag("--levels", order->onlyLevels, "only what each level of the memory gives");
    app.add_flag("--noisy", order->shown.onlyNoisy, "only points that are noisy or invalid");
    app.add_option("--point", order->shown.containing,
                   "only points with this in their text, such as 'l-r 16 KiB'");
    app.add_option("--format", order->format, "text or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    return [order] { return showFiles(*order, std::cout); };
}

}  // namespace survey
