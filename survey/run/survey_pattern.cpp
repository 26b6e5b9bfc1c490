#include "survey/run/survey_pattern.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "patterns/array_patterns.h"

namespace survey {
namespace {

using Kestrel::ArrayUse;

/// Bytes that no core moves in less than 20 microseconds.
constexpr std::uint64_t longPassBytes = 20'000'000;
/// Additions or loads, and loops of 16 or 128 arithmetic instructions, that take as long.
constexpr std::uint32_t longPassAccesses = 100'000, longPassLoops = 20'000;

/// The calling worker has not made a pass yet. A worker's thread runs one pattern once.
thread_local bool fresh = true;

/// What the pattern takes for its size: the array's, or how much a pass does.
std::uint32_t amountOf(const Parameters& parameters) {
    switch (rowOf(parameters).arrayUse) {
        case ArrayUse::slots:
            return longPassAccesses;
        case ArrayUse::none:
            return longPassLoops;
        default:
            return static_cast<std::uint32_t>(parameters.sizeBytes.value_or(0));
    }
}

}  // namespace

WarmedPattern::WarmedPattern(std::unique_ptr<Kestrel::IPattern> pattern)
    : owned(std::move(pattern)), steps(dynamic_cast<Kestrel::BenchmarkBasePattern&>(*owned)) {}

Kestrel::PatternStatus WarmedPattern::prepare(std::byte* buffer, const std::uint32_t& size,
                                              const Kestrel::WorkerResult& results,
                                              Kestrel::PatternState& state) {
    fresh = true;
    return steps.prepare(buffer, size, results, state);
}

std::uint64_t WarmedPattern::runPass(Kestrel::PatternState& state) {
    const std::uint64_t ticks = steps.runPass(state);
    if (ticks == 0)
        nothingDone.store(true, std::memory_order_relaxed);
    return std::exchange(fresh, false) ? 0 : ticks;
}

void WarmedPattern::finish(const Kestrel::PatternState& state, Kestrel::WorkerResult& results) {
    steps.finish(state, results);
}

std::unique_ptr<WarmedPattern> makePattern(const Parameters& parameters) {
    const std::uint64_t size = std::max<std::uint64_t>(parameters.sizeBytes.value_or(0), 1);
    const std::uint64_t repeat = (longPassBytes + size - 1) / size;
    return std::make_unique<WarmedPattern>(
        rowOf(parameters)
            .build(
                {.wordCode =
                     Kestrel::wordCodeOf(parameters.wordBytes.value_or(Kestrel::wordSizes[0])),
                 .stride = parameters.strideBytes.value_or(0),
                 .repeat = static_cast<std::uint32_t>(std::min<std::uint64_t>(repeat, UINT32_MAX)),
                 .size = amountOf(parameters)}));
}

std::uint32_t arraySizeOf(const Parameters& parameters) {
    switch (rowOf(parameters).arrayUse) {
        case ArrayUse::slots: {
            const std::uint64_t slot =
                std::max<std::uint64_t>(parameters.strideBytes.value_or(0), sizeof(std::uintptr_t));
            return static_cast<std::uint32_t>(
                std::min<std::uint64_t>(slot * parameters.cpus.size(), UINT32_MAX));
        }
        case ArrayUse::none:
            return 1;
        default:
            return static_cast<std::uint32_t>(parameters.sizeBytes.value_or(0));
    }
}

}  // namespace survey
