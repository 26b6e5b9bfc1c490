#include "tern/src/linux/tern/cpu_info.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/syscall.h>

#include "temporary.h"
#include "tern/bitset.h"
#include "tern/memory.h"
#include "tern/os_info.h"

namespace {

TEST(CpuInfo, ArchitectureOfAMachineName) {
    const std::pair<const char*, tern_arch_t> names[] = {
        {"i386", tern_arch_ia32},     {"i686", tern_arch_ia32},       {"ix86", tern_arch_ia32},
        {"x86_64", tern_arch_x86_64}, {"x86-64", tern_arch_x86_64},   {"amd64", tern_arch_x86_64},
        {"x86pc", tern_arch_x86_64},  {"l1om", tern_arch_x86_64},     {"k1om", tern_arch_x86_64},
        {"ia64", tern_arch_ia64},     {"aarch64", tern_arch_unknown}, {"i86", tern_arch_unknown},
        {"i6864", tern_arch_unknown}, {"1om", tern_arch_unknown},     {"", tern_arch_unknown},
        {"i", tern_arch_unknown},     {"xx86", tern_arch_unknown},
    };
    for (const auto& [name, arch] : names)
        EXPECT_EQ(tern::arch_of_machine(name), arch) << name;
}

TEST(CpuInfo, Packages) {
    const struct {
        std::vector<const char*> ids;
        std::uint32_t count;
    } machines[] = {
        {{}, 0},
        {{"0\n", "0\n", "1\n"}, 2},
        {{"3\n", "1023", "3\n"}, 2},
        {{"1024\n", "-1\n", "4294967296\n", "18446744073709551616\n"}, 0},
        {{"5\n", "", "\n", "x\n", "\n6\n"}, 1},
    };
    for (const auto& machine : machines) {
        const temporary_folder folder;
        const auto write = [&](std::size_t cpu, const char* id) {
            (void)folder.write("cpu" + std::to_string(cpu) + "/topology/physical_package_id", id);
        };
        for (std::size_t i = 0; i < machine.ids.size(); ++i)
            write(i, machine.ids[i]);
        write(machine.ids.size() + 1, "77");  // behind a gap: never reached
        EXPECT_EQ(tern::count_packages(folder.path().c_str()), machine.count);
    }
}

struct visits {
    std::vector<std::uint32_t> ids, ordinals, cpus;
};
int record(std::uint32_t id, std::uint32_t ordinal, void* context) {
    auto& v = *static_cast<visits*>(context);
    v.ids.push_back(id);
    v.ordinals.push_back(ordinal);
    v.cpus.push_back(static_cast<std::uint32_t>(sched_getcpu()));
    return -1;
}

TEST(CpuInfo, TraverseVisitsEachCpuOnceWhateverTheirIds) {
    cpu_set_t before, after;
    sched_getaffinity(0, sizeof before, &before);
    std::vector<std::uint32_t> allowed;
    for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(tern_get_cpu_count()); ++i)
        if (CPU_ISSET(i, &before))
            allowed.push_back(i);
    visits real, same;
    EXPECT_EQ(tern_traverse_cpus(record, &real), allowed.size());
    EXPECT_EQ(tern::traverse_cpus([] { return 5u; }, record, &same), allowed.size());
    for (const visits& v : {real, same}) {
        EXPECT_EQ(v.cpus, allowed);
        for (std::size_t i = 0; i < v.ordinals.size(); ++i)
            EXPECT_EQ(v.ordinals[i], i);
    }
    EXPECT_EQ(same.ids, std::vector<std::uint32_t>(allowed.size(), 5));
    sched_getaffinity(0, sizeof after, &after);
    EXPECT_TRUE(CPU_EQUAL(&before, &after));
}

TEST(CpuInfo, ThisMachine) {
    recording_allocator allocator;
    tern_cpu_signature signature;
    std::uint32_t highest = 0, count = 0;
    std::uint8_t width = 0;
    tern_cpu_topology* topology = nullptr;
    EXPECT_EQ(tern_get_cpu_info(&signature, &highest, &width, &count, &topology, &allocator), 1);
    const auto owner = owned(topology);
    EXPECT_EQ(count, static_cast<std::uint32_t>(tern_get_cpu_count()));
    EXPECT_EQ(allocator.block_bytes, 4 * count);
    EXPECT_GE(signature.family, 5);
    EXPECT_EQ(highest, width == 64 ? 0xFFFFFFFF : 0xBFFFFFFF);

    allocator.empty = true;
    const auto killed = testing::KilledBySignal(SIGABRT);
    const auto ask = [&] {
        tern_get_cpu_info(&signature, &highest, &width, &count, &topology, &allocator);
    };
    EXPECT_EXIT(
        ask(), killed,
        "^tern/src/linux/tern:[0-9]+ tern_get_cpu_info: Assertion '\\*cpu_topology' failed");
    allocator.empty = false;
    EXPECT_EXIT((refuse(SYS_uname), ask()), killed,
                "tern_get_cpu_info: Assertion 'cpu_arch == tern_arch_x86_64' failed");
}

TEST(CpuInfo, RefusedSystemCalls) {
    const auto done = testing::ExitedWithCode(0);
    visits none;
    for (unsigned call : {SYS_sched_getaffinity, SYS_sched_setaffinity})
        EXPECT_EXIT((refuse(call), std::_Exit(tern_traverse_cpus(record, &none))), done, "");
    EXPECT_EXIT((refuse(SYS_getcpu),
                 std::_Exit(tern::traverse_cpus([] { return 5u; }, record, &none) == 0)),
                done, "");
    EXPECT_EXIT((refuse(SYS_uname), std::_Exit(tern_get_cpu_arch())), done, "");
    std::uint16_t n[4] = {1, 2, 3, 4};
    EXPECT_EXIT(
        (refuse(SYS_uname),
         std::_Exit(tern_get_os_version(&n[0], &n[1], &n[2], &n[3]) == -1 && n[3] == 0 ? 0 : 1)),
        done, "");
    EXPECT_EXIT(
        (tern_init_system_info(),
         tern_get_cpu_count() > 0 && tern_get_page_size() == 4096 ? std::_Exit(0) : std::_Exit(1)),
        done, "");
}

TEST(Bitset, FindsAgreeWithTestingEveryBit) {
    EXPECT_EQ(tern_lowest_set_bit(0), -1);
    EXPECT_EQ(tern_lowest_set_bit(0x80000000), 31);
    EXPECT_EQ(tern_lowest_set_bit(6), 1);
    const std::vector<std::uint32_t> bitmaps[] = {
        {}, {0}, {1}, {0x80000000}, {0, 1}, {0x80000001, 0, 0x10}, {0, 0, 0}};
    for (const auto& bitmap : bitmaps) {
        const auto size = static_cast<std::uint32_t>(32 * bitmap.size());
        for (std::uint32_t start = 0; start <= size + 33; ++start) {
            std::uint32_t first = std::min(start, size);
            while (first < size && (bitmap[first / 32] >> (first % 32) & 1) == 0)
                ++first;
            EXPECT_EQ(tern_bitset_find_next(bitmap.data(), size, start), first);
            if (start == 0) {
                EXPECT_EQ(tern_bitset_find_first(bitmap.data(), size), first);
            }
        }
    }
    const std::uint32_t five_bits = 1;
    EXPECT_EQ(tern_bitset_find_next(&five_bits, 5, 1), 5u) << "no whole word";
}

}  // namespace
