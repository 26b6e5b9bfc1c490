/// The rate of the time-stamp counter, measured against the wall clock.
#pragma once

#include <cstdint>
#include <functional>

namespace Kestrel {

/// The two clocks of the measurement, so that a test can supply its own.
struct FrequencyClocks {
    /// Stores the microsecond field of the wall clock (0 to 999999); false where it cannot be read.
    std::function<bool(std::int32_t& microseconds)> wallMicroseconds;
    std::function<std::uint64_t()> counter;
};

/// Hz from `ticks` of the counter in `microseconds` (not 0): a whole number of MHz, rounded down.
std::uint64_t frequencyOf(std::uint64_t ticks, std::uint64_t microseconds);

/// Hz of the counter of the CPU that the calling thread is pinned to; 0 where the wall clock
/// cannot be read. Takes 0.5 to 1 ms of busy waiting, more where it is disturbed.
std::uint64_t measureFrequency();
std::uint64_t measureFrequency(const FrequencyClocks& clocks);

}  // namespace Kestrel
