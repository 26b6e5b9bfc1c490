// What is decoded from CPUID, over recorded processors.
#include <gtest/gtest.h>

#include <cstring>

#include "temporary.h"
#include "tern/src/linux/processor/brand_text.h"
#include "tern/src/linux/processor/cache_leaves.h"
#include "tern/src/linux/processor/features.h"
#include "tern/src/linux/tern/os_info.h"
#include "tern/src/linux/tern/time.h"

namespace {

struct processor {
    std::uint32_t highest_leaf = 0x16;
    std::vector<tern_cpuid_block> caches{};
    std::uint32_t highest_extended = 0x80000008;
    std::string brand{};
    std::string hypervisor{};  ///< empty: none announced
};
processor machine;

/// CPUID as `machine` answers it; a basic leaf too high gets what some highest leaf may hold.
void replay(const tern_cpuid_block* in, tern_cpuid_block* out) {
    const std::uint32_t leaf = in->eax, subleaf = in->ecx;
    *out = {};
    if (leaf == 0)
        out->eax = machine.highest_leaf;
    else if (leaf < 0x40000000 && leaf > machine.highest_leaf)
        *out = {.eax = 0x121, .ebx = 0xFFFFFFFF, .ecx = 0xFFFFFFFF, .edx = 0};
    else if (leaf == 1)
        out->ecx = machine.hypervisor.empty() ? 0 : 1u << 31;
    else if (leaf == 4 && !machine.caches.empty())
        *out = machine.caches[std::min<std::size_t>(subleaf, machine.caches.size() - 1)];
    else if (leaf == 0x40000000)
        machine.hypervisor.copy(reinterpret_cast<char*>(&out->ebx), 4),
            std::memcpy(&out->ecx, machine.hypervisor.data() + 4, 4),
            std::memcpy(&out->edx, machine.hypervisor.data() + 8, 4);
    else if (leaf == 0x80000000)
        out->eax = machine.highest_extended;
    else if (leaf >= 0x80000002 && leaf <= 0x80000004 &&
             machine.brand.size() > (leaf & 7) * 16 - 32)
        machine.brand.copy(reinterpret_cast<char*>(out), 16, (leaf & 7) * 16 - 32);
}

constexpr tern_cpuid_block list_end{};

TEST(CacheLeaves, RecordedProcessors) {
    const tern_cpuid_block l1d_32k{0x1C004121, 0x01C0003F, 0x3F, 0};
    const tern_cpuid_block l1i_32k{0x1C004122, 0x01C0003F, 0x3F, 0};
    const struct {
        const char* what;
        std::uint64_t highest_leaf;
        std::vector<tern_cpuid_block> leaves;
        std::size_t count;
        std::array<std::uint64_t, 4> sizes;  ///< of levels 0 to 3
        std::array<unsigned, 4> ways;
        std::uint64_t last_level;
        std::uint64_t last_size;
    } lists[] = {
        {"server, last level shared and not inclusive",
         0x16,
         {l1d_32k,
          l1i_32k,
          {0x1C004143, 0x03C0003F, 0x3FF, 0},
          {0x1C03C163, 0x0280003F, 0x6FFF, 4},
          list_end},
         4,
         {0, 32 << 10, 1 << 20, 20'185'088},
         {0, 8, 16, 11},
         3,
         20'185'088},
        {"laptop, instruction cache listed first",
         0x20,
         {l1i_32k,
          {0x7C004121, 0x02C0003F, 0x3F, 0},
          {0xFC01C143, 0x0240003F, 0x7FF, 0},
          {0x7C0FC163, 0x02C0003F, 0x7FFF, 4},
          list_end},
         4,
         {0, 48 << 10, 1'310'720, 24 << 20},
         {0, 12, 10, 12},
         3,
         24 << 20},
        {"the last of the highest level counts, of whatever type",
         4,
         {l1d_32k, l1i_32k, {0x122, 0x0000003F, 0, 0}, list_end},
         3,
         {0, 32 << 10, 0, 0},
         {0, 8, 0, 0},
         1,
         64},
        {"line partitions and the largest fields",
         4,
         {{0x161, 0xFFFFFFFF, 0x3FF, 0}, list_end},
         1,
         {0, 0, 0, std::uint64_t{1} << 42},
         {0, 0, 0, 1024},
         3,
         std::uint64_t{1} << 42},
        {"empty, as on AMD's processors", 0x10, {list_end}, 0, {}, {}, 0, 0},
        {"a processor without the leaf", 2, {l1d_32k}, 0, {}, {}, 0, 0},
        {"a list without an end",
         4,
         {l1d_32k},
         tern::most_cache_leaves,
         {0, 32 << 10, 0, 0},
         {0, 8, 0, 0},
         1,
         32 << 10},
    };
    for (const auto& list : lists) {
        machine = {.highest_leaf = static_cast<std::uint32_t>(list.highest_leaf),
                   .caches = list.leaves};
        std::array<tern_cpuid_block, tern::most_cache_leaves> room;
        const auto leaves = tern::read_cache_leaves(replay, room);
        EXPECT_EQ(leaves.size(), list.count) << list.what;
        for (std::uint8_t level = 0; level < 4; ++level) {
            const auto* cache = tern::data_cache(leaves, level);
            EXPECT_EQ(cache ? tern::cache_size(*cache) : 0, list.sizes[level]) << list.what;
            EXPECT_EQ(cache ? tern::cache_ways(*cache) : 0, list.ways[level]) << list.what;
        }
        const auto* last = tern::last_level_cache(leaves);
        EXPECT_EQ(last ? tern::cache_level(*last) : 0, list.last_level) << list.what;
        EXPECT_EQ(last ? tern::cache_size(*last) : 0, list.last_size) << list.what;
    }
}

TEST(Features, NeedTheProcessorAndTheOperatingSystem) {
    constexpr std::uint32_t all1 = 1u << 12 | 1u << 27 | 1u << 28, all7 = 1u << 5 | 1u << 16;
    const struct {
        tern::feature_registers registers;
        const char* expected;  ///< state avx avx2 fma avx512f
    } rows[] = {
        {{all1, all7, 0xE7}, "11111"},
        {{all1, all7, 0x07}, "11110"},
        {{all1, all7, 0xE5}, "00000"},
        {{all1, all7, 0xE3}, "00000"},
        {{all1, all7, 0x67}, "11110"},
        {{all1 & ~(1u << 27), all7, 0xE7}, "10000"},
        {{all1 & ~(1u << 28), all7, 0xE7}, "10001"},
        {{all1 & ~(1u << 12), all7, 0xE7}, "11101"},
        {{all1, 1u << 16, 0xE7}, "11011"},
        {{all1, 1u << 5, 0xE7}, "11110"},
        {{0, 0, 0}, "00000"},
    };
    for (const auto& [r, expected] : rows) {
        std::string actual;
        for (bool has : {tern::saves_avx_state(r), tern::has_avx(r), tern::has_avx2(r),
                         tern::has_fma(r), tern::has_avx512f(r)})
            actual += has ? '1' : '0';
        EXPECT_EQ(actual, expected)
            << std::hex << r.leaf1_ecx << ' ' << r.leaf7_ebx << ' ' << r.xcr0;
    }
}

TEST(CpuFrequency, FromTheBrandTextElseFromCpuinfo) {
    const temporary_folder folder;
    const std::string cpuinfo = folder.write("cpuinfo", "cpu MHz : 1234\n");
    constexpr std::uint64_t fallback = 1'234'000'000;
    const struct {
        const char* brand;
        std::uint64_t hertz;
    } rows[] = {
        {"Intel(R) Xeon(R) CPU E5-2680 0 @ 2.70GHz", 2'700'000'000},
        {"Intel(R) Pentium(R) M processor 800.00MHz", 800'000'000},
        {"Genuine CPU @ 3.5GHz", 3'050'000'000},
        {"CPU @ 1.00GHz", 1'000'000'001},
        {"CPU @ 5.00THz", 5},
        {"CPU @ 2.70", fallback},
        {"CPU @ 3GHz", fallback},
        {"CPU @ 0.00GHz", fallback},
        {"CPU 2.70GHz ", fallback},
        {"2.70GHz", fallback},
        {"AMD EPYC 72F3 8-Core Processor", fallback},
        {"the forty-eight bytes of a text without an end.z", fallback},
        {"", fallback},
    };
    for (const auto& row : rows) {
        machine = {.brand = row.brand};
        EXPECT_EQ(tern::find_cpu_frequency(replay, cpuinfo.c_str()), row.hertz) << row.brand;
    }
    machine = {.highest_extended = 0x80000003, .brand = "CPU @ 2.70GHz"};
    EXPECT_EQ(tern::find_cpu_frequency(replay, cpuinfo.c_str()), fallback);
    const std::string one = folder.write("one", "cpu MHz : 1000.0\n");
    EXPECT_EQ(tern::find_cpu_frequency(replay, one.c_str()), 1'000'000'001u);
    EXPECT_EQ(tern::find_cpu_frequency(replay, folder.path("absent").c_str()), 0u);
    char text[48] = "untouched";
    EXPECT_FALSE(tern::read_brand_text(replay, text));
    EXPECT_STREQ(text, "untouched");
}

TEST(Hypervisor, ByCpuidThenByTheKernelThenNone) {
    const temporary_folder folder;
    recording_allocator allocator;
    const struct {
        const char* cpuid;
        std::string path;
        const char* name;
    } rows[] = {
        {"Microsoft Hv", folder.write("xen", "xen\n"), "Microsoft Hv"},
        {"KVMKVMKVM\0\0\0", folder.path("absent"), "KVMKVMKVM"},
        {"", folder.path("xen"), "xen"},
        {"", folder.write("long", "a name longer than that\n"), "a name longe"},
        {"", folder.write("empty", ""), "None"},
        {"", folder.path(), "None"},
        {"", folder.path("absent"), "None"},
    };
    for (const auto& row : rows) {
        machine = {.hypervisor = *row.cpuid ? std::string(row.cpuid, 12) : ""};
        const auto name = owned(tern::make_hypervisor_name(replay, row.path.c_str(), &allocator));
        EXPECT_STREQ(name.get(), row.name);
        EXPECT_EQ(allocator.block_bytes, 13u);
    }
    allocator.empty = true;
    EXPECT_EQ(tern_get_hypervisor_name(&allocator), nullptr);
}

}  // namespace
