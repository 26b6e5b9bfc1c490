/// kestrel-survey: a machine's memory and arithmetic in a minute, each figure with its trust.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "survey/command.h"
#include "survey/file.h"
#include "versionkit/version.h"

namespace {

struct CommandRow {
    const char* name;
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

int parseAndRun(int argc, char** argv) {
    CLI::App app("A machine's memory and arithmetic in a minute, each figure with its trust.",
                 "kestrel-survey");
    app.require_subcommand(1);
    app.set_version_flag("--version", versionkit::text("kestrel-survey"));
    std::vector<std::pair<CLI::App*, survey::Command>> all;
    for (const CommandRow& row : commands) {
        CLI::App* const command = app.add_subcommand(row.name, row.text);
        all.emplace_back(command, row.add(*command, lineOf(argc, argv)));
    }
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
