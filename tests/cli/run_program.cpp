#include "run_program.h"

#include <fcntl.h>
#include <poll.h>
#include <regex.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>

namespace {

constexpr std::chrono::seconds longestRun{60};

[[noreturn]] void become(const std::vector<std::string>& arguments, const RunOptions& options,
                         int output) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (options.outputFile != nullptr) {
        close(STDOUT_FILENO);
        if (*options.outputFile != '\0' && open(options.outputFile, O_WRONLY) != STDOUT_FILENO)
            _exit(126);
    }
    std::vector<char*> argv = {const_cast<char*>(KESTREL_PROGRAM)};
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    for (const std::string& variable : options.environment)
        putenv(const_cast<char*>(variable.c_str()));
    execv(argv.front(), argv.data());
    _exit(127);
}

/// Reads until the program closes its output; false where that takes too long.
bool readAll(int from, std::string& text) {
    const auto deadline = std::chrono::steady_clock::now() + longestRun;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd ready{from, POLLIN, 0};
        if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) <= 0)
            return false;
        char buffer[4096];
        const ssize_t count = read(from, buffer, sizeof buffer);
        if (count <= 0)
            return true;
        text.append(buffer, static_cast<std::size_t>(count));
    }
}

}  // namespace

Outcome runProgram(const std::vector<std::string>& arguments, const RunOptions& options) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0)
        become(arguments, options, ends[1]);
    close(ends[1]);
    Outcome outcome;
    const bool ended = readAll(ends[0], outcome.output);
    close(ends[0]);
    if (!ended)
        kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    if (!ended)
        outcome.status = 124;
    else
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

bool matches(const std::string& text, const std::string& expression) {
    regex_t compiled;
    if (regcomp(&compiled, ("^(" + expression + ")$").c_str(), REG_EXTENDED | REG_NOSUB) != 0)
        throw std::invalid_argument(expression);
    const bool found = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
    regfree(&compiled);
    return found;
}
