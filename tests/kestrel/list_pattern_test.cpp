#include "patterns/list_pattern.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <vector>

#include "guarded_memory.h"
#include "kestrel/kernels.h"
#include "single_step.h"

namespace Kestrel {
namespace {

constexpr std::byte untouched{0xA5};

TEST(ListPattern, LaysTheNodesInOrderAndWalksThemAll) {
    struct Case {
        std::uint32_t stride, size, count;
    };
    constexpr std::uint32_t address = sizeof(void*);
    for (const Case& it :
         {Case{64, 4096, 64}, Case{64, 64, 1}, Case{64, 127, 1}, Case{65, 1000, 15},
          Case{address, 10 * address, 10}, Case{address + 1, 100, 100 / (address + 1)}}) {
        const GuardedMemory memory(it.size, GuardedMemory::atEnd);
        std::fill(memory.begin(), memory.end(), untouched);
        ListLPattern pattern(it.stride);
        WorkerResult results;
        PatternState state{};
        // Twice, as two workers of one array do.
        for (int worker = 0; worker < 2; ++worker)
            ASSERT_EQ(pattern.prepare(memory.begin(), it.size, results, state), psOk);
        EXPECT_EQ(state.begin, memory.begin());
        EXPECT_EQ(state.count, it.count);
        std::vector<std::byte> expected(it.size, untouched);
        for (std::uint32_t k = 0; k < it.count; ++k) {
            std::byte* const next = memory.begin() + std::size_t{k + 1} * it.stride;
            std::memcpy(&expected[std::size_t{k} * it.stride], &next, sizeof next);
        }
        EXPECT_TRUE(std::equal(memory.begin(), memory.end(), expected.begin())) << it.stride;

        EXPECT_GT(pattern.runPass(state), 0u);
        results.iterations = 3;
        pattern.finish(state, results);
        EXPECT_EQ(results.bytes, 3u * it.count * 8);
    }
}

TEST(ListPattern, FollowsExactlyAsManyLinksAsAskedFor) {
    // The last link leads to the page behind the array: following it one time more must fault.
    const GuardedMemory memory(640, GuardedMemory::atEnd);
    ListLPattern pattern(64);
    WorkerResult results;
    PatternState state{};
    ASSERT_EQ(pattern.prepare(memory.begin(), 640, results, state), psOk);
    for (std::uint32_t k = 1; k <= 10; ++k) {
        const std::byte* const head = memory.end() - std::size_t{k} * 64;
        EXPECT_EQ(singleStep([&] { kestrel___list(head, k); }), 0) << k;
        EXPECT_EQ(singleStep([&] { kestrel___list(head, k + 1); }), SIGSEGV) << k;
    }
}

TEST(ListPattern, RefusesWhatHoldsNoList) {
    std::byte buffer[64];
    WorkerResult results;
    PatternState state{};
    for (const std::uint32_t stride : {0u, 1u, static_cast<std::uint32_t>(sizeof(void*)) - 1})
        EXPECT_EQ(ListLPattern(stride).prepare(buffer, 64, results, state), psInvalidParameters);
    EXPECT_EQ(ListLPattern(64).prepare(nullptr, 64, results, state), psInvalidArray);
    EXPECT_EQ(ListLPattern(64).prepare(buffer, 0, results, state), psInvalidArray);
    EXPECT_EQ(ListLPattern(64).prepare(buffer, 63, results, state), psInvalidArray);
}

}  // namespace
}  // namespace Kestrel
