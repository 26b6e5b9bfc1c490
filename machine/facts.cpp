#include "machine/facts.h"

#include <algorithm>

#include "machine/cpuinfo.h"
#include "machine/visit.h"

namespace machine {

namespace {

/// Drops what a cpuset names but what is not online.
void limitToOnline(Limits& limits, const Topology& topology, const std::vector<Node>& nodes) {
    if (limits.cpus)
        limits.cpus = common(*limits.cpus, topology.online());
    NumberList nodesOnline;
    for (const Node& node : nodes)
        nodesOnline.push_back(node.number);
    if (limits.nodes && !nodes.empty())
        limits.nodes = common(*limits.nodes, nodesOnline);
}

}  // namespace

Facts gatherFacts(const Sources& sources) {
    Facts facts;
    facts.system = gatherSystem(sources);
    facts.limits = gatherLimits(sources);
    facts.nodes = gatherNodes(sources);
    facts.memory = gatherMemory(sources);

    const Cpuinfo cpuinfo = readCpuinfo(sources);
    facts.processor = gatherProcessor(sources, cpuinfo);
    facts.topology = gatherTopology(sources, cpuinfo, facts.nodes);
    const NumberList online = facts.topology.online();
    facts.caches = gatherCaches(sources, online);
    facts.lastLevelRecord = gatherLastLevelRecord(sources);
    facts.power = gatherPower(sources, online);

    limitToOnline(facts.limits, facts.topology, facts.nodes);
    // A CPU that is kept from this process may be kept for work that must not be disturbed.
    Visit visit;
    if (sources.live && facts.limits.cpus)
        visit = visitCpus(*facts.limits.cpus);
    facts.processor.counterHz = visit.counterHz;
    for (Cpu& cpu : facts.topology.cpus) {
        if (facts.limits.cpus)
            cpu.allowed = contains(*facts.limits.cpus, cpu.number);
        const auto id = visit.apicIds.find(cpu.number);
        if (id != visit.apicIds.end())
            cpu.apicId = id->second;
    }
    return facts;
}

std::optional<std::uint64_t> lastLevelBytes(const Facts& facts, unsigned cpu) {
    if (const Cache* const last = lastDataCache(facts.caches, cpu))
        return last->bytes;
    return facts.lastLevelRecord ? std::optional(facts.lastLevelRecord->bytes) : std::nullopt;
}

NumberList lastLevelSharers(const Facts& facts, unsigned cpu) {
    const Cache* const last = lastDataCache(facts.caches, cpu);
    return last ? last->cpus : NumberList();
}

std::optional<PairClass> pairClass(const Facts& facts, unsigned a, unsigned b) {
    const Cpu* const first = facts.topology.find(a);
    const Cpu* const second = facts.topology.find(b);
    if (!first || !second)
        return std::nullopt;
    if (a == b || contains(first->coreCpus, b))
        return PairClass::sameCore;
    if (first->package && second->package && first->package != second->package)
        return PairClass::otherPackage;
    if (first->coreCpus.empty())
        return std::nullopt;
    bool cachesTold = false;
    for (const Cache& cache : facts.caches) {
        if (cache.type == CacheType::instruction || !contains(cache.cpus, a))
            continue;
        cachesTold = true;
        if (contains(cache.cpus, b))
            return PairClass::sameCache;
    }
    const bool packagesTold = first->package && second->package;
    return cachesTold && packagesTold ? std::optional(PairClass::samePackage) : std::nullopt;
}

std::optional<unsigned> nodeOf(const Facts& facts, unsigned cpu) {
    const Cpu* const found = facts.topology.find(cpu);
    return found ? found->node : std::nullopt;
}

}  // namespace machine
