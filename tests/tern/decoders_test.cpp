// Every decoder over the lines "input => output" of its file in cases/.
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include "temporary.h"
#include "tern/src/linux/processor/cache_leaves.h"
#include "tern/src/linux/processor/features.h"
#include "tern/src/linux/tern/cpu_info.h"
#include "tern/src/linux/tern/os_info.h"
#include "tern/src/linux/tern/time.h"
#include "tools/tern-info/caches.h"

namespace {

struct {
    std::uint32_t highest_leaf = 0x16, highest_extended = 0;
    std::vector<tern_cpuid_block> caches;  ///< leaf 4; the last repeats
    std::string brand, hypervisor;         ///< 48 and 12 bytes; no hypervisor: empty
} replayed;

/// CPUID as `replayed` answers it; a leaf too high gets what the highest may hold.
void replay(const tern_cpuid_block* in, tern_cpuid_block* out) {
    const std::uint32_t leaf = in->eax, subleaf = in->ecx;
    *out = {};
    if (leaf == 0 || leaf == 0x80000000)
        out->eax = leaf == 0 ? replayed.highest_leaf : replayed.highest_extended;
    else if (leaf == 1)
        out->ecx = replayed.hypervisor.empty() ? 0 : 1u << 31;
    else if (leaf < 0x40000000)
        *out = replayed.caches.at(std::min<std::size_t>(subleaf, replayed.caches.size() - 1));
    else if (leaf == 0x40000000)
        replayed.hypervisor.copy(reinterpret_cast<char*>(out) + 4, 12);
    else
        replayed.brand.copy(reinterpret_cast<char*>(out), 16, std::size_t{leaf - 0x80000002} * 16);
}

/// The input of a case, split at bars.
using parts = std::vector<std::string>;

template <typename... Values>
std::string text(const Values&... values) {
    std::ostringstream out;
    (out << ... << values);
    return out.str();
}

std::string architecture(const parts& in) {
    return std::array{"unknown", "ia32", "ia64", "x86_64"}[tern::arch_of_machine(in[0])];
}

std::string kernel_release(const parts& in) {
    std::uint16_t a = 0, b = 0, c = 0, d = 0;
    const int count = tern::decode_kernel_release(in[0], {&a, &b, &c, &d});
    return text(count, ": ", a, ' ', b, ' ', c, ' ', d);
}

std::string frequency(const parts& in) {
    replayed.highest_extended = in[0].empty() ? 0x80000003 : 0x80000008;
    replayed.brand = in[0] + std::string(48, '\0');
    const auto found = tern::find_cpu_frequency(replay, text_file(in[1]).path.c_str());
    return text(tern::reported_frequency(found.hertz));
}

std::string hypervisor(const parts& in) {
    replayed.hypervisor = in[0];
    return owned(tern::make_hypervisor_name(replay, text_file(in[1]).path.c_str(), &watched)).get();
}

std::string os_name(const parts& in) {
    const text_file a(in[1]), b(in[2]);
    const std::array files{"/no", "/", a.path.c_str(), b.path.c_str()};
    const char* release = in[0].empty() ? nullptr : in[0].c_str();
    return owned(tern::make_os_name(release, files, &watched)).get();
}

/// The number of CPUs and the file's text, or the name of a recording instead.
std::string cpuinfo(const parts& in) {
    tern_cpu_signature s{};
    std::vector<tern_cpu_topology> topology(std::stoul(in[0]));
    const text_file file(in[1]);
    const std::string path = in.size() > 2 ? CASES "/machines/" + in[2] : file.path;
    std::ostringstream out;
    out << (tern::read_cpuinfo(path.c_str(), s, topology) ? "accepted " : "refused ") << +s.family
        << '.' << +s.model << '.' << +s.stepping;
    for (const auto& [reserved, package, core, thread] : topology)
        out << ' ' << (reserved + package) << '.' << +core << '.' << +thread;
    return out.str();
}

std::string cache_leaves(const parts& in) {
    replayed.caches.clear();
    std::istringstream registers(in[0]);
    registers >> std::hex >> replayed.highest_leaf;
    for (tern_cpuid_block leaf{}; registers >> leaf.eax >> leaf.ebx >> leaf.ecx;)
        replayed.caches.push_back(leaf);
    std::array<tern_cpuid_block, tern::most_cache_leaves> room;
    const auto leaves = tern::read_cache_leaves(replay, room);
    std::ostringstream out;
    out << leaves.size() << ';';
    for (std::uint8_t level = 1; level <= 3; ++level)
        if (const auto* c = tern::data_cache(leaves, level))
            out << " L" << +level << ' ' << tern::cache_size(*c) << '/' << tern::cache_ways(*c);
    if (const auto* last = tern::last_level_cache(leaves))
        out << "; L" << +tern::cache_level(*last) << ' ' << tern::cache_size(*last);
    return out.str();
}

std::string features(const parts& in) {
    tern::feature_registers r{};
    std::istringstream(in[0]) >> std::hex >> r.leaf1_ecx >> r.leaf7_ebx >> r.xcr0;
    return text(tern::saves_avx_state(r) ? "state" : "", tern::has_avx(r) ? " avx" : "",
                tern::has_avx2(r) ? " avx2" : "", tern::has_fma(r) ? " fma" : "",
                tern::has_avx512f(r) ? " avx512f" : "");
}

std::string packages(const parts& in) {
    return text(tern::count_packages((CASES "/packages/" + in[0]).c_str()));
}

std::string kernel_cache(const parts& in) {
    const auto [level, size, ways, source] = read_kernel_cache(CASES, std::stoul(in[0]));
    const std::string path = source.value_or(CASES "/none");
    return text(size.value_or(0), ' ', ways.value_or(0), path.substr(sizeof CASES - 1));
}

/// The parts of a text, with their escapes \n \r \t \0 resolved.
parts split(const std::string& line) {
    const std::map<char, char> escapes{{'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'0', '\0'}};
    parts result(1);
    for (std::size_t i = 0; i < line.size(); ++i)
        if (line[i] == '|')
            result.emplace_back();
        else
            result.back() += line[i] == '\\' ? escapes.at(line[++i]) : line[i];
    return result;
}

TEST(Decoders, GiveWhatTheirCasesSay) {
    const std::map<std::string, std::string (*)(const parts&)> decoders{
        {"architecture", architecture}, {"kernel_release", kernel_release},
        {"machines", cpuinfo},          {"cpuinfo", cpuinfo},
        {"frequency", frequency},       {"hypervisor", hypervisor},
        {"os_name", os_name},           {"cache_leaves", cache_leaves},
        {"features", features},         {"packages", packages},
        {"kernel_cache", kernel_cache}};
    for (const auto& [name, decode] : decoders) {
        std::ifstream file(CASES "/" + name + ".txt");
        ASSERT_TRUE(file) << name;
        for (std::string line; std::getline(file, line);) {
            const std::size_t arrow = line.find(" =>");
            if (line.starts_with('#') || arrow == std::string::npos)
                continue;
            const std::string output = line.substr(std::min(arrow + 4, line.size()));
            EXPECT_EQ(decode(split(line.substr(0, arrow))), split(output)[0]) << line;
        }
    }
}

TEST(Decoders, LongTexts) {
    std::string cpus;  // more threads of a core than numbers, and lines longer than the buffer
    for (int i = 0; i < 300; ++i)
        cpus += "processor:0\nsiblings:300\nflags:" + std::string(9000, 'x') + "\ncore id:7\n";
    EXPECT_TRUE(cpuinfo({"300", cpus}).ends_with(" 0.7.42 0.7.43"));
    EXPECT_EQ(os_name({"5.15.0", std::string(5000, 'x'), ""}), "5.15.0 " + std::string(4095, 'x'));
}

}  // namespace
