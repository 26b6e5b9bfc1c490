#include "machine/json.h"

namespace machine {

namespace {

using Json = nlohmann::ordered_json;

template <typename Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json();
}

/// A list as text, "0-3,8".
Json orNull(const std::optional<NumberList>& list) {
    return list ? Json(listText(*list)) : Json();
}

/// A list of which empty means that nobody told.
Json listOrNull(const NumberList& list) {
    return list.empty() ? Json() : Json(listText(list));
}

/// An array of what `convert` makes of each.
template <typename Range, typename Convert>
Json each(const Range& range, Convert convert) {
    Json array = Json::array();
    for (const auto& one : range)
        array.push_back(convert(one));
    return array;
}

Json jsonOf(const System& system) {
    return {{"operating_system", orNull(system.operatingSystem)},
            {"kernel_release", orNull(system.kernelRelease)},
            {"kernel_parameters", orNull(system.kernelParameters)},
            {"architecture", orNull(system.architecture)},
            {"host_name", orNull(system.hostName)},
            {"hypervisor", orNull(system.hypervisor)},
            {"boot_id", orNull(system.bootId)},
            {"clock_source", orNull(system.clockSource)},
            {"isolated_cpus", orNull(system.isolatedCpus)}};
}

Json sourceName(const std::optional<NominalFrequency>& frequency) {
    if (!frequency)
        return {};
    constexpr std::array names{"brand_text", "cpuid_leaf_16h", "present_clock"};
    return names[static_cast<std::size_t>(frequency->source)];
}

Json jsonOf(const Processor& processor) {
    Json sets;
    if (const auto& has = processor.instructionSets)
        sets = {
            {"avx", has->avx}, {"avx2", has->avx2}, {"fma", has->fma}, {"avx512f", has->avx512f}};
    const auto& nominal = processor.nominalFrequency;
    return {{"name", orNull(processor.name)},
            {"vendor", orNull(processor.vendor)},
            {"family", orNull(processor.family)},
            {"model", orNull(processor.model)},
            {"stepping", orNull(processor.stepping)},
            {"microcode", orNull(processor.microcode)},
            {"nominal_frequency_hz", nominal ? Json(nominal->hertz) : Json()},
            {"nominal_frequency_source", sourceName(nominal)},
            {"counter_frequency_hz", orNull(processor.counterHz)},
            {"counter_invariant", orNull(processor.counterInvariant)},
            {"instruction_sets", sets},
            {"performance_monitoring_version", orNull(processor.performanceMonitoringVersion)},
            {"vulnerabilities",
             processor.vulnerabilities.empty() ? Json() : Json(processor.vulnerabilities)}};
}

Json jsonOf(const Cpu& cpu) {
    return {{"cpu", cpu.number},
            {"package", orNull(cpu.package)},
            {"die", orNull(cpu.die)},
            {"cluster", orNull(cpu.cluster)},
            {"core", orNull(cpu.core)},
            {"thread", orNull(cpu.thread)},
            {"core_cpus", listOrNull(cpu.coreCpus)},
            {"node", orNull(cpu.node)},
            {"apic_id", orNull(cpu.apicId)},
            {"allowed", orNull(cpu.allowed)}};
}

Json jsonOf(const Topology& topology) {
    const NumberList online = topology.online();
    return {{"packages", orNull(topology.packages)},
            {"cores", orNull(topology.cores)},
            {"threads", topology.onlineTold ? Json(online.size()) : Json()},
            {"online_cpus", topology.onlineTold ? Json(listText(online)) : Json()},
            {"present_cpus", orNull(topology.present)},
            {"offline_cpus", orNull(topology.offline)},
            {"cpus", each(topology.cpus, [](const Cpu& cpu) { return jsonOf(cpu); })}};
}

Json jsonOf(const Cache& cache) {
    constexpr std::array types{"data", "instruction", "unified"};
    return {{"level", cache.level},
            {"type", types[static_cast<std::size_t>(cache.type)]},
            {"size_bytes", orNull(cache.bytes)},
            {"ways", orNull(cache.ways)},
            {"line_bytes", orNull(cache.lineBytes)},
            {"cpus", listOrNull(cache.cpus)}};
}

Json jsonOf(const HugePagePool& pool) {
    return {{"page_bytes", pool.pageBytes},
            {"pages", orNull(pool.pages)},
            {"free_pages", orNull(pool.freePages)}};
}

Json jsonOf(const std::vector<HugePagePool>& pools) {
    return each(pools, [](const HugePagePool& pool) { return jsonOf(pool); });
}

Json jsonOf(const Node& node) {
    return {{"node", node.number},
            {"cpus", listText(node.cpus)},
            {"memory_bytes", orNull(node.memoryBytes)},
            {"free_bytes", orNull(node.freeBytes)},
            {"distances", node.distances.empty() ? Json() : Json(node.distances)},
            {"huge_pages", jsonOf(node.hugePages)}};
}

Json jsonOf(const Memory& memory) {
    const auto& modules = memory.modules;
    return {{"total_bytes", orNull(memory.totalBytes)},
            {"available_bytes", orNull(memory.availableBytes)},
            {"page_bytes", orNull(memory.pageBytes)},
            {"huge_pages", jsonOf(memory.hugePages)},
            {"transparent_huge_pages", orNull(memory.transparentHugePages)},
            {"transparent_huge_pages_defrag", orNull(memory.transparentHugePagesDefrag)},
            {"swap_total_bytes", orNull(memory.swapTotalBytes)},
            {"swap_used_bytes", orNull(memory.swapUsedBytes)},
            {"swappiness", orNull(memory.swappiness)},
            {"numa_balancing", orNull(memory.numaBalancing)},
            {"modules", modules ? Json(modules->count) : Json()},
            {"transfers_per_s", modules ? orNull(modules->transfersPerSecond) : Json()}};
}

Json jsonOf(const Power& power) {
    return {{"governors",
             each(power.governors,
                  [](const Governor& governor) -> Json {
                      return {{"governor", governor.name}, {"cpus", listText(governor.cpus)}};
                  })},
            {"scaling_driver", orNull(power.scalingDriver)},
            {"boost", orNull(power.boost)},
            {"smt_control", orNull(power.smtControl)}};
}

Json jsonOf(const Limits& limits) {
    Json quota;
    if (limits.quota)
        quota = {{"limited", limits.quota->cpus.has_value()}, {"cpus", orNull(limits.quota->cpus)}};
    Json memory;
    if (limits.memory)
        memory = {{"limited", limits.memory->bytes.has_value()},
                  {"bytes", orNull(limits.memory->bytes)}};
    return {{"cpus", orNull(limits.cpus)},
            {"nodes", orNull(limits.nodes)},
            {"cpu_quota", quota},
            {"memory", memory}};
}

}  // namespace

Json toJson(const Facts& facts) {
    Json record;
    if (facts.lastLevelRecord)
        record = {{"level", facts.lastLevelRecord->level},
                  {"size_bytes", facts.lastLevelRecord->bytes}};
    return {{"schema", "machine-facts/1"},
            {"system", jsonOf(facts.system)},
            {"processor", jsonOf(facts.processor)},
            {"topology", jsonOf(facts.topology)},
            {"caches", each(facts.caches, [](const Cache& cache) { return jsonOf(cache); })},
            {"last_level_record", record},
            {"nodes", each(facts.nodes, [](const Node& node) { return jsonOf(node); })},
            {"memory", jsonOf(facts.memory)},
            {"power", jsonOf(facts.power)},
            {"limits", jsonOf(facts.limits)}};
}

}  // namespace machine
