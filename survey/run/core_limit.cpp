#include "survey/run/core_limit.h"

#include "patterns/array_patterns.h"
#include "patterns/flop_pattern.h"
#include "processor/kernel_limits.h"
#include "survey/run/survey_pattern.h"

namespace survey {
std::optional<double> limitPerCycle(const Parameters& parameters,
                                    const std::optional<processor::Limits>& limits) {
    if (!limits)
        return std::nullopt;
    const auto pattern = makePattern(parameters);
    if (const auto* const array = dynamic_cast<const Kestrel::ArrayLPattern*>(&pattern->inner()))
        return array->kernelRow() != nullptr ? processor::limitOf(*array->kernelRow(), *limits)
                                             : std::nullopt;
    const auto* const flop = dynamic_cast<const Kestrel::FlopPattern*>(&pattern->inner());
    if (flop == nullptr || flop->kernelRow() == nullptr)
        return std::nullopt;
    const auto instructions = processor::limitOf(*flop->kernelRow(), *limits);
    return instructions ? std::optional(*instructions * flop->kernelRow()->flopsPerInstruction())
                        : std::nullopt;
}

}  // namespace survey
