#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <bitset>
#include <climits>

#include "tern/processor.h"
#include "tern/run_services.h"
#include "tern/src/linux/tern/cpu_info.h"
#include "tern/src/tern/check.h"
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

std::uint32_t tern::traverse_cpus(std::uint32_t (*apic_id)(), tern_cpu_visitor visitor,
                                  void* context) {
    cpu_set saved;
    const std::int32_t cpu_no = tern_get_cpu_count();
    check(cpu_no < 1024, "cpu_no < 1024", "tern_traverse_cpus", linux_half);
    const long thread = tern_get_thread_id();
    if (syscall(SYS_sched_getaffinity, thread, sizeof saved, &saved) == -1)
        return 0;

    std::uint32_t visited = 0;
    std::uint32_t previous = UINT_MAX;
    for (unsigned cpu = 0; cpu < static_cast<unsigned>(cpu_no); ++cpu) {
        std::uint32_t id;
        if (set_affinity(thread, cpu_set{}.set(cpu)) == -1 ||
            !wait_for_cpu(cpu, apic_id, previous, id))
            continue;
        visitor(id, visited++, context);
        previous = id;
    }
    return set_affinity(thread, saved) == -1 ? 0 : visited;
}

std::uint32_t tern_traverse_cpus(tern_cpu_visitor visitor, void* context) {
    return tern::traverse_cpus(tern_get_apic_id, visitor, context);
}
