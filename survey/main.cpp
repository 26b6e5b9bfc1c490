/// kestrel-survey: a machine's memory and arithmetic in minutes, each figure with its trust.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "survey/command.h"
#include "survey/file.h"
#include "versionkit/version.h"

namespace {

struct CommandRow {
    std::string_view name;
    const char* text;
    survey::Command (*add)(CLI::App& app, const std::string& commandLine);
};

constexpr CommandRow commands[] = {
    {"run", "measure this machine", survey::addRunCommand},
    {"check", "tell how this machine is set up for measuring", survey::addCheckCommand},
    {"show", "the tables of survey files", survey::addShowCommand},
    {"report", "a page with charts from survey files", survey::addReportCommand},
    {"compare", "tell what differs between two surveys", survey::addCompareCommand},
    {"fleet", "which of many hosts stand out among their peers", survey::addFleetCommand},
    {"export", "a survey in a format that other programs read", survey::addExportCommand},
};

std::string lineOf(int argc, char** argv) {
    std::string line;
    for (int i = 0; i < argc; ++i)
        line += (i == 0 ? "" : " ") + std::string(argv[i]);
    return line;
}

/// A value that is left out would swallow the next option.
void refuseOptionsAsValues(CLI::App& command) {
    for (CLI::Option* const option :
         command.get_options([](const CLI::Option* it) { return !it->get_positional(); }))
        option->check([](const std::string& value) {
            return value.starts_with("--") ? "'" + value + "' is an option, not a value" : "";
        });
}

bool isCommand(std::string_view word) {
    return std::ranges::find(commands, word, &CommandRow::name) != std::end(commands);
}

int parseAndRun(int argc, char** argv) {
    CLI::App app("A machine's memory and arithmetic in minutes, each figure with its trust.",
                 "kestrel-survey");
    app.require_subcommand(1);
    app.set_version_flag("--version", versionkit::text("kestrel-survey"));
    std::vector<std::pair<CLI::App*, survey::Command>> all;
    for (const CommandRow& row : commands) {
        CLI::App* const command = app.add_subcommand(std::string(row.name), row.text);
        all.emplace_back(command, row.add(*command, lineOf(argc, argv)));
        refuseOptionsAsValues(*command);
    }
    if (argc > 1 && argv[1][0] != '-' && !isCommand(argv[1]))
        throw survey::UsageError("there is no subcommand '" + std::string(argv[1]) +
                                 "', try --help");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& failure) {
        if (failure.get_exit_code() == 0)
            return app.exit(failure);
        throw survey::UsageError(failure.what());
    }
    for (const auto& [command, work] : all)
        if (command->parsed())
            return work();
    return 0;
}

int fail(int status, const std::exception& failure) {
    std::fprintf(stderr, "kestrel-survey: %s\n", failure.what());
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int usage = 2, cannot = 3;
    try {
        const int status = parseAndRun(argc, argv);
        errno = 0;
        std::cout.flush();
        // Results that nobody received (a full disk, a closed output) are no success.
        if (!std::cout.good())
            throw survey::FileError("standard output",
                                    errno != 0 ? std::strerror(errno) : "cannot be written");
        return status;
    } catch (const survey::UsageError& failure) {
        return fail(usage, failure);
    } catch (const std::exception& failure) {
        return fail(cannot, failure);
    }
}
