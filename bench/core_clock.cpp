#include "core_clock.h"

#include <algorithm>
#include <array>

#include "kernels/bracket.h"

namespace bench {
namespace {

constexpr std::uint32_t additionsPerTurn = 40, shortChain = 100, longChain = 900, pairs = 4;

/// Ticks of `turns` times 40 dependent additions. Registers only: some processors add a small
/// constant for nothing while they rename registers.
std::uint64_t chainTicks(std::uint32_t turns) {
    return Kestrel::timed([turns] {
        std::uintptr_t value = 1;
        for (std::uint32_t i = turns; i != 0; --i)
            asm volatile(".rept 40; add %0, %0; .endr" : "+r"(value));
    });
}

}  // namespace

double coreCyclesPerTick() {
    std::uint64_t shortTicks = UINT64_MAX, longTicks = UINT64_MAX;
    for (std::uint32_t i = 0; i < pairs; ++i) {
        shortTicks = std::min(shortTicks, chainTicks(shortChain));
        longTicks = std::min(longTicks, chainTicks(longChain));
    }
    if (longTicks <= shortTicks)
        return 0;
    return additionsPerTurn * (longChain - shortChain) /
           static_cast<double>(longTicks - shortTicks);
}

namespace {

/// The highest of this and the last few readings. The clock itself changes slowly; but another
/// thread of the same core delays an addition of the chain now and then, and makes all readings of
/// a while look slower by a few per cent.
double highestOfLately(double reading) {
    static std::array<double, 32> readings{};
    static std::size_t next = 0;
    readings[next++ % readings.size()] = reading;
    return *std::ranges::max_element(readings);
}

}  // namespace

CoreClock::CoreClock() : before(coreCyclesPerTick()) {
    highestOfLately(before);
}

double CoreClock::cyclesPerTick() const {
    constexpr double tolerance = 0.01;
    const double after = coreCyclesPerTick();
    const double highest = highestOfLately(after);
    if (std::max(before, after) - std::min(before, after) > tolerance * highest)
        return 0;
    return highest;
}

}  // namespace bench
