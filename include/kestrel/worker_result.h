/// What one worker obtained.
#pragma once

#include <atomic>
#include <cstdint>

namespace Kestrel {

/// Owned by the driver, which zeroes it before the worker exists and reads it after the join
/// (`ready` alone is read while the worker runs).
struct WorkerResult {
    std::uint32_t workerIndex = 0;         ///< position in the CPU list; set by the driver
    std::uint64_t frequency = 0;           ///< counter rate in Hz, whole MHz; 0 when not measurable
    std::uint64_t bytes = 0;               ///< work of the counted passes: bytes or operations
    std::uint64_t clocks = 0;              ///< counter ticks of the counted passes
    std::uint64_t iterations = 0;          ///< iterations of the counted passes
    std::atomic<std::uint32_t> ready = 0;  ///< 1 once the pattern has prepared its array
};

}  // namespace Kestrel
