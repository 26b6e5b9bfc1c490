/// Runs the built program as a user would.
#pragma once

#include <string>
#include <vector>

using Words = std::vector<std::string>;

/// The words between the blanks of a text.
Words operator""_words(const char* text, std::size_t length);

struct Outcome {
    int status = -1;     ///< exit status; 128 + N after signal N, SIGALRM where it took too long
    std::string output;  ///< standard output and standard error together
};

struct RunOptions {
    Words environment = {};            ///< "NAME=value", added to the test's own
    const char* outputFile = nullptr;  ///< standard output goes there; "" closes it
    Words emulator = {};               ///< a command to run the program with
    const char* program = KESTREL_PROGRAM;
    unsigned limit = 60;  ///< seconds, after which SIGALRM ends the program
};

Outcome runProgram(const Words& arguments, const RunOptions& options = {});

/// Expects that status, and an output that matches the extended regular expression as a whole.
void expectRun(const Words& arguments, int status, const std::string& expression,
               const RunOptions& options = {});
