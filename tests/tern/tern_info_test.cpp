// tern-info as its users see it, and its readings of what other machines tell.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>

#include "temporary.h"
#include "tools/tern-info/facts.h"
#include "tools/tern-info/system_text.h"

#ifdef HWLOC
#include <hwloc.h>
#endif

namespace {

using json = nlohmann::json;

struct run_result {
    int status;
    std::string output;
};

run_result run(const std::string& command) {
    run_result result{-1, ""};
    FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 4096> bytes;
    for (std::size_t n; (n = fread(bytes.data(), 1, bytes.size(), pipe)) > 0;)
        result.output.append(bytes.data(), n);
    result.status = WEXITSTATUS(pclose(pipe));
    return result;
}

const std::string program = TERN_INFO;
const std::string program_as_json = " " + program + " --json 2>/dev/null";

bool is_sanitized() {
#ifdef __SANITIZE_ADDRESS__
    return true;  // the sanitizer needs /proc, and more memory than an emulator has
#else
    return false;
#endif
}

TEST(TernInfo, Arguments) {
    const struct {
        std::string arguments, start;
        int status;
    } rows[] = {
        {"--help", "Usage: tern-info", 0},
        {"--jsn", "tern-info: unknown argument '--jsn', try --help\n", 255},
        {"--json x", "tern-info: unknown argument 'x', try --help\n", 255},
        {"''", "tern-info: unknown argument '', try --help\n", 255},
        {"\"$(printf 'a\\nb')\"", "tern-info: unknown argument 'a?b', try --help\n", 255},
        {">/dev/full", "tern-info: standard output: No space left on device\n", 255},
        {"", "operating system        ", 0},
    };
    for (const auto& row : rows) {
        std::string command = "{ ";
        command.append(program).append(" ").append(row.arguments).append("; } 2>&1");
        const run_result r = run(command);
        EXPECT_EQ(r.status, row.status) << row.arguments;
        EXPECT_TRUE(r.output.starts_with(row.start)) << r.output;
        if (row.status != 0) {
            EXPECT_EQ(r.output, row.start) << "one line";
        }
    }
}

TEST(TernInfo, OnIntelProcessors) {
    const std::string emulator = QEMU;
    if (emulator.empty() || is_sanitized())
        GTEST_SKIP() << "no emulator for this build";
    const json caches = {
        {{"level", 1}, {"size", 32 << 10}, {"ways", 8}, {"source", "CPUID leaf 4"}},
        {{"level", 2}, {"size", 4 << 20}, {"ways", 16}, {"source", "CPUID leaf 4"}},
        {{"level", 3}, {"size", 16 << 20}, {"ways", 16}, {"source", "CPUID leaf 4"}}};
    const std::pair<const char*, json> models[] = {
        {"Nehalem", {{"avx", false}, {"avx2", false}, {"fma", false}, {"avx512f", false}}},
        {"Haswell", {{"avx", true}, {"avx2", true}, {"fma", true}, {"avx512f", false}}},
    };
    for (const auto& [model, sets] : models) {
        const auto r = run(emulator + " -cpu " + model + program_as_json);
        ASSERT_EQ(r.status, 0);
        const json info = json::parse(r.output);
        EXPECT_EQ(info["caches"], caches);
        EXPECT_EQ(info["instruction_sets"], sets);
        EXPECT_EQ(info["processor"].get<std::string>().rfind("Intel Core ", 0), 0u);
        EXPECT_EQ(info["hypervisor"], "TCGTCGTCGTCG");
    }
}

TEST(TernInfo, WithoutProcAndSys) {
    const std::string alone =
        "unshare -rm sh -c 'mount -t tmpfs none /proc && "
        "mount -t tmpfs none /sys && exec \"$0\" \"$@\"' ";
    if (is_sanitized() || run(alone + "true 2>/dev/null").status != 0)
        GTEST_SKIP() << "no private mounts here";
    const json info = json::parse(run(alone + program_as_json).output);
    for (const char* fact : {"signature", "packages", "cores"})
        EXPECT_TRUE(info[fact].is_null()) << fact;
    EXPECT_GT(info["threads"], 0);
    EXPECT_TRUE(info["cpus"][0]["core"].is_null());
    const std::string page = run(alone + program).output;
    EXPECT_NE(page.find("cores                   unknown\n"), std::string::npos) << page;
}

TEST(TernInfo, CachesFromTheKernel) {
    const temporary_folder folder;
    const auto write = [&](const std::string& index, const std::array<const char*, 4>& texts) {
        const std::array<const char*, 4> names{"/level", "/type", "/size",
                                               "/ways_of_associativity"};
        for (std::size_t i = 0; i < names.size(); ++i)
            if (texts[i])
                (void)folder.write("cache/index" + index + names[i], texts[i]);
    };
    write("0", {"1\n", "Instruction\n", "64K\n", "4\n"});
    write("1", {"1\n", "Data\n", "48K\n", "12\n"});
    write("2", {"2\n", "Unified\n", "1M", "0\n"});
    write("4", {"3\n", "Unified\n", "99999999999999999999K\n", "70000\n"});
    write("5", {"4\n", "Unified\n", "8KB\n", nullptr});
    write("6", {"x\n", "Unified\n", "8K\n", "1\n"});
    write("7", {"5\n", "Unified\n", "18014398509481984K\n", "2\n"});
    const struct {
        std::optional<std::uint64_t> size;
        std::optional<unsigned> ways;
        const char* index;
    } levels[] = {{48 << 10, 12, "1"}, {1 << 20, {}, "2"}, {{}, {}, {}},
                  {{}, {}, {}},        {{}, 2, "7"},       {{}, {}, {}}};
    for (unsigned i = 0; i < std::size(levels); ++i) {
        const cache_fact cache = read_kernel_cache(folder.path("."), i + 1);
        EXPECT_EQ(cache.size, levels[i].size) << i + 1;
        EXPECT_EQ(cache.ways, levels[i].ways) << i + 1;
        EXPECT_EQ(cache.source, levels[i].index
                                    ? std::optional(folder.path("./cache/index") + levels[i].index)
                                    : std::nullopt);
    }
}

TEST(TernInfo, TextsAndCores) {
    EXPECT_EQ(system_title("A=1\nPRETTY_NAME=\"Some OS 1\"\nB=2"), "Some OS 1");
    EXPECT_EQ(system_title("PRETTY_NAME='x'"), "x");
    EXPECT_EQ(system_title("PRETTY_NAME=\""), "\"");
    EXPECT_EQ(system_title("Slack\x1b[31m 15\nx"), "Slack?[31m 15");
    EXPECT_EQ(system_title(""), "");
    EXPECT_EQ(count_cores({{0, 0, 0, 0}, {0, 0, 0, 1}, {0, 1, 0, 0}}), 2u);
    EXPECT_EQ(count_cores({{0, 0, 0, 0}, {0, 0, 0, 0}}), std::nullopt) << "places were not told";
    EXPECT_EQ(count_cores({}), std::nullopt);
}

#ifdef HWLOC
TEST(TernInfo, AgreesWithAnotherReadingOfThisMachine) {
    hwloc_topology_t topology;
    ASSERT_EQ(hwloc_topology_init(&topology), 0);
    hwloc_topology_set_flags(topology, HWLOC_TOPOLOGY_FLAG_INCLUDE_DISALLOWED);
    ASSERT_EQ(hwloc_topology_load(topology), 0);
    const json info = json::parse(run(program_as_json).output);
    const std::pair<const char*, hwloc_obj_type_t> counts[] = {
        {"packages", HWLOC_OBJ_PACKAGE}, {"cores", HWLOC_OBJ_CORE}, {"threads", HWLOC_OBJ_PU}};
    for (const auto& [name, type] : counts)
        EXPECT_EQ(info[name], hwloc_get_nbobjs_by_type(topology, type)) << name;
    std::size_t checked = 0;
    for (auto* o = hwloc_get_pu_obj_by_os_index(topology, 0); o; o = o->parent) {
        if (!hwloc_obj_type_is_dcache(o->type))
            continue;
        const json cache = info["caches"][o->attr->cache.depth - 1];
        EXPECT_EQ(cache["size"], o->attr->cache.size) << "level " << o->attr->cache.depth;
        EXPECT_EQ(cache["ways"], o->attr->cache.associativity);
        ++checked;
    }
    EXPECT_GT(checked, 0u);
    hwloc_topology_destroy(topology);
}
#endif

}  // namespace
