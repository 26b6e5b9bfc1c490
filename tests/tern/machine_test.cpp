// What the layer tells of this machine, and what it does when memory or the kernel refuse.
#include <sys/syscall.h>

#include "temporary.h"
#include "tern/memory.h"
#include "tern/os_info.h"
#include "tern/src/linux/tern/cpu_info.h"

namespace {

using numbers = std::vector<int>;

/// Notes the CPU that the visitor runs on.
int record(std::uint32_t /*id*/, std::uint32_t ordinal, void* context) {
    auto& cpus = *static_cast<numbers*>(context);
    EXPECT_EQ(ordinal, cpus.size());
    cpus.push_back(sched_getcpu());
    return -1;
}
const auto same_id = [] { return 5u; };

TEST(Traverse, VisitsEachCpuOnceWhateverTheirIds) {
    cpu_set_t before, after;
    sched_getaffinity(0, sizeof before, &before);
    numbers real, same, expected;
    for (int cpu = 0; cpu < tern_get_cpu_count(); ++cpu)
        if (CPU_ISSET(cpu, &before))
            expected.push_back(cpu);
    EXPECT_EQ(tern_traverse_cpus(record, &real), expected.size());
    EXPECT_EQ(tern::traverse_cpus(same_id, record, &same), expected.size());
    EXPECT_TRUE(real == expected && same == expected);
    sched_getaffinity(0, sizeof after, &after);
    EXPECT_TRUE(CPU_EQUAL(&before, &after));
}

TEST(CpuInfo, ThisMachineAndItsFaults) {
    tern_cpu_signature signature;
    std::uint32_t highest = 0, count = 0;
    std::uint8_t width = 0;
    tern_cpu_topology* topology = nullptr;
    const auto ask = [&] {
        return tern_get_cpu_info(&signature, &highest, &width, &count, &topology, &watched);
    };
    EXPECT_EQ(ask(), 1);
    const auto owner = owned(topology);
    EXPECT_EQ(block_bytes, 4 * static_cast<std::uint32_t>(tern_get_cpu_count()));
    EXPECT_EQ(highest, width == 64 ? 0xFFFFFFFF : 0xBFFFFFFF);
    EXPECT_FALSE(tern::read_cpuinfo("/no such file", signature, {topology, count}));
    expect_report([&] { no_memory = true, ask(); }, "tern_get_cpu_info", "\\*cpu_topology");
    expect_report([&] { refuse(SYS_uname), ask(); }, "tern_get_cpu_info",
                  "cpu_arch == tern_arch_x86_64");
}

TEST(Machine, RefusedCallsAndFilledCaches) {
    expect_report([] { no_memory = true, tern_get_os_name(&watched); }, "tern_get_os_name",
                  "release");
    numbers none;
    std::uint16_t n[4] = {1, 2, 3, 4};
    const auto holds = [](bool truth) { std::_Exit(truth ? 0 : 1); };
    const auto yes = testing::ExitedWithCode(0);
    for (unsigned call : {SYS_sched_getaffinity, SYS_sched_setaffinity})
        EXPECT_EXIT((refuse(call), holds(tern_traverse_cpus(record, &none) == 0)), yes, "");
    EXPECT_EXIT((refuse(SYS_getcpu), holds(tern::traverse_cpus(same_id, record, &none))), yes, "");
    EXPECT_GE(tern_get_os_version(n, n + 1, n + 2, n + 3), 2);
    EXPECT_EXIT((refuse(SYS_uname),
                 holds(tern_get_os_version(n, n + 1, n + 2, n + 3) == -1 && n[0] + n[3] == 0)),
                yes, "");
    EXPECT_EXIT(
        (tern_init_system_info(), holds(tern_get_cpu_count() == sysconf(_SC_NPROCESSORS_ONLN) &&
                                        tern_get_page_size() == getpagesize())),
        yes, "");
}

}  // namespace
