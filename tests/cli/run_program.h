/// Runs the built program as a user would.
#pragma once

#include <string>
#include <vector>

struct Outcome {
    int status = -1;     ///< exit status; 128 + N after signal N; 124 where it had to be stopped
    std::string output;  ///< standard output and standard error together
};

struct RunOptions {
    std::vector<std::string> environment;  ///< "NAME=value", added to the test's own
    const char* outputFile = nullptr;      ///< standard output goes there; "" closes it
};

Outcome runProgram(const std::vector<std::string>& arguments, const RunOptions& options = {});

/// True where the whole text matches the extended POSIX expression.
bool matches(const std::string& text, const std::string& expression);
