// What the program offers to others by name.
#ifdef FAULTS_LIBRARY  // not under sanitizers, which export their own functions

#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "kestrel/kernels.h"
#include "run_program.h"

TEST(Exports, AreTheFloatingPointKernelsAndNothingElse) {
    const Outcome run = runProgram({}, {.emulator = {"nm", "-D", "--defined-only"}});
    ASSERT_EQ(run.status, 0) << run.output;
    std::set<std::string> names, expected;
    std::istringstream lines(run.output);
    for (std::string address, kind, name; lines >> address >> kind >> name;)
        if (name != "_IO_stdin_used")  // by which the C library knows its callers' age
            names.insert(name);
    for (const Kestrel::FlopKernel& kernel : Kestrel::flopKernels)
        expected.emplace(kernel.name);
    EXPECT_EQ(names, expected);
    EXPECT_EQ(names.size(), 18u);
}

#endif
