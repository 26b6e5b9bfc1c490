/// Operations on a slot for each worker in one array that all of them share.
#pragma once

#include "kestrel/pattern.h"

namespace Kestrel {

/// Every worker adds to its own slot.
class ShareLMSPattern : public BenchmarkBasePattern {
  public:
    /// `stride` is the distance of the workers' slots in bytes; 0 puts all of them on one.
    ShareLMSPattern(std::uint32_t stride, std::uint32_t opsPerPass)
        : stride(stride), opsPerPass(opsPerPass) {}

    PatternStatus prepare(std::byte* buffer, const std::uint32_t& size, const WorkerResult& results,
                          PatternState& state) override;
    std::uint64_t runPass(PatternState& state) override;
    std::uint32_t iterationsPerPass() override { return opsPerPass; }

  private:
    std::uint32_t stride;
    std::uint32_t opsPerPass;
};

/// Worker 0 adds to its slot; the others only load theirs.
class ShareLMSLPattern : public BenchmarkBasePattern {
  public:
    ShareLMSLPattern(std::uint32_t stride, std::uint32_t opsPerPass)
        : stride(stride), opsPerPass(opsPerPass) {}

    PatternStatus prepare(std::byte* buffer, const std::uint32_t& size, const WorkerResult& results,
                          PatternState& state) override;
    std::uint64_t runPass(PatternState& state) override;
    std::uint32_t iterationsPerPass() override { return opsPerPass; }

  private:
    std::uint32_t stride;
    std::uint32_t opsPerPass;
};

}  // namespace Kestrel
