/// What the processor's load, store and arithmetic units can do, by processor family.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace bench {

struct ProcessorLimits {
    std::uint32_t loads;      ///< vector loads a cycle
    std::uint32_t loadWidth;  ///< bytes of the widest load that keeps that rate
    std::uint32_t stores;
    std::uint32_t storeWidth;
    std::uint32_t additions;        ///< floating-point additions a cycle
    std::uint32_t multiplications;  ///< multiplications or fused multiply-adds
    std::uint32_t arithmeticWidth;  ///< bytes of the widest that keep that rate
    bool splitsWider;               ///< wider ones take as many turns as they are wider
    const char* source;

    /// Bytes a cycle of loads (and stores) of `width` bytes, as many stores for each load as
    /// `storesPerLoad` says, all in the first-level cache.
    [[nodiscard]] double bytesPerCycle(std::uint32_t width, double storesPerLoad) const;

    /// Additions, or multiplications and fused multiply-adds, of `width` bytes a cycle; nothing
    /// where it depends on more than the family.
    [[nodiscard]] std::optional<double> instructionsPerCycle(std::uint32_t width,
                                                             bool addition) const;
};

struct Processor {
    std::string brand;
    std::optional<ProcessorLimits> limits;  ///< nothing where the family is not in the table
};

/// The processor that this runs on, from CPUID.
Processor thisProcessor();

}  // namespace bench
