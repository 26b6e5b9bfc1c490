/// The array kernels over arrays of one size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "kestrel/kernels.h"
#include "sample.h"

namespace bench {

/// One kernel over one size, and the best that was seen of it.
struct ArrayRow {
    const Kestrel::ArrayKernel* kernel;
    std::uint32_t stride;                        ///< bytes
    std::uint32_t size;                          ///< bytes of the array
    std::optional<double> limit = std::nullopt;  ///< bytes a cycle, where it is known

    Samples ticks{}, cycles{};    ///< of one call
    Samples cyclesOfOtherHalf{};  ///< what a call over all takes more than one over half

    [[nodiscard]] double bytesPerSecond(double ticksPerSecond) const;
    [[nodiscard]] std::optional<double> bytesPerCycle() const;

    /// Bytes a cycle without what a call costs however short it is: the difference between calls
    /// over the array and over its first half, sample by sample, the median. Nothing for calls that
    /// are long anyway.
    [[nodiscard]] std::optional<double> netBytesPerCycle() const;

    [[nodiscard]] bool isShort() const;
    [[nodiscard]] std::uint64_t bytesPerCall(std::uint32_t ofSize) const;
};

/// Takes one short sample of the row over the start of `memory`.
void sampleArray(ArrayRow& row, std::span<std::byte> memory, double ticksPerSecond);

}  // namespace bench
