#include "tern/src/linux/tern/cpu_info.h"

#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <climits>
#include <cstdio>

#include "tern/memory.h"
#include "tern/processor.h"
#include "tern/run_services.h"
#include "tern/src/linux/tern/cpuinfo_decoder.h"
#include "tern/src/linux/tern/line_file.h"
#include "tern/src/linux/tern/system_cache.h"
#include "tern/src/tern/check.h"
#include "tern/src/tern/text_scan.h"
#include "tern/threads.h"

namespace {

/// The kernel's CPU set as the affinity calls take it: bit i stands for CPU i.
using cpu_set = std::bitset<1024>;
static_assert(sizeof(cpu_set) == 128);

long set_affinity(long thread, const cpu_set& cpus) {
    return syscall(SYS_sched_setaffinity, thread, sizeof cpus, &cpus);
}

/// Reads the APIC id once the thread has reached `cpu`. A changed id shows that it has; CPUs may
/// share an id, though (it has 8 bits, and a hypervisor may report one for all), so after a while
/// the kernel is asked. False if the kernel says that the thread runs elsewhere.
bool wait_for_cpu(unsigned cpu, std::uint32_t (*apic_id)(), std::uint32_t previous,
                  std::uint32_t& id) {
    constexpr int most_yields = 100;
    id = apic_id();
    for (int i = 0; id == previous && i < most_yields; ++i) {
        tern_yield();
        id = apic_id();
    }
    unsigned current = cpu;
    return id != previous || syscall(SYS_getcpu, &current, nullptr, nullptr) == -1 ||
           current == cpu;
}

}  // namespace

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

std::uint32_t count_packages(const char* cpu_folder) {
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

std::uint32_t traverse_cpus(std::uint32_t (*apic_id)(), tern_cpu_visitor visitor, void* context) {
    const std::int32_t cpu_no = tern_get_cpu_count();
    check(cpu_no < 1024, "cpu_no < 1024", "tern_traverse_cpus", linux_half);
    const long thread = tern_get_thread_id();
    cpu_set saved;
    if (syscall(SYS_sched_getaffinity, thread, sizeof saved, &saved) == -1)
        return 0;

    std::uint32_t visited = 0;
    std::uint32_t previous = UINT_MAX;
    for (std::int32_t i = 0; i < cpu_no; ++i) {
        const auto cpu = static_cast<unsigned>(i);
        std::uint32_t id;
        if (set_affinity(thread, cpu_set{}.set(cpu)) == -1 ||
            !wait_for_cpu(cpu, apic_id, previous, id))
            continue;
        visitor(id, visited++, context);
        previous = id;
    }
    return set_affinity(thread, saved) == -1 ? 0 : visited;
}

}  // namespace tern

void tern_init_system_info() {
    // A count that the system cannot tell is not kept: 0 means that none is.
    tern::cached_cpu_count = static_cast<std::int32_t>(std::max(0L, sysconf(_SC_NPROCESSORS_ONLN)));
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
    const std::int32_t online = tern_get_cpu_count();
    *cpu_count = static_cast<std::uint32_t>(std::max(0, online));
    *cpu_topology = nullptr;
    if (online < 0)
        return 0;
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

std::uint32_t tern_traverse_cpus(tern_cpu_visitor visitor, void* context) {
    return tern::traverse_cpus(tern_get_apic_id, visitor, context);
}

std::uint32_t tern_get_package_count() {
    return tern::count_packages("/sys/devices/system/cpu");
}
