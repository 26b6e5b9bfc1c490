// The program on processors that lack what this one may have, emulated by QEMU.
#ifdef FAULTS_LIBRARY  // not under sanitizers, whose memory does not fit into the emulator either

#include <gtest/gtest.h>

#include "pattern_table.h"
#include "run_program.h"

namespace {

const std::string emulator = sizeof(void*) == 8 ? "qemu-x86_64" : "qemu-i386";

Outcome runOn(const std::string& processor, const std::string& pattern) {
    // QEMU has no system call for memory policies, so the program must find no NUMA support.
    const std::string preload = "LD_PRELOAD=" FAULTS_LIBRARY;
    return runProgram(
        {"-p", pattern, "-S", "4096", "-w", "64", "-s", "64", "-d", "0", "-B"},
        {.emulator = {emulator, "-cpu", processor, "-E", preload, "-E", "FAULT=access:1"}});
}

/// What a pattern's arithmetic needs, as its name says: scalar and SSE additions run everywhere.
bool runsOn(bool avx, bool fma, const std::string& pattern) {
    if (!pattern.starts_with("f-"))
        return true;
    if (pattern == "f-d8f" || pattern == "f-d8a" || pattern.starts_with("f-s16"))
        return false;  // QEMU emulates no AVX-512
    return (pattern.back() != 'f' || fma) && (pattern[3] == 's' || avx);
}

struct Model {
    const char* title;
    const char* name;
    bool avx, fma;
};

class OtherProcessors : public testing::TestWithParam<Model> {};

TEST_P(OtherProcessors, CountWhatTheyCanAndEndNormally) {
    if (runOn(GetParam().name, "a-l").status == 127)
        GTEST_SKIP() << "no " << emulator;
    for (const Kestrel::PatternRow& row : Kestrel::allPatterns()) {
        const std::string name(row.name);
        const Outcome run = runOn(GetParam().name, name);
        EXPECT_EQ(run.status, 0) << name << "\n" << run.output;
        const bool counted = run.output.find(" iters=0 ") == std::string::npos;
        EXPECT_EQ(counted, runsOn(GetParam().avx, GetParam().fma, name)) << name << "\n"
                                                                         << run.output;
        EXPECT_EQ(run.output.ends_with("Total BW(GB/s)=0\n"), !counted || row.accessTimeLine)
            << name << "\n"
            << run.output;
    }
}

INSTANTIATE_TEST_SUITE_P(All, OtherProcessors,
                         testing::Values(Model{"WithoutAvx", "Nehalem", false, false},
                                         Model{"WithoutFma", "max,-fma", true, false},
                                         Model{"WithBoth", "max", true, true}),
                         [](const auto& test) { return std::string(test.param.title); });

}  // namespace

#endif
