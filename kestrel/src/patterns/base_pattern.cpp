#include "kestrel/pattern.h"
#include "tern/run_services.h"

namespace Kestrel {

PatternStatus BenchmarkBasePattern::run(std::byte* buffer, std::uint32_t size,
                                        WorkerResult& results, const RunPhase& phase) {
    PatternState state;
    const PatternStatus prepared = prepare(buffer, size, results, state);
    if (prepared != psOk)
        return prepared;
    // Release: whoever sees the worker ready also sees what it prepared (shared arrays).
    results.ready.store(1, std::memory_order_release);

    std::uint32_t seen;
    while ((seen = phase.load(std::memory_order_acquire)) == rpWait)
        tern_yield();
    const bool timed = seen == rpTimed;

    // The first pass counts whatever the phase is: in single-pass mode it is the only one.
    seen = rpMeasure;
    do {
        const std::uint64_t ticks = runPass(state);
        if (seen == rpMeasure && ticks != 0) {
            results.clocks += ticks;
            results.iterations += iterationsPerPass();
        }
        seen = phase.load(std::memory_order_acquire);
    } while (timed && seen != rpFinish);

    finish(state, results);
    return psOk;
}

void BenchmarkBasePattern::finish(const PatternState& /*state*/, WorkerResult& /*results*/) {}

std::uint32_t BenchmarkBasePattern::iterationsPerPass() {
    return 1;
}

}  // namespace Kestrel
