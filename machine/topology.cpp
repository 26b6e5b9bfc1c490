#include "machine/topology.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "machine/reading.h"
#include "machine/visit.h"

namespace machine {

namespace {

/// An id of a CPU's topology folder. The kernel writes -1, or all 16 bits set, for one that it does
/// not know.
std::optional<unsigned> readId(const Sources& sources, const std::string& path) {
    constexpr std::uint64_t unknown = 65535;
    const auto id = readNumber(sources, path);
    return id && *id != unknown && *id <= INT32_MAX ? std::optional(static_cast<unsigned>(*id))
                                                    : std::nullopt;
}

Cpu placeFromSys(const Sources& sources, unsigned number) {
    const std::string folder = cpuFolder + ("/cpu" + std::to_string(number)) + "/topology/";
    Cpu cpu{};
    cpu.number = number;
    cpu.package = readId(sources, folder + "physical_package_id");
    cpu.die = readId(sources, folder + "die_id");
    cpu.cluster = readId(sources, folder + "cluster_id");
    cpu.core = readId(sources, folder + "core_id");
    auto siblings = readList(sources, folder + "core_cpus_list");
    if (!siblings)  // its name before Linux 5.3
        siblings = readList(sources, folder + "thread_siblings_list");
    if (siblings && contains(*siblings, number))
        cpu.coreCpus = *siblings;
    return cpu;
}

void placeFromCpuinfo(Cpu& cpu, const Cpuinfo& cpuinfo) {
    const Cpuinfo::Entry* const entry = cpuinfo.find(cpu.number);
    if (!entry)
        return;
    cpu.package = entry->package;
    cpu.core = entry->core;
    if (!cpu.package || !cpu.core)
        return;
    for (const Cpuinfo::Entry& other : cpuinfo.entries)
        if (other.package == cpu.package && other.core == cpu.core)
            cpu.coreCpus.push_back(other.cpu);
}

/// How many different values a function of a CPU has; nothing where one of them is not told.
template <typename Value>
std::optional<std::size_t> countDifferent(const std::vector<Cpu>& cpus, Value value) {
    std::set<unsigned> values;
    for (const Cpu& cpu : cpus) {
        const std::optional<unsigned> one = value(cpu);
        if (!one)
            return std::nullopt;
        values.insert(*one);
    }
    return cpus.empty() ? std::nullopt : std::optional(values.size());
}

std::optional<unsigned> firstOfCore(const Cpu& cpu) {
    return cpu.coreCpus.empty() ? std::nullopt : std::optional(cpu.coreCpus.front());
}

}  // namespace

const Cpu* Topology::find(unsigned cpu) const {
    const auto place = std::ranges::lower_bound(cpus, cpu, {}, &Cpu::number);
    return place == cpus.end() || place->number != cpu ? nullptr : &*place;
}

NumberList Topology::online() const {
    NumberList numbers;
    for (const Cpu& cpu : cpus)
        numbers.push_back(cpu.number);
    return numbers;
}

/// The CPUs that can be seen without /sys.
static NumberList seenCpus(const Sources& sources, const Cpuinfo& cpuinfo) {
    const NumberList own = sources.live ? affinity() : NumberList();
    std::set<unsigned> cpus(own.begin(), own.end());
    for (const Cpuinfo::Entry& entry : cpuinfo.entries)
        cpus.insert(entry.cpu);
    return {cpus.begin(), cpus.end()};
}

Topology gatherTopology(const Sources& sources, const Cpuinfo& cpuinfo,
                        const std::vector<Node>& nodes) {
    const auto listed = readList(sources, std::string(cpuFolder) + "/online");
    const NumberList online = listed ? *listed : seenCpus(sources, cpuinfo);
    Topology topology;
    topology.onlineTold = listed || (!online.empty() && online.size() == cpuinfo.entries.size());
    for (const unsigned number : online) {
        Cpu cpu = placeFromSys(sources, number);
        if (!cpu.package && !cpu.core && cpu.coreCpus.empty())
            placeFromCpuinfo(cpu, cpuinfo);
        if (!cpu.coreCpus.empty())
            cpu.thread = static_cast<unsigned>(std::ranges::find(cpu.coreCpus, number) -
                                               cpu.coreCpus.begin());
        for (const Node& node : nodes)
            if (contains(node.cpus, number))
                cpu.node = node.number;
        topology.cpus.push_back(cpu);
    }
    topology.packages = countDifferent(topology.cpus, [](const Cpu& cpu) { return cpu.package; });
    topology.cores = countDifferent(topology.cpus, firstOfCore);
    topology.present = readList(sources, std::string(cpuFolder) + "/present");
    if (topology.present) {
        topology.offline.emplace();
        std::ranges::set_difference(*topology.present, online,
                                    std::back_inserter(*topology.offline));
    }
    return topology;
}

}  // namespace machine
