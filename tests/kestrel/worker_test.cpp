#include "kestrel/worker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <string>

#include "patterns/list_pattern.h"
#include "tern/run_services.h"
#include "worker_impl/frequency.h"

using namespace Kestrel;

namespace {

/// Runs nothing and records on which CPU.
struct ProbeArray : IArray {
    int cpu = -1;
    std::uint64_t frequency = 0;
    PatternStatus run(IPattern& /*pattern*/, WorkerResult& results,
                      const RunPhase& phase) override {
        cpu = sched_getcpu();
        frequency = results.frequency;
        while (phase.load() == rpWait)
            tern_yield();
        return psInvalidArray;  // nobody looks at it
    }
};

/// Clocks that replay readings; the wall clock fails where they end.
FrequencyClocks replay(const std::vector<std::int32_t>& wall,
                       const std::vector<std::uint64_t>& counter) {
    const auto nextReading = [wall, i = std::size_t{0}](std::int32_t& microseconds) mutable {
        if (i == wall.size())
            return false;
        microseconds = wall[i++];
        return true;
    };
    return {nextReading, [counter, i = std::size_t{0}]() mutable { return counter.at(i++); }};
}

}  // namespace

TEST(Frequency, FollowsAcceptedIntervalsOnly) {
    EXPECT_EQ(frequencyOf(2000000, 700), 2857000000u);
    EXPECT_EQ(frequencyOf(999, 1000), 0u);
    const struct {
        const char* name;
        std::vector<std::int32_t> wall;
        std::vector<std::uint64_t> counter;
        std::uint64_t frequency;
    } cases[] = {
        {"700 microseconds", {9, 9, 10, 10, 400, 509, 710}, {1000, 2001000}, 2857000000},
        {"exactly 500 and 1000", {9, 10, 10, 510}, {0, 1000000}, 2000000000},
        {"1000 is accepted", {9, 10, 10, 1010}, {0, 3000000}, 3000000000},
        {"1001 is measured again", {9, 10, 10, 1011, 2000, 2500}, {0, 1, 100, 1500100}, 3000000000},
        {"so is a wrapped second", {9, 10, 999900, 30, 40, 540}, {0, 7, 50, 500050}, 1000000000},
        {"no clock", {}, {}, 0},
        {"no edge", {9, 9}, {}, 0},
        {"no start", {9, 10}, {0}, 0},
        {"no end", {9, 10, 10, 20}, {0}, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(measureFrequency(replay(c.wall, c.counter)), c.frequency) << c.name;
}

/// The counter's rate in MHz as the kernel measured it at boot; 0 where it does not say. BogoMIPS
/// are twice that rate wherever the kernel takes its delay loop from a constant counter.
double kernelMegahertz() {
    std::ifstream cpuinfo("/proc/cpuinfo");
    bool constant = false;
    double bogomips = 0;
    for (std::string line; std::getline(cpuinfo, line);) {
        constant |= line.find(" constant_tsc") != std::string::npos;
        if (line.starts_with("bogomips"))
            bogomips = std::stod(line.substr(line.find(':') + 1));
    }
    return constant ? bogomips / 2 : 0;
}

TEST(Frequency, AgreesWithTheKernel) {
    const double kernel = kernelMegahertz();
    if (kernel == 0)
        GTEST_SKIP() << "the kernel does not say";
    double distance = kernel;
    for (int i = 0; i < 20; ++i)
        distance =
            std::min(distance, std::abs(static_cast<double>(measureFrequency()) / 1e6 - kernel));
    EXPECT_LE(distance, 2) << "MHz";
}

TEST(Worker, PinsMeasuresRunsAndFinishes) {
    ProbeArray array;
    ListLPattern pattern(64);
    WorkerResult result;
    RunPhase phase = rpWait;
    Worker* worker = nullptr;
    ASSERT_EQ(Worker::create(0, &pattern, &array, &result, &phase, &worker), Worker::eOk);
    EXPECT_FALSE(worker->finished());
    phase = rpFinish;
    EXPECT_EQ(worker->join(), Worker::eOk);
    EXPECT_TRUE(worker->finished());
    EXPECT_EQ(array.cpu, 0);
    EXPECT_EQ(array.frequency, result.frequency) << "the rate is known before the pattern runs";
    EXPECT_GT(result.frequency, 0u);
    EXPECT_EQ(result.frequency % 1000000, 0u);
    EXPECT_EQ(worker->join(), Worker::eNotJoinable);
    EXPECT_EQ(Worker::destroy(worker), Worker::eNotJoinable);
    EXPECT_EQ(Worker::destroy(nullptr), Worker::eInvalidArgument);
}

TEST(Worker, ReportsWhatItsThreadCouldNot) {
    ProbeArray array;
    ListLPattern pattern(64);
    WorkerResult result;
    Worker* worker = nullptr;
    const RunPhase phase = rpFinish;
    for (const std::uint32_t cpu : {1023u, 1024u, 4294967295u})
        EXPECT_EQ(Worker::create(cpu, &pattern, &array, &result, &phase, &worker),
                  Worker::eAffinityFailed)
            << cpu;
    EXPECT_EQ(worker, nullptr);
}
