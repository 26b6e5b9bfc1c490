#include "survey/evidence.h"

#include <algorithm>
#include <array>

namespace survey {
namespace {

using Speaks = EvidenceKind::Speaks;

constexpr auto kinds = std::to_array<EvidenceKind>({
    {"run_queue_wait_share", "run queue", "other work ran on its CPU and it waited", Speaks::above,
     0.01, 0.02},
    {"steal_share", "steal", "the hypervisor gave its CPU to others", Speaks::above, 0.005, 0.02},
    {"throttled_share", "quota", "its control group's CPU quota ran out", Speaks::above, 0, 0.02},
    {"heat_throttles", "heat", "the processor lowered its clock because of heat", Speaks::above, 0,
     0},
    {"pages_elsewhere_share", "", "part of the pages on other nodes than asked for", Speaks::never,
     0, 0},
    {"page_faults", "page faults", "pages came into memory while it measured", Speaks::above, 0, 0},
    {"additions_per_cycle", "core shared",
     "another thread, perhaps another virtual machine's, ran on its core", Speaks::belowBest, 0.97,
     0},
    {"clock_hz", "clock", "counted in core cycles the samples differ far less: its clock changed",
     Speaks::together, 0, 0},
    {"clock_change_share", "clock change", "the core's clock was another before than after",
     Speaks::above, 0.015, 0},
    {"sibling_busy_share", "sibling busy", "another CPU of its core was busy", Speaks::above, 0.2,
     0},
    {"machine_busy_cpus", "machine busy", "other CPUs of this system were busy", Speaks::above, 0.3,
     0},
    {"cache_edge", "page placement",
     "at the edge of a cache's capacity it matters where the pages happen to lie", Speaks::above, 0,
     0},
    {"memory_pressure_share", "memory pressure", "memory was short", Speaks::above, 0.01, 0},
    {"cpu_pressure_share", "CPU pressure", "work waited for CPUs", Speaks::above, 0.1, 0},
    {"involuntary_switches", "switches", "it was interrupted by other work", Speaks::above, 10, 0},
    {"load_average", "", "tasks that wanted to run in the last minute", Speaks::never, 0, 0},
    {"huge_pages_share", "", "part of the memory in huge pages", Speaks::never, 0, 0},
});

std::optional<double> valueOf(const EvidenceKind& kind, const Evidence& evidence) {
    const auto found = evidence.find(kind.key);
    return found != evidence.end() ? std::optional(found->second) : std::nullopt;
}

bool passes(const EvidenceKind& kind, double limit, const Evidence& evidence,
            const EvidenceBest& best) {
    const auto value = valueOf(kind, evidence);
    if (!value)
        return false;
    if (kind.speaks == Speaks::above)
        return *value > limit;
    const auto reference = best.find(kind.key);
    return kind.speaks == Speaks::belowBest && reference != best.end() &&
           *value < limit * reference->second;
}

}  // namespace

std::span<const EvidenceKind> evidenceKinds() {
    return kinds;
}

bool speaks(const EvidenceKind& kind, const Evidence& evidence, const EvidenceBest& best) {
    return passes(kind, kind.limit, evidence, best);
}

bool isSevere(const EvidenceKind& kind, const Evidence& evidence, const EvidenceBest& best) {
    return kind.severe != 0 && passes(kind, kind.severe, evidence, best);
}

}  // namespace survey
