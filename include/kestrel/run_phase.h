/// The one word by which the driver starts, measures and stops all workers.
#pragma once

#include <atomic>
#include <cstdint>

namespace Kestrel {

enum RunPhaseValue : std::uint32_t {
    rpWait = 0,         ///< do not start yet
    rpTimed = 1,        ///< run passes until rpFinish; measure nothing yet
    rpSinglePass = 2,   ///< run exactly one pass, measured
    rpMeasure = 3,      ///< passes that begin now are measured
    rpStopMeasure = 4,  ///< passes that begin now are not measured
    rpFinish = 5,       ///< end after the current pass
};

/// Written only by the driver, with release stores; read by every pattern with atomic loads. It
/// outlives all workers.
using RunPhase = std::atomic<std::uint32_t>;

inline void atomicStore(std::atomic<std::uint32_t>* word, std::uint32_t value,
                        std::memory_order order) {
    word->store(value, order);
}

}  // namespace Kestrel
