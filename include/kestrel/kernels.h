/// The kernels: the measured loops, each a plain function.
///
/// A kernel does the work of one pass and returns the time-stamp-counter ticks that it took; 0
/// means that nothing was done (the processor lacks the instructions) and the pass does not count.
/// Kernels do not check their arguments: the patterns have. Any number of threads may be in them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

namespace Kestrel {

/// Bytes of a step of the kernel that writes past the caches: a cache line.
inline constexpr std::uint32_t fastmemBlock = 64;

enum class ArrayShape { contiguous, strided, lls, fastmem };

/// What the kernels of a shape move.
struct ArrayTraffic {
    std::uint32_t loads, stores;  ///< to each other, word by word
    std::uint32_t quarters;       ///< of the array, in a sweep
    bool pastCaches;              ///< its stores go to memory
};

constexpr ArrayTraffic trafficOf(ArrayShape shape) {
    switch (shape) {
        case ArrayShape::lls:
            return {.loads = 2, .stores = 1, .quarters = 3, .pastCaches = false};
        case ArrayShape::fastmem:
            return {.loads = 2, .stores = 1, .quarters = 3, .pastCaches = true};
        case ArrayShape::contiguous:
        case ArrayShape::strided:
            break;
    }
    return {.loads = 1, .stores = 0, .quarters = 4, .pastCaches = false};
}

/// What the third argument of an array kernel is.
enum class ArrayArgument { none, repeat, stride };

template <ArrayArgument third>
using ArrayKernelFunction =
    std::conditional_t<third == ArrayArgument::none, std::uint64_t(std::byte*, std::byte*),
                       std::uint64_t(std::byte*, std::byte*, std::uint32_t)>;

}  // namespace Kestrel

extern "C" {
#define ARRAY_KERNEL(name, shape, word, third) \
    Kestrel::ArrayKernelFunction<Kestrel::ArrayArgument::third> name;
#define FLOP_KERNEL(operation, set, precision, lanes, instructions)                           \
    [[gnu::visibility("default")]] std::uint64_t kestrel___##operation##_##set##_##precision( \
        std::uint32_t loopCount);
#include "kestrel/kernels.def"

/// Follows `count` links from `head`: each node's first machine word is the next one's address. The
/// node that the last link leads to is not read.
std::uint64_t kestrel___list(const std::byte* head, std::uint32_t count);
/// Adds one to the machine word at `slot`, `opsPerPass` times.
std::uint64_t kestrel___share_lms(std::byte* slot, std::uint32_t opsPerPass);
/// The same with a load of that word instead.
std::uint64_t kestrel___share_lms_l(std::byte* slot, std::uint32_t opsPerPass);
}

namespace Kestrel {

/// A row of the list, with all array kernels called alike.
struct ArrayKernel {
    std::string_view name;
    ArrayShape shape;
    std::uint32_t word;  ///< bytes
    ArrayArgument argument;
    std::uint64_t (*run)(std::byte* begin, std::byte* end, std::uint32_t argument);
};

/// Calls a kernel of two arguments like one of three.
template <auto kernel>
std::uint64_t call(std::byte* begin, std::byte* end, std::uint32_t argument) {
    if constexpr (std::is_invocable_v<decltype(kernel), std::byte*, std::byte*>)
        return kernel(begin, end);
    else
        return kernel(begin, end, argument);
}

inline constexpr ArrayKernel arrayKernels[] = {
#define ARRAY_KERNEL(name, shape, word, third) \
    {#name, ArrayShape::shape, word, ArrayArgument::third, call<name>},
#include "kestrel/kernels.def"
};

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

inline constexpr FlopKernel flopKernels[] = {
#define FLOP_KERNEL(operation, set, precision, lanes, instructions) \
    {"kestrel___" #operation "_" #set "_" #precision,               \
     fo_##operation,                                                \
     fs_##set,                                                      \
     fp_##precision,                                                \
     lanes,                                                         \
     instructions,                                                  \
     kestrel___##operation##_##set##_##precision},
#include "kestrel/kernels.def"
};

/// The kernel of that operation on so many numbers at once, or null where there is none.
constexpr const FlopKernel* findFlopKernel(std::uint32_t precision, std::uint32_t lanes,
                                           std::uint32_t operation) {
    for (const FlopKernel& kernel : flopKernels)
        if (kernel.precision == precision && kernel.lanes == lanes && kernel.operation == operation)
            return &kernel;
    return nullptr;
}

}  // namespace Kestrel
