// kestrel-survey compare: has a machine become slower?
#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <memory>

#include "survey/command.h"
#include "survey/compare/comparison_text.h"

namespace survey {
namespace {

struct CompareOrder {
    std::string before, after, format = "text";
    bool all = false;
};

/// What the file's facts claim to be, but are not, is the file's fault.
Comparison compared(const ComparedFile& before, const ComparedFile& after) {
    try {
        return compare(before.survey, after.survey, publishedVariation());
    } catch (const nlohmann::json::exception&) {
        throw FileError(before.path, "damaged: its facts about caches are none");
    }
}

int statusFor(const Comparison& comparison) {
    constexpr int worse = 1, unclear = 4;
    if (comparison.count(Conclusion::worse) != 0)
        return worse;
    return comparison.count(Conclusion::unclear) != 0 ? unclear : 0;
}

int compareFiles(const CompareOrder& order, std::ostream& out) {
    std::error_code ignored;
    if (std::filesystem::equivalent(order.before, order.after, ignored))
        throw UsageError(order.after + ": named twice, a file is not compared with itself");
    const Survey old = readSurvey(order.before), fresh = readSurvey(order.after);
    const ComparedFile before{order.before, old}, after{order.after, fresh};
    const Comparison comparison = compared(before, after);
    if (comparison.points.empty())
        throw FileError(order.after, "no point of it was measured in " + order.before + ", too");
    if (order.format == "json")
        out << toJson(comparison, before, after).dump(1, ' ', false, Json::error_handler_t::replace)
            << '\n';
    else
        showComparison(out, comparison, before, after, order.all);
    return statusFor(comparison);
}

}  // namespace

Command addCompareCommand(CLI::App& app, const std::string& /*commandLine*/) {
    const auto order = std::make_shared<CompareOrder>();
    app.add_option("old", order->before, "a survey file: how it was")->required();
    app.add_option("new", order->after, "a survey file: how it is")->required();
    app.add_option("--format", order->format, "text or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    app.add_flag("--all", order->all, "list the points that are the same, too");
    app.footer(
        "Exit status: 0 all the same or better, 1 something is worse, 4 something cannot be told.");
    return [order] { return compareFiles(*order, std::cout); };
}

}  // namespace survey
