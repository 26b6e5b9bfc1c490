// The program: help, the report, what it refuses, what it survives, and what it exports.
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "kestrel/kernels.h"
#include "run_program.h"
#include "tern/run_services.h"

namespace {

void expectError(const Words& arguments, const std::string& line) {
    expectRun(arguments, 255, line + "\n");
}

TEST(Program, HelpsByEachNameAndBesideAnything) {
    const std::string help = runProgram({}).output;
    EXPECT_TRUE(help.starts_with("Usage: kestrel [options]\n")) << help;
    for (const char* name :
         {"pattern", "size", "node", "cpu", "word", "stride", "duration", "bandwidth", "help"})
        EXPECT_NE(help.find(std::string("--") + name + " "), std::string::npos) << name;
    for (const Words& arguments : {""_words, "-h"_words, "-?"_words, "--help"_words, "-B -h"_words,
                                   "--help --size=abc"_words, "-c a --help"_words}) {
        const Outcome outcome = runProgram(arguments);
        EXPECT_EQ(outcome.status, 0) << testing::PrintToString(arguments);
        EXPECT_EQ(outcome.output, help) << testing::PrintToString(arguments);
    }
}

/// The lines of that many workers on CPU 0 and their total.
std::string report(int workers, const std::string& iterations, const std::string& size) {
    const bool nothing = iterations == "0";
    const std::string rest = "\\)=0 freq\\(MHz\\)=[0-9]+\\.000000 iters=" + iterations +
                             " size\\(MB\\)=" + size +
                             " BW\\(GB/s\\)=" + (nothing ? "0\\.000000\n" : "[0-9]+\\.[0-9]{6}\n");
    std::string text;
    for (int i = 0; i < workers; ++i)
        text.append("cpuidx\\(").append(std::to_string(i)).append(rest);
    return text + "Total BW\\(GB/s\\)=" + (nothing ? "0\n" : "[0-9.e+]+\n");
}

TEST(Program, ReportsAsAsked) {
    expectRun("-d0"_words, 0, "");
    expectRun("-d5 -d0 -B --bandwidth=false"_words, 0, "");
    expectRun("-d 0 -B"_words, 0, report(1, "1", "0\\.016384"));
    expectRun("-B --duration=0 --word 64 -s64 -S 32K"_words, 0, report(1, "1000", "0\\.032768"));
    expectRun("-d0 -B -S1 -c 0,0"_words, 0, report(2, "1", "0\\.000001"));
    expectRun("-d0 -B -p s-a -c0,0 -S1m"_words, 0, report(2, "1", "1\\.048576"));
    expectRun("-d0 --bandwidth=1 -pa-lls -s 0 -S4k"_words, 0, report(1, "1000", "0\\.004096"));
    expectRun("-d0 -p a-lls -w8 -s8 -B"_words, 0, report(1, "0", "0\\.016384"));
    expectRun("--duration 1 -B --pattern a-fastmem"_words, 0, report(1, "[0-9]{3,}", "0\\.016384"));
}

TEST(Program, RefusesWhatItCannotRead) {
    for (const Words& arguments :
         {"--bogus"_words, "-x"_words, "--patt a-l"_words, "stray"_words, "--size"_words})
        expectError(arguments, "[^\n]*" + arguments.front() + "[^\n]*");
    expectError({"-d0", "--", "stray"}, "[^\n]*stray[^\n]*");
    expectError({"--caf\xc3\xa9=\n1"}, "[^\n]*--caf\\?\\?=\\?1[^\n]*");
    expectError({"--size=", "5"}, "[^\n]*");
    expectError({"--bandwidth=maybe"}, "--bandwidth: 'maybe' [^\n]*");
    expectError({"--bandwidth="}, "--bandwidth: '' [^\n]*");
    expectError({"-B", "true"}, "[^\n]*true[^\n]*");
    for (const char* number : {"", "x", "12x", "-1", "+1", "1.5", "0x10", "1e3", "4294967296", "5G",
                               "4194304K", " 1", "1KK", "99999999999999999999"})
        for (const char* option : {"--size", "--word", "--stride", "--duration"})
            expectError({option, number},
                        std::string(option) + ": '[^\n]*' is not a number [^\n]*");
}

TEST(Program, RefusesMasksItCannotServe) {
    for (const char* mask : {"", "-1", "1 - 3", "0-4294967295"}) {
        expectError({"-d0", "--cpu", mask}, "Cpu mask conversion error");
        expectError({"-d0", std::string("--node=") + mask, "-c", "a"},
                    "Node mask conversion error");
    }
    for (const char* mask : {"32", "0,4294967295", "0-63"})
        expectError({"-d0", "--node", mask}, "Node mask conversion error");
    if (tern_file_exists("/sys/devices/system/node") != 0 &&
        tern_file_exists("/sys/devices/system/node/node30") == 0)
        expectError({"-d0", "--node", "0,30"}, "No memory");
    for (const char* mask : {"1023", "1024", "4294967295", "0,1023", "0,0,1024"})
        expectError({"-d0", "--cpu", mask}, "Worker creation error");
}

TEST(Program, RefusesArraysItCannotMakeOrPrepare) {
    for (const char* size : {"0", "4294967295", "4294963201"})
        expectError({"-d0", "-S", size}, "No memory");
    if (sizeof(void*) == 4)
        expectError({"-d0", "-S", "4294963200"}, "No memory");
    // A stride beyond the array; no loops; links that would overlap.
    for (const Words& arguments : {"-S 4096 -s 4097"_words, "-S 4096 -s 4294967295 -c 0,0"_words,
                                   "-p f-d4f -S 0"_words, "-p l-l -s 2"_words})
        expectError(arguments, "Worker preparation error");
}

TEST(Program, TakesLostOutputForAnErrorAndDoesNotCrash) {
    for (const char* file : {"", "/dev/full"}) {
        for (const Words& arguments : {"-d0 -B"_words, "--bogus"_words, "-h"_words})
            EXPECT_EQ(runProgram(arguments, {.outputFile = file}).status, 255);
        EXPECT_EQ(runProgram({"-d0"}, {.outputFile = file}).status, 0);
    }
}

#ifdef FAULTS_LIBRARY  // not under sanitizers, which also export their own functions

Words faultAt(const std::string& call) {
    return {"LD_PRELOAD=" FAULTS_LIBRARY, "FAULT=" + call};
}

TEST(Program, EndsInOneLineWhereACallFails) {
    const std::string creation = "Worker creation error\n";
    const std::pair<std::string, std::string> cases[] = {
        {"mmap", "No memory\n"},
        {"mbind", "No memory\n"},
        {"sched_setaffinity", creation},
        {"pthread_create", creation},
        {"gettimeofday", "Worker (preparation|creation) error\n"}};
    for (const auto& [function, error] : cases)
        for (const std::string call : {":1", ":2", ":3"})
            for (const char* pattern : {"a-l", "s-a"}) {
                // A shared array is made once.
                if (function.starts_with("m") && *pattern == 's' && call != ":1")
                    continue;
                SCOPED_TRACE(function + call);
                expectRun({"-d0", "-B", "-c0,0,0", "-p", pattern}, 255, error,
                          {.environment = faultAt(function + call)});
            }
}

TEST(Program, SurvivesEachLackOfMemory) {
    // Before main, where nothing can be caught, libraries of the program allocate as well.
    bool inMain = false;
    int failures = 0;
    for (int call = 1, clean = 0; clean < 20; ++call) {
        const Outcome run = runProgram("-d0 -c0,0 -B"_words,
                                       {.environment = faultAt("malloc:" + std::to_string(call))});
        inMain |= run.status == 255;
        clean = run.status == 0 ? clean + 1 : 0;
        failures += run.status == 255;
        EXPECT_TRUE(!inMain || run.status == 0 || run.status == 255) << call << run.output;
    }
    EXPECT_GT(failures, 100);
}

TEST(Program, EndsUnderWorkersInALongPass) {
    // A worker that has begun its pass would be busy for many seconds.
    for (const char* call : {"mmap:2", "pthread_create:2", "sched_setaffinity:2"})
        expectRun("-d1 -p f-ssa -S 4294967295 -c 0,0"_words, 255, "(No memory|Worker .*)\n",
                  {.environment = faultAt(call), .limit = 5});
}

TEST(Program, ExportsTheFloatingPointKernelsAndNothingElse) {
    std::istringstream lines(runProgram({}, {.emulator = {"nm", "-D", "--defined-only"}}).output);
    std::set<std::string> names, expected;
    for (std::string address, kind, name; lines >> address >> kind >> name;)
        if (name != "_IO_stdin_used")  // by which the C library knows its callers' age
            names.insert(name);
    for (const Kestrel::FlopKernel& kernel : Kestrel::flopKernels)
        expected.emplace(kernel.name);
    EXPECT_EQ(names, expected);
}

#endif

}  // namespace
