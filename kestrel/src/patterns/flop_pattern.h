/// Floating-point arithmetic in the frame of the memory patterns.
#pragma once

#include "kestrel/kernels.h"
#include "kestrel/pattern.h"

namespace Kestrel {

enum LaneCode : std::uint32_t { lc1 = 1, lc2 = 2, lc4 = 3, lc8 = 4, lc16 = 5 };

/// Numbers that one instruction works on, for the codes 1 to 5, else 0.
constexpr std::uint32_t laneCount(std::uint32_t code) {
    return code >= lc1 && code <= lc16 ? 1u << (code - 1) : 0;
}

/// Calls one arithmetic kernel and counts floating-point operations where others count bytes. The
/// array is not looked at.
class FlopPattern : public BenchmarkBasePattern {
  public:
    /// The codes of a FlopPrecision, a LaneCode and a FlopOperation; those that no kernel has make
    /// a pattern that does not prepare.
    FlopPattern(std::uint32_t precision, std::uint32_t laneCode, std::uint32_t operation,
                std::uint32_t loopCount)
        : kernel(findFlopKernel(precision, laneCount(laneCode), operation)), loopCount(loopCount) {}

    PatternStatus prepare(std::byte* buffer, const std::uint32_t& size, const WorkerResult& results,
                          PatternState& state) override;
    std::uint64_t runPass(PatternState& state) override;
    void finish(const PatternState& state, WorkerResult& results) override;

    /// The row of the kernel that its passes call; null where there is none.
    [[nodiscard]] const FlopKernel* kernelRow() const { return kernel; }

  private:
    const FlopKernel* kernel;
    std::uint32_t loopCount;
};

}  // namespace Kestrel
