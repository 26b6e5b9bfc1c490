#include "core_clock.h"

#include <algorithm>

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

double CoreClock::cyclesPerTick() const {
    constexpr double tolerance = 0.01;
    const double after = coreCyclesPerTick();
    const double faster = std::max(before, after);
    if (faster - std::min(before, after) > tolerance * faster)
        return 0;
    return faster;
}

}  // namespace bench
