/// A chase through a linked list.
#pragma once

#include "kestrel/pattern.h"

namespace Kestrel {

/// A node every `stride` bytes, whose first machine word holds the address of the next node. The
/// last one points one stride past itself; that address is never read.
class ListLPattern : public BenchmarkBasePattern {
  public:
    /// `stride` in bytes; at least the width of an address, or the links would overlap.
    explicit ListLPattern(std::uint32_t stride) : stride(stride) {}

    PatternStatus prepare(std::byte* buffer, const std::uint32_t& size, const WorkerResult& results,
                          PatternState& state) override;
    std::uint64_t runPass(PatternState& state) override;
    void finish(const PatternState& state, WorkerResult& results) override;

  private:
    std::uint32_t stride;
};

}  // namespace Kestrel
