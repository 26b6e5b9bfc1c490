#include "survey/run/settings.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <thread>

#include "survey/columns.h"
#include "survey/run/cpu_times.h"

namespace survey {
namespace {

using enum Standing;

const char* unknownText = "not known";

Setting governor(const machine::Facts& facts) {
    const auto& governors = facts.power.governors;
    if (governors.empty())
        return {"governor", facts.system.hypervisor.value_or("None") != "None" ? note : notKnown,
                "the kernel sets no clocks here",
                "if this is a guest, its host decides about clocks"};
    std::string names;
    for (const machine::Governor& each : governors)
        names +=
            (names.empty() ? "" : ", ") + each.name + " on CPUs " + machine::listText(each.cpus);
    const bool performance =
        std::ranges::all_of(governors, [](const auto& it) { return it.name == "performance"; });
    return {"governor", performance ? ok : warning, names,
            performance ? "" : "cpupower frequency-set -g performance"};
}

Setting boost(const machine::Facts& facts) {
    if (!facts.power.boost)
        return {"boost", notKnown, unknownText, ""};
    return *facts.power.boost ? Setting{"boost", note, "on: clocks depend on load and temperature",
                                        "for figures that vary less: echo 0 > "
                                        "/sys/devices/system/cpu/cpufreq/boost, or echo 1 > "
                                        "/sys/devices/system/cpu/intel_pstate/no_turbo"}
                              : Setting{"boost", ok, "off", ""};
}

Setting hugePages(const machine::Facts& facts) {
    const auto& setting = facts.memory.transparentHugePages;
    if (!setting)
        return {"transparent huge pages", notKnown, unknownText, ""};
    if (*setting == "always")
        return {"transparent huge pages", note, "always: large arrays may get them or not",
                "echo madvise > /sys/kernel/mm/transparent_hugepage/enabled"};
    return {"transparent huge pages", ok, *setting, ""};
}

Setting balancing(const machine::Facts& facts) {
    if (facts.nodes.size() == 1)
        return {"NUMA balancing", ok, "one node", ""};
    const auto& on = facts.memory.numaBalancing;
    if (!on)
        return {"NUMA balancing", notKnown, unknownText, ""};
    return *on ? Setting{"NUMA balancing", warning,
                         "on: the kernel moves pages while they are used",
                         "sysctl kernel.numa_balancing=0"}
               : Setting{"NUMA balancing", ok, "off", ""};
}

Setting cpuset(const machine::Facts& facts) {
    if (!facts.limits.cpus)
        return {"cpuset", notKnown, unknownText, ""};
    const auto online = facts.topology.online();
    const auto allowed = machine::common(*facts.limits.cpus, online);
    if (allowed.size() == online.size())
        return {"cpuset", ok, "all CPUs that are online", ""};
    return {"cpuset", note,
            "CPUs " + machine::listText(allowed) + " of " + machine::listText(online),
            "the others cannot be measured from here"};
}

Setting quota(const machine::Facts& facts) {
    if (!facts.limits.quota)
        return {"CPU quota", notKnown, unknownText, ""};
    if (!facts.limits.quota->cpus)
        return {"CPU quota", ok, "none seen", ""};
    return {"CPU quota", warning, figureText(*facts.limits.quota->cpus) + " CPUs",
            "workers are stopped when it is used up: raise the control group's limit"};
}

Setting clockSource(const machine::Facts& facts) {
    const auto& source = facts.system.clockSource;
    if (!source)
        return {"clock source", notKnown, unknownText, ""};
    if (*source == "tsc" || *source == "kvm-clock" || source->starts_with("hyperv_clocksource"))
        return {"clock source", ok, *source, ""};
    return {"clock source", warning, *source,
            "the kernel does not trust the time-stamp counter; see its log"};
}

Setting counter(const machine::Facts& facts) {
    const auto& constant = facts.processor.counterInvariant;
    if (!constant)
        return {"counter", notKnown, unknownText, ""};
    return *constant ? Setting{"counter", ok, "constant rate", ""}
                     : Setting{"counter", warning, "its rate changes with the clock",
                               "figures from this processor mean nothing"};
}

Setting swap(const machine::Facts& facts) {
    const auto& total = facts.memory.swapTotalBytes;
    const auto& used = facts.memory.swapUsedBytes;
    if (!total || !used)
        return {"swap", notKnown, unknownText, ""};
    if (*used == 0)
        return {"swap", ok, *total == 0 ? "none" : "not in use", ""};
    return {"swap", note, sizeText(*used) + " in use",
            "pages that come back disturb: swapoff -a, where memory is enough"};
}

Setting hypervisor(const machine::Facts& facts) {
    const auto& name = facts.system.hypervisor;
    if (!name)
        return {"hypervisor", notKnown, unknownText, ""};
    if (*name == "None")
        return {"hypervisor", ok, "none seen", ""};
    return {"hypervisor", note, *name,
            "other guests share caches and memory, unseen; repeat at other times"};
}

/// CPUs that were busy for more than a fifth of a short while.
std::optional<machine::NumberList> busyCpus() {
    const auto before = cpuTimes();
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto after = cpuTimes();
    if (after.empty())
        return std::nullopt;
    constexpr std::uint64_t fewTicks = 4;  // of 20
    machine::NumberList busy;
    for (const auto& [cpu, time] : after)
        if (const auto old = before.find(cpu);
            // The kernel's counters may step back a little.
            old != before.end() && time.busy > old->second.busy + fewTicks)
            busy.push_back(cpu);
    return busy;
}

void addBusy(const machine::Facts& facts, const std::vector<unsigned>& cpus,
             std::vector<Setting>& settings) {
    const auto busy = busyCpus();
    if (!busy) {
        settings.push_back({"load", notKnown, unknownText, ""});
        settings.push_back({"siblings", notKnown, unknownText, ""});
        return;
    }
    settings.push_back(busy->empty()
                           ? Setting{"load", ok, "CPUs are idle", ""}
                           : Setting{"load", warning, "busy: CPUs " + machine::listText(*busy),
                                     "see what runs there: top"});
    machine::NumberList siblings;
    for (const unsigned cpu : cpus)
        if (const machine::Cpu* const found = facts.topology.find(cpu))
            for (const unsigned other : found->coreCpus)
                if (other != cpu && machine::contains(*busy, other))
                    siblings.push_back(other);
    const bool told = std::ranges::any_of(facts.topology.cpus,
                                          [](const auto& it) { return !it.coreCpus.empty(); });
    if (!told)
        settings.push_back({"siblings", notKnown, unknownText, ""});
    else if (siblings.empty())
        settings.push_back({"siblings", ok, "no busy CPU on a measured core", ""});
    else
        settings.push_back({"siblings", warning, "busy: CPUs " + machine::listText(siblings),
                            "they take half of the measured core: end what runs there"});
}

constexpr std::array<std::string_view, 4> standingNames{"ok", "note", "warning", "not known"};

}  // namespace

std::string_view nameOf(Standing standing) {
    return standingNames[static_cast<std::size_t>(standing)];
}

std::vector<Setting> lookAtSettings(const machine::Facts& facts,
                                    const std::vector<unsigned>& cpus) {
    std::vector<Setting> settings;
    for (const auto look : {governor, boost, hugePages, balancing, cpuset, quota, clockSource,
                            counter, swap, hypervisor})
        settings.push_back(look(facts));
    addBusy(facts, cpus, settings);
    return settings;
}

Json toJson(const std::vector<Setting>& settings) {
    Json all = Json::array();
    for (const Setting& setting : settings)
        all.push_back({{"name", setting.name},
                       {"standing", nameOf(setting.standing)},
                       {"found", setting.found},
                       {"advice", setting.advice}});
    return all;
}

}  // namespace survey
