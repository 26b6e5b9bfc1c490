#include "flop_pattern.h"

namespace Kestrel {

FlopPattern::FlopPattern(std::uint32_t precision, std::uint32_t laneCode, std::uint32_t operation,
                         std::uint32_t loopCount)
    : flopsPerInstruction(laneCount(laneCode) * (operation == fo_fma ? 2 : 1)),
      loopCount(loopCount) {
    if (const FlopKernel* const row = findFlopKernel(precision, laneCount(laneCode), operation)) {
        kernel = row->run;
        instructionsPerLoop = row->instructionsPerLoop;
    }
}

PatternStatus FlopPattern::prepare(std::byte* /*buffer*/, const std::uint32_t& /*size*/,
                                   const WorkerResult& /*results*/, PatternState& /*state*/) {
    return kernel == nullptr || loopCount == 0 ? psInvalidParameters : psOk;
}

std::uint64_t FlopPattern::runPass(PatternState& /*state*/) {
    return kernel(loopCount);
}

void FlopPattern::finish(const PatternState& /*state*/, WorkerResult& results) {
    results.bytes =
        flopsPerInstruction * results.iterations * (std::uint64_t{loopCount} * instructionsPerLoop);
}

}  // namespace Kestrel
