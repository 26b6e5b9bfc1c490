#include "tern/src/linux/tern/cpuinfo_decoder.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "tern/src/tern/text_scan.h"

namespace tern {

/// The number of a "name : number" line.
static std::optional<std::int32_t> number_of(std::string_view line, std::string_view name) {
    auto value = value_of(line, name);
    return value ? take_i32(*value) : std::nullopt;
}

bool cpuinfo_decoder::take_line(std::string_view line) {
    if (number_of(line, "processor")) {
        ++processors_;
        return true;
    }
    if (processors_ == 0 || processors_ > topology_.size())
        return false;

    tern_cpu_topology& cpu = topology_[processors_ - 1];
    const std::array<std::pair<std::string_view, std::uint8_t*>, 5> bytes{{
        {"physical id", &cpu.package},
        {"core id", &cpu.core},
        {"cpu family", &signature_.family},
        {"model", &signature_.model},
        {"stepping", &signature_.stepping},
    }};
    for (const auto& [name, byte] : bytes) {
        if (const auto number = number_of(line, name)) {
            *byte = static_cast<std::uint8_t>(*number);
            return true;
        }
    }
    if (const auto number = number_of(line, "siblings"))
        siblings_ = *number;
    return true;
}

void cpuinfo_decoder::finish() {
    if (siblings_ != 0)
        number_threads(topology_);
    compact_packages(topology_);
}

void number_threads(std::span<tern_cpu_topology> topology) {
    for (std::size_t i = 0; i < topology.size(); ++i) {
        const auto earlier = topology.first(i);
        topology[i].thread = static_cast<std::uint8_t>(
            std::ranges::count_if(earlier, [cpu = topology[i]](const tern_cpu_topology& other) {
                return other.package == cpu.package && other.core == cpu.core;
            }));
    }
}

void compact_packages(std::span<tern_cpu_topology> topology) {
    std::array<bool, 256> present{};
    for (const tern_cpu_topology& cpu : topology)
        present[cpu.package] = true;
    if (std::ranges::count(present, true) < 2)
        return;
    std::array<std::uint8_t, 256> number{};
    std::uint8_t next = 0;
    for (std::size_t id = 0; id < present.size(); ++id)
        if (present[id])
            number[id] = next++;
    for (tern_cpu_topology& cpu : topology)
        cpu.package = number[cpu.package];
}

bool cpuinfo_line_frequency(std::string_view line, std::uint64_t& hertz) {
    auto value = value_of(line, "cpu MHz");
    if (!value)
        return false;
    skip_blanks(*value);
    if (value->starts_with('+') && !value->starts_with("+-"))
        value->remove_prefix(1);
    float megahertz = 0;
    const auto [end, error] =
        std::from_chars(value->data(), value->data() + value->size(), megahertz);
    if (error == std::errc::invalid_argument)
        return false;
    const float product = megahertz * 1e6F;
    hertz = product > 0 && product < 0x1p64F ? static_cast<std::uint64_t>(product) : 0;
    return true;
}

}  // namespace tern
