#include "flop_pattern.h"

namespace Kestrel {

PatternStatus FlopPattern::prepare(std::byte* /*buffer*/, const std::uint32_t& /*size*/,
                                   const WorkerResult& /*results*/, PatternState& /*state*/) {
    return kernel == nullptr || loopCount == 0 ? psInvalidParameters : psOk;
}

std::uint64_t FlopPattern::runPass(PatternState& /*state*/) {
    return kernel->run(loopCount);
}

void FlopPattern::finish(const PatternState& /*state*/, WorkerResult& results) {
    results.bytes = kernel->flopsPerInstruction() * results.iterations *
                    (std::uint64_t{loopCount} * kernel->instructionsPerLoop);
}

}  // namespace Kestrel
