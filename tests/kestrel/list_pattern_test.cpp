#include "patterns/list_pattern.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

#include "guarded_memory.h"
#include "kestrel/kernels.h"
#include "single_step.h"

namespace Kestrel {
namespace {

TEST(ListPattern, LaysTheNodesInOrderAndWalksThemAll) {
    constexpr std::uint32_t address = sizeof(void*);
    const struct {
        std::uint32_t stride, size, count;
    } cases[] = {{64, 4096, 64},
                 {64, 64, 1},
                 {64, 127, 1},
                 {65, 1000, 15},
                 {address, 10 * address, 10},
                 {address + 1, 100, 100 / (address + 1)}};
    for (const auto& it : cases) {
        const GuardedMemory memory(it.size, GuardedMemory::atEnd);
        std::vector<std::byte> expected = memory.copy();
        for (std::uint32_t k = 0; k < it.count; ++k) {
            std::byte* const next = memory.begin() + std::size_t{k + 1} * it.stride;
            std::memcpy(&expected[std::size_t{k} * it.stride], &next, sizeof next);
        }
        ListLPattern pattern(it.stride);
        WorkerResult results;
        PatternState state{};
        // Twice, as two workers of one array do.
        for (int worker = 0; worker < 2; ++worker)
            ASSERT_EQ(pattern.prepare(memory.begin(), it.size, results, state), psOk);
        EXPECT_EQ(state.begin, memory.begin());
        EXPECT_EQ(state.count, it.count);
        EXPECT_EQ(memory.copy(), expected) << it.stride;

        EXPECT_GT(pattern.runPass(state), 0u);
        results.iterations = 3;
        pattern.finish(state, results);
        EXPECT_EQ(results.bytes, 3u * it.count * 8);
    }
}

TEST(ListPattern, FollowsExactlyAsManyLinksAsAskedFor) {
    // The last link leads to the page behind the array: following it one time more must fault.
    const GuardedMemory memory(640, GuardedMemory::atEnd);
    PatternState state{};
    ASSERT_EQ(ListLPattern(64).prepare(memory.begin(), 640, WorkerResult(), state), psOk);
    for (std::uint32_t k = 1; k <= 10; ++k) {
        const std::byte* const head = memory.end() - std::size_t{k} * 64;
        EXPECT_EQ(singleStep([&] { kestrel___list(head, k); }), 0) << k;
        EXPECT_EQ(singleStep([&] { kestrel___list(head, k + 1); }), SIGSEGV) << k;
    }
}

TEST(ListPattern, RefusesWhatHoldsNoList) {
    std::byte buffer[64];
    const auto status = [](std::uint32_t stride, std::byte* array, std::uint32_t size) {
        PatternState state{};
        return ListLPattern(stride).prepare(array, size, WorkerResult(), state);
    };
    for (const std::uint32_t stride : {0u, 1u, static_cast<std::uint32_t>(sizeof(void*)) - 1})
        EXPECT_EQ(status(stride, buffer, 64), psInvalidParameters);
    EXPECT_EQ(status(64, nullptr, 64), psInvalidArray);
    for (const std::uint32_t size : {0u, 63u})
        EXPECT_EQ(status(64, buffer, size), psInvalidArray);
}

}  // namespace
}  // namespace Kestrel
