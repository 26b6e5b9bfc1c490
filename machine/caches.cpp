#include "machine/caches.h"

#include <algorithm>
#include <array>
#include <tuple>

#include "machine/reading.h"
#include "platform/utilkit/scaled_number.h"
#include "tern/src/linux/processor/cache_leaves.h"

namespace machine {

namespace {

std::optional<CacheType> typeNamed(const std::string& name) {
    if (name == "Data")
        return CacheType::data;
    if (name == "Instruction")
        return CacheType::instruction;
    return name == "Unified" ? std::optional(CacheType::unified) : std::nullopt;
}

/// Zero stands for "not told" in the kernel's files.
std::optional<unsigned> readCount(const Sources& sources, const std::string& path) {
    const auto count = readNumber(sources, path);
    return count && *count != 0 && *count <= INT32_MAX
               ? std::optional(static_cast<unsigned>(*count))
               : std::nullopt;
}

std::optional<std::uint64_t> readSize(const Sources& sources, const std::string& path) {
    const auto size = utilkit::parseScaled(readLine(sources, path).value_or(""));
    return size && *size != 0 ? size : std::nullopt;
}

bool isSame(const Cache& a, const Cache& b) {
    return a.level == b.level && a.type == b.type && a.cpus == b.cpus;
}

void addFromSys(const Sources& sources, unsigned cpu, std::vector<Cache>& caches) {
    const std::string cacheFolder = cpuFolder + ("/cpu" + std::to_string(cpu)) + "/cache/";
    constexpr int mostIndices = 32;  // a folder has four or five
    for (int index = 0; index < mostIndices; ++index) {
        const std::string folder = cacheFolder + "index" + std::to_string(index) + '/';
        const auto type = typeNamed(readLine(sources, folder + "type").value_or(""));
        const auto level = readCount(sources, folder + "level");
        if (!type || !level)
            continue;
        Cache cache{.level = *level,
                    .type = *type,
                    .bytes = {},
                    .ways = {},
                    .lineBytes = {},
                    .cpus = readList(sources, folder + "shared_cpu_list").value_or(NumberList())};
        // Most of a machine's folders show a cache that an earlier CPU showed already.
        if (std::ranges::any_of(caches, [&](const Cache& known) { return isSame(known, cache); }))
            continue;
        cache.bytes = readSize(sources, folder + "size");
        cache.ways = readCount(sources, folder + "ways_of_associativity");
        cache.lineBytes = readCount(sources, folder + "coherency_line_size");
        caches.push_back(cache);
    }
}

using Leaves = std::vector<tern_cpuid_block>;

Leaves readLeaves(const Sources& sources) {
    std::array<tern_cpuid_block, tern::most_cache_leaves> room;
    const auto leaves = tern::read_cache_leaves(sources.cpuid, room);
    return {leaves.begin(), leaves.end()};
}

void addFromProcessor(const Sources& sources, std::vector<Cache>& caches) {
    for (const tern_cpuid_block& leaf : readLeaves(sources)) {
        const std::uint32_t type = leaf.eax & 0b1'1111;  // 1 data, 2 instruction, 3 unified
        if (type <= 3)
            caches.push_back({.level = tern::cache_level(leaf),
                              .type = static_cast<CacheType>(type - 1),
                              .bytes = tern::cache_size(leaf),
                              .ways = tern::cache_ways(leaf),
                              .lineBytes = (leaf.ebx & 0xFFF) + 1,
                              .cpus = {}});
    }
}

bool serves(const Cache& cache, unsigned cpu) {
    return cache.type != CacheType::instruction &&
           (cache.cpus.empty() || contains(cache.cpus, cpu));
}

}  // namespace

std::vector<Cache> gatherCaches(const Sources& sources, const NumberList& online) {
    std::vector<Cache> caches;
    for (const unsigned cpu : online)
        addFromSys(sources, cpu, caches);
    if (caches.empty())
        addFromProcessor(sources, caches);
    std::ranges::stable_sort(caches, {}, [](const Cache& cache) {
        return std::tuple(cache.level, cache.type, cache.cpus.empty() ? 0 : cache.cpus.front());
    });
    return caches;
}

std::optional<LastLevelRecord> gatherLastLevelRecord(const Sources& sources) {
    const Leaves leaves = readLeaves(sources);
    const tern_cpuid_block* const last = tern::last_level_cache(leaves);
    if (!last)
        return std::nullopt;
    return LastLevelRecord{.level = tern::cache_level(*last), .bytes = tern::cache_size(*last)};
}

const Cache* dataCache(const std::vector<Cache>& caches, unsigned cpu, unsigned level) {
    const auto found = std::ranges::find_if(
        caches, [&](const Cache& cache) { return cache.level == level && serves(cache, cpu); });
    return found == caches.end() ? nullptr : &*found;
}

const Cache* lastDataCache(const std::vector<Cache>& caches, unsigned cpu) {
    const Cache* last = nullptr;
    for (const Cache& cache : caches)  // by level
        if (serves(cache, cpu))
            last = &cache;
    return last;
}

}  // namespace machine
