// The words that the array kernels really load, seen one instruction after the other.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "guarded_memory.h"
#include "kestrel/kernels.h"
#include "single_step.h"
#include "vector_instruction.h"

namespace Kestrel {
namespace {

/// Bytes that the instruction loads into register 0, or 0 where it does something else.
std::uint32_t loadedBytes(const std::uint8_t* code) {
    const auto it = decodeVectorInstruction(code);
    if (!it || it->map != 1 || it->registersOnly() || it->target() != 0)
        return 0;
    if (it->opcode == 0x7E && it->prefix == 2)
        return 8;  // movq
    return it->opcode == 0x10 && it->prefix == 0 ? it->bytes : 0;
}

/// The numbers that the kernel loaded from memory made of numbers, in their order.
std::vector<std::uint64_t> loadsOf(const ArrayKernel& kernel, const GuardedMemory& memory,
                                   std::uint32_t argument) {
    std::vector<std::uint64_t> numbers;
    const auto look = [&](const Executed& executed) {
        const std::uint32_t bytes = loadedBytes(executed.code);
        if (bytes == 0)
            return;
        const auto value = executed.vectorRegister(0);
        const std::size_t before = numbers.size();
        numbers.resize(before + bytes / sizeof numbers[0]);
        std::memcpy(&numbers[before], value.data(), bytes);
    };
    EXPECT_EQ(singleStep([&] { kernel.run(memory.begin(), memory.end(), argument); }, look), 0);
    return numbers;
}

TEST(ArrayLoads, EachWordOnceAndNothingElse) {
    for (const ArrayKernel& kernel : arrayKernels) {
        const bool strided = kernel.shape == ArrayShape::strided;
        if (kernel.shape != ArrayShape::contiguous && !strided)
            continue;
        // A few turns of an unrolled loop and a remainder.
        constexpr std::uint32_t words = 37;
        const std::uint32_t stride = strided ? 2 * kernel.word : kernel.word;
        const GuardedMemory memory(std::size_t{words} * stride, GuardedMemory::atEnd);
        const std::size_t all = words * stride / 8, perWord = kernel.word / 8,
                          perStride = stride / 8;
        std::vector<std::uint64_t> numbers(all), expected;
        std::iota(numbers.begin(), numbers.end(), 1);
        std::memcpy(memory.begin(), numbers.data(), all * 8);
        for (std::size_t i = 0; i < all; ++i)
            if (i % perStride < perWord)
                expected.push_back(numbers[i]);

        const std::uint32_t argument = strided ? stride : 1;
        std::vector<std::uint64_t> loaded = loadsOf(kernel, memory, argument);
        std::ranges::sort(loaded);
        EXPECT_EQ(loaded, expected) << kernel.name;
    }
}

}  // namespace
}  // namespace Kestrel
