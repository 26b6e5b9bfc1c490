/// What of the machine this process may use.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "machine/number_list.h"
#include "machine/sources.h"

namespace machine {

/// How much CPU time the control groups allow.
struct CpuQuota {
    /// That of so many CPUs: 0.5 is half of one CPU's. Nothing: no limit is set, as far as this
    /// process can see (a container may hide the limits of the groups around it).
    std::optional<double> cpus;
};

/// How much memory they allow.
struct MemoryLimit {
    std::optional<std::uint64_t> bytes;  ///< nothing: as for CPU time
};

struct Limits {
    std::optional<NumberList> cpus;   ///< by affinity and cpuset
    std::optional<NumberList> nodes;  ///< by cpuset
    std::optional<CpuQuota> quota;
    std::optional<MemoryLimit> memory;
};

/// The folders of the control groups that may limit this process's CPU time, from its own to the
/// root of what it sees; empty where none are seen.
std::vector<std::string> cpuGroupFolders(const Sources& sources);

/// `cpus` and `nodes` may name some that are not online: a cpuset does.
Limits gatherLimits(const Sources& sources);

}  // namespace machine
