/// The array kernels against the processor's load and store units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kestrel/kernels.h"
#include "processor_limits.h"

namespace bench {

/// One kernel over one size, and the best that was seen of it.
struct ArrayRow {
    const Kestrel::ArrayKernel* kernel;
    std::uint32_t stride;  ///< bytes
    std::uint32_t size;    ///< bytes of the array
    double bytesPerCycle = 0;
    double gigabytesPerSecond = 0;
    std::optional<double> limit = std::nullopt;  ///< bytes a cycle, where it is known

    /// Bytes a cycle without what a call costs however short it is: the difference between calls
    /// over the array and over its first half. Nothing for calls that are long anyway.
    [[nodiscard]] std::optional<double> netBytesPerCycle() const;

    [[nodiscard]] bool isShort() const;
    [[nodiscard]] std::uint64_t bytesPerCall(std::uint32_t ofSize) const;
    [[nodiscard]] std::uint32_t argument() const;

    double leastCycles = 0, leastCyclesOfHalf = 0;  ///< of one call; 0 before the first sample
};

/// All array kernels over sizes in the first, second and third-level cache and in memory.
std::vector<ArrayRow> arrayRows(const std::optional<LoadStoreLimits>& limits);

/// Takes one short sample of the row over `memory` and keeps it where it is the best so far.
void sampleArray(ArrayRow& row, std::span<std::byte> memory, double ticksPerSecond);

}  // namespace bench
