#include "array_patterns.h"

#include <algorithm>
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

std::uint64_t bytesMoved(ArrayShape shape, const PatternState& state, const WorkerResult& results) {
    const std::uint64_t swept = state.count * state.wordSize * results.iterations;
    const std::uint64_t quarters = trafficOf(shape).quarters;
    return quarters == 4 ? swept : quarters * swept / 4;
}

}  // namespace

ArrayLPattern::ArrayLPattern(ArrayShape shape, std::uint32_t wordCode, std::uint32_t stride,
                             std::uint32_t repeat)
    : shape(shape),
      wordCode(wordCode),
      stride(stride),
      repeat(repeat),
      // Only the strided kernels leave anything out between two words.
      kernel(shape == ArrayShape::strided || wordBytes(wordCode) == stride
                 ? findArrayKernel(shape, wordBytes(wordCode))
                 : nullptr) {}

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

std::uint64_t ArrayLPattern::runPass(PatternState& state) {
    if (kernel == nullptr)
        return 0;
    return kernel->run(state.begin, state.end,
                       kernel->argument == ArrayArgument::stride ? stride : repeat);
}

void ArrayLPattern::finish(const PatternState& state, WorkerResult& results) {
    results.bytes = bytesMoved(shape, state, results);
}

std::uint32_t ArrayLPattern::iterationsPerPass() {
    return kernel != nullptr && kernel->argument == ArrayArgument::repeat ? repeat : 1;
}

std::uint32_t ArrayLLSPattern::iterationsPerPass() {
    return repeat;  // also where no kernel is called and nothing counts
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
    results.bytes = bytesMoved(ArrayShape::fastmem, state, results);
}

}  // namespace Kestrel
