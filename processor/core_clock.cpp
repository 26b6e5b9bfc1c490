#include "processor/core_clock.h"

#include "processor/additions.h"
#include "processor/middle_mean.h"

namespace processor {

void CoreClock::read() {
    // What a long run takes beyond a short one leaves out the bracket. All must be over before the
    // clock rises again.
    constexpr std::uint32_t shortRun = 2, longRun = 16;
    dependentAdditions(shortRun);  // brings the code into the caches
    const std::uint64_t longer = dependentAdditions(longRun);
    const std::uint64_t shorter = dependentAdditions(shortRun);
    if (longer > shorter)
        readings.push_back(additionsPerTurn * (longRun - shortRun) /
                           static_cast<double>(longer - shorter));
}

double CoreClock::cyclesPerTick() const {
    return middleMean(readings);
}

}  // namespace processor
