/// /proc/cpuinfo with its numbers whole. The layer's records hold 8 bits of each and count the
/// entries; here an entry keeps the CPU number that the kernel gives it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "machine/sources.h"

namespace machine {

struct Cpuinfo {
    struct Entry {
        unsigned cpu;
        /// Told only together with the number of siblings: without it equal places mean nothing.
        std::optional<unsigned> package, core;
    };
    std::vector<Entry> entries;  ///< by CPU number

    /// Of the first entry.
    std::optional<std::string> vendor, name, microcode;
    std::optional<unsigned> family, model, stepping;

    [[nodiscard]] const Entry* find(unsigned cpu) const;
};

Cpuinfo readCpuinfo(const Sources& sources);

}  // namespace machine
