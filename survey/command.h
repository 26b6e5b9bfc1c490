/// The subcommands of kestrel-survey.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace survey {

/// What the user asked for does not exist or makes no sense; the exit status is 2.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Does a subcommand's work once the command line has been parsed, with results on standard output.
/// Returns the exit status; throws UsageError for status 2, any other exception for status 3, each
/// with one line that says what is wrong.
using Command = std::function<int()>;

/// Each declares a subcommand's options to `app`, which lives until the command has run.
Command addRunCommand(CLI::App& app, const std::string& commandLine);
Command addCheckCommand(CLI::App& app, const std::string& commandLine);
Command addCompareCommand(CLI::App& app, const std::string& commandLine);
Command addExportCommand(CLI::App& app, const std::string& commandLine);
Command addFleetCommand(CLI::App& app, const std::string& commandLine);

}  // namespace survey
