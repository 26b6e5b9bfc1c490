// Chased lists, and words that workers share.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstring>
#include <map>

#include "guarded_memory.h"
#include "kestrel/kernels.h"
#include "patterns/list_pattern.h"
#include "patterns/random_list_pattern.h"
#include "patterns/share_patterns.h"
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
    PatternState state{};
    for (const std::uint32_t stride : {0u, 1u, static_cast<std::uint32_t>(sizeof(void*)) - 1})
        EXPECT_EQ(ListLPattern(stride).prepare(buffer, 64, WorkerResult(), state),
                  psInvalidParameters);
    for (const auto& [array, size] : {std::pair(&buffer[0], 0u), {buffer, 63u}, {nullptr, 64u}})
        EXPECT_EQ(ListLPattern(64).prepare(array, size, WorkerResult(), state), psInvalidArray);
}

/// The number of the node that a machine word in node `node` leads to.
std::uint32_t nodeAt(const GuardedMemory& memory, std::uint32_t stride, std::uint32_t node,
                     std::size_t word) {
    std::byte* to = nullptr;
    std::memcpy(&to, memory.begin() + std::size_t{node} * stride + word * sizeof to, sizeof to);
    return static_cast<std::uint32_t>(to - memory.begin()) / stride;
}

TEST(RandomListPattern, LinksAllNodesInOneCycleThatNoPrefetcherFollows) {
    constexpr std::uint32_t stride = 64;
    for (const std::uint32_t nodes : {1u, 2u, 3u, 5u, 64u, 97u, 1000u, 4096u, 4097u, 100000u}) {
        const GuardedMemory memory(std::size_t{nodes} * stride, GuardedMemory::atEnd);
        WorkerResult results;
        PatternState state{};
        ASSERT_EQ(RandomListPattern(stride).prepare(memory.begin(), nodes * stride, results, state),
                  psOk);
        EXPECT_EQ(state.count % nodes, 0u) << "whole rounds";
        std::map<std::uint32_t, std::uint32_t> jumps;  // how often each distance is jumped
        std::uint32_t node = 0, mostOften = 0;
        for (std::uint32_t i = 0; i < nodes; ++i) {
            const std::uint32_t next = nodeAt(memory, stride, node, 0);
            mostOften = std::max(mostOften, ++jumps[(next - node) % nodes]);
            ASSERT_EQ(next == 0, i == nodes - 1) << "after " << i << " links of " << nodes;
            node = next;
        }
        // Poisson with a mean of 1: 3e-10 for more of one distance than that.
        EXPECT_LE(mostOften, 12u) << nodes;
    }
}

TEST(RandomListPattern, GoesOnWhereTheLastPassEnded) {
    constexpr std::uint32_t stride = 2 * sizeof(void*), nodes = 3 * (1u << 17) + 12345;
    const GuardedMemory memory(std::size_t{nodes} * stride, GuardedMemory::atEnd);
    RandomListPattern pattern(stride);
    WorkerResult results;
    PatternState state{};
    ASSERT_EQ(pattern.prepare(memory.begin(), nodes * stride, results, state), psOk);
    EXPECT_EQ(state.count, nodes / 3);
    std::uint32_t node = 0;
    for (int pass = 0; pass < 3; ++pass) {
        EXPECT_EQ(state.begin, memory.begin() + std::size_t{node} * stride) << pass;
        EXPECT_GT(pattern.runPass(state), 0u);
        for (std::uint32_t i = 0; i < state.count; ++i)
            node = nodeAt(memory, stride, node, 0);
    }
    EXPECT_EQ(state.begin, memory.begin()) << "and round again";
    std::byte buffer[64];
    EXPECT_EQ(RandomListPattern(stride - 1).prepare(buffer, 64, results, state),
              psInvalidParameters);
    EXPECT_EQ(RandomListPattern(64).prepare(buffer, 63, results, state), psInvalidArray);
}

constexpr std::uint32_t wordSize = sizeof(std::uintptr_t), refused = UINT32_MAX;

/// Expects a pass of `worker` to add to the word at `offset`, to load it only, or to be refused.
void expectPass(BenchmarkBasePattern& pattern, std::uint32_t worker, std::uint32_t size,
                std::uint32_t offset, std::uint32_t ops, bool adds) {
    SCOPED_TRACE(testing::Message() << worker << ", " << size << ", " << offset << ", " << ops);
    std::vector<std::byte> buffer(256, std::byte{0xFF}), expected = buffer;
    WorkerResult results;
    results.workerIndex = worker;
    PatternState state{};
    const RunPhase phase = rpSinglePass;
    EXPECT_EQ(pattern.prepare(nullptr, size, results, state), psInvalidArray);
    const PatternStatus status = offset != refused ? psOk : psInvalidArray;
    ASSERT_EQ(pattern.prepare(buffer.data(), size, results, state), status);
    EXPECT_EQ(buffer, expected) << "nothing is laid out";
    if (status != psOk)
        return;
    EXPECT_EQ(state.begin, buffer.data() + offset);
    EXPECT_EQ(pattern.run(buffer.data(), size, results, phase), psOk);
    const std::uintptr_t sum = UINTPTR_MAX + (adds ? ops : 0);
    std::memcpy(&expected[offset], &sum, sizeof sum);
    EXPECT_EQ(buffer, expected);
    EXPECT_EQ(results.iterations, ops);
    EXPECT_GT(results.clocks, 0u);
    EXPECT_EQ(results.bytes, 0u);
}

TEST(SharePatterns, GiveEachWorkerItsSlotAndCountOperationsThere) {
    const struct {
        std::uint32_t stride, worker, size, offset;
    } cases[] = {{0, 0, 256, 0},
                 {0, 3, 256, 0},
                 {8, 0, 256, 0},
                 {3, 1, 256, 3},
                 {8, 3, 256, 24},
                 {64, 3, 256, 192},
                 {64, 1, 64 + wordSize, 64},
                 {64, 1, 64 + wordSize - 1, refused},
                 {64, 4, 256, refused},
                 {0x80000000, 2, 256, refused},
                 {8, 0, wordSize - 1, refused},
                 {8, 0, 0, refused}};
    for (const auto& it : cases)
        for (const std::uint32_t ops : {0u, 1u, 15u, 16u, 17u, 1000u}) {
            ShareLMSPattern all(it.stride, ops);
            ShareLMSLPattern one(it.stride, ops);
            expectPass(all, it.worker, it.size, it.offset, ops, true);
            expectPass(one, it.worker, it.size, it.offset, ops, it.worker == 0);
        }
}

TEST(SharePatterns, HaveTheirPageBeforeTheFirstPass) {
    const auto pageFaults = [] {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        return usage.ru_minflt;
    };
    const auto faultsOfAPass = [&](std::uint32_t worker) {
        const GuardedMemory memory(4096, GuardedMemory::atStart);
        madvise(memory.begin(), 4096, MADV_DONTNEED);  // as fresh as an array's
        ShareLMSLPattern pattern(64, 16);
        WorkerResult results;
        results.workerIndex = worker;
        PatternState state{};
        EXPECT_EQ(pattern.prepare(memory.begin(), 4096, results, state), psOk);
        const long before = pageFaults();
        pattern.runPass(state);
        *reinterpret_cast<volatile std::byte*>(state.begin) = {};  // no page of zeros for all
        return pageFaults() - before;
    };
    if (madvise(nullptr, 0, MADV_POPULATE_WRITE) != 0)
        GTEST_SKIP() << "a kernel before 5.14";
    for (const std::uint32_t worker : {0u, 1u}) {
        faultsOfAPass(worker);  // the code itself comes into memory
        EXPECT_EQ(faultsOfAPass(worker), 0) << worker;
    }
}

TEST(ShareKernels, OnlyLoad) {
    const GuardedMemory memory(wordSize, GuardedMemory::atStart);
    mprotect(memory.begin(), wordSize, PROT_READ);
    const auto load = [&](std::uint32_t times) { kestrel___share_lms_l(memory.begin(), times); };
    const auto loads = [&](std::uint32_t times) {
        std::size_t count = 0;
        const auto look = [&](const Executed& it) { count += *skipRex(it.code) == 0x8B; };
        EXPECT_EQ(singleStepTimed([&] { load(times); }, look), 0);
        return count;
    };
    // Differences, as the compiler may load its own variables between the loops.
    EXPECT_EQ(loads(37) - loads(21), 16u);
    EXPECT_EQ(loads(21) - loads(17), 4u);
    EXPECT_EQ(loads(15) - loads(1), 14u);
    mprotect(memory.begin(), wordSize, PROT_NONE);
    EXPECT_EQ(singleStep([&] { load(0); }), 0);
    EXPECT_EQ(singleStep([&] { load(1); }), SIGSEGV);
}

}  // namespace
}  // namespace Kestrel
