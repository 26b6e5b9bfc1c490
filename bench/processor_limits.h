/// What the processor's load and store units can move, by processor family.
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

struct Processor {
    std::string brand;
    std::optional<LoadStoreLimits> limits;  ///< nothing where the family is not in the table
};

/// The processor that this runs on, from CPUID.
Processor thisProcessor();

}  // namespace bench
