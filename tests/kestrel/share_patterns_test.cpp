#include "patterns/share_patterns.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <limits>
#include <vector>

#include "guarded_memory.h"
#include "kestrel/kernels.h"
#include "single_step.h"
#include "vector_instruction.h"

namespace Kestrel {
namespace {

using MachineWord = std::uintptr_t;
constexpr std::uint32_t wordSize = sizeof(MachineWord);

MachineWord wordAt(const std::byte* place) {
    MachineWord word = 0;
    std::memcpy(&word, place, sizeof word);
    return word;
}

template <class Pattern>
class SharePatterns : public testing::Test {};
using BothPatterns = testing::Types<ShareLMSPattern, ShareLMSLPattern>;
TYPED_TEST_SUITE(SharePatterns, BothPatterns);

TYPED_TEST(SharePatterns, GiveEachWorkerItsSlotOrRefuseIt) {
    std::vector<std::byte> buffer(256);
    struct Case {
        std::uint32_t stride, workerIndex, size, offset;
        PatternStatus status;
    };
    for (const Case& it : {
             Case{0, 0, 256, 0, psOk},
             Case{0, 3, 256, 0, psOk},
             Case{8, 0, 256, 0, psOk},
             Case{8, 3, 256, 24, psOk},
             Case{64, 3, 256, 192, psOk},
             Case{64, 1, 64 + wordSize, 64, psOk},
             Case{64, 1, 64 + wordSize - 1, 0, psInvalidArray},
             Case{64, 4, 256, 0, psInvalidArray},
             Case{0x80000000, 2, 256, 0, psInvalidArray},
             Case{8, 0, wordSize - 1, 0, psInvalidArray},
             Case{8, 0, 0, 0, psInvalidArray},
         }) {
        TypeParam pattern(it.stride, 1);
        WorkerResult results;
        results.workerIndex = it.workerIndex;
        PatternState state{};
        EXPECT_EQ(pattern.prepare(buffer.data(), it.size, results, state), it.status)
            << it.stride << " " << it.workerIndex << " " << it.size;
        if (it.status == psOk) {
            EXPECT_EQ(state.begin, buffer.data() + it.offset);
        }
        EXPECT_EQ(pattern.prepare(nullptr, it.size, results, state), psInvalidArray);
    }
    EXPECT_EQ(buffer, std::vector<std::byte>(256)) << "nothing is laid out";
}

TYPED_TEST(SharePatterns, CountOperationsAndNoBytes) {
    for (const std::uint32_t worker : {0u, 1u}) {
        std::vector<std::byte> buffer(128);
        TypeParam pattern(64, 1000);
        WorkerResult results;
        results.workerIndex = worker;
        RunPhase phase = rpSinglePass;
        EXPECT_EQ(pattern.run(buffer.data(), 128, results, phase), psOk);
        EXPECT_EQ(results.iterations, 1000u);
        EXPECT_GT(results.clocks, 0u);
        EXPECT_EQ(results.bytes, 0u);
        const bool adds = worker == 0 || std::is_same_v<TypeParam, ShareLMSPattern>;
        EXPECT_EQ(wordAt(&buffer[std::size_t{worker} * 64]), adds ? 1000u : 0u);
        EXPECT_EQ(wordAt(&buffer[64 - std::size_t{worker} * 64]), 0u);
    }
}

TEST(ShareKernels, AddToTheWordAndNothingElse) {
    for (const std::uint32_t times : {0u, 1u, 15u, 16u, 17u, 1000u}) {
        constexpr std::size_t place = 3;  // not aligned
        std::vector<std::byte> bytes(place + wordSize + 5, std::byte{0xFF});
        std::vector<std::byte> expected = bytes;
        const MachineWord sum = std::numeric_limits<MachineWord>::max() + times;
        std::memcpy(&expected[place], &sum, sizeof sum);
        EXPECT_GT(kestrel___share_lms(&bytes[place], times), 0u);
        EXPECT_EQ(bytes, expected) << times;
    }
}

/// Instructions of that opcode that a kernel executes between its two readings of the counter.
std::size_t countOpcode(std::uint8_t opcode, const std::function<void()>& kernel) {
    std::size_t count = 0, readings = 0;
    const auto look = [&](const Executed& executed) {
        readings += executed.code[0] == 0x0F && executed.code[1] == 0x31;
        count += readings == 1 && *skipRex(executed.code) == opcode;
    };
    EXPECT_EQ(singleStep(kernel, look), 0);
    EXPECT_EQ(readings, 2u);
    return count;
}

TEST(ShareKernels, OnlyLoad) {
    const GuardedMemory memory(wordSize, GuardedMemory::atStart);
    mprotect(memory.begin(), wordSize, PROT_READ);
    const auto load = [&](std::uint32_t times) { kestrel___share_lms_l(memory.begin(), times); };
    const auto loads = [&](std::uint32_t times) { return countOpcode(0x8B, [&] { load(times); }); };
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
