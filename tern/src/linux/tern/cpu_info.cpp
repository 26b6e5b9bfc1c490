#include "tern/src/linux/tern/cpu_info.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>

#include "tern/memory.h"
#include "tern/src/linux/tern/cpuinfo_decoder.h"
#include "tern/src/linux/tern/line_file.h"
#include "tern/src/linux/tern/system_cache.h"
#include "tern/src/tern/check.h"

namespace tern {

tern_arch_t arch_of_machine(std::string_view machine) {
    if (machine == "ia64")
        return tern_arch_ia64;
    if (machine == "x86_64" || machine == "x86-64" || machine == "amd64" || machine == "x86pc" ||
        (machine.size() > 1 && machine.substr(1) == "1om"))
        return tern_arch_x86_64;
    if (machine.size() > 2 && machine.front() == 'i' && machine.substr(2) == "86")
        return tern_arch_ia32;
    return tern_arch_unknown;
}

bool read_cpuinfo(const char* path, tern_cpu_signature& signature,
                  std::span<tern_cpu_topology> topology) {
    cpuinfo_decoder decoder(signature, topology);
    bool plausible = true;
    const auto take = [&](const char* line) { return plausible = decoder.take_line(line); };
    if (!for_each_line(path, take) || !plausible)
        return false;
    decoder.finish();
    return true;
}

}  // namespace tern

void tern_init_system_info() {
    tern::cached_cpu_count = static_cast<std::int32_t>(sysconf(_SC_NPROCESSORS_ONLN));
    tern::cached_page_size = sysconf(_SC_PAGESIZE);
}

std::int32_t tern_get_cpu_count() {
    const std::int32_t cached = tern::cached_cpu_count.load();
    return cached != 0 ? cached : static_cast<std::int32_t>(sysconf(_SC_NPROCESSORS_ONLN));
}

tern_arch_t tern_get_cpu_arch() {
    utsname kernel{};
    return uname(&kernel) == 0 ? tern::arch_of_machine(kernel.machine) : tern_arch_unknown;
}

int tern_get_cpu_info(tern_cpu_signature* signature, std::uint32_t* highest_address,
                      std::uint8_t* address_width, std::uint32_t* cpu_count,
                      tern_cpu_topology** cpu_topology, tern_allocator* allocator) {
    *cpu_count = static_cast<std::uint32_t>(tern_get_cpu_count());
    *cpu_topology = static_cast<tern_cpu_topology*>(
        allocator->allocate_block(allocator, *cpu_count * sizeof(tern_cpu_topology)));
    tern::check(*cpu_topology != nullptr, "*cpu_topology", "tern_get_cpu_info", tern::linux_half);
    std::fill_n(*cpu_topology, *cpu_count, tern_cpu_topology{});

    const tern_arch_t cpu_arch = tern_get_cpu_arch();
    if (cpu_arch != tern_arch_ia32)
        tern::check(cpu_arch == tern_arch_x86_64, "cpu_arch == tern_arch_x86_64",
                    "tern_get_cpu_info", tern::linux_half);
    *address_width = cpu_arch == tern_arch_ia32 ? 32 : 64;
    *highest_address = cpu_arch == tern_arch_ia32 ? 0xBFFFFFFF : 0xFFFFFFFF;

    return tern::read_cpuinfo("/proc/cpuinfo", *signature, {*cpu_topology, *cpu_count});
}
