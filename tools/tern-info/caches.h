/// The data or unified cache of each level, from the layer's queries, else from the kernel's
/// folders.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct cache_fact {
    unsigned level;
    std::optional<std::uint64_t> size;  ///< bytes
    std::optional<unsigned> ways;
    std::optional<std::string> source;  ///< who told
};

/// Levels 1 to 3, whether known or not, and those beyond that are known, of the CPU that the
/// calling thread runs on. `folder` is that CPU's folder under /sys/devices/system/cpu.
std::vector<cache_fact> gather_caches(const std::string& folder);

/// The kernel's description: the first data or unified cache of a level in `folder`/cache/index*.
/// A size or an associativity that is absent, zero, or no number stays unknown.
cache_fact read_kernel_cache(const std::string& folder, unsigned level);
