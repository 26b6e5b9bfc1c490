// Every pattern name from the command line, on this processor and on others.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "pattern_table.h"
#include "run_program.h"

namespace {

/// One pass. Word and stride alike, or "a-lls" would have nothing to do.
Words onePass(std::string_view pattern) {
    Words words = "--size 4096 --word 64 --stride 64 --duration 0 --bandwidth --pattern"_words;
    words.emplace_back(pattern);
    return words;
}

TEST(AllPatterns, AnUnknownNameChasesAList) {
    // 64 nodes of 64 bytes: the array size shows that it is no pattern without one.
    expectRun("-p A-L -S 4096 -s 64 -d 0 -B"_words, 0, ".* iters=1 size\\(MB\\)=0\\.004096 .*");
}

TEST(AllPatterns, SharedArraysServeTwoWorkers) {
    const std::string cpus = sysconf(_SC_NPROCESSORS_ONLN) > 1 ? "0,1" : "0,0";
    for (const char* const name : {"s-a", "s-l", "s-lms", "s-lms-l"})
        for (const char* const stride : {"0", "8", "64"})
            expectRun({"-p", name, "-S", "4096", "-w64", "-s", stride, "-d0", "-c", cpus}, 0, ".*");
    expectRun({"-p", "s-lms-l", "-S", "4096", "-s", "8", "-d", "1", "-c", cpus}, 0, ".*");
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

struct Processor {
    bool avx, fma, avx512;
};

bool thisOneHas(const std::string& flag) {
    std::ifstream file("/proc/cpuinfo");
    return std::count(std::istream_iterator<std::string>(file), {}, flag) != 0;
}

/// What a pattern's arithmetic needs, as its name says: scalar and SSE additions run everywhere.
bool runsOn(const Processor& processor, const std::string& pattern) {
    if (!pattern.starts_with("f-"))
        return true;
    if (pattern == "f-d8f" || pattern == "f-d8a" || pattern.starts_with("f-s16"))
        return processor.avx512;
    return (pattern.back() != 'f' || processor.fma) && (pattern[3] == 's' || processor.avx);
}

void expectReports(const Processor& processor, const Words& emulator) {
    for (const Kestrel::PatternRow& row : Kestrel::allPatterns()) {
        const std::string name(row.name);
        SCOPED_TRACE(name);
        const bool counts = runsOn(processor, name);
        const std::string lines = row.countsAccesses() ? "cpuidx[^\n]* clocks=[^\n]*\n" : "";
        const char* const total = !counts || row.countsAccesses() ? "0" : "[0-9.e+]*[1-9][0-9.e+]*";
        std::string expected = "(qemu-[^\n]*\n)*";  // which it warns with
        expected.append(lines).append("cpuidx[^\n]* iters=").append(counts ? "[1-9][0-9]*" : "0");
        expected.append(" [^\n]*\nTotal BW\\(GB/s\\)=").append(total).append("\n");
        expectRun(onePass(name), 0, expected, {.emulator = emulator});
    }
}

TEST(AllPatterns, CountWhatThisProcessorCan) {
    expectReports({thisOneHas("avx"), thisOneHas("fma"), thisOneHas("avx512f")}, {});
}

#ifdef FAULTS_LIBRARY  // not under sanitizers, whose memory does not fit into the emulator either

TEST(AllPatterns, CountWhatOtherProcessorsCanAndEndNormally) {
    const std::string qemu = sizeof(void*) == 8 ? "qemu-x86_64" : "qemu-i386";
    if (runProgram({"-h"}, {.emulator = {qemu}}).status == 127)
        GTEST_SKIP() << "no " << qemu;
    const std::pair<std::string, Processor> models[] = {{"Nehalem", {false, false, false}},
                                                        {"max,-fma", {true, false, false}},
                                                        {"max", {true, true, false}}};
    for (const auto& [model, processor] : models) {
        SCOPED_TRACE(model);
        // QEMU has no system call for memory policies: the program must find no NUMA support.
        const std::string preload = "LD_PRELOAD=" FAULTS_LIBRARY;
        expectReports(processor, {qemu, "-cpu", model, "-E", preload, "-E", "FAULT=access:1"});
    }
}

#endif

}  // namespace
