/// kestrel's patterns as a survey repeats them.
#pragma once

#include <atomic>
#include <memory>

#include "kestrel/pattern.h"
#include "survey/point.h"

namespace survey {

/// A pattern of kestrel whose first pass on each worker does not count: it finds the caches as the
/// preparation left them, and there are only few passes in a short sample.
class WarmedPattern : public Kestrel::BenchmarkBasePattern {
  public:
    explicit WarmedPattern(std::unique_ptr<Kestrel::IPattern> pattern);

    Kestrel::PatternStatus prepare(std::byte* buffer, const std::uint32_t& size,
                                   const Kestrel::WorkerResult& results,
                                   Kestrel::PatternState& state) override;
    std::uint64_t runPass(Kestrel::PatternState& state) override;
    void finish(const Kestrel::PatternState& state, Kestrel::WorkerResult& results) override;
    std::uint32_t iterationsPerPass() override { return steps.iterationsPerPass(); }

    /// A pass of one of the workers did nothing: kestrel has no kernel for these parameters, or the
    /// processor lacks its instructions. What was never run says nothing.
    [[nodiscard]] bool didNothing() const { return nothingDone.load(std::memory_order_relaxed); }

    /// kestrel's own.
    [[nodiscard]] const Kestrel::BenchmarkBasePattern& inner() const { return steps; }

  private:
    std::unique_ptr<Kestrel::IPattern> owned;
    Kestrel::BenchmarkBasePattern& steps;
    std::atomic<bool> nothingDone = false;
};

/// The pattern for these parameters. Where a kernel can repeat its work within a pass, it does so
/// often enough that no pass is shorter than some 20 microseconds, at any size.
std::unique_ptr<WarmedPattern> makePattern(const Parameters& parameters);

/// Bytes to ask for each array of these parameters, or for the one that all share.
std::uint32_t arraySizeOf(const Parameters& parameters);

}  // namespace survey
