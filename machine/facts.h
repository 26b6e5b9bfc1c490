/// What is known of a machine, all of it, for whoever wants to understand a figure measured there.
/// What the machine does not tell is absent, never guessed. CPU and node numbers are the kernel's.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "machine/caches.h"
#include "machine/limits.h"
#include "machine/memory.h"
#include "machine/nodes.h"
#include "machine/power.h"
#include "machine/processor.h"
#include "machine/sources.h"
#include "machine/system.h"
#include "machine/topology.h"

namespace machine {

struct Facts {
    System system;
    Processor processor;
    Topology topology;
    std::vector<Cache> caches;
    std::optional<LastLevelRecord> lastLevelRecord;
    std::vector<Node> nodes;
    Memory memory;
    Power power;
    Limits limits;
};

/// Takes a twentieth of a second on this machine, for the counter's rate, and moves the calling
/// thread to each CPU that it may run on, and back.
Facts gatherFacts(const Sources& sources = thisMachine());

/// The size in bytes of the last data or unified cache that a CPU uses; where nobody lists its
/// caches, that of the processor's last-level record.
std::optional<std::uint64_t> lastLevelBytes(const Facts& facts, unsigned cpu);

/// The CPUs that share that cache; empty: not told.
NumberList lastLevelSharers(const Facts& facts, unsigned cpu);

/// The nearest thing that two CPUs share.
enum class PairClass { sameCore, sameCache, samePackage, otherPackage };

/// Nothing where one is not online or the machine does not tell enough.
std::optional<PairClass> pairClass(const Facts& facts, unsigned a, unsigned b);

/// The node whose memory is a CPU's own.
std::optional<unsigned> nodeOf(const Facts& facts, unsigned cpu);

}  // namespace machine
