/// What of the machine this process may use.
#pragma once

#include <optional>

#include "machine/number_list.h"
#include "machine/sources.h"

namespace machine {

/// How much CPU time the control groups allow.
struct CpuQuota {
    /// That of so many CPUs: 0.5 is half of one CPU's. Nothing: no limit is set, as far as this
    /// process can see (a container may hide the limits of the groups around it).
    std::optional<double> cpus;
};

struct Limits {
    std::optional<NumberList> cpus;   ///< by affinity and cpuset
    std::optional<NumberList> nodes;  ///< by cpuset
    std::optional<CpuQuota> quota;
};

/// `cpus` and `nodes` may name some that are not online: a cpuset does.
Limits gatherLimits(const Sources& sources);

}  // namespace machine
