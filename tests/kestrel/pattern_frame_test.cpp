// The course of a run, with a pattern whose passes themselves change the phase.
#include <gtest/gtest.h>

#include "kestrel/pattern.h"

using namespace Kestrel;

namespace {

struct ScriptedPattern : BenchmarkBasePattern {
    std::vector<std::uint32_t> phaseDuringPass;  ///< what the driver stores during each pass
    std::uint64_t ticks = 7;
    PatternStatus prepared = psOk;
    RunPhase phase = rpWait;
    std::size_t passes = 0, prepares = 0, finishes = 0;

    PatternStatus prepare(std::byte* /*buffer*/, const std::uint32_t& /*size*/,
                          const WorkerResult& /*results*/, PatternState& /*state*/) override {
        ++prepares;
        return prepared;
    }
    std::uint64_t runPass(PatternState& /*state*/) override {
        phase = phaseDuringPass.at(passes++);
        return ticks;
    }
    void finish(const PatternState& /*state*/, WorkerResult& results) override {
        ++finishes;
        results.bytes = 100 * results.iterations;
    }
    std::uint32_t iterationsPerPass() override { return 1000; }
};

}  // namespace

TEST(PatternFrame, CountsTheFirstPassAndThoseBegunWhileMeasuring) {
    const struct {
        const char* name;
        std::uint32_t firstPhase;
        std::vector<std::uint32_t> phaseDuringPass;
        std::uint64_t ticks, counted;
    } cases[] = {{"never measured", rpTimed, {rpTimed, rpTimed, rpFinish}, 7, 1},
                 {"finished at once", rpTimed, {rpFinish}, 7, 1},
                 {"whole",
                  rpTimed,
                  {rpTimed, rpMeasure, rpMeasure, rpStopMeasure, rpStopMeasure, rpFinish},
                  7,
                  3},
                 {"measure then finish", rpTimed, {rpMeasure, rpFinish}, 7, 2},
                 {"single pass", rpSinglePass, {rpSinglePass}, 7, 1},
                 {"woken by the end", rpFinish, {rpFinish}, 7, 1},
                 {"woken while measuring", rpMeasure, {rpMeasure}, 7, 1},
                 {"passes without ticks", rpTimed, {rpMeasure, rpMeasure, rpFinish}, 0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedPattern pattern;
        pattern.phaseDuringPass = c.phaseDuringPass;
        pattern.ticks = c.ticks;
        pattern.phase = c.firstPhase;
        WorkerResult result;
        EXPECT_EQ(pattern.run(nullptr, 0, result, pattern.phase), psOk);
        EXPECT_EQ(result.ready, 1u);
        EXPECT_EQ(pattern.passes, c.phaseDuringPass.size());
        EXPECT_EQ(result.clocks, 7 * c.counted);
        EXPECT_EQ(result.iterations, 1000 * c.counted);
        EXPECT_EQ(result.bytes, 100000 * c.counted);
        EXPECT_EQ(pattern.prepares, 1u);
        EXPECT_EQ(pattern.finishes, 1u);
    }
}

TEST(PatternFrame, AFailedPreparationEndsTheRunUntouched) {
    for (const PatternStatus status : {psInvalidArray, psInvalidParameters}) {
        ScriptedPattern pattern;  // whose phase nobody would ever change
        pattern.prepared = status;
        WorkerResult result;
        EXPECT_EQ(pattern.run(nullptr, 0, result, pattern.phase), status);
        EXPECT_EQ(result.ready + result.clocks + result.iterations + result.bytes, 0u);
        EXPECT_EQ(pattern.passes + pattern.finishes, 0u);
    }
}
