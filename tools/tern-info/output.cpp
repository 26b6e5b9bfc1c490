#include "output.h"

#include <iomanip>
#include <sstream>

namespace {

using json = nlohmann::ordered_json;

template <typename Value>
json json_of(const std::optional<Value>& value) {
    return value ? json(*value) : json();
}

std::string text_of(const std::optional<unsigned>& number) {
    return number ? std::to_string(*number) : "unknown";
}

/// A size in the largest of the units that divides it, as processors are described.
std::string size_text(std::optional<std::uint64_t> size) {
    if (!size)
        return "unknown";
    const char* unit = " bytes";
    for (const char* larger : {" KiB", " MiB", " GiB"}) {
        if (*size % 1024 != 0)
            break;
        *size /= 1024;
        unit = larger;
    }
    return std::to_string(*size) + unit;
}

/// The numbers of a CPU's place, in the order of the table's columns.
std::array<std::optional<unsigned>, 4> numbers_of(const cpu_fact& cpu) {
    if (!cpu.place)
        return {std::nullopt, std::nullopt, std::nullopt, cpu.apic_id};
    return {cpu.place->package, cpu.place->core, cpu.place->thread, cpu.apic_id};
}

constexpr std::array<const char*, 4> cpu_columns{"package", "core", "thread", "apic_id"};

void add_caches(std::ostream& out, const std::vector<cache_fact>& caches) {
    out << "\ncaches (data or unified, of one CPU)\n";
    for (const cache_fact& cache : caches)
        out << "  L" << std::left << std::setw(5) << cache.level << std::right << std::setw(10)
            << size_text(cache.size) << std::setw(10)
            << (cache.ways ? std::to_string(*cache.ways) + "-way" : "unknown")
            << (cache.source ? "  from " + *cache.source : "") << '\n';
}

void add_cpus(std::ostream& out, const std::vector<cpu_fact>& cpus) {
    out << "\nCPUs (in the order of /proc/cpuinfo)\n" << std::right << std::setw(8) << "cpu";
    for (const char* column : cpu_columns)
        out << std::setw(10) << column;
    out << '\n';
    for (std::size_t i = 0; i < cpus.size(); ++i) {
        out << std::setw(8) << i;
        for (const auto& number : numbers_of(cpus[i]))
            out << std::setw(10) << text_of(number);
        out << '\n';
    }
}

}  // namespace

std::string page(const machine_facts& machine) {
    std::ostringstream out;
    for (const fact& line : machine.facts)
        out << std::left << std::setw(24) << line.label
            << (line.value.is_null() ? "unknown" : line.text) << '\n';
    add_caches(out, machine.caches);
    add_cpus(out, machine.cpus);
    return out.str();
}

std::string json_text(const machine_facts& machine) {
    json result;
    for (const fact& member : machine.facts)
        result[member.key] = member.value;
    result["caches"] = json::array();
    for (const cache_fact& cache : machine.caches)
        result["caches"].push_back({{"level", cache.level},
                                    {"size", json_of(cache.size)},
                                    {"ways", json_of(cache.ways)},
                                    {"source", json_of(cache.source)}});
    result["cpus"] = json::array();
    for (const cpu_fact& cpu : machine.cpus) {
        const auto numbers = numbers_of(cpu);
        json entry;
        for (std::size_t i = 0; i < numbers.size(); ++i)
            entry[cpu_columns[i]] = json_of(numbers[i]);
        result["cpus"].push_back(entry);
    }
    return result.dump(2) + '\n';
}
