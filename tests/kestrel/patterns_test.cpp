// The course of a run, what the pattern table builds from settings, and how the array patterns
// fill, count and account.
#include <gtest/gtest.h>

#include "guarded_memory.h"
#include "pattern_table.h"
#include "patterns/array_patterns.h"

namespace Kestrel {
namespace {

/// Its passes themselves change the phase.
struct ScriptedPattern : BenchmarkBasePattern {
    std::vector<std::uint32_t> phases;  ///< at the start and set during each pass
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
        phase = phases.at(++passes);
        return ticks;
    }
    void finish(const PatternState& /*state*/, WorkerResult& results) override {
        ++finishes;
        results.bytes = 100 * results.iterations;
    }
    std::uint32_t iterationsPerPass() override { return 1000; }
};

TEST(PatternFrame, CountsTheFirstPassAndThoseBegunWhileMeasuring) {
    const struct {
        const char* name;
        std::vector<std::uint32_t> phases;
        std::uint64_t ticks, counted;
        PatternStatus prepared = psOk;
    } cases[] = {{"never measured", {rpTimed, rpTimed, rpTimed, rpFinish}, 7, 1},
                 {"finished at once", {rpTimed, rpFinish}, 7, 1},
                 {"whole",
                  {rpTimed, rpTimed, rpMeasure, rpMeasure, rpStopMeasure, rpStopMeasure, rpFinish},
                  7,
                  3},
                 {"measure then finish", {rpTimed, rpMeasure, rpFinish}, 7, 2},
                 {"single pass", {rpSinglePass, rpSinglePass}, 7, 1},
                 {"woken by the end", {rpFinish, rpFinish}, 7, 1},
                 {"woken while measuring", {rpMeasure, rpMeasure}, 7, 1},
                 {"passes without ticks", {rpTimed, rpMeasure, rpMeasure, rpFinish}, 0, 0},
                 {"refused array, nobody would end it", {rpWait}, 7, 0, psInvalidArray},
                 {"refused parameters", {rpWait}, 7, 0, psInvalidParameters}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ScriptedPattern pattern;
        pattern.phases = c.phases;
        pattern.ticks = c.ticks;
        pattern.phase = c.phases.front();
        pattern.prepared = c.prepared;
        const unsigned prepared = c.prepared == psOk ? 1 : 0;
        WorkerResult result;
        EXPECT_EQ(pattern.run(nullptr, 0, result, pattern.phase), c.prepared);
        EXPECT_EQ(result.ready, prepared);
        EXPECT_EQ(pattern.passes, c.phases.size() - 1);
        EXPECT_EQ(result.clocks, 7 * c.counted);
        EXPECT_EQ(result.iterations, 1000 * c.counted);
        EXPECT_EQ(result.bytes, 100000 * c.counted);
        EXPECT_EQ(pattern.prepares, 1u);
        EXPECT_EQ(pattern.finishes, prepared);
    }
}

struct Case {
    std::uint32_t size, word, stride;
    std::uint32_t count, block;  ///< of the alternating fill, in bytes; 0 where it is refused
    std::uint32_t bytes;         ///< of one iteration
    std::uint32_t perPass;       ///< iterations
};

void expectFillAndAccount(const char* name, const Case& c, bool counts) {
    SCOPED_TRACE(testing::Message()
                 << name << ", size " << c.size << ", word " << c.word << ", stride " << c.stride);
    BenchmarkSettings settings;
    settings.patternId = findPattern(name)->id;
    settings.size = c.size;
    settings.word = c.word;
    settings.stride = c.stride;
    const PatternSelection selection = selectPattern(settings, 4);
    EXPECT_EQ(selection.row->name, name);
    EXPECT_EQ(selection.arraySize, c.size);
    auto& pattern = dynamic_cast<BenchmarkBasePattern&>(*selection.pattern);

    const GuardedMemory memory(std::max(c.size, 1u), GuardedMemory::atStart);
    std::vector<std::byte> expected = memory.copy();
    for (std::uint32_t i = 0; i < c.count * c.block; ++i)
        expected[i] = static_cast<std::byte>(i / c.block % 2 == 0 ? 0xFF : 0);
    WorkerResult result;
    PatternState state;
    EXPECT_EQ(pattern.prepare(nullptr, c.size, result, state), psInvalidArray);
    ASSERT_EQ(pattern.prepare(memory.begin(), c.size, result, state),
              c.count != 0 ? psOk : psInvalidArray);
    EXPECT_EQ(memory.copy(), expected);
    if (c.count == 0)
        return;
    EXPECT_EQ(state.count, c.count);
    EXPECT_EQ(state.begin, memory.begin());
    EXPECT_EQ(state.end, memory.end());
    EXPECT_EQ(pattern.runPass(state) != 0, counts);
    EXPECT_EQ(pattern.iterationsPerPass(), c.perPass);
    result.iterations = 10;
    pattern.finish(state, result);
    EXPECT_EQ(result.bytes, 10 * c.bytes);
}

TEST(PatternTable, SettingsMakeArrayPatternsThatFillCountAndAccount) {
    // Among them the limit of repeated kernels; strides with a tail, in which words overlap, of
    // long and of many short blocks; no word, no such word; what does not fit.
    const Case sweeps[] = {
        {16384, 16, 16, 1024, 16, 16384, 1},   {16384, 64, 64, 256, 64, 16384, 1000},
        {32768, 64, 64, 512, 64, 32768, 1000}, {32769, 64, 64, 512, 64, 32768, 1},
        {4096, 8, 64, 64, 64, 512, 1},         {4096, 16, 24, 170, 24, 2720, 1},
        {4096, 32, 1, 4096, 1, 131072, 1},     {4096, 32, 0, 128, 32, 4096, 1000},
        {20000, 8, 3000, 6, 3000, 48, 1},      {100000, 8, 1900, 52, 1900, 416, 1},
        {4096, 0, 0, 512, 8, 4096, 1},         {4096, 24, 0, 170, 24, 1360, 1},
        {4096, 8, 4097, 0, 0, 0, 0},           {0, 8, 8, 0, 0, 0, 0}};
    for (const char* name : {"a-l", "a-lms", "s-a"})
        for (const Case& c : sweeps)
            expectFillAndAccount(name, c, true);
    expectFillAndAccount("a-lls", {4096, 32, 32, 128, 32, 3072, 1000}, true);
    expectFillAndAccount("a-lls", {4096, 8, 8, 512, 8, 3072, 1000}, false);
    expectFillAndAccount("a-lls", {4096, 16, 64, 64, 64, 768, 1000}, false);
    for (const Case& c :
         {Case{4096, 8, 0, 64, 64, 3072, 1}, {100, 8, 0, 1, 64, 48, 1}, {63, 8, 0, 0, 0, 0, 0}})
        expectFillAndAccount("a-fastmem", c, true);
}

TEST(PatternTable, ArrayPatternsRefuseWhatNoSettingMakes) {
    std::byte buffer[4096];
    PatternState state;
    for (const auto& [word, stride] : {std::pair{1u, 0u}, {0u, 8u}, {99u, 8u}})
        EXPECT_EQ(ArrayLPattern(word, stride, 1).prepare(buffer, 4096, WorkerResult(), state),
                  psInvalidParameters);
}

TEST(PatternTable, NamesMatchWholeAndExactly) {
    for (const char* name : {"", "a-l ", " a-l", "A-L", "a", "a-llsx", "a_l"})
        EXPECT_EQ(findPattern(name), nullptr) << name;
    for (const PatternRow& row : allPatterns()) {
        EXPECT_EQ(findPattern(row.name), &row) << row.name << ": no name stands twice";
        EXPECT_EQ(row.sharesArray(), row.name.starts_with("s-")) << row.name;
    }
}

}  // namespace
}  // namespace Kestrel
