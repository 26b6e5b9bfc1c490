#include "array_table.h"

#include <algorithm>

#include "core_clock.h"
#include "kernels/bracket.h"
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

/// The least of many, since anything else that happens only adds to it.
double emptyBracketTicks() {
    static const double ticks = [] {
        std::uint64_t least = UINT64_MAX;
        for (int i = 0; i < 10000; ++i)
            least = std::min(least, Kestrel::timed([] {}));
        return static_cast<double>(least);
    }();
    return ticks;
}

}  // namespace

std::uint32_t ArrayRow::argument() const {
    return kernel->argument == Kestrel::ArrayArgument::stride ? stride : repeatFor(size);
}

std::uint64_t ArrayRow::bytesPerCall() const {
    const std::uint64_t words = size / stride;
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

void sampleArray(ArrayRow& row, std::span<std::byte> memory, double ticksPerSecond) {
    constexpr double sampleSeconds = 50e-6;
    std::byte* const begin = memory.data();
    std::byte* const end = begin + row.size;
    const auto call = [&] { return row.kernel->run(begin, end, row.argument()); };

    call();  // the row before has left its own lines in the caches
    CoreClock clock;
    std::uint64_t ticks = 0, calls = 0;
    do {
        ticks += call();
        ++calls;
    } while (static_cast<double>(ticks) < sampleSeconds * ticksPerSecond);
    const double cyclesPerTick = clock.cyclesPerTick();

    const double bytes = static_cast<double>(row.bytesPerCall() * calls);
    const double total = static_cast<double>(ticks);
    row.gigabytesPerSecond =
        std::max(row.gigabytesPerSecond, bytes / total * ticksPerSecond / 1e9);
    if (cyclesPerTick == 0)
        return;
    const double net = total - emptyBracketTicks() * static_cast<double>(calls);
    row.bytesPerCycle = std::max(row.bytesPerCycle, bytes / (total * cyclesPerTick));
    row.netBytesPerCycle = std::max(row.netBytesPerCycle, bytes / (net * cyclesPerTick));
}

}  // namespace bench
