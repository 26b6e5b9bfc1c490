// Every decoder over the lines "input => output" of its file in cases/; the facts over recorded
// machines.
#include <vector>

#include "read_lines.h"
#include "tern/src/linux/processor/cache_leaves.h"
#include "tern/src/linux/processor/features.h"
#include "tern/src/linux/tern/cpu_info.h"
#include "tern/src/linux/tern/os_info.h"
#include "tern/src/linux/tern/time.h"
#include "tests/machine/hwloc_reading.h"
#include "tests/machine/recorded_machine.h"

namespace {

/// The input of a case, split at bars.
using parts = std::vector<std::string>;

std::string architecture(const parts& in) {
    return std::array{"unknown", "ia32", "ia64", "x86_64"}[tern::arch_of_machine(in[0])];
}

std::string kernel_release(const parts& in) {
    std::uint16_t a = 0, b = 0, c = 0, d = 0;
    const int count = tern::decode_kernel_release(in[0], {&a, &b, &c, &d});
    return (testing::Message() << count << ": " << a << ' ' << b << ' ' << c << ' ' << d)
        .GetString();
}

std::string frequency(const parts& in) {
    const recorded_machine recorded(in[0]);
    const auto [hertz, source] =
        tern::find_cpu_frequency(recorded_cpuid, (recorded.root + "/proc/cpuinfo").c_str());
    constexpr std::array sources{"", " brand text", " cpuinfo"};
    return std::to_string(tern::reported_frequency(hertz)) +
           sources[static_cast<std::size_t>(source)];
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
    testing::Message out;
    out << (tern::read_cpuinfo(path.c_str(), s, topology) ? "accepted " : "refused ") << +s.family
        << '.' << +s.model << '.' << +s.stepping;
    for (const auto& [reserved, package, core, thread] : topology)
        out << ' ' << (reserved + package) << '.' << +core << '.' << +thread;
    return out.GetString();
}

std::string cache_leaves(const parts& in) {
    const recorded_machine recorded(in[0]);
    std::array<tern_cpuid_block, tern::most_cache_leaves> room;
    const auto leaves = tern::read_cache_leaves(recorded_cpuid, room);
    testing::Message out;
    out << leaves.size() << ';';
    for (std::uint8_t level = 1; level <= 3; ++level)
        if (const auto* c = tern::data_cache(leaves, level))
            out << " L" << +level << ' ' << tern::cache_size(*c) << '/' << tern::cache_ways(*c);
    if (const auto* c = tern::last_level_cache(leaves))
        out << "; L" << +tern::cache_level(*c) << ' ' << tern::cache_size(*c);
    return out.GetString();
}

std::string features(const parts& in) {
    tern::feature_registers r{};
    std::istringstream(in[0]) >> std::hex >> r.leaf1_ecx >> r.leaf7_ebx >> r.xcr0;
    return (testing::Message() << (tern::saves_avx_state(r) ? "state" : "")
                               << (tern::has_avx(r) ? " avx" : "")
                               << (tern::has_avx2(r) ? " avx2" : "")
                               << (tern::has_fma(r) ? " fma" : "")
                               << (tern::has_avx512f(r) ? " avx512f" : ""))
        .GetString();
}

std::string line_reader(const parts& in) {
    std::string lines;
    for (const std::string& line : read_lines(text_file(in[1]).fd, std::stoul(in[0])))
        lines += line + '/';
    return lines;
}

std::string packages(const parts& in) {
    const recorded_machine recorded(in[0]);
    const std::string folder = recorded.root + "/sys/devices/system/cpu";
    return std::to_string(tern::count_packages(folder.c_str()));
}

/// A recorded machine and a place in its facts.
std::string facts(const parts& in) {
    const auto all = everything(recorded_machine(in[0]).facts());
    const auto& value = all.at(nlohmann::ordered_json::json_pointer(in[1]));
    return value.is_string() ? value.get<std::string>() : value.dump();
}

/// A recorded machine, or this one.
std::string hwloc(const parts& in) {
    const recorded_machine recorded(in[0]);
    const auto facts = in[0].empty() ? machine::gatherFacts() : recorded.facts();
    expect_as_hwloc_reads(machine::toJson(facts), in[0].empty() ? nullptr : recorded.root.c_str());
    return "";
}

const std::map<std::string, std::string (*)(const parts&)> decoders{
    {"facts", facts},
    {"hwloc", hwloc},
    {"architecture", architecture},
    {"kernel_release", kernel_release},
    {"machines", cpuinfo},
    {"cpuinfo", cpuinfo},
    {"frequency", frequency},
    {"os_name", os_name},
    {"cache_leaves", cache_leaves},
    {"features", features},
    {"line_reader", line_reader},
    {"packages", packages}};

struct decoder_case {
    std::string decoder;
    int line;  ///< of its file
    std::string input, output;
};

void PrintTo(const decoder_case& one, std::ostream* out) {
    *out << one.input;
}

std::vector<decoder_case> read_cases() {
    std::vector<decoder_case> cases;
    for (const auto& [decoder, decode] : decoders) {
        std::ifstream file(CASES "/" + decoder + ".txt");
        int number = 0;
        for (std::string line; std::getline(file, line);) {
            const std::size_t arrow = line.find(" =>");
            ++number;
            if (!line.starts_with('#') && arrow != std::string::npos)
                cases.push_back({decoder, number, line.substr(0, arrow),
                                 line.substr(std::min(arrow + 4, line.size()))});
        }
        if (number == 0)
            throw std::runtime_error("no cases for " + decoder);
    }
    return cases;
}

class Decoder : public testing::TestWithParam<decoder_case> {};

TEST_P(Decoder, GivesWhatItsCaseSays) {
    const auto& [decoder, line, input, output] = GetParam();
    recorded_leaves.clear();
    parts in;
    std::istringstream split(input + '|');
    for (std::string part; std::getline(split, part, '|');)
        in.push_back(unescaped(part));
    EXPECT_EQ(decoders.at(decoder)(in), unescaped(output)) << input;
}
INSTANTIATE_TEST_SUITE_P(Cases, Decoder, testing::ValuesIn(read_cases()), [](const auto& test) {
    return test.param.decoder + "_line_" + std::to_string(test.param.line);
});

TEST(Decoders, LongTexts) {
    std::string cpus;  // more threads of a core than numbers, and lines longer than the buffer
    for (int i = 0; i < 300; ++i)
        cpus += "processor:0\nsiblings:300\nflags:" + std::string(9000, 'x') + "\ncore id:7\n";
    EXPECT_TRUE(cpuinfo({"300", cpus}).ends_with(" 0.7.42 0.7.43"));
    EXPECT_EQ(os_name({"5.15.0", std::string(5000, 'x'), ""}), "5.15.0 " + std::string(4095, 'x'));
}

}  // namespace
