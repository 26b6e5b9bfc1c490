/// The caches and who shares them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "machine/number_list.h"
#include "machine/sources.h"

namespace machine {

enum class CacheType { data, instruction, unified };

/// One cache of the machine.
struct Cache {
    unsigned level;
    CacheType type;
    std::optional<std::uint64_t> bytes;
    std::optional<unsigned> ways, lineBytes;
    NumberList cpus;  ///< the CPUs that share it; empty: not told, any CPU may have such a one
};

/// What CPUID leaf 4 lists last, of whatever type: the layer's tern_get_llc_info.
struct LastLevelRecord {
    unsigned level;
    std::uint64_t bytes;
};

/// Every cache that the kernel lists for these CPUs, once, by level, type and first CPU. Where it
/// lists none, those of CPUID leaf 4 as the CPU tells them that this thread runs on.
std::vector<Cache> gatherCaches(const Sources& sources, const NumberList& online);

std::optional<LastLevelRecord> gatherLastLevelRecord(const Sources& sources);

/// The data or unified cache of a level that a CPU uses; null where none is known.
const Cache* dataCache(const std::vector<Cache>& caches, unsigned cpu, unsigned level);

/// The one of the highest level.
const Cache* lastDataCache(const std::vector<Cache>& caches, unsigned cpu);

}  // namespace machine
