#include "tern/src/linux/processor/cache_leaves.h"

#include <array>

namespace tern {

std::span<const tern_cpuid_block> read_cache_leaves(cpuid_instruction cpuid,
                                                    std::span<tern_cpuid_block> room) {
    std::uint32_t count = 0;
    for (; count < room.size(); ++count) {
        room[count] = read_leaf(cpuid, 4, count);
        if ((room[count].eax & 0b1'1111) == 0)
            break;
    }
    return room.first(count);
}

std::uint8_t cache_level(const tern_cpuid_block& leaf) {
    return (leaf.eax >> 5) & 0b111;
}

std::uint64_t cache_size(const tern_cpuid_block& leaf) {
    const std::uint64_t ways = cache_ways(leaf);
    const std::uint64_t partitions = ((leaf.ebx >> 12) & 0x3FF) + 1;
    const std::uint64_t line_size = (leaf.ebx & 0xFFF) + 1;
    const std::uint64_t sets = std::uint64_t{leaf.ecx} + 1;
    return ways * partitions * line_size * sets;
}

std::uint16_t cache_ways(const tern_cpuid_block& leaf) {
    return static_cast<std::uint16_t>((leaf.ebx >> 22) + 1);
}

const tern_cpuid_block* last_level_cache(std::span<const tern_cpuid_block> leaves) {
    const tern_cpuid_block* best = nullptr;
    for (const tern_cpuid_block& leaf : leaves)
        if (!best || cache_level(leaf) >= cache_level(*best))
            best = &leaf;
    return best;
}

const tern_cpuid_block* data_cache(std::span<const tern_cpuid_block> leaves, std::uint8_t level) {
    for (const tern_cpuid_block& leaf : leaves)
        if (cache_level(leaf) == level && (leaf.eax & 1) != 0)
            return &leaf;
    return nullptr;
}

}  // namespace tern

using cache_room = std::array<tern_cpuid_block, tern::most_cache_leaves>;

void tern_get_llc_info(std::uint8_t* level, std::uint64_t* size) {
    cache_room room;
    const auto* cache = tern::last_level_cache(tern::read_cache_leaves(tern_cpuid, room));
    *level = cache ? tern::cache_level(*cache) : 0;
    *size = cache ? tern::cache_size(*cache) : 0;
}

void tern_get_cache_size(std::uint8_t level, std::uint64_t* size) {
    cache_room room;
    const auto* cache = tern::data_cache(tern::read_cache_leaves(tern_cpuid, room), level);
    *size = cache ? tern::cache_size(*cache) : 0;
}

void tern_get_cache_ways(std::uint8_t level, std::uint16_t* ways) {
    cache_room room;
    const auto* cache = tern::data_cache(tern::read_cache_leaves(tern_cpuid, room), level);
    *ways = cache ? tern::cache_ways(*cache) : 0;
}
