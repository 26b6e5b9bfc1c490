#include "share_patterns.h"

#include <sys/mman.h>
#include <unistd.h>

#include "kestrel/kernels.h"

namespace Kestrel {
namespace {

/// Makes the pages of a slot's word exist, on this worker's side, without writing to them: whatever
/// stands there stays. Else the first pass would take a page fault, and a page that is only read
/// might be the one page of zeros that the kernel shows everywhere. A kernel before Linux 5.14
/// refuses, and that is what happens there.
void faultIn(std::byte* word) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto first = reinterpret_cast<std::uintptr_t>(word);
    const std::uintptr_t last = first + sizeof(std::uintptr_t) - 1;
    const std::uintptr_t begin = first / page * page;
    madvise(reinterpret_cast<void*>(begin), last - begin + 1, MADV_POPULATE_WRITE);
}

/// Finds the worker's slot; a machine word that would reach past the array is refused.
PatternStatus findSlot(std::byte* buffer, std::uint32_t size, std::uint32_t stride,
                       std::uint32_t workerIndex, PatternState& state) {
    const std::uint64_t offset = std::uint64_t{stride} * workerIndex;
    if (buffer == nullptr || size < sizeof(std::uintptr_t) ||
        offset > size - sizeof(std::uintptr_t))
        return psInvalidArray;
    state.begin = buffer + offset;
    faultIn(state.begin);
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
