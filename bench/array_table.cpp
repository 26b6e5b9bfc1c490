#include "array_table.h"

#include <algorithm>

#include "core_clock.h"
#include "kernels/instruction_sets.h"

namespace bench {
namespace {

using Kestrel::ArrayKernel;
using Kestrel::ArrayShape;

constexpr std::uint32_t kibibyte = 1024, mebibyte = 1024 * kibibyte;
constexpr std::uint32_t sizes[] = {16 * kibibyte, 256 * kibibyte, 8 * mebibyte, 512 * mebibyte};

/// Arrays up to this size fit the first-level cache of every processor in the table of limits.
constexpr std::uint32_t firstLevel = 32 * kibibyte;

/// What the program passes for arrays of that size.
std::uint32_t repeatFor(std::uint32_t size) {
    return size <= firstLevel ? 1000 : 1;
}

/// The widest registers that a kernel moves a word through.
std::uint32_t registerWidth(std::uint32_t word) {
    const std::uint32_t widest = Kestrel::instructionSets.avx512f ? 64
                                 : Kestrel::instructionSets.avx   ? 32
                                                                  : 16;
    return std::min(word, widest);
}

std::optional<double> limitOf(const ArrayKernel& kernel, std::uint32_t size,
                              const std::optional<LoadStoreLimits>& limits) {
    // Non-temporal stores leave the caches, and their limit is the memory's, which no table has.
    if (!limits || size > firstLevel || kernel.shape == ArrayShape::fastmem)
        return std::nullopt;
    const double storesPerLoad = kernel.shape == ArrayShape::lls ? 0.5 : 0;
    return limits->bytesPerCycle(registerWidth(kernel.word), storesPerLoad);
}

/// What a few calls took, with the core clock beside them.
struct Sample {
    double ticksPerCall;
    double cyclesPerCall;  ///< 0 where the clock was not steady
};

Sample sampleCalls(const ArrayRow& row, std::span<std::byte> memory, double ticksPerSecond) {
    constexpr double seconds = 50e-6;
    std::byte* const begin = memory.data();
    std::byte* const end = begin + memory.size();
    const auto call = [&] { return row.kernel->run(begin, end, row.argument()); };

    call();  // the row before has left its own lines in the caches
    const CoreClock clock;
    std::uint64_t ticks = 0, calls = 0;
    do {
        ticks += call();
        ++calls;
    } while (static_cast<double>(ticks) < seconds * ticksPerSecond);
    const double ticksPerCall = static_cast<double>(ticks) / static_cast<double>(calls);
    return {ticksPerCall, ticksPerCall * clock.cyclesPerTick()};
}

void keepLeast(double& least, double cycles) {
    if (cycles != 0 && (least == 0 || cycles < least))
        least = cycles;
}

}  // namespace

std::uint32_t ArrayRow::argument() const {
    return kernel->argument == Kestrel::ArrayArgument::stride ? stride : repeatFor(size);
}

std::uint64_t ArrayRow::bytesPerCall(std::uint32_t ofSize) const {
    const std::uint64_t words = ofSize / stride;
    const std::uint64_t sweep = words * kernel->word;
    switch (kernel->shape) {
        case ArrayShape::lls:
            return sweep * 3 / 4 * repeatFor(size);
        case ArrayShape::fastmem:
            return sweep * 3 / 4;
        default:
            return kernel->argument == Kestrel::ArrayArgument::repeat ? sweep * repeatFor(size)
                                                                      : sweep;
    }
}

std::vector<ArrayRow> arrayRows(const std::optional<LoadStoreLimits>& limits) {
    constexpr std::uint32_t line = 64;
    std::vector<ArrayRow> rows;
    for (const ArrayKernel& kernel : Kestrel::arrayKernels)
        for (const std::uint32_t size : sizes) {
            ArrayRow row{&kernel, kernel.word, size};
            if (kernel.shape == ArrayShape::strided)
                row.stride = std::max(line, 2 * kernel.word);
            row.limit = limitOf(kernel, size, limits);
            rows.push_back(row);
        }
    return rows;
}

bool ArrayRow::isShort() const {
    // Half of fewer words would be over before the first reading of the counter is.
    constexpr std::uint32_t fewestWords = 256;
    return size <= firstLevel && size / stride >= fewestWords &&
           kernel->argument != Kestrel::ArrayArgument::repeat;
}

std::optional<double> ArrayRow::netBytesPerCycle() const {
    if (!isShort() || leastCycles <= leastCyclesOfHalf)
        return std::nullopt;
    return static_cast<double>(bytesPerCall(size) - bytesPerCall(size / 2)) /
           (leastCycles - leastCyclesOfHalf);
}

void sampleArray(ArrayRow& row, std::span<std::byte> memory, double ticksPerSecond) {
    const auto bytes = static_cast<double>(row.bytesPerCall(row.size));
    const Sample whole = sampleCalls(row, memory.first(row.size), ticksPerSecond);
    row.gigabytesPerSecond =
        std::max(row.gigabytesPerSecond, bytes / whole.ticksPerCall * ticksPerSecond / 1e9);
    keepLeast(row.leastCycles, whole.cyclesPerCall);
    if (row.leastCycles != 0)
        row.bytesPerCycle = bytes / row.leastCycles;
    if (row.isShort()) {
        const Sample half = sampleCalls(row, memory.first(row.size / 2), ticksPerSecond);
        keepLeast(row.leastCyclesOfHalf, half.cyclesPerCall);
    }
}

}  // namespace bench
