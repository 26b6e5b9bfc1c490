#include "caches.h"

#include <charconv>
#include <fstream>

#include "tern/processor.h"

namespace {

std::string first_line(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

/// A positive number with an optional K, M or G of 1024, 1024² or 1024³, as the kernel writes
/// sizes.
std::optional<std::uint64_t> parse_size(const std::string& text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || number == 0)
        return std::nullopt;
    const std::string unit(rest, end);
    const std::string units = "KMG";
    if (unit.empty())
        return number;
    if (unit.size() != 1 || units.find(unit) == std::string::npos)
        return std::nullopt;
    const std::uint64_t factor = std::uint64_t{1} << (10 * (units.find(unit) + 1));
    return number > UINT64_MAX / factor ? std::nullopt : std::optional(number * factor);
}

std::optional<unsigned> parse_count(const std::string& text) {
    const auto number = parse_size(text);
    return number && *number <= UINT16_MAX ? std::optional(static_cast<unsigned>(*number))
                                           : std::nullopt;
}

cache_fact ask_processor(unsigned level) {
    std::uint64_t size = 0;
    std::uint16_t ways = 0;
    tern_get_cache_size(static_cast<std::uint8_t>(level), &size);
    tern_get_cache_ways(static_cast<std::uint8_t>(level), &ways);
    cache_fact cache{.level = level, .size = {}, .ways = {}, .source = {}};
    if (size != 0 && ways != 0) {
        cache.size = size;
        cache.ways = ways;
        cache.source = "CPUID leaf 4";
    }
    return cache;
}

}  // namespace

cache_fact read_kernel_cache(const std::string& folder, unsigned level) {
    constexpr int most_indices = 32;  // a folder has four or five
    for (int index = 0; index < most_indices; ++index) {
        const std::string cache_folder = folder + "/cache/index" + std::to_string(index);
        const std::string type = first_line(cache_folder + "/type");
        if ((type != "Data" && type != "Unified") ||
            parse_count(first_line(cache_folder + "/level")) != level)
            continue;
        cache_fact cache{.level = level,
                         .size = parse_size(first_line(cache_folder + "/size")),
                         .ways = parse_count(first_line(cache_folder + "/ways_of_associativity")),
                         .source = {}};
        if (cache.size || cache.ways)
            cache.source = cache_folder;
        return cache;
    }
    return {.level = level, .size = {}, .ways = {}, .source = {}};
}

std::vector<cache_fact> gather_caches(const std::string& folder) {
    constexpr unsigned usual_levels = 3, most_levels = 7;  // leaf 4 has three bits for a level
    std::vector<cache_fact> caches;
    for (unsigned level = 1; level <= most_levels; ++level) {
        cache_fact cache = ask_processor(level);
        if (!cache.size)
            cache = read_kernel_cache(folder, level);
        if (level <= usual_levels || cache.source)
            caches.push_back(cache);
    }
    return caches;
}
