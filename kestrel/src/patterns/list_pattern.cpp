#include "list_pattern.h"

#include <cstring>

#include "kestrel/kernels.h"

namespace Kestrel {

PatternStatus ListLPattern::prepare(std::byte* buffer, const std::uint32_t& size,
                                    const WorkerResult& /*results*/, PatternState& state) {
    if (stride < sizeof buffer)
        return psInvalidParameters;
    if (buffer == nullptr || size < stride)
        return psInvalidArray;
    state.count = size / stride;
    state.begin = buffer;
    std::byte* node = buffer;
    for (std::uint32_t k = 0; k < state.count; ++k) {
        std::byte* const next = node + stride;
        std::memcpy(node, &next, sizeof next);  // strides need not be aligned
        node = next;
    }
    return psOk;
}

std::uint64_t ListLPattern::runPass(PatternState& state) {
    return kestrel___list(state.begin, state.count);
}

void ListLPattern::finish(const PatternState& state, WorkerResult& results) {
    // A visit counts as 8 bytes, whatever the stride and the width of an address.
    results.bytes = std::uint64_t{state.count} * 8 * results.iterations;
}

}  // namespace Kestrel
