#include "survey/compare/fact_differences.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <string_view>

#include "survey/statistics.h"

namespace survey {
namespace {

using Values = std::map<std::string, std::vector<Json>>;  // of each fact, none twice

/// Of the core's clock beside the samples.
constexpr std::string_view clockName = "samples.clock_hz";

/// What differs between two sessions of one host that nobody changed.
constexpr std::array<std::string_view, 6> fleeting{"boot_id",         "host_name",
                                                   "free_bytes",      "available_bytes",
                                                   "swap_used_bytes", "counter_frequency_hz"};

/// What people look for first, in this order.
constexpr std::array<std::string_view, 12> foremost{"processor.name",
                                                    clockName,
                                                    "processor.microcode",
                                                    "system.kernel_release",
                                                    "system.kernel_parameters",
                                                    "power.governors",
                                                    "power.boost",
                                                    "memory.transparent_huge_pages",
                                                    "memory.huge_pages",
                                                    "memory.transfers_per_s",
                                                    "program.commit",
                                                    "program.compiler"};

bool isListOfObjects(const Json& value) {
    return value.is_array() && !value.empty() &&
           std::ranges::all_of(value, [](const Json& element) { return element.is_object(); });
}

void add(Values& values, const std::string& name, const Json& value) {
    if (value.is_object()) {
        for (const auto& [member, inner] : value.items())
            if (std::ranges::find(fleeting, member) == fleeting.end())
                add(values, name.empty() ? member : std::string(name).append(".").append(member),
                    inner);
    } else if (isListOfObjects(value)) {
        for (std::size_t i = 0; i < value.size(); ++i)
            add(values, std::string(name).append("[" + std::to_string(i) + "]"), value[i]);
    } else if (auto& known = values[name]; std::ranges::find(known, value) == known.end()) {
        known.push_back(value);
    }
}

Values valuesOf(const Survey& survey) {
    Values values;
    for (const Session& session : survey.sessions) {
        // A clock that is read off the moment is none.
        Json facts = session.facts;
        if (facts.is_object() && facts.contains("processor")) {
            Json& processor = facts["processor"];
            if (processor.is_object() &&
                processor.value("nominal_frequency_source", Json()) == "present_clock")
                processor.erase("nominal_frequency_hz");
        }
        add(values, "", facts);
        add(values, "program",
            {{"version", session.program.version},
             {"commit", session.program.commit},
             {"compiler", session.program.compiler},
             {"width", session.program.width}});
    }
    return values;
}

Json oneOrAll(const Values& values, const std::string& name) {
    const auto found = values.find(name);
    if (found == values.end())
        return {};
    return found->second.size() == 1 ? found->second.front() : Json(found->second);
}

/// The median, to 10 MHz; null where no sample knows it.
Json clockOf(const Survey& survey) {
    std::vector<double> clocks;
    for (const Session& session : survey.sessions)
        for (const Point& point : session.points)
            for (const Detail& detail : point.details)
                if (detail.clockHz)
                    clocks.push_back(*detail.clockHz);
    constexpr double step = 1e7;
    return clocks.empty() ? Json()
                          : Json(std::llround(median(std::move(clocks)) / step) * 10'000'000);
}

/// It wanders by itself; so much shows in figures.
bool clockDiffers(const Json& before, const Json& after) {
    constexpr double share = 0.015;
    return before.is_number() && after.is_number() &&
           std::abs(after.get<double>() / before.get<double>() - 1) > share;
}

std::size_t rankOf(const FactDifference& it) {
    const auto* const found = std::ranges::find_if(
        foremost, [&](std::string_view name) { return it.name.starts_with(name); });
    return static_cast<std::size_t>(found - foremost.begin());
}

}  // namespace

std::vector<FactDifference> factDifferences(const Survey& before, const Survey& after) {
    const Values old = valuesOf(before), fresh = valuesOf(after);
    std::vector<FactDifference> differences;
    Values names = old;
    names.insert(fresh.begin(), fresh.end());
    for (const auto& [name, ignored] : names) {
        FactDifference it{
            .name = name, .before = oneOrAll(old, name), .after = oneOrAll(fresh, name)};
        if (it.before != it.after)
            differences.push_back(std::move(it));
    }
    if (const Json a = clockOf(before), b = clockOf(after); clockDiffers(a, b))
        differences.push_back({.name = std::string(clockName), .before = a, .after = b});
    std::ranges::stable_sort(differences, {}, rankOf);
    return differences;
}

}  // namespace survey
