#include <array>
#include <bitset>
#include <cstdio>

#include "tern/src/linux/tern/cpu_info.h"
#include "tern/src/linux/tern/line_file.h"
#include "tern/src/tern/text_scan.h"

std::uint32_t tern::count_packages(const char* cpu_folder) {
    std::bitset<1024> ids;
    std::array<char, 4096> path;
    for (int cpu = 0;; ++cpu) {
        std::snprintf(path.data(), path.size(), "%s/cpu%d/topology/physical_package_id", cpu_folder,
                      cpu);
        const auto closed = for_each_line(path.data(), [&](std::string_view line) {
            const auto id = take_u32(line);
            if (id && *id < ids.size())
                ids.set(*id);
            return false;  // only the first line counts
        });
        if (!closed)
            return static_cast<std::uint32_t>(ids.count());
    }
}

std::uint32_t tern_get_package_count() {
    return tern::count_packages("/sys/devices/system/cpu");
}
