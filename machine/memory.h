/// Memory, its page sizes, and what the kernel does with them. Sizes are in bytes.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "machine/smbios.h"
#include "machine/sources.h"

namespace machine {

/// The pages of one size that are set aside.
struct HugePagePool {
    std::uint64_t pageBytes;
    std::optional<std::uint64_t> pages, freePages;
};

struct Memory {
    std::optional<std::uint64_t> totalBytes, availableBytes, pageBytes;
    std::optional<std::uint64_t> swapTotalBytes, swapUsedBytes;
    std::optional<std::uint64_t> swappiness;
    /// The kernel's words: always, madvise, never (defrag: defer and defer+madvise as well).
    std::optional<std::string> transparentHugePages, transparentHugePagesDefrag;
    std::optional<bool> numaBalancing;  ///< the kernel moves pages to where they are used
    std::vector<HugePagePool> hugePages;
    std::optional<MemoryModules> modules;  ///< told to root only
};

Memory gatherMemory(const Sources& sources);

/// The pools of a folder of the kernel's, by page size.
std::vector<HugePagePool> gatherHugePages(const Sources& sources, const std::string& folder);

/// The lines "name: number kB" of /proc/meminfo or of a node's file, in bytes by name.
using Meminfo = std::map<std::string, std::uint64_t, std::less<>>;
Meminfo readMeminfo(const Sources& sources, const std::string& path);
std::optional<std::uint64_t> bytesOf(const Meminfo& meminfo, const std::string& name);

}  // namespace machine
