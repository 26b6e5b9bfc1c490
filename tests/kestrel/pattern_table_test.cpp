// What the pattern table builds from settings, and how the array patterns fill, count and account.
#include "pattern_table.h"

#include <gtest/gtest.h>

#include "guarded_memory.h"
#include "patterns/array_patterns.h"

namespace Kestrel {
namespace {

struct Case {
    const char* name;
    std::uint32_t size, word, stride;
    std::uint32_t count = 0;    ///< of blocks; 0 where the array is refused
    std::uint32_t block = 0;    ///< bytes of the alternating fill
    std::uint64_t bytes = 0;    ///< of one iteration
    std::uint32_t perPass = 1;  ///< iterations
    bool counts = true;         ///< a pass takes ticks
};

// The limit of repeated kernels; strides with a tail, in which words overlap, of long and of many
// short blocks; no word, no such word; arrays that are refused; then the other patterns.
constexpr Case cases[] = {{"a-l", 16384, 16, 16, 1024, 16, 16384},
                          {"a-l", 16384, 64, 64, 256, 64, 16384, 1000},
                          {"a-l", 32768, 64, 64, 512, 64, 32768, 1000},
                          {"a-l", 32769, 64, 64, 512, 64, 32768},
                          {"a-l", 4096, 8, 64, 64, 64, 512},
                          {"a-l", 4096, 16, 24, 170, 24, 2720},
                          {"a-l", 4096, 32, 1, 4096, 1, 131072},
                          {"a-l", 20000, 8, 3000, 6, 3000, 48},
                          {"a-l", 100000, 8, 1900, 52, 1900, 416},
                          {"a-l", 4096, 0, 0, 512, 8, 4096},
                          {"a-l", 4096, 24, 0, 170, 24, 1360},
                          {"a-l", 4096, 8, 4097},
                          {"a-l", 0, 8, 8},
                          {"a-lms", 4096, 32, 0, 128, 32, 4096, 1000},
                          {"s-a", 4096, 8, 64, 64, 64, 512},
                          {"a-lls", 4096, 32, 32, 128, 32, 3072, 1000},
                          {"a-lls", 4096, 8, 8, 512, 8, 3072, 1000, false},
                          {"a-lls", 4096, 16, 64, 64, 64, 768, 1000, false},
                          {"a-fastmem", 4096, 8, 0, 64, 64, 3072},
                          {"a-fastmem", 100, 8, 0, 1, 64, 48},
                          {"a-fastmem", 63, 8, 0}};

TEST(PatternTable, SettingsMakeArrayPatternsThatFillCountAndAccount) {
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.name << ", size " << c.size << ", word " << c.word
                                        << ", stride " << c.stride);
        BenchmarkSettings settings;
        settings.patternId = findPattern(c.name)->id;
        settings.size = c.size;
        settings.word = c.word;
        settings.stride = c.stride;
        const PatternSelection selection = selectPattern(settings, 4);
        EXPECT_EQ(selection.row->name, c.name);
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
            continue;
        EXPECT_EQ(state.count, c.count);
        EXPECT_EQ(state.begin, memory.begin());
        EXPECT_EQ(state.end, memory.end());
        EXPECT_EQ(pattern.runPass(state) != 0, c.counts);
        EXPECT_EQ(pattern.iterationsPerPass(), c.perPass);
        result.iterations = 10;
        pattern.finish(state, result);
        EXPECT_EQ(result.bytes, 10 * c.bytes);
    }
}

TEST(PatternTable, ArrayPatternsRefuseWhatNoSettingMakes) {
    std::byte buffer[4096];
    PatternState state;
    for (const auto& [word, stride] : {std::pair{1u, 0u}, {0u, 8u}, {5u, 8u}})
        EXPECT_EQ(ArrayLPattern(word, stride, 1).prepare(buffer, 4096, WorkerResult(), state),
                  psInvalidParameters);
}

TEST(PatternTable, NamesMatchWholeAndExactly) {
    for (const char* name : {"", "a-l ", " a-l", "A-L", "a", "a-llsx", "a_l"})
        EXPECT_EQ(findPattern(name), nullptr) << name;
    for (const PatternRow& row : allPatterns()) {
        EXPECT_EQ(findPattern(row.name), &row) << row.name << ": no name stands twice";
        EXPECT_EQ(row.sharedArray, row.name.starts_with("s-")) << row.name;
    }
}

}  // namespace
}  // namespace Kestrel
