/// What only the CPU itself can tell: found by visiting each.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "caches.h"

struct visit_facts {
    /// APIC id of each CPU; unknown where this process may not run on all of them.
    std::vector<std::optional<std::uint32_t>> apic_ids;
    /// Rate of the time-stamp counter against the layer's time, in hertz.
    std::optional<double> counter_hertz;
    /// Those of the first CPU visited.
    std::vector<cache_fact> caches;
};

/// Visits the CPUs; takes a twentieth of a second.
visit_facts visit_cpus(std::uint32_t cpu_count);
