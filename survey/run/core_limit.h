/// What a core's units allow a point at most.
#pragma once

#include <optional>

#include "processor/limits.h"
#include "survey/point.h"

namespace survey {

/// Bytes or operations of one worker in a core cycle, by the units that load, store and compute;
/// nothing for other points, and where the processor's limits are not known.
std::optional<double> limitPerCycle(const Parameters& parameters,
                                    const std::optional<processor::Limits>& limits);

}  // namespace survey
