#include "survey/core_limit.h"

#include <algorithm>

#include "patterns/array_patterns.h"
#include "patterns/flop_pattern.h"
#include "processor/identity.h"
#include "survey/survey_pattern.h"

namespace survey {
namespace {

std::optional<double> arrayLimit(const Kestrel::ArrayKernel& kernel,
                                 const processor::Limits& limits) {
    const std::uint32_t width = std::min(kernel.word, processor::widestVector());
    const bool combines = kernel.shape == Kestrel::ArrayShape::lls;
    return limits.bytesPerCycle(width, combines ? 2 : 1, combines ? 1 : 0);
}

std::optional<double> flopLimit(const Kestrel::FlopKernel& kernel,
                                const processor::Limits& limits) {
    const std::uint32_t width = kernel.lanes * (kernel.precision == Kestrel::fp_single ? 4 : 8);
    const auto& units =
        kernel.operation == Kestrel::fo_add ? limits.additions : limits.multiplications;
    const auto instructions = units.of(width);
    if (!instructions)
        return std::nullopt;
    return *instructions * kernel.flopsPerInstruction();
}

}  // namespace

std::optional<double> limitPerCycle(const Parameters& parameters,
                                    const std::optional<processor::Limits>& limits) {
    if (!limits)
        return std::nullopt;
    const auto pattern = makePattern(parameters);
    if (const auto* const array = dynamic_cast<const Kestrel::ArrayLPattern*>(&pattern->inner()))
        return array->kernelRow() != nullptr ? arrayLimit(*array->kernelRow(), *limits)
                                             : std::nullopt;
    if (const auto* const flop = dynamic_cast<const Kestrel::FlopPattern*>(&pattern->inner()))
        return flop->kernelRow() != nullptr ? flopLimit(*flop->kernelRow(), *limits) : std::nullopt;
    return std::nullopt;
}

}  // namespace survey
