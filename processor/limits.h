/// What a core's load, store and arithmetic units can do at most, by processor model.
#pragma once

#include <cstdint>
#include <optional>

#include "processor/identity.h"

namespace processor {

/// How many instructions a cycle, by the bytes that each works on: up to 16, 32, and 64. 0 where it
/// is not known, or differs between products of a model.
struct PerCycle {
    double upTo16 = 0, upTo32 = 0, upTo64 = 0;

    /// For instructions of `width` bytes, 1 to 64; nothing where it is not known.
    [[nodiscard]] std::optional<double> of(std::uint32_t width) const;
};

struct Limits {
    PerCycle loads;            ///< into vector registers, from the first-level cache
    PerCycle stores;           ///< from vector registers, to consecutive addresses
    double memoryOperations;   ///< loads and stores together a cycle
    PerCycle additions;        ///< floating point, scalar or vector
    PerCycle multiplications;  ///< floating point, and fused multiply-adds
    const char* source;        ///< the maker's document

    /// Bytes a cycle of a loop of that many loads and stores of `width` bytes, 1 to 64, all in the
    /// first-level cache; nothing where it is not known.
    [[nodiscard]] std::optional<double> bytesPerCycle(std::uint32_t width, std::uint32_t loadCount,
                                                      std::uint32_t storeCount) const;
};

/// Nothing for a processor that is not in the table.
std::optional<Limits> limitsOf(const Signature& signature);

}  // namespace processor
