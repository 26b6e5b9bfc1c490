/// A chase through a list in random order.
#pragma once

#include "kestrel/pattern.h"

namespace Kestrel {

/// A node every `stride` bytes, as in the plain list, but linked in one random cycle, the same for
/// every run: no prefetcher can follow it, so each load takes what the memory takes to answer.
///
/// A pass walks about 131,072 links: a short cycle in whole rounds, a long one piece by piece,
/// where the next pass goes on with the next piece. A node's first machine word holds the address
/// of the next node; where a piece begins, the second one holds the address where the next piece
/// does.
class RandomListPattern : public BenchmarkBasePattern {
  public:
    /// `stride` in bytes; at least two machine words.
    explicit RandomListPattern(std::uint32_t stride) : stride(stride) {}

    PatternStatus prepare(std::byte* buffer, const std::uint32_t& size, const WorkerResult& results,
                          PatternState& state) override;
    std::uint64_t runPass(PatternState& state) override;
    void finish(const PatternState& state, WorkerResult& results) override;

  private:
    std::uint32_t stride;
};

}  // namespace Kestrel
