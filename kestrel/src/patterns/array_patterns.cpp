#include "array_patterns.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Kestrel {
namespace {

/// Fills `count` blocks of `blockSize` bytes with ones and zeros in turn, starting with ones. Short
/// blocks are not filled one by one: copies of the first two grow to a chunk, and copies of the
/// chunk fill the rest, so that every block size takes about the time of one plain fill.
void fillAlternating(std::byte* begin, std::size_t count, std::size_t blockSize) {
    constexpr std::size_t shortBlock = 2048, chunkAtLeast = 8192;
    const std::size_t singly = blockSize < shortBlock ? std::min<std::size_t>(count, 2) : count;
    for (std::size_t i = 0; i < singly; ++i)
        std::memset(begin + i * blockSize, i % 2 == 0 ? 0xFF : 0x00, blockSize);

    const std::size_t size = count * blockSize;
    std::size_t chunk = singly * blockSize;
    for (std::size_t filled = chunk; filled < size; filled += chunk) {
        if (filled < chunkAtLeast)
            chunk = filled;
        std::memcpy(begin + filled, begin, std::min(chunk, size - filled));
    }
}

constexpr std::uint32_t fastmemBlock = 64;

/// The rows of the kernel list by shape and word code, so that a pass finds its own at once.
constexpr auto kernelTable = [] {
    std::array<std::array<const ArrayKernel*, wc64 + 1>, arrayShapes> table{};
    for (std::size_t shape = 0; shape < arrayShapes; ++shape)
        for (std::uint32_t code = wc8; code <= wc64; ++code)
            table[shape][code] = findArrayKernel(static_cast<ArrayShape>(shape), wordBytes(code));
    return table;
}();

/// Null where the list has no kernel for it.
const ArrayKernel* kernelFor(ArrayShape shape, std::uint32_t wordCode) {
    return wordCode <= wc64 ? kernelTable[static_cast<std::size_t>(shape)][wordCode] : nullptr;
}

}  // namespace

PatternStatus ArrayLPattern::prepare(std::byte* buffer, const std::uint32_t& size,
                                     const WorkerResult& /*results*/, PatternState& state) {
    if (stride == 0 || wordBytes(wordCode) == 0)
        return psInvalidParameters;
    if (buffer == nullptr || size < stride)
        return psInvalidArray;
    state.count = size / stride;
    state.wordSize = wordBytes(wordCode);
    fillAlternating(buffer, state.count, stride);
    state.begin = buffer;
    state.end = buffer + size;
    return psOk;
}

std::uint64_t ArrayLPattern::runKernel(ArrayShape shape, const PatternState& state) const {
    const ArrayKernel* const kernel = kernelFor(shape, wordCode);
    if (kernel == nullptr)
        return 0;
    return kernel->run(state.begin, state.end, shape == ArrayShape::strided ? stride : repeat);
}

std::uint64_t ArrayLPattern::runPass(PatternState& state) {
    return runKernel(contiguous() ? ArrayShape::contiguous : ArrayShape::strided, state);
}

void ArrayLPattern::finish(const PatternState& state, WorkerResult& results) {
    results.bytes = state.count * state.wordSize * results.iterations;
}

std::uint32_t ArrayLPattern::iterationsPerPass() {
    // The contiguous kernels for wide words are the ones that repeat.
    return contiguous() && wordCode >= wc32 ? repeat : 1;
}

std::uint64_t ArrayLLSPattern::runPass(PatternState& state) {
    return contiguous() ? runKernel(ArrayShape::lls, state) : 0;
}

void ArrayLLSPattern::finish(const PatternState& state, WorkerResult& results) {
    results.bytes = std::uint64_t{6} * state.count * state.wordSize * results.iterations >> 3;
}

std::uint32_t ArrayLLSPattern::iterationsPerPass() {
    return repeat;
}

PatternStatus ArrayFASTMEMPattern::prepare(std::byte* buffer, const std::uint32_t& size,
                                           const WorkerResult& /*results*/, PatternState& state) {
    if (buffer == nullptr || size < fastmemBlock)
        return psInvalidArray;
    state.count = size / fastmemBlock;
    state.wordSize = fastmemBlock;
    fillAlternating(buffer, state.count, fastmemBlock);
    state.begin = buffer;
    state.end = buffer + size;
    return psOk;
}

std::uint64_t ArrayFASTMEMPattern::runPass(PatternState& state) {
    return kestrel___array_fastmem(state.begin, state.end);
}

void ArrayFASTMEMPattern::finish(const PatternState& state, WorkerResult& results) {
    results.bytes = std::uint64_t{3} * state.count * fastmemBlock * results.iterations >> 2;
}

}  // namespace Kestrel
