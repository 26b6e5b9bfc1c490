// What the layer tells of this machine, and what it does when memory or the kernel refuse.
#include <sys/syscall.h>

#include "temporary.h"
#include "tern/memory.h"
#include "tern/os_info.h"
#include "tern/src/linux/tern/cpu_info.h"
#include "tern/src/linux/tern/system_cache.h"

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

/// For the process of a death test.
bool count_cpus_as(int count) {
    tern::cached_cpu_count = count;
    return true;
}

TEST(Traverse, VisitsEachCpuOnceWhateverTheirIds) {
    cpu_set_t before, after;
    std::memset(&before, 0xFF, sizeof before);  // all that the cpuset leaves
    sched_setaffinity(0, sizeof before, &before);
    sched_getaffinity(0, sizeof before, &before);
    numbers real, same, expected;
    for (int cpu = 0; cpu < tern_get_cpu_count(); ++cpu)
        if (CPU_ISSET(cpu, &before))
            expected.push_back(cpu);
    EXPECT_EQ(tern_traverse_cpus(record, &real), expected.size());
    EXPECT_EQ(tern::traverse_cpus(same_id, record, &same), expected.size());
    EXPECT_EQ(real, expected);
    EXPECT_EQ(same, expected);
    sched_getaffinity(0, sizeof after, &after);
    EXPECT_TRUE(CPU_EQUAL(&before, &after));
}

TEST(Traverse, RefusedCallsAndImpossibleCounts) {
    numbers cpus;
    const auto traverse = [&] { return tern::traverse_cpus(same_id, record, &cpus); };
    expect_in_child([&] { return refuse(SYS_sched_getaffinity) && traverse() == 0; });
    expect_in_child([&] { return refuse(SYS_sched_setaffinity) && traverse() == 0; });
    expect_in_child([&] { return refuse(SYS_getcpu) && traverse() > 0; });
    expect_in_child([&] { return count_cpus_as(-1) && traverse() == 0; });
    expect_report([&] { return count_cpus_as(1024) && traverse(); }, "tern_traverse_cpus",
                  "cpu_no < 1024");
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
    EXPECT_EQ(asked_bytes, 4 * static_cast<std::uint32_t>(tern_get_cpu_count()));
    EXPECT_EQ(highest, width == 64 ? 0xFFFFFFFF : 0xBFFFFFFF);
    EXPECT_FALSE(tern::read_cpuinfo("/no such file", signature, {topology, count}));
    expect_in_child([&] { return count_cpus_as(-1) && !ask() && !count && !topology; });
    expect_report([&] { return lose_memory() && ask(); }, "tern_get_cpu_info", "\\*cpu_topology");
    expect_report([&] { return refuse(SYS_uname) && ask(); }, "tern_get_cpu_info",
                  "cpu_arch == tern_arch_x86_64");
}

TEST(System, NameVersionAndFilledCaches) {
    expect_report([] { return lose_memory() && tern_get_os_name(&watched); }, "tern_get_os_name",
                  "release");
    std::uint16_t n[4] = {1, 2, 3, 4};
    const auto version = [&] { return tern_get_os_version(n, n + 1, n + 2, n + 3); };
    EXPECT_GE(version(), 2);
    expect_in_child([&] { return refuse(SYS_uname) && version() == -1 && n[0] + n[3] == 0; });
    EXPECT_EQ(tern_get_page_size(), getpagesize());
    expect_in_child([] {
        tern_init_system_info();
        return tern::cached_cpu_count == sysconf(_SC_NPROCESSORS_ONLN) &&
               tern_get_page_size() == getpagesize();
    });
}

}  // namespace
