#include "machine/memory.h"

#include <algorithm>

#include "machine/reading.h"
#include "machine/text.h"
#include "tern/memory.h"

namespace machine {

namespace {

std::optional<std::uint64_t> bytesOfKib(std::string_view number) {
    const auto kib = parseNumber(number);
    return kib && *kib <= UINT64_MAX / 1024 ? std::optional(*kib * 1024) : std::nullopt;
}

std::optional<std::string> readChoice(const Sources& sources, const std::string& path) {
    const auto line = readLine(sources, path);
    return line ? chosenWord(*line) : std::nullopt;
}

}  // namespace

Meminfo readMeminfo(const Sources& sources, const std::string& path) {
    Meminfo meminfo;
    eachField(readFile(sources, path).value_or(""),
              [&](std::string_view name, std::string_view value) {
                  const auto bytes = bytesOfKib(takeUntil(value, ' '));
                  if (bytes && value == "kB")
                      meminfo.emplace(name, *bytes);
              });
    return meminfo;
}

std::optional<std::uint64_t> bytesOf(const Meminfo& meminfo, const std::string& name) {
    const auto found = meminfo.find(name);
    return found == meminfo.end() ? std::nullopt : std::optional(found->second);
}

std::vector<HugePagePool> gatherHugePages(const Sources& sources, const std::string& folder) {
    std::vector<HugePagePool> pools;
    for (const std::string& name : namesIn(sources, folder)) {
        std::string_view size = name;  // hugepages-2048kB
        const bool isPool = takeUntil(size, '-') == "hugepages" && size.ends_with("kB");
        const auto pageBytes = isPool ? bytesOfKib(size.substr(0, size.size() - 2)) : std::nullopt;
        if (!pageBytes)
            continue;
        std::string pool = folder;
        pool.append("/").append(name);
        pools.push_back({.pageBytes = *pageBytes,
                         .pages = readNumber(sources, pool + "/nr_hugepages"),
                         .freePages = readNumber(sources, pool + "/free_hugepages")});
    }
    std::ranges::sort(pools, {}, &HugePagePool::pageBytes);
    return pools;
}

Memory gatherMemory(const Sources& sources) {
    const Meminfo meminfo = readMeminfo(sources, "/proc/meminfo");
    Memory memory;
    memory.totalBytes = bytesOf(meminfo, "MemTotal");
    memory.availableBytes = bytesOf(meminfo, "MemAvailable");
    memory.swapTotalBytes = bytesOf(meminfo, "SwapTotal");
    const auto swapFree = bytesOf(meminfo, "SwapFree");
    if (memory.swapTotalBytes && swapFree && *swapFree <= *memory.swapTotalBytes)
        memory.swapUsedBytes = *memory.swapTotalBytes - *swapFree;
    if (sources.live)
        memory.pageBytes = static_cast<std::uint64_t>(tern_get_page_size());
    memory.swappiness = readNumber(sources, "/proc/sys/vm/swappiness");
    memory.transparentHugePages =
        readChoice(sources, "/sys/kernel/mm/transparent_hugepage/enabled");
    memory.transparentHugePagesDefrag =
        readChoice(sources, "/sys/kernel/mm/transparent_hugepage/defrag");
    if (const auto balancing = readNumber(sources, "/proc/sys/kernel/numa_balancing"))
        memory.numaBalancing = *balancing != 0;
    memory.hugePages = gatherHugePages(sources, "/sys/kernel/mm/hugepages");
    memory.modules = decodeSmbios(readFile(sources, "/sys/firmware/dmi/tables/DMI").value_or(""));
    return memory;
}

}  // namespace machine
