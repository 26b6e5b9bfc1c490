/// Sweeps over a whole array: contiguous or strided, reading, or reading and writing.
#pragma once

#include "kestrel/kernels.h"
#include "kestrel/pattern.h"

namespace Kestrel {

enum WordCode : std::uint32_t { wc8 = 1, wc16 = 2, wc32 = 3, wc64 = 4 };

/// 8, 16, 32 or 64 for the codes 1 to 4, else 0.
constexpr std::uint64_t wordBytes(std::uint32_t code) {
    return code >= wc8 && code <= wc64 ? std::uint64_t{4} << code : 0;
}

class ArrayLPattern : public BenchmarkBasePattern {
  public:
    /// `stride` in bytes; `repeat` is the number of sweeps of one call of a repeating kernel.
    ArrayLPattern(std::uint32_t wordCode, std::uint32_t stride, std::uint32_t repeat)
        : wordCode(wordCode), stride(stride), repeat(repeat) {}

    PatternStatus prepare(std::byte* buffer, const std::uint32_t& size, const WorkerResult& results,
                          PatternState& state) override;
    std::uint64_t runPass(PatternState& state) override;
    void finish(const PatternState& state, WorkerResult& results) override;
    std::uint32_t iterationsPerPass() override;

  protected:
    [[nodiscard]] bool contiguous() const { return wordBytes(wordCode) == stride; }

    /// One call of the kernel of that shape for this pattern's words; 0 where there is none.
    [[nodiscard]] std::uint64_t runKernel(ArrayShape shape, const PatternState& state) const;

    std::uint32_t wordCode;
    std::uint32_t stride;
    std::uint32_t repeat;
};

/// Contiguous sweeps of three quarters of the array: two are read, one is written. Words of 8
/// bytes and other strides count nothing.
class ArrayLLSPattern : public ArrayLPattern {
  public:
    using ArrayLPattern::ArrayLPattern;

    std::uint64_t runPass(PatternState& state) override;
    void finish(const PatternState& state, WorkerResult& results) override;
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
