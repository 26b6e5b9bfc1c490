/// Everything that the system layer knows of this machine, gathered once for both forms of output.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "caches.h"
#include "tern/cpu_info.h"

/// One line of the page and one member of the JSON object.
struct fact {
    std::string key;
    std::string label;
    nlohmann::ordered_json value;  ///< null: unknown
    std::string text;              ///< how a person reads the value
};

struct cpu_fact {
    std::optional<tern_cpu_topology> place;
    std::optional<std::uint32_t> apic_id;
};

struct machine_facts {
    std::vector<fact> facts;
    std::vector<cache_fact> caches;
    std::vector<cpu_fact> cpus;  ///< in the order of /proc/cpuinfo
};

/// Takes a twentieth of a second, for the counter's rate.
machine_facts gather_facts();

/// The number of cores in a topology. Unknown where two CPUs have the same place: then the kernel
/// did not tell the places.
std::optional<unsigned> count_cores(const std::vector<tern_cpu_topology>& topology);
