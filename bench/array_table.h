/// The array kernels over arrays of one size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "kestrel/kernels.h"
#include "sample.h"

namespace bench {

/// One kernel over one size, and its samples.
struct ArrayRow {
    const Kestrel::ArrayKernel* kernel;
    std::uint32_t stride;                        ///< bytes
    std::uint32_t size;                          ///< bytes of the array
    std::optional<double> limit = std::nullopt;  ///< bytes a cycle, where it is known

    Samples whole{};
    Samples half{};  ///< the same calls over the first half of the array, where the row is short

    /// 0 without samples.
    [[nodiscard]] double bytesPerSecond(double ticksPerSecond) const;
    [[nodiscard]] std::optional<double> bytesPerCycle() const;

    /// Bytes a cycle without the fixed cost of a call: those of the second half of the array, in
    /// the time that the whole takes beyond the first half. Nothing unless the row is short.
    [[nodiscard]] std::optional<double> netBytesPerCycle() const;

    /// Whether the fixed cost of a call shows in its figure.
    [[nodiscard]] bool isShort() const;
    [[nodiscard]] std::uint64_t bytesPerCall(std::uint32_t ofSize) const;
};

/// Takes one sample of the row over the start of `memory`.
void sampleArray(ArrayRow& row, std::span<std::byte> memory, double ticksPerSecond);

}  // namespace bench
