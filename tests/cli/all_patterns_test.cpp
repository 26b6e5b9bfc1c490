// Every pattern name from the command line, on this processor and on others.
#include <gtest/gtest.h>
#include <unistd.h>

#include "pattern_table.h"
#include "run_program.h"

namespace {

/// One pass. Word and stride alike, or "a-lls" would have nothing to do.
Words onePass(std::string_view pattern) {
    Words words = "--size 4096 --word 64 --stride 64 --duration 0 --bandwidth --pattern"_words;
    words.emplace_back(pattern);
    return words;
}

TEST(AllPatterns, MakeOnePassAndReport) {
    for (const Kestrel::PatternRow& row : Kestrel::allPatterns())
        expectRun(onePass(row.name), 0,
                  std::string(row.countsAccesses() ? "cpuidx[^\n]* clocks=[^\n]*\n" : "") +
                      "cpuidx[^\n]*\nTotal BW\\(GB/s\\)=[^\n]*\n");
    EXPECT_EQ(Kestrel::allPatterns().size(), 26u);
}

TEST(AllPatterns, AnUnknownNameChasesAList) {
    // 64 nodes of 64 bytes: the array size shows that it is no pattern without one.
    expectRun("-p A-L -S 4096 -s 64 -d 0 -B"_words, 0, ".* iters=1 size\\(MB\\)=0\\.004096 .*");
}

TEST(AllPatterns, SharedArraysServeTwoWorkers) {
    const std::string cpus = sysconf(_SC_NPROCESSORS_ONLN) > 1 ? "0,1" : "0,0";
    const auto run = [&](const char* name, const char* stride, const char* duration) {
        expectRun({"-p", name, "-S", "4096", "-w", "64", "-s", stride, "-d", duration, "-c", cpus},
                  0, ".*");
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
        expectRun({"-p", name, "-S", "4096", "-d", "0"}, 0, line);
        expectRun({"-p", name, "-S", "4096", "-d", "0", "-B", "-s", "64", "-w", "8"}, 0,
                  line + more);
        // No operations: ticks, divided by none.
        expectRun({"-p", name, "-S", "0", "-d", "0"}, 0, ".* iters=0 clocks=inf\n");
    }
}

#ifdef FAULTS_LIBRARY  // not under sanitizers, whose memory does not fit into the emulator either

/// What a pattern's arithmetic needs, as its name says: scalar and SSE additions run everywhere.
bool runsOn(bool avx, bool fma, const std::string& pattern) {
    if (!pattern.starts_with("f-"))
        return true;
    if (pattern == "f-d8f" || pattern == "f-d8a" || pattern.starts_with("f-s16"))
        return false;  // QEMU emulates no AVX-512
    return (pattern.back() != 'f' || fma) && (pattern[3] == 's' || avx);
}

TEST(AllPatterns, CountWhatOtherProcessorsCanAndEndNormally) {
    const struct {
        const char* name;
        bool avx, fma;
    } models[] = {{"Nehalem", false, false}, {"max,-fma", true, false}, {"max", true, true}};
    const std::string preload = "LD_PRELOAD=" FAULTS_LIBRARY;
    for (const auto& model : models)
        for (const Kestrel::PatternRow& row : Kestrel::allPatterns()) {
            const std::string name(row.name),
                qemu = sizeof(void*) == 8 ? "qemu-x86_64" : "qemu-i386";
            // QEMU has no system call for memory policies, so the program must find no NUMA
            // support.
            const Outcome run = runProgram(
                onePass(name),
                {.emulator = {qemu, "-cpu", model.name, "-E", preload, "-E", "FAULT=access:1"}});
            if (run.status == 127)
                GTEST_SKIP() << "no " << qemu;
            SCOPED_TRACE(name + " on " + model.name + "\n" + run.output);
            EXPECT_EQ(run.status, 0);
            const bool counted = run.output.find(" iters=0 ") == std::string::npos;
            EXPECT_EQ(counted, runsOn(model.avx, model.fma, name));
            EXPECT_EQ(run.output.ends_with("Total BW(GB/s)=0\n"), !counted || row.countsAccesses());
        }
}

#endif

}  // namespace
