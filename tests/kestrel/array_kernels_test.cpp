// The array kernels: that they stay inside the array, and the words that they load and store.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>

#include "guarded_memory.h"
#include "kestrel/kernels.h"
#include "single_step.h"

namespace Kestrel {
namespace {

bool combines(const ArrayKernel& kernel) {
    return kernel.shape == ArrayShape::lls || kernel.shape == ArrayShape::fastmem;
}

std::vector<std::uint32_t> stridesFor(const ArrayKernel& kernel) {
    if (kernel.shape != ArrayShape::strided)
        return {kernel.word};
    return {1, 7, kernel.word / 2, kernel.word, kernel.word + 1, 3 * kernel.word, 100, 4096};
}

void expectInside(const ArrayKernel& kernel, std::size_t size, std::uint32_t stride,
                  GuardedMemory::Side side) {
    SCOPED_TRACE(testing::Message() << kernel.name << ", size " << size << ", stride " << stride
                                    << ", guard on side " << side);
    const GuardedMemory memory(size, side);
    std::vector<std::byte> expected = memory.copy();
    const std::size_t quarter = combines(kernel) ? size / kernel.word * kernel.word / 4 : 0;
    for (std::size_t i = 0; i < quarter; ++i)
        expected[2 * quarter + i] = expected[i] | expected[quarter + i];
    const std::uint32_t argument = kernel.argument == ArrayArgument::stride ? stride : 2;
    EXPECT_GT(kernel.run(memory.begin(), memory.end(), argument), 0u);
    EXPECT_EQ(memory.copy(), expected);
}

TEST(ArrayKernels, StayBetweenGuardPagesAndWriteOnlyTheThirdQuarter) {
    for (const ArrayKernel& kernel : arrayKernels)
        for (const std::uint32_t stride : stridesFor(kernel))
            for (const std::size_t size : {64u, 80u, 112u, 192u, 1000u, 4096u, 4160u, 20000u}) {
                if (size < stride)
                    continue;
                // Non-temporal stores need 16-byte boundaries, which the start of a page gives.
                expectInside(kernel, size, stride, GuardedMemory::atStart);
                if (kernel.shape != ArrayShape::fastmem || size % 16 == 0)
                    expectInside(kernel, size, stride, GuardedMemory::atEnd);
            }
}

TEST(ArrayKernels, AStridedWordThatFitsNowhereIsNotRead) {
    const GuardedMemory memory(24, GuardedMemory::atEnd);
    EXPECT_EQ(kestrel___array_stride_32(memory.begin(), memory.end(), 8), 0u);
    EXPECT_GT(kestrel___array_stride_16(memory.begin(), memory.end(), 8), 0u);
}

struct Moved {
    std::vector<std::uint64_t> loaded;  ///< numbers that came into register 0
    std::size_t storedBytes = 0;
};

/// What a kernel moves in the span that it times.
Moved watchMoves(const std::function<void()>& kernel) {
    Moved moved;
    const auto look = [&](const Executed& executed) {
        const auto it = executed.asVectorInstruction();
        if (!it || it->map != 1 || it->registersOnly() || it->target() != 0)
            return;
        const bool movq = it->opcode == 0x7E && it->prefix == 2;
        if (movq || (it->opcode == 0x10 && it->prefix == 0)) {
            const auto value = executed.vectorRegister(0);
            const std::size_t before = moved.loaded.size(), bytes = movq ? 8 : it->bytes;
            moved.loaded.resize(before + bytes / 8);
            std::memcpy(&moved.loaded[before], value.data(), bytes);
        }
        if ((it->opcode == 0x11 || it->opcode == 0x2B) && it->prefix == 0)
            moved.storedBytes += it->bytes;
    };
    EXPECT_EQ(singleStepTimed(kernel, look), 0);
    return moved;
}

TEST(ArrayKernels, MoveEachWordOnceARepeatAndNothingElse) {
    for (const ArrayKernel& kernel : arrayKernels) {
        // A few turns of an unrolled loop and a remainder; quarters of whole words.
        const std::size_t words = combines(kernel) ? 36 : 37;
        const bool strided = kernel.shape == ArrayShape::strided;
        const std::uint32_t stride = strided ? 2 * kernel.word : kernel.word;
        const std::uint32_t repeats = kernel.argument == ArrayArgument::repeat ? 3 : 1;
        const GuardedMemory memory(words * stride, GuardedMemory::atEnd);
        std::vector<std::uint64_t> numbers(words * stride / 8), expected;
        std::iota(numbers.begin(), numbers.end(), 1);
        std::memcpy(memory.begin(), numbers.data(), numbers.size() * 8);
        const std::size_t read = combines(kernel) ? numbers.size() / 4 : numbers.size();
        for (std::size_t i = 0; i < read; ++i)
            if (i * 8 % stride < kernel.word)
                expected.insert(expected.end(), repeats, numbers[i]);

        const std::uint32_t argument = strided ? stride : repeats;
        Moved moved = watchMoves([&] { kernel.run(memory.begin(), memory.end(), argument); });
        std::ranges::sort(moved.loaded);
        EXPECT_EQ(moved.loaded, expected) << kernel.name;
        EXPECT_EQ(moved.storedBytes, combines(kernel) ? read * 8 * repeats : 0) << kernel.name;
    }
}

}  // namespace
}  // namespace Kestrel
