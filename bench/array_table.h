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
    double netBytesPerCycle = 0;  ///< less what an empty bracket takes
    double gigabytesPerSecond = 0;
    std::optional<double> limit = std::nullopt;  ///< bytes a cycle, where it is known

    [[nodiscard]] std::uint64_t bytesPerCall() const;
    [[nodiscard]] std::uint32_t argument() const;
};

/// All array kernels over sizes in the first, second and third-level cache and in memory.
std::vector<ArrayRow> arrayRows(const std::optional<LoadStoreLimits>& limits);

/// Takes one short sample of the row over `memory` and keeps it where it is the best so far.
void sampleArray(ArrayRow& row, std::span<std::byte> memory, double ticksPerSecond);

}  // namespace bench
