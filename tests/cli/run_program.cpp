#include "run_program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <regex.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iterator>
#include <sstream>

namespace {

[[noreturn]] void become(Words command, const RunOptions& options, int output) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (options.outputFile != nullptr) {
        close(STDOUT_FILENO);
        if (*options.outputFile != '\0' && open(options.outputFile, O_WRONLY) != STDOUT_FILENO)
            _exit(126);
    }
    std::vector<char*> argv;
    for (std::string& word : command)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    for (const std::string& variable : options.environment)
        putenv(const_cast<char*>(variable.c_str()));
    alarm(options.limit);
    execvp(argv.front(), argv.data());
    _exit(127);
}

}  // namespace

Words operator""_words(const char* text, std::size_t length) {
    std::istringstream words(std::string(text, length));
    return {std::istream_iterator<std::string>(words), {}};
}

Outcome runProgram(const Words& arguments, const RunOptions& options) {
    Words command = options.emulator;
    command.emplace_back(options.program);
    command.insert(command.end(), arguments.begin(), arguments.end());
    int ends[2], status = 0;
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = fork();
    if (child == 0)
        become(command, options, ends[1]);
    close(ends[1]);
    Outcome outcome;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
        outcome.output.append(buffer, static_cast<std::size_t>(count));
    close(ends[0]);
    waitpid(child, &status, 0);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}

void expectRun(const Words& arguments, int status, const std::string& expression,
               const RunOptions& options) {
    const Outcome outcome = runProgram(arguments, options);
    EXPECT_EQ(outcome.status, status) << testing::PrintToString(arguments);
    regex_t whole;
    ASSERT_EQ(regcomp(&whole, ("^(" + expression + ")$").c_str(), REG_EXTENDED | REG_NOSUB), 0);
    EXPECT_EQ(regexec(&whole, outcome.output.c_str(), 0, nullptr, 0), 0)
        << testing::PrintToString(arguments) << outcome.output;
    regfree(&whole);
}
