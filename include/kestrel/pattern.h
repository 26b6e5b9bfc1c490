/// The interface of an access pattern and the one run loop that all patterns share.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestrel/run_phase.h"
#include "kestrel/worker_result.h"

namespace Kestrel {

enum PatternStatus : std::uint32_t {
    psOk = 1,
    psInvalidArray = 2,       ///< no buffer, no size, or too small for one step, block or node
    psInvalidParameters = 3,  ///< the pattern's own parameters are unusable
};

class IPattern {
  public:
    /// Prepares `buffer` (`size` bytes), raises `results.ready`, waits for a phase other than
    /// rpWait and makes passes until rpFinish, or a single one when the first phase seen is not
    /// rpTimed. Returns at once, with `ready` still 0, when the preparation fails. Called by many
    /// workers at once on one pattern, which does not change while they run.
    virtual PatternStatus run(std::byte* buffer, std::uint32_t size, WorkerResult& results,
                              const RunPhase& phase) = 0;
    virtual ~IPattern() = default;
};

/// What `prepare` finds out for one run; it lives on the worker's stack. Each pattern fills just
/// the fields that its own steps read.
struct PatternState {
    std::byte* begin;           ///< first byte that a pass works on
    std::byte* end;             ///< one past the last byte of the array
    std::uint32_t count;        ///< stride steps, 64-byte blocks or list nodes
    std::uint64_t wordSize;     ///< bytes per word
    std::uint64_t workerIndex;  ///< the worker's position in the CPU list
};

/// The course of a run. A pattern class supplies the steps.
class BenchmarkBasePattern : public IPattern {
  public:
    PatternStatus run(std::byte* buffer, std::uint32_t size, WorkerResult& results,
                      const RunPhase& phase) final;

    /// Checks the parameters, fills the array where a pass needs something in it, fills `state`.
    virtual PatternStatus prepare(std::byte* buffer, const std::uint32_t& size,
                                  const WorkerResult& results, PatternState& state) = 0;
    /// Calls one kernel once; returns its ticks, or 0 when nothing was done.
    virtual std::uint64_t runPass(PatternState& state) = 0;
    /// Turns the counted iterations into `results.bytes`.
    virtual void finish(const PatternState& state, WorkerResult& results);
    /// Iterations that one counted pass stands for.
    virtual std::uint32_t iterationsPerPass();
};

}  // namespace Kestrel
