/// Sweeps over a whole array: contiguous or strided, reading, or reading and writing.
#pragma once

#include <iterator>

#include "kestrel/kernels.h"
#include "kestrel/pattern.h"

namespace Kestrel {

/// The word sizes in bytes. A word's code is its place in the list, counted from 1.
inline constexpr std::uint32_t wordSizes[] = {8, 16, 32, 64};
enum WordCode : std::uint32_t { wc8 = 1, wc16, wc32, wc64 };

/// The word size of a code; 0 for a code that is none.
constexpr std::uint64_t wordBytes(std::uint32_t code) {
    return code >= 1 && code <= std::size(wordSizes) ? wordSizes[code - 1] : 0;
}

/// The code of a word size; of the first one for any that is none.
constexpr std::uint32_t wordCodeOf(std::uint32_t word) {
    for (std::uint32_t code = wc8; code <= std::size(wordSizes); ++code)
        if (wordBytes(code) == word)
            return code;
    return wc8;
}

class ArrayLPattern : public BenchmarkBasePattern {
  public:
    /// `stride` in bytes; `repeat` is the number of sweeps of one call of a repeating kernel.
    ArrayLPattern(std::uint32_t wordCode, std::uint32_t stride, std::uint32_t repeat)
        : ArrayLPattern(
              wordBytes(wordCode) == stride ? ArrayShape::contiguous : ArrayShape::strided,
              wordCode, stride, repeat) {}

    PatternStatus prepare(std::byte* buffer, const std::uint32_t& size, const WorkerResult& results,
                          PatternState& state) override;
    std::uint64_t runPass(PatternState& state) override;
    void finish(const PatternState& state, WorkerResult& results) override;
    std::uint32_t iterationsPerPass() override;

    /// The row of the kernel that its passes call; null where there is none and nothing counts.
    [[nodiscard]] const ArrayKernel* kernelRow() const { return kernel; }

  protected:
    ArrayLPattern(ArrayShape shape, std::uint32_t wordCode, std::uint32_t stride,
                  std::uint32_t repeat);

    ArrayShape shape;
    std::uint32_t wordCode;
    std::uint32_t stride;
    std::uint32_t repeat;
    const ArrayKernel* kernel;
};

/// Contiguous sweeps of three quarters of the array: two are read, one is written. Words of 8
/// bytes and other strides count nothing.
class ArrayLLSPattern : public ArrayLPattern {
  public:
    ArrayLLSPattern(std::uint32_t wordCode, std::uint32_t stride, std::uint32_t repeat)
        : ArrayLPattern(ArrayShape::lls, wordCode, stride, repeat) {}

    std::uint32_t iterationsPerPass() override;
};

/// The same three quarters in 64-byte steps, written past the caches.
class ArrayFASTMEMPattern : public BenchmarkBasePattern {
  public:
    PatternStatus prepare(std::byte* buffer, const std::uint32_t& size, const WorkerResult& results,
                          PatternState& state) override;
    std::uint64_t runPass(PatternState& state) override;
    void finish(const PatternState& state, WorkerResult& results) override;
};

}  // namespace Kestrel
