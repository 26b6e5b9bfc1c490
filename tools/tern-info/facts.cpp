#include "facts.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iomanip>
#include <memory>
#include <set>
#include <sstream>
#include <tuple>

#include "system_text.h"
#include "tern/environment.h"
#include "tern/memory.h"
#include "tern/os_info.h"
#include "tern/processor.h"
#include "tern/time.h"
#include "visit.h"

namespace {

using json = nlohmann::ordered_json;

/// Where the layer's texts and tables come from here; a lack of memory ends the program.
void* allocate(tern_allocator* /*self*/, std::size_t bytes) {
    void* memory = std::calloc(std::max<std::size_t>(bytes, 1), 1);
    if (!memory)
        std::abort();
    return memory;
}
tern_allocator allocator{
    .release = [](tern_allocator* /*self*/, void* memory) { std::free(memory); },
    .allocate_text = [](tern_allocator* self,
                        std::size_t bytes) { return static_cast<char*>(allocate(self, bytes)); },
    .allocate_block = allocate};

struct releaser {
    void operator()(void* memory) const { allocator.release(&allocator, memory); }
};

/// Takes a text over from the layer.
std::string take_text(char* text) {
    const std::unique_ptr<char, releaser> owner(text);
    return text;
}

/// A fact whose value reads the same for people and programs; an empty text is unknown.
fact text_fact(std::string key, std::string label, const std::string& text) {
    return {std::move(key), std::move(label), text.empty() ? json() : json(text), text};
}

/// A fact with a number of which 0 means that nobody told.
fact number_fact(std::string key, std::string label, std::uint64_t number,
                 const std::string& unit = "") {
    return {std::move(key), std::move(label), number == 0 ? json() : json(number),
            std::to_string(number) + unit};
}

fact frequency_fact(std::string key, std::string label, std::uint64_t hertz) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << static_cast<double>(hertz) / 1e6 << " MHz";
    return {std::move(key), std::move(label), hertz == 0 ? json() : json(hertz), text.str()};
}

void add_system(std::vector<fact>& facts) {
    std::array<std::uint16_t, 4> version{};
    auto& [major, minor, patch, build] = version;
    const int count = tern_get_os_version(&major, &minor, &patch, &build);

    // Where the kernel did not tell its release, the name begins with the distribution's.
    std::string name = take_text(tern_get_os_name(&allocator));
    if (count < 0)
        name.insert(0, " ");
    const std::size_t release_end = std::min(name.find(' '), name.size());
    const std::string after_release = name.substr(std::min(release_end + 1, name.size()));
    facts.push_back(text_fact("operating_system", "operating system", system_title(after_release)));
    facts.push_back(
        text_fact("kernel_release", "kernel release", printable(name.substr(0, release_end))));

    fact kernel{"kernel_version", "kernel version", nullptr, ""};
    for (std::size_t i = 0; std::cmp_less(i, count); ++i) {
        kernel.value.push_back(version[i]);
        kernel.text += (i == 0 ? "" : i == 3 ? "-" : ".") + std::to_string(version[i]);
    }
    facts.push_back(kernel);
    facts.push_back(text_fact("hypervisor", "hypervisor",
                              printable(take_text(tern_get_hypervisor_name(&allocator)))));
    const std::string host = take_text(tern_get_host_name(&allocator));
    facts.push_back(text_fact("host_name", "host name", printable(host)));
    facts.push_back(number_fact("page_size", "page size",
                                static_cast<std::uint64_t>(tern_get_page_size()), " bytes"));
}

void add_processor(std::vector<fact>& facts) {
    std::array<char, 49> brand{};
    tern_cpuid_brand_string(brand.data());
    std::string name = brand.data();
    name.erase(0, name.find_first_not_of(' '));  // some texts are padded on the left
    facts.push_back(text_fact("processor", "processor", printable(name)));

    std::uint64_t hertz = 0;
    tern_get_cpu_frequency(&hertz);
    facts.push_back(frequency_fact("nominal_frequency_hz", "nominal frequency", hertz));
    // A brand text that tells no frequency leaves only the clock of the moment.
    facts.back().text +=
        name.ends_with("Hz") ? "  from the brand text" : "  from /proc/cpuinfo, the present clock";
}

void add_instruction_sets(std::vector<fact>& facts) {
    const std::array<std::pair<const char*, bool>, 4> sets{{
        {"avx", tern_cpu_has_avx()},
        {"avx2", tern_cpu_has_avx2()},
        {"fma", tern_cpu_has_fma()},
        {"avx512f", tern_cpu_has_avx512f()},
    }};
    fact present{"instruction_sets", "instruction sets", {}, ""};
    for (const auto& [name, is_present] : sets) {
        present.value[name] = is_present;
        if (is_present)
            present.text += (present.text.empty() ? "" : " ") + std::string(name);
    }
    if (present.text.empty())
        present.text = "none of avx, avx2, fma, avx512f";
    facts.push_back(present);
    facts.push_back(number_fact("performance_monitoring_version", "performance monitoring",
                                tern_get_perfmon_info() & 0xFF, " (version)"));
}

const char* arch_name(tern_arch_t arch) {
    constexpr std::array<const char*, 4> names{"", "ia32", "ia64", "x86_64"};
    return names[arch];
}

/// What tern_get_cpu_info tells. An empty topology: it could not.
struct cpu_info {
    tern_cpu_signature signature;
    std::uint8_t address_width;
    std::uint32_t highest_address;
    std::vector<tern_cpu_topology> topology;
};

cpu_info read_cpu_info(tern_arch_t arch) {
    cpu_info info{};
    if (arch != tern_arch_ia32 && arch != tern_arch_x86_64)
        return info;
    std::uint32_t count = 0;
    tern_cpu_topology* topology = nullptr;
    const int known = tern_get_cpu_info(&info.signature, &info.highest_address, &info.address_width,
                                        &count, &topology, &allocator);
    const std::unique_ptr<tern_cpu_topology, releaser> owner(topology);
    if (known)
        info.topology.assign(topology, topology + count);
    return info;
}

void add_topology(std::vector<fact>& facts, const cpu_info& info) {
    const auto& [family, model, stepping] = info.signature;
    fact signature{"signature", "signature", nullptr, ""};
    if (family != 0) {
        signature.value = {{"family", family}, {"model", model}, {"stepping", stepping}};
        signature.text = "family " + std::to_string(family) + ", model " + std::to_string(model) +
                         ", stepping " + std::to_string(stepping);
    }
    facts.push_back(signature);
    const auto cores = count_cores(info.topology);
    std::set<unsigned> packages;
    if (cores)
        for (const tern_cpu_topology& cpu : info.topology)
            packages.insert(cpu.package);
    const std::uint32_t told = tern_get_package_count();
    // The kernel's folders end at the first CPU that is offline; the list goes on.
    facts.push_back(
        number_fact("packages", "packages", std::max<std::uint64_t>(told, packages.size())));
    facts.push_back(number_fact("cores", "cores", cores.value_or(0)));
    const std::int32_t threads = tern_get_cpu_count();
    facts.push_back(
        number_fact("threads", "threads", static_cast<std::uint64_t>(std::max(threads, 0))));
}

}  // namespace

std::optional<unsigned> count_cores(const std::vector<tern_cpu_topology>& topology) {
    std::set<std::tuple<unsigned, unsigned, unsigned>> places;
    std::set<std::tuple<unsigned, unsigned>> cores;
    for (const tern_cpu_topology& cpu : topology) {
        if (!places.emplace(cpu.package, cpu.core, cpu.thread).second)
            return std::nullopt;
        cores.emplace(cpu.package, cpu.core);
    }
    return cores.empty() ? std::nullopt : std::optional(static_cast<unsigned>(cores.size()));
}

machine_facts gather_facts() {
    machine_facts machine;
    tern_init_system_info();  // one count for all that follows, whatever CPU comes or goes
    const tern_arch_t arch = tern_get_cpu_arch();
    const cpu_info info = read_cpu_info(arch);
    const auto cpu_count = static_cast<std::uint32_t>(std::max(tern_get_cpu_count(), 0));
    const visit_facts visit = visit_cpus(cpu_count);

    add_system(machine.facts);
    machine.facts.push_back(text_fact("architecture", "architecture", arch_name(arch)));
    machine.facts.push_back(
        number_fact("address_width", "address width", info.address_width, " bits"));
    std::ostringstream highest;
    highest << "0x" << std::hex << info.highest_address;
    machine.facts.push_back({"highest_address", "highest address",
                             info.address_width == 0 ? json() : json(info.highest_address),
                             highest.str()});
    machine.facts.push_back(
        number_fact("program_width", "this program's width", 8 * sizeof(void*), " bits"));
    add_processor(machine.facts);
    machine.facts.push_back(
        frequency_fact("counter_frequency_hz", "counter frequency",
                       static_cast<std::uint64_t>(visit.counter_hertz.value_or(0))));
    add_instruction_sets(machine.facts);
    add_topology(machine.facts, info);

    machine.caches = visit.caches;
    const bool placed = count_cores(info.topology).has_value();
    for (std::uint32_t i = 0; i < cpu_count; ++i)
        machine.cpus.push_back(
            {placed && i < info.topology.size() ? std::optional(info.topology[i]) : std::nullopt,
             visit.apic_ids[i]});
    return machine;
}
