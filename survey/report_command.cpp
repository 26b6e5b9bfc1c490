// kestrel-survey report: what survey files hold, as a page with charts.
#include <CLI/CLI.hpp>
#include <memory>

#include "survey/command.h"
#include "survey/report/report.h"

namespace survey {
namespace {

struct ReportOrder {
    std::vector<std::string> files;
    std::string output;
};

}  // namespace

Command addReportCommand(CLI::App& app, const std::string& /*commandLine*/) {
    const auto order = std::make_shared<ReportOrder>();
    app.add_option("file", order->files, "survey files; their sessions stand side by side")
        ->required();
    app.add_option("-o,--output", order->output,
                   "the page to write; an older report there is replaced, nothing else")
        ->required();
    return [order] {
        writeReport(order->output, readSurveys(order->files));
        return 0;
    };
}

}  // namespace survey
