/// The cache list of CPUID leaf 4 (deterministic cache parameters), decoded from its subleaves.
#pragma once

#include <span>

#include "tern/src/linux/processor/cpuid_leaf.h"

namespace tern {

/// Reads into `room` the subleaves up to the one that ends the list (EAX bits 4..0 zero) and
/// returns those before it. Room for more than any processor has: a list without an end, as a
/// hypervisor may forge it, is cut there.
std::span<const tern_cpuid_block> read_cache_leaves(cpuid_instruction cpuid,
                                                    std::span<tern_cpuid_block> room);
inline constexpr std::size_t most_cache_leaves = 32;

std::uint8_t cache_level(const tern_cpuid_block& leaf);  ///< EAX bits 7..5
std::uint64_t cache_size(const tern_cpuid_block& leaf);  ///< ways, partitions, line size, sets
std::uint16_t cache_ways(const tern_cpuid_block& leaf);  ///< EBX bits 31..22, plus 1

/// The last entry of the highest level; null for an empty list.
const tern_cpuid_block* last_level_cache(std::span<const tern_cpuid_block> leaves);

/// The first data or unified cache (EAX bit 0) of a level; null if there is none.
const tern_cpuid_block* data_cache(std::span<const tern_cpuid_block> leaves, std::uint8_t level);

}  // namespace tern
