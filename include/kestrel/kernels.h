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
#define LIST_KERNEL(name) std::uint64_t name(const std::byte* head, std::uint32_t count);
#define SHARE_KERNEL(name) std::uint64_t name(std::byte* slot, std::uint32_t opsPerPass);
#define FLOP_KERNEL(operation, set, precision, lanes, instructions)                           \
    [[gnu::visibility("default")]] std::uint64_t kestrel___##operation##_##set##_##precision( \
        std::uint32_t loopCount);
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

// The words of these enumerators are those of the kernels' names.
enum FlopPrecision : std::uint32_t { fp_single = 1, fp_double = 2 };
enum FlopOperation : std::uint32_t { fo_add = 1, fo_mul = 2, fo_fma = 3 };
enum FlopSet : std::uint32_t { fs_scalar, fs_sse, fs_avx, fs_avx512 };

/// A row of the list's floating-point kernels.
struct FlopKernel {
    std::string_view name;
    FlopOperation operation;
    FlopSet set;
    FlopPrecision precision;
    std::uint32_t lanes;
    std::uint32_t instructionsPerLoop;
    std::uint64_t (*run)(std::uint32_t loopCount);

    [[nodiscard]] constexpr std::uint32_t flopsPerInstruction() const {
        return operation == fo_fma ? 2 * lanes : lanes;
    }
};

inline constexpr auto flopKernels = std::to_array<FlopKernel>({
#define FLOP_KERNEL(operation, set, precision, lanes, instructions) \
    {"kestrel___" #operation "_" #set "_" #precision,               \
     fo_##operation,                                                \
     fs_##set,                                                      \
     fp_##precision,                                                \
     lanes,                                                         \
     instructions,                                                  \
     kestrel___##operation##_##set##_##precision},
#include "kestrel/kernels.def"
});

/// The kernel of that operation on so many numbers at once, or null where there is none.
constexpr const FlopKernel* findFlopKernel(std::uint32_t precision, std::uint32_t lanes,
                                           std::uint32_t operation) {
    for (const FlopKernel& kernel : flopKernels)
        if (kernel.precision == precision && kernel.lanes == lanes && kernel.operation == operation)
            return &kernel;
    return nullptr;
}

}  // namespace Kestrel
