/// One short sample: calls of a kernel with the core clock beside them.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "core_clock.h"

namespace bench {

/// Both are 0 where the core clock was not steady, or nothing was done.
struct Sample {
    double ticksPerCall;
    double cyclesPerCall;
};

/// Calls a kernel, which returns its ticks, once to warm the caches and then for 50 microseconds.
template <class Call>
Sample sampleCalls(double ticksPerSecond, Call call) {
    constexpr double seconds = 50e-6;
    if (call() == 0)
        return {0, 0};
    const CoreClock clock;
    std::uint64_t ticks = 0, calls = 0;
    do {
        ticks += call();
        ++calls;
    } while (static_cast<double>(ticks) < seconds * ticksPerSecond);
    const double cyclesPerTick = clock.cyclesPerTick();
    if (cyclesPerTick == 0)
        return {0, 0};
    const double ticksPerCall = static_cast<double>(ticks) / static_cast<double>(calls);
    return {ticksPerCall, ticksPerCall * cyclesPerTick};
}

/// Many samples of one time.
class Samples {
  public:
    /// Takes one more; 0 stands for a sample that failed.
    void add(double value) {
        if (value != 0)
            values.insert(std::ranges::upper_bound(values, value), value);
    }
    /// What a tenth of the samples reached: whatever disturbs one makes it longer, but the very
    /// shortest are those beside which the core clock was misread. 0 without samples.
    [[nodiscard]] double best() const { return values.empty() ? 0 : values[values.size() / 10]; }
    [[nodiscard]] double median() const { return values.empty() ? 0 : values[values.size() / 2]; }

  private:
    std::vector<double> values;  ///< sorted
};

}  // namespace bench
