#include "processor/core_sharing.h"

#include <vector>

#include "processor/additions.h"
#include "processor/middle_mean.h"

namespace processor {

double additionsPerCycle() {
    // Both runs take about 8000 cycles, so the cost of the bracket cancels out; they are
    // long beside the steps of a coarse counter; they alternate, so that they see the same clock.
    constexpr std::uint32_t pairs = 20, dependentTurns = 40, independentTurns = 160;
    // Beyond what the chains can give, the dependent run was interrupted.
    constexpr double highest = 1.1 * independentChains;
    std::vector<double> rates;
    for (std::uint32_t i = 0; i < pairs; ++i) {
        const auto cycles = static_cast<double>(dependentAdditions(dependentTurns));
        const auto ticks = static_cast<double>(independentAdditions(independentTurns));
        const double rate = cycles / ticks * independentTurns / dependentTurns;
        if (rate <= highest)
            rates.push_back(rate);
    }
    return middleMean(rates);
}

}  // namespace processor
