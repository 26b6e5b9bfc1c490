/// The CPUs of a machine and their places.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "machine/cpuinfo.h"
#include "machine/nodes.h"
#include "machine/number_list.h"
#include "machine/sources.h"

namespace machine {

/// A CPU that is online. Ids are the kernel's, whole; a core's id is unique in its package only (in
/// its die on some machines).
struct Cpu {
    unsigned number;
    std::optional<unsigned> package, die, cluster, core, node;
    std::optional<unsigned> thread;  ///< place among the CPUs of its core: 0, 1, …
    NumberList coreCpus;             ///< the CPUs of its core, itself among them; empty: not told
    std::optional<std::uint32_t> apicId;  ///< known of the CPUs that could be visited
    std::optional<bool> allowed;          ///< this process may run on it
};

struct Topology {
    std::vector<Cpu> cpus;  ///< by number
    /// These are all that are online, as the kernel tells; else they are those that could be seen.
    bool onlineTold = false;
    std::optional<NumberList> present, offline;  ///< offline: present, but not online
    std::optional<std::size_t> packages, cores;  ///< that have a CPU online

    [[nodiscard]] const Cpu* find(unsigned cpu) const;
    [[nodiscard]] NumberList online() const;
};

/// The CPUs that the kernel lists; where /sys is missing, those that can be seen: in /proc/cpuinfo,
/// and in the affinity of this thread. Places from /sys, else from /proc/cpuinfo. `allowed` and
/// APIC ids are left to the caller.
Topology gatherTopology(const Sources& sources, const Cpuinfo& cpuinfo,
                        const std::vector<Node>& nodes);

}  // namespace machine
