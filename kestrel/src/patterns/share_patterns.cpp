#include "share_patterns.h"

#include "kestrel/kernels.h"

namespace Kestrel {
namespace {

/// Finds the worker's slot; a machine word that would reach past the array is refused.
PatternStatus findSlot(std::byte* buffer, std::uint32_t size, std::uint32_t stride,
                       std::uint32_t workerIndex, PatternState& state) {
    const std::uint64_t offset = std::uint64_t{stride} * workerIndex;
    if (buffer == nullptr || size < sizeof(std::uintptr_t) ||
        offset > size - sizeof(std::uintptr_t))
        return psInvalidArray;
    state.begin = buffer + offset;
    return psOk;
}

}  // namespace

PatternStatus ShareLMSPattern::prepare(std::byte* buffer, const std::uint32_t& size,
                                       const WorkerResult& results, PatternState& state) {
    return findSlot(buffer, size, stride, results.workerIndex, state);
}

std::uint64_t ShareLMSPattern::runPass(PatternState& state) {
    return kestrel___share_lms(state.begin, opsPerPass);
}

PatternStatus ShareLMSLPattern::prepare(std::byte* buffer, const std::uint32_t& size,
                                        const WorkerResult& results, PatternState& state) {
    state.workerIndex = results.workerIndex;
    return findSlot(buffer, size, stride, results.workerIndex, state);
}

std::uint64_t ShareLMSLPattern::runPass(PatternState& state) {
    return state.workerIndex != 0 ? kestrel___share_lms_l(state.begin, opsPerPass)
                                  : kestrel___share_lms(state.begin, opsPerPass);
}

}  // namespace Kestrel
