#include "pattern_table.h"

#include <gtest/gtest.h>

using namespace Kestrel;

namespace {

/// The settings' effect shows in what the built pattern accounts for one iteration.
struct Case {
    const char* pattern;
    std::uint32_t size, word, stride, cpus;
    std::uint32_t arraySize;
    bool shared;
    std::uint64_t bytes;  ///< of one iteration over 4096 bytes
    std::uint32_t perPass;
};

}  // namespace

TEST(PatternTable, DerivesParametersFromSettings) {
    const Case cases[] = {
        {"a-l", 16384, 16, 16, 1, 16384, false, 4096, 1},
        {"a-l", 32768, 64, 64, 1, 32768, false, 4096, 1000},
        {"a-l", 32769, 64, 64, 1, 32769, false, 4096, 1},
        {"a-lms", 4096, 32, 0, 1, 4096, false, 4096, 1000},
        {"a-l", 4096, 0, 0, 1, 4096, false, 4096, 1},
        {"a-l", 4096, 24, 0, 1, 4096, false, 170 * 8, 1},
        {"s-a", 4096, 8, 64, 4, 4096, true, 512, 1},
        {"a-lls", 4096, 16, 16, 1, 4096, false, 3072, 1000},
        {"a-fastmem", 4096, 8, 0, 1, 4096, false, 3072, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.pattern << " word " << c.word << " stride " << c.stride
                                        << " size " << c.size);
        BenchmarkSettings settings;
        ASSERT_NE(findPattern(c.pattern), nullptr);
        settings.patternId = findPattern(c.pattern)->id;
        settings.size = c.size;
        settings.word = c.word;
        settings.stride = c.stride;
        const PatternSelection selection = selectPattern(settings, c.cpus);
        ASSERT_NE(selection.row, nullptr);
        EXPECT_EQ(selection.row->name, c.pattern);
        EXPECT_EQ(selection.arraySize, c.arraySize);
        EXPECT_EQ(selection.row->sharedArray, c.shared);

        auto& pattern = dynamic_cast<BenchmarkBasePattern&>(*selection.pattern);
        std::vector<std::byte> memory(4096);
        WorkerResult result;
        result.iterations = 1;
        PatternState state;
        ASSERT_EQ(pattern.prepare(memory.data(), 4096, result, state), psOk);
        pattern.finish(state, result);
        EXPECT_EQ(result.bytes, c.bytes);
        EXPECT_EQ(pattern.iterationsPerPass(), c.perPass);
    }
}

TEST(PatternTable, NamesMatchWholeAndExactly) {
    for (const char* name : {"", "a-l ", " a-l", "A-L", "a", "a-llsx", "a_l"})
        EXPECT_EQ(findPattern(name), nullptr) << name;
    for (const PatternRow& row : allPatterns())
        EXPECT_EQ(findPattern(row.name), &row) << row.name << ": no name stands twice";
}
