/// The kernels: the measured loops, each a plain function.
///
/// A kernel does the work of one pass and returns the time-stamp-counter ticks that it took; 0
/// means that nothing was done (the processor lacks the instructions) and the pass does not count.
/// Kernels do not check their arguments: the patterns have. Any number of threads may be in them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" {
#define SWEEP_KERNEL(name, word) std::uint64_t name(std::byte* begin, std::byte* end);
#define REPEAT_KERNEL(name, word) \
    std::uint64_t name(std::byte* begin, std::byte* end, std::uint32_t repeat);
#define STRIDE_KERNEL(name, word) \
    std::uint64_t name(std::byte* begin, std::byte* end, std::uint32_t stride);
#define LLS_KERNEL(name, word) REPEAT_KERNEL(name, word)
#define FASTMEM_KERNEL(name, word) SWEEP_KERNEL(name, word)
#include "kestrel/kernels.def"
}

namespace Kestrel {

enum class ArrayShape { contiguous, strided, lls, fastmem };
inline constexpr std::size_t arrayShapes = 4;

/// What the third argument of an array kernel is.
enum class ArrayArgument { none, repeat, stride };

/// A row of the list, with all array kernels called alike.
struct ArrayKernel {
    std::string_view name;
    ArrayShape shape;
    std::uint32_t word;  ///< bytes
    ArrayArgument argument;
    std::uint64_t (*run)(std::byte* begin, std::byte* end, std::uint32_t argument);
};

inline constexpr auto arrayKernels = std::to_array<ArrayKernel>({
#define TWO_ARGUMENTS(name) \
    [](std::byte* begin, std::byte* end, std::uint32_t) { return name(begin, end); }
#define SWEEP_KERNEL(name, word) \
    {#name, ArrayShape::contiguous, word, ArrayArgument::none, TWO_ARGUMENTS(name)},
#define REPEAT_KERNEL(name, word) \
    {#name, ArrayShape::contiguous, word, ArrayArgument::repeat, name},
#define STRIDE_KERNEL(name, word) {#name, ArrayShape::strided, word, ArrayArgument::stride, name},
#define LLS_KERNEL(name, word) {#name, ArrayShape::lls, word, ArrayArgument::repeat, name},
#define FASTMEM_KERNEL(name, word) \
    {#name, ArrayShape::fastmem, word, ArrayArgument::none, TWO_ARGUMENTS(name)},
#include "kestrel/kernels.def"
#undef TWO_ARGUMENTS
});

/// The kernel of that shape for words of that many bytes, or null where there is none.
constexpr const ArrayKernel* findArrayKernel(ArrayShape shape, std::uint64_t word) {
    for (const ArrayKernel& kernel : arrayKernels)
        if (kernel.shape == shape && kernel.word == word)
            return &kernel;
    return nullptr;
}

}  // namespace Kestrel
