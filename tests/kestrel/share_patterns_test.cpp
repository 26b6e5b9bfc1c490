#include "patterns/share_patterns.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

#include "guarded_memory.h"
#include "kestrel/kernels.h"
#include "single_step.h"

namespace Kestrel {
namespace {

constexpr std::uint32_t wordSize = sizeof(std::uintptr_t);

/// Expects a pass of `worker` to add to the word at `offset`, or nothing where it only loads.
void expectPass(BenchmarkBasePattern& pattern, std::uint32_t worker, std::uint32_t size,
                std::uint32_t offset, bool adds) {
    std::vector<std::byte> buffer(256), expected(256);
    WorkerResult results;
    results.workerIndex = worker;
    PatternState state{};
    EXPECT_EQ(pattern.prepare(buffer.data(), size, results, state), psOk);
    EXPECT_EQ(state.begin, buffer.data() + offset);
    EXPECT_EQ(buffer, expected) << "nothing is laid out";
    const RunPhase phase = rpSinglePass;
    EXPECT_EQ(pattern.run(buffer.data(), size, results, phase), psOk);
    const std::uintptr_t sum = adds ? 1000 : 0;
    std::memcpy(&expected[offset], &sum, sizeof sum);
    EXPECT_EQ(buffer, expected) << offset;
    EXPECT_EQ(results.iterations, 1000u);
    EXPECT_GT(results.clocks, 0u);
    EXPECT_EQ(results.bytes, 0u);
}

TEST(SharePatterns, GiveEachWorkerItsSlotAndCountOperationsThere) {
    const struct {
        std::uint32_t stride, worker, size, offset;
    } cases[] = {{0, 0, 256, 0},  {0, 3, 256, 0},    {8, 0, 256, 0},
                 {8, 3, 256, 24}, {64, 3, 256, 192}, {64, 1, 64 + wordSize, 64}};
    for (const auto& it : cases) {
        ShareLMSPattern all(it.stride, 1000);
        ShareLMSLPattern one(it.stride, 1000);
        expectPass(all, it.worker, it.size, it.offset, true);
        expectPass(one, it.worker, it.size, it.offset, it.worker == 0);
    }
}

TEST(SharePatterns, RefuseSlotsThatReachPastTheArray) {
    std::byte buffer[256];
    const struct {
        std::byte* buffer;
        std::uint32_t stride, worker, size;
    } cases[] = {
        {buffer, 64, 1, 64 + wordSize - 1}, {buffer, 64, 4, 256}, {buffer, 0x80000000, 2, 256},
        {buffer, 8, 0, wordSize - 1},       {buffer, 8, 0, 0},    {nullptr, 8, 0, 256}};
    for (const auto& it : cases) {
        WorkerResult results;
        results.workerIndex = it.worker;
        PatternState state{};
        EXPECT_EQ(ShareLMSPattern(it.stride, 1).prepare(it.buffer, it.size, results, state),
                  psInvalidArray);
        EXPECT_EQ(ShareLMSLPattern(it.stride, 1).prepare(it.buffer, it.size, results, state),
                  psInvalidArray);
    }
}

TEST(ShareKernels, AddToTheWordAndNothingElse) {
    for (const std::uint32_t times : {0u, 1u, 15u, 16u, 17u, 1000u}) {
        constexpr std::size_t place = 3;  // not aligned
        std::vector<std::byte> bytes(place + wordSize + 5, std::byte{0xFF});
        std::vector<std::byte> expected = bytes;
        const std::uintptr_t sum = UINTPTR_MAX + times;
        std::memcpy(&expected[place], &sum, sizeof sum);
        EXPECT_GT(kestrel___share_lms(&bytes[place], times), 0u);
        EXPECT_EQ(bytes, expected) << times;
    }
}

TEST(ShareKernels, OnlyLoad) {
    const GuardedMemory memory(wordSize, GuardedMemory::atStart);
    mprotect(memory.begin(), wordSize, PROT_READ);
    const auto load = [&](std::uint32_t times) { kestrel___share_lms_l(memory.begin(), times); };
    /// Load instructions that the kernel executes between its two readings of the counter.
    const auto loads = [&](std::uint32_t times) {
        std::size_t count = 0, readings = 0;
        const auto look = [&](const Executed& executed) {
            readings += executed.code[0] == 0x0F && executed.code[1] == 0x31;
            count += readings == 1 && *skipRex(executed.code) == 0x8B;
        };
        EXPECT_EQ(singleStep([&] { load(times); }, look), 0);
        EXPECT_EQ(readings, 2u);
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
