// Every pattern name from the command line.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "pattern_table.h"
#include "run_program.h"

namespace {

std::string twoCpus() {
    return sysconf(_SC_NPROCESSORS_ONLN) > 1 ? "0,1" : "0,0";
}

std::size_t linesOf(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

TEST(AllPatterns, MakeOnePassAndReport) {
    for (const Kestrel::PatternRow& row : Kestrel::allPatterns()) {
        const std::string name(row.name);
        // Word and stride alike, or "a-lls" would have nothing to do.
        const Outcome run = runProgram({"--pattern", name, "--size", "4096", "--word", "64",
                                        "--stride", "64", "--duration", "0", "--bandwidth"});
        EXPECT_EQ(run.status, 0) << name << "\n" << run.output;
        EXPECT_EQ(linesOf(run.output), row.accessTimeLine ? 3u : 2u) << name << "\n" << run.output;
        EXPECT_NE(run.output.find("Total BW(GB/s)="), std::string::npos) << name;
    }
    EXPECT_EQ(Kestrel::allPatterns().size(), 26u);
}

TEST(AllPatterns, AnUnknownNameChasesAList) {
    const Outcome run = runProgram({"-p", "A-L", "-S", "4096", "-s", "64", "-d", "0", "-B"});
    EXPECT_EQ(run.status, 0);
    // 64 nodes of 64 bytes: the array size shows that it is no pattern without one.
    EXPECT_NE(run.output.find("iters=1 size(MB)=0.004096"), std::string::npos) << run.output;
}

TEST(AllPatterns, SharedArraysServeTwoWorkers) {
    const auto run = [](const char* name, const char* stride, const char* duration) {
        const Outcome outcome = runProgram(
            {"-p", name, "-S", "4096", "-w", "64", "-s", stride, "-d", duration, "-c", twoCpus()});
        EXPECT_EQ(outcome.status, 0) << name << "\n" << outcome.output;
    };
    for (const char* const name : {"s-a", "s-l", "s-lms", "s-lms-l"})
        for (const char* const stride : {"0", "8", "64"})
            run(name, stride, "0");
    run("s-l", "8", "1");
    run("s-lms-l", "8", "1");
}

TEST(AllPatterns, ShareReportsAccessTimes) {
    const std::string line =
        "cpuidx\\(0\\)=0 freq\\(Hz\\)=[0-9]+\\.000000 iters=4096 clocks=[0-9]\\.[0-9]{6}\n";
    const std::string more =
        "cpuidx\\(0\\)=0 freq\\(MHz\\)=[0-9]+\\.000000 iters=4096 size\\(MB\\)=0\\.000064 "
        "BW\\(GB/s\\)=0\\.000000\nTotal BW\\(GB/s\\)=0\n";
    for (const char* const name : {"s-lms", "s-lms-l"}) {
        Outcome run = runProgram({"-p", name, "-S", "4096", "-d", "0"});
        EXPECT_TRUE(matches(run.output, line)) << run.output;
        run = runProgram({"-p", name, "-S", "4096", "-d", "0", "-B", "-s", "64", "-w", "8"});
        EXPECT_TRUE(matches(run.output, line + more)) << run.output;
        // No operations: ticks, divided by none.
        run = runProgram({"-p", name, "-S", "0", "-d", "0"});
        EXPECT_EQ(run.status, 0);
        EXPECT_NE(run.output.find("iters=0 clocks=inf"), std::string::npos) << run.output;
    }
}

TEST(AllPatterns, WhatCannotBePreparedEndsWithAnError) {
    const std::vector<std::vector<std::string>> runs = {
        {"-p", "f-d4f", "-S", "0"},  // no loops
        {"-p", "l-l", "-s", "2"},    // links would overlap
    };
    for (const std::vector<std::string>& arguments : runs) {
        const Outcome run = runProgram(arguments);
        EXPECT_EQ(run.status, 255);
        EXPECT_EQ(run.output, "Worker preparation error\n");
    }
}

}  // namespace
