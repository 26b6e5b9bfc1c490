/// The list, share and floating-point kernels: what one operation of theirs costs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "processor_limits.h"

namespace bench {

/// Core cycles of calls that do the same, one figure a sample.
struct Cycles {
    std::function<std::uint64_t()> call;  ///< returns ticks
    std::vector<double> samples = {};

    /// Calls for a while, with the core clock beside it; keeps nothing where that was not steady.
    void sample();
    [[nodiscard]] double least() const;  ///< 0 before the first
    [[nodiscard]] double median() const;
};

/// One kernel at one kind of work.
struct OperationRow {
    std::string kernel;
    std::string work;
    double operations;  ///< instructions, nodes or accesses of a call
    Cycles measured;
    Cycles plain = {};  ///< the bare instructions in a loop; without a call where there is none
    std::function<void()> prepare = {};  ///< what must be done before a sample, if anything
    std::function<void()> cleanUp = {};  ///< and after it

    std::uint32_t flopsPerOperation = 0;
    std::optional<double> limit = std::nullopt;  ///< operations a cycle

    [[nodiscard]] double cyclesPerOperation() const { return measured.least() / operations; }
    [[nodiscard]] double medianPerOperation() const { return measured.median() / operations; }
    [[nodiscard]] std::optional<double> plainCyclesPerOperation() const;
    void sample();

    bool plainFirst = false;
};

/// The floating-point kernels that this processor runs.
std::vector<OperationRow> arithmeticRows(const std::optional<ArithmeticLimits>& limits);

/// Walks through lists of several sizes and strides, laid into `memory`, beside a bare chain of
/// dependent loads; then the share kernels alone and, where there is another CPU, with a neighbour
/// on it that adds to the same cache line or to another.
std::vector<OperationRow> latencyRows(std::span<std::byte> memory, std::uint32_t cpu);

}  // namespace bench
