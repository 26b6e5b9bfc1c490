/// What the public CPU operations read, with the machine's files and instructions as parameters.
#pragma once

#include <span>
#include <string_view>

#include "tern/cpu_info.h"

namespace tern {

/// The architecture that a uname machine field names.
tern_arch_t arch_of_machine(std::string_view machine);

/// Decodes a /proc/cpuinfo file into outputs that are zero. False as tern_get_cpu_info returns 0.
bool read_cpuinfo(const char* path, tern_cpu_signature& signature,
                  std::span<tern_cpu_topology> topology);

/// tern_get_package_count over another folder than /sys/devices/system/cpu.
std::uint32_t count_packages(const char* cpu_folder);

/// tern_traverse_cpus with another way to ask for the APIC id.
std::uint32_t traverse_cpus(std::uint32_t (*apic_id)(), tern_cpu_visitor visitor, void* context);

}  // namespace tern
