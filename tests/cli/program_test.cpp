// The command line: help, defaults, the report, and what is refused.
#include <gtest/gtest.h>

#include <algorithm>

#include "run_program.h"
#include "tern/run_services.h"

namespace {

using Arguments = std::vector<std::string>;

std::string shown(const Arguments& arguments) {
    std::string text;
    for (const std::string& argument : arguments)
        text += "'" + argument + "' ";
    return text;
}

void expectError(const Arguments& arguments, const std::string& pattern) {
    const Outcome outcome = runProgram(arguments);
    EXPECT_EQ(outcome.status, 255) << shown(arguments);
    EXPECT_EQ(std::ranges::count(outcome.output, '\n'), 1) << shown(arguments) << outcome.output;
    EXPECT_TRUE(matches(outcome.output, pattern + "\n")) << shown(arguments) << outcome.output;
}

}  // namespace

TEST(CommandLine, HelpByEachNameAndBesideAnything) {
    const Outcome plain = runProgram({});
    EXPECT_EQ(plain.status, 0);
    EXPECT_TRUE(plain.output.starts_with("Usage: kestrel [options]\n")) << plain.output;
    for (const char* name :
         {"pattern", "size", "node", "cpu", "word", "stride", "duration", "bandwidth", "help"})
        EXPECT_NE(plain.output.find(std::string("--") + name + " "), std::string::npos) << name;
    for (const Arguments& arguments :
         {Arguments{"-h"}, Arguments{"-?"}, Arguments{"--help"}, Arguments{"-B", "-h"},
          Arguments{"--help", "--size=abc"}, Arguments{"-c", "no mask", "--help"}}) {
        const Outcome outcome = runProgram(arguments);
        EXPECT_EQ(outcome.status, 0) << shown(arguments);
        EXPECT_EQ(outcome.output, plain.output) << shown(arguments);
    }
}

TEST(CommandLine, ReportsAsAsked) {
    const std::string number = "[0-9]+\\.[0-9]{6}", total = "Total BW\\(GB/s\\)=[0-9.e+]+\n";
    const auto line = [&](const char* start, const char* count, const char* size) {
        return std::string("cpuidx") + start + " freq\\(MHz\\)=[0-9]+\\.000000 iters=" + count +
               " size\\(MB\\)=" + size + " BW\\(GB/s\\)=" + number + "\n";
    };
    const struct {
        Arguments arguments;
        std::string output;
    } cases[] = {
        {{"-d0"}, ""},
        {{"-d", "0", "-B"}, line("\\(0\\)=0", "1", "0\\.016384") + total},
        {{"-B", "--duration=0", "--word", "64", "-s64", "-S", "32K"},
         line("\\(0\\)=0", "1000", "0\\.032768") + total},
        {{"-d0", "-B", "-S1", "-c", "0,0"},
         line("\\(0\\)=0", "1", "0\\.000001") + line("\\(1\\)=0", "1", "0\\.000001") + total},
        {{"-d0", "-B", "-p", "s-a", "-c0,0", "-S1m"},
         line("\\(0\\)=0", "1", "1\\.048576") + line("\\(1\\)=0", "1", "1\\.048576") + total},
        {{"-d0", "--bandwidth=1", "-pa-lls", "-s", "0", "-S4k"},
         line("\\(0\\)=0", "1000", "0\\.004096") + total},
        {{"-d0", "-p", "a-lls", "-w8", "-s8", "-B"},
         "cpuidx\\(0\\)=0 freq\\(MHz\\)=[0-9]+\\.000000 iters=0 size\\(MB\\)=0\\.016384 "
         "BW\\(GB/s\\)=0\\.000000\nTotal BW\\(GB/s\\)=0\n"},
        {{"-d5", "-d0", "-B", "--bandwidth=false"}, ""},
        {{"--duration", "1", "-B", "--pattern", "a-fastmem"},
         line("\\(0\\)=0", "[0-9]{3,}", "0\\.016384") + total},
    };
    for (const auto& c : cases) {
        const Outcome outcome = runProgram(c.arguments);
        EXPECT_EQ(outcome.status, 0) << shown(c.arguments);
        EXPECT_TRUE(matches(outcome.output, c.output)) << shown(c.arguments) << outcome.output;
    }
}

TEST(CommandLine, RefusesWhatItCannotRead) {
    expectError({"--bogus"}, ".*--bogus.*");
    expectError({"-x"}, ".*-x.*");
    expectError({"--patt", "a-l"}, ".*--patt.*");
    expectError({"stray"}, ".*stray.*");
    expectError({"-d0", "--", "stray"}, ".*stray.*");
    expectError({"--size"}, ".*--size.*");
    expectError({"--caf\xc3\xa9=\n1"}, ".*--caf\\?\\?=\\?1.*");
    for (const char* number : {"", "x", "12x", "-1", "+1", "1.5", "0x10", "1e3", "4294967296", "5G",
                               "4194304K", " 1", "1KK", "99999999999999999999"})
        for (const char* option : {"--size", "--word", "--stride", "--duration"})
            expectError({option, number}, std::string(option) + ": '.*' is not a number .*");
    expectError({"--size=", "5"}, ".*");
    expectError({"--bandwidth=maybe"}, "--bandwidth: 'maybe' .*");
    expectError({"-B", "true"}, ".*true.*");
}

TEST(CommandLine, RefusesMasksItCannotServe) {
    const bool numa = tern_file_exists("/sys/devices/system/node") != 0;
    for (const char* mask : {"", ",", "1-", "-1", "0x3", "1 - 3", "1-2-3", "a", "4294967296",
                             "0-4294967295", "4294967295-0"}) {
        expectError({"-d0", "--cpu", mask}, "Cpu mask conversion error");
        expectError({"-d0", std::string("--node=") + mask, "-c", "a"},
                    "Node mask conversion error");
    }
    for (const char* mask : {"32", "0,4294967295", "0-63"})
        expectError({"-d0", "--node", mask}, "Node mask conversion error");
    if (numa && tern_file_exists("/sys/devices/system/node/node30") == 0)
        expectError({"-d0", "--node", "0,30"}, "No memory");
    for (const char* mask : {"1023", "1024", "4294967295", "0,1023", "0,0,1024"})
        expectError({"-d0", "--cpu", mask}, "Worker creation error");
}

TEST(CommandLine, RefusesArraysItCannotMakeOrPrepare) {
    for (const char* size : {"0", "4294967295", "4294963201"})
        expectError({"-d0", "-S", size}, "No memory");
    if (sizeof(void*) == 4)
        expectError({"-d0", "-S", "4294963200"}, "No memory");
    expectError({"-d0", "-S", "4096", "-s", "4097"}, "Worker preparation error");
    expectError({"-d0", "-S", "4096", "-s", "4294967295", "-c", "0,0"}, "Worker preparation error");
}

TEST(CommandLine, LosingTheOutputIsAnErrorAndNoCrash) {
    for (const char* file : {"", "/dev/full"}) {
        EXPECT_EQ(runProgram({"-d0", "-B"}, {.environment = {}, .outputFile = file}).status, 255);
        EXPECT_EQ(runProgram({"--bogus"}, {.environment = {}, .outputFile = file}).status, 255);
        EXPECT_EQ(runProgram({"-h"}, {.environment = {}, .outputFile = file}).status, 255);
        EXPECT_EQ(runProgram({"-d0"}, {.environment = {}, .outputFile = file}).status, 0);
    }
}

#ifdef FAULTS_LIBRARY
TEST(CommandLine, EveryFailingCallEndsInOneLine) {
    const struct {
        const char* function;
        const char* error;
    } cases[] = {
        {"mmap", "No memory"},
        {"mbind", "No memory"},
        {"sched_setaffinity", "Worker creation error"},
        {"pthread_create", "Worker creation error"},
        {"gettimeofday", "Worker (preparation|creation) error"},
    };
    for (const auto& c : cases)
        for (const char* call : {"1", "2", "3"})
            for (const char* pattern : {"a-l", "s-a"}) {
                // A shared array is made once.
                const bool makesArray = c.error == std::string("No memory");
                if (makesArray && *pattern == 's' && *call != '1')
                    continue;
                const Outcome outcome =
                    runProgram({"-d0", "-B", "-c0,0,0", "-p", pattern},
                               {.environment = {"LD_PRELOAD=" FAULTS_LIBRARY,
                                                std::string("FAULT=") + c.function + ":" + call}});
                EXPECT_EQ(outcome.status, 255) << c.function << ":" << call << " " << pattern;
                EXPECT_TRUE(matches(outcome.output, c.error + std::string("\n")))
                    << c.function << ":" << call << " " << outcome.output;
            }
}
#endif
