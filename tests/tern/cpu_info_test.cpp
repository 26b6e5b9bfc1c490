#include "tern/src/linux/tern/cpu_info.h"

#include <sched.h>
#include <sys/syscall.h>

#include "temporary.h"
#include "tern/bitset.h"
#include "tern/memory.h"

namespace {

/// The ids of the CPUs visited, each with the number of the CPU that the visitor ran on.
using visits = std::vector<std::pair<std::uint32_t, std::uint32_t>>;
int record(std::uint32_t id, std::uint32_t ordinal, void* context) {
    auto& v = *static_cast<visits*>(context);
    EXPECT_EQ(ordinal, v.size());
    v.emplace_back(id, sched_getcpu());
    return -1;
}
std::uint32_t same_id() {
    return 5;
}

TEST(CpuInfo, TraverseVisitsEachCpuOnceWhateverTheirIds) {
    cpu_set_t before, after;
    sched_getaffinity(0, sizeof before, &before);
    visits real, same, expected;
    for (int cpu = 0; cpu < tern_get_cpu_count(); ++cpu)
        if (CPU_ISSET(cpu, &before))
            expected.emplace_back(same_id(), cpu);
    EXPECT_EQ(tern_traverse_cpus(record, &real), expected.size());
    EXPECT_EQ(tern::traverse_cpus(same_id, record, &same), expected.size());
    EXPECT_EQ(same, expected);
    for (auto& [id, cpu] : real)
        id = same_id();
    EXPECT_EQ(real, expected);
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
    EXPECT_EQ(count, static_cast<std::uint32_t>(tern_get_cpu_count()));
    EXPECT_EQ(block_bytes, 4 * count);
    EXPECT_EQ(highest, width == 64 ? 0xFFFFFFFF : 0xBFFFFFFF);
    EXPECT_FALSE(tern::read_cpuinfo("/no such file", signature, {topology, count}));
    expect_report([&] { no_memory = true, ask(); }, "tern/src/linux/tern",
                  "tern_get_cpu_info: Assertion '\\*cpu_topology'");
    expect_report([&] { refuse(SYS_uname), ask(); }, "tern/src/linux/tern",
                  "tern_get_cpu_info: Assertion 'cpu_arch == tern_arch_x86_64'");
    const auto zero = testing::ExitedWithCode(0);
    visits none;
    for (unsigned call : {SYS_sched_getaffinity, SYS_sched_setaffinity})
        EXPECT_EXIT((refuse(call), std::_Exit(tern_traverse_cpus(record, &none))), zero, "");
    EXPECT_EXIT((refuse(SYS_getcpu), std::_Exit(!tern::traverse_cpus(same_id, record, &none))),
                zero, "");
    EXPECT_EXIT((tern_init_system_info(),
                 std::_Exit(tern_get_cpu_count() != sysconf(_SC_NPROCESSORS_ONLN) ||
                            tern_get_page_size() != sysconf(_SC_PAGESIZE))),
                zero, "");
}

TEST(Bitset, FindsAgreeWithTestingEveryBit) {
    EXPECT_EQ(tern_lowest_set_bit(0), -1);
    EXPECT_EQ(tern_lowest_set_bit(0x80000000), 31);
    const std::uint32_t bitmap[] = {0x80000001, 0, 0x10, 0};
    for (std::uint32_t size = 0; size <= 128; size += 32) {
        for (std::uint32_t start = 0; start <= size + 33; ++start) {
            std::uint32_t first = std::min(start, size);
            while (first < size && (bitmap[first / 32] >> (first % 32) & 1) == 0)
                ++first;
            EXPECT_EQ(tern_bitset_find_next(bitmap, size, start), first);
        }
        EXPECT_EQ(tern_bitset_find_first(bitmap, size), tern_bitset_find_next(bitmap, size, 0));
    }
    EXPECT_EQ(tern_bitset_find_next(bitmap + 2, 5, 5), 5u);
    EXPECT_EQ(tern_bitset_find_next(bitmap + 1, 5, 1), 5u) << "no whole word";
}

}  // namespace
