/// Short samples: calls of a kernel with the core clock beside them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "processor/core_clock.h"
#include "processor/core_sharing.h"

namespace bench {

struct Sample {
    double ticksPerCall;
    double cyclesPerCall;
    double additionsPerCycle;  ///< right after; fewer where another thread shares the core
};

/// Takes a sample of a kernel, which `call` calls once, returning its ticks. Warms up for 100
/// microseconds, then measures a dozen slices of 5 or more, or fewer where calls are long, and
/// reads the core clock right after each. All zero where `call` returns 0.
template <class Call>
Sample sampleCalls(double ticksPerSecond, Call call) {
    constexpr double warmUp = 100e-6, slice = 5e-6, longest = 1e-3;
    constexpr int slices = 12;
    std::uint64_t ticks = 0, calls = 0;
    const auto runFor = [&](double seconds) {
        const double end = static_cast<double>(ticks) + seconds * ticksPerSecond;
        do {
            const std::uint64_t one = call();
            if (one == 0)
                return false;
            ticks += one;
            ++calls;
        } while (static_cast<double>(ticks) < end);
        return true;
    };
    if (!runFor(warmUp))
        return {};
    ticks = calls = 0;
    processor::CoreClock clock;
    clock.read();
    for (int i = 0; i < slices && static_cast<double>(ticks) < longest * ticksPerSecond; ++i) {
        runFor(slice);
        clock.read();
    }
    const double ticksPerCall = static_cast<double>(ticks) / static_cast<double>(calls);
    return {.ticksPerCall = ticksPerCall,
            .cyclesPerCall = ticksPerCall * clock.cyclesPerTick(),
            .additionsPerCycle = processor::additionsPerCycle()};
}

/// The middle of the values, the mean of two where their number is even.
inline double median(std::vector<double> values) {
    std::ranges::sort(values);
    return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
}

/// All samples of one piece of work. Those taken beside another thread on the core do not count:
/// their clock reads too slow, and they would show fewer cycles than there were. They stand out
/// only where other samples were undisturbed. All figures are of one call, and 0 without samples.
class Samples {
  public:
    /// Takes one more, unless it is one of nothing: then the processor lacks the instructions.
    void add(const Sample& sample) {
        if (sample.cyclesPerCall != 0)
            all.push_back(sample);
    }
    /// What a tenth of the samples reach. Whatever disturbs a sample makes it longer, but the very
    /// shortest may owe it to a misread clock.
    [[nodiscard]] double bestTicks() const { return best(&Sample::ticksPerCall); }
    [[nodiscard]] double bestCycles() const { return best(&Sample::cyclesPerCall); }
    [[nodiscard]] double medianCycles() const {
        const std::vector<double> cycles = undisturbed(&Sample::cyclesPerCall);
        return cycles.empty() ? 0 : median(cycles);
    }

  private:
    [[nodiscard]] double best(double Sample::*figure) const {
        const std::vector<double> values = undisturbed(figure);
        return values.empty() ? 0 : values[values.size() / 10];
    }

    /// One figure of the samples that count, sorted.
    [[nodiscard]] std::vector<double> undisturbed(double Sample::*figure) const {
        std::vector<double> additions, values;
        for (const Sample& sample : all)
            additions.push_back(sample.additionsPerCycle);
        std::ranges::sort(additions, std::greater());
        for (const Sample& sample : all)
            if (sample.additionsPerCycle >= 0.97 * additions[additions.size() / 10])
                values.push_back(sample.*figure);
        std::ranges::sort(values);
        return values;
    }

    std::vector<Sample> all;
};

}  // namespace bench
