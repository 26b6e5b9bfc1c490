/// What the processor's load, store and arithmetic units can do, by processor family.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace bench {

struct LoadStoreLimits {
    std::uint32_t loads;      ///< vector loads a cycle
    std::uint32_t loadWidth;  ///< bytes of the widest load that keeps that rate
    std::uint32_t stores;
    std::uint32_t storeWidth;
    const char* source;

    /// Bytes a cycle of loads (and stores) of `width` bytes, as many stores for each load as
    /// `storesPerLoad` says, all in the first-level cache.
    [[nodiscard]] double bytesPerCycle(std::uint32_t width, double storesPerLoad) const;
};

struct ArithmeticLimits {
    std::uint32_t additions;  ///< instructions a cycle
    std::uint32_t products;   ///< multiplications or fused multiply-adds a cycle
    std::uint32_t width;      ///< bytes of the widest instruction that keeps that rate
    bool split;               ///< wider ones are split, and take so many times as long

    /// Instructions a cycle on `bytes` at once; nothing where the family alone does not say it.
    [[nodiscard]] std::optional<double> perCycle(bool addition, std::uint32_t bytes) const;
};

struct Processor {
    std::string brand;
    /// Nothing where the family is not in the table.
    std::optional<LoadStoreLimits> limits = std::nullopt;
    std::optional<ArithmeticLimits> arithmetic = std::nullopt;
};

/// The processor that this runs on, from CPUID.
Processor thisProcessor();

}  // namespace bench
