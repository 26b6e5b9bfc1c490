// kestrel-survey export: a file of ours to those of others.
#include <CLI/CLI.hpp>
#include <array>
#include <iostream>
#include <memory>

#include "survey/command.h"
#include "survey/export/export.h"
#include "survey/several.h"

namespace survey {
namespace {

struct Format {
    const char *name, *text;
    std::string (*write)(const Survey& survey);
};

constexpr std::array<Format, 3> formats{{
    {"csv", "a row for each sample", csvOf},
    {"benchmark", "google/benchmark's JSON, for its comparison script", benchmarkOf},
    {"prometheus", "the last session's figures, for a node exporter's textfile collector",
     prometheusOf},
}};

struct ExportOrder {
    std::string format, file, output;
};

int exportFile(const ExportOrder& order) {
    const auto* const format =
        std::ranges::find(formats, order.format, [](const Format& it) { return it.name; });
    if (format == formats.end())
        throw UsageError("--format: '" + order.format +
                         "' is not one of csv, benchmark, prometheus");
    protectSurveys(order.output, {order.file});
    const Survey survey = readSurvey(order.file);
    std::string text;
    try {
        text = format->write(survey);
    } catch (const std::runtime_error& failure) {
        throw FileError(order.file, failure.what());
    }
    if (order.output.empty())
        std::cout << text;
    else
        replaceFile(order.output, text);
    return 0;
}

}  // namespace

Command addExportCommand(CLI::App& app, const std::string& /*commandLine*/) {
    const auto order = std::make_shared<ExportOrder>();
    std::string text = "which one:";
    for (const Format& format : formats)
        text.append("\n  ").append(format.name).append(": ").append(format.text);
    app.add_option("--format", order->format, text)->required();
    app.add_option("file", order->file, "a survey file")->required();
    app.add_option("-o,--output", order->output, "where to write it, instead of standard output");
    return [order] { return exportFile(*order); };
}

}  // namespace survey
