#include <gtest/gtest.h>

#include "guarded_memory.h"
#include "kestrel/kernels.h"

using Kestrel::ArrayKernel;
using Kestrel::ArrayShape;

namespace {

std::vector<std::uint32_t> stridesFor(const ArrayKernel& kernel) {
    if (kernel.shape != ArrayShape::strided)
        return {kernel.word};
    return {1, 7, kernel.word / 2, kernel.word, kernel.word + 1, 3 * kernel.word, 100, 4096};
}

/// What the array holds after a call: quarter 3 is the combination of quarters 1 and 2 where the
/// kernel writes, and all else is as it was.
std::vector<std::byte> expectedAfter(const ArrayKernel& kernel, std::vector<std::byte> content) {
    if (kernel.shape == ArrayShape::lls || kernel.shape == ArrayShape::fastmem) {
        const std::size_t quarter = content.size() / kernel.word * kernel.word / 4;
        for (std::size_t i = 0; i < quarter; ++i)
            content[2 * quarter + i] = content[i] | content[quarter + i];
    }
    return content;
}

void expectInside(const ArrayKernel& kernel, std::size_t size, std::uint32_t stride,
                  GuardedMemory::Side side) {
    SCOPED_TRACE(testing::Message()
                 << kernel.name << ", size " << size << ", stride " << stride << ", guard "
                 << (side == GuardedMemory::atEnd ? "behind" : "before"));
    const GuardedMemory memory(size, side);
    const std::vector<std::byte> expected = expectedAfter(kernel, memory.copy());
    const std::uint32_t argument = kernel.argument == Kestrel::ArrayArgument::stride ? stride : 2;
    EXPECT_GT(kernel.run(memory.begin(), memory.end(), argument), 0u);
    EXPECT_EQ(memory.copy(), expected);
}

}  // namespace

TEST(ArrayKernels, StayBetweenGuardPagesAndWriteOnlyTheThirdQuarter) {
    for (const ArrayKernel& kernel : Kestrel::arrayKernels)
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

TEST(ArrayKernels, RepeatMultipliesTheWork) {
    const GuardedMemory memory(16384, GuardedMemory::atStart);
    for (const ArrayKernel& kernel : Kestrel::arrayKernels) {
        if (kernel.argument != Kestrel::ArrayArgument::repeat)
            continue;
        std::uint64_t once = UINT64_MAX, often = UINT64_MAX;
        for (int i = 0; i < 50; ++i) {
            once = std::min(once, kernel.run(memory.begin(), memory.end(), 10));
            often = std::min(often, kernel.run(memory.begin(), memory.end(), 100));
        }
        EXPECT_GT(often, 5 * once) << kernel.name;
        EXPECT_LT(often, 20 * once) << kernel.name;
    }
}
