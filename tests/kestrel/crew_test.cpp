// What a crew does for whoever has one: who counts when, what is handed over, how it ends.
#include "crew.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>

#include "patterns/array_patterns.h"
#include "tern/run_services.h"

namespace Kestrel {
namespace {

using std::chrono::milliseconds;

/// Counts its passes, of which each goes on until it may end.
struct WatchedPattern : BenchmarkBasePattern {
    std::atomic<std::uint64_t> passes = 0;
    std::atomic<bool> mayEnd = true;

    PatternStatus prepare(std::byte* /*buffer*/, const std::uint32_t& /*size*/,
                          const WorkerResult& /*results*/, PatternState& /*state*/) override {
        return psOk;
    }
    std::uint64_t runPass(PatternState& /*state*/) override {
        ++passes;
        while (!mayEnd)
            tern_yield();
        return 1;
    }
};

CrewOrder orderOf(IPattern& pattern, std::vector<std::uint32_t> cpus) {
    return {.pattern = &pattern, .cpus = std::move(cpus), .arraySize = 5000};
}

TEST(Crew, HandsOverWhatEachWorkerObtained) {
    for (const bool shared : {false, true}) {
        ArrayLPattern pattern(wc64, 64, 10);
        CrewOrder order = orderOf(pattern, {0, 0, 0});
        order.sharedArray = shared;
        Crew crew(order);
        ASSERT_EQ(crew.assemble().cause, CrewFailure::none);
        const Placement placement = crew.placement();
        if (placement.total() != 0) {  // where the kernel may be asked
            EXPECT_EQ(placement.total(), shared ? 2u : 6u) << "pages";
            EXPECT_EQ(placement.elsewhere(order.nodes), 0u);
            EXPECT_EQ(placement.elsewhere(0), placement.total());
        }
        crew.runOnce();
        std::set<long> threads;
        std::set<std::uintptr_t> lines;
        for (std::uint32_t i = 0; i < crew.size(); ++i) {
            const long thread = crew.threadId(i);
            const WorkerReport report = crew.end(i);
            EXPECT_EQ(report.threadId, thread);
            EXPECT_EQ(report.worker, i);
            EXPECT_EQ(report.arrayBytes, 8192u);
            EXPECT_EQ(report.result.bytes, 81920u);
            threads.insert(report.threadId);
            lines.insert(reinterpret_cast<std::uintptr_t>(&report.result) / 128);
        }
        EXPECT_EQ(threads.size(), 3u);
        EXPECT_EQ(lines.size(), 3u) << "no two results in one line, or one pair of lines";
    }
}

TEST(Crew, TwoAtATimeCountEachItsOwn) {
    WatchedPattern steady, brief;
    Crew others(orderOf(steady, {0})), crew(orderOf(brief, {0, 0}));
    ASSERT_EQ(others.assemble().cause, CrewFailure::none);
    ASSERT_EQ(crew.assemble().cause, CrewFailure::none);
    others.start();
    others.count();
    crew.run(
        {.warmUp = milliseconds(50), .measured = milliseconds(50), .coolDown = milliseconds(50)});
    const std::uint64_t counted = crew.end(0).result.iterations + crew.end(1).result.iterations;
    EXPECT_GT(counted, 0u);
    EXPECT_LT(counted, brief.passes) << "those of the warm-up and the cool-down do not count";
    EXPECT_TRUE(others.finishSoon());
    EXPECT_GT(others.end(0).result.iterations, 0u);
}

TEST(Crew, SaysWhenAPassDoesNotEnd) {
    WatchedPattern pattern;
    pattern.mayEnd = false;
    Crew crew(orderOf(pattern, {0}));
    ASSERT_EQ(crew.assemble().cause, CrewFailure::none);
    EXPECT_FALSE(crew.finishSoon());
    pattern.mayEnd = true;
    EXPECT_TRUE(crew.finishSoon());
}

TEST(Crew, SaysWhoFailedAndWhy) {
    ArrayLPattern pattern(wc64, 64, 1), tooWide(wc64, 10000, 1);
    const auto failureOf = [](const CrewOrder& order) {
        const CrewFailure failure = Crew(order).assemble();
        return std::array<std::size_t, 3>{failure.cause, failure.worker, failure.errorBehind};
    };
    using Failure = std::array<std::size_t, 3>;
    EXPECT_EQ(failureOf(orderOf(pattern, {0, 1024})),
              (Failure{CrewFailure::noWorker, 1, Worker::eAffinityFailed}));
    EXPECT_EQ(failureOf(orderOf(tooWide, {0, 0})), (Failure{CrewFailure::notPrepared, 0, 0}));
    CrewOrder order = orderOf(pattern, {0});
    order.nodes = 0;
    EXPECT_EQ(failureOf(order), (Failure{CrewFailure::noArray, 0, Array::aeInvalidArgument}));
}

}  // namespace
}  // namespace Kestrel
