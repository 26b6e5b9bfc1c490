#include "survey/run/evidence_span.h"

#include <unistd.h>

#include <algorithm>

#include "machine/limits.h"
#include "machine/reading.h"
#include "machine/text.h"
#include "tern/time.h"

namespace survey {
namespace {

using machine::parseNumber;
using machine::readFile;
using machine::takeUntil;

const machine::Sources here = machine::thisMachine();

std::string taskFile(long thread, const char* name) {
    return "/proc/self/task/" + std::to_string(thread) + "/" + name;
}

/// The number behind "key" in a text of "key number" lines, or of "key=number" words.
std::optional<std::uint64_t> numberAfter(std::string_view text, std::string_view key) {
    const std::size_t place = text.find(key);
    if (place == std::string_view::npos)
        return std::nullopt;
    std::string_view rest = text.substr(place + key.size());
    rest = rest.substr(0, rest.find_first_of(" \n"));
    return parseNumber(rest);
}

/// Microseconds for which some work waited: the first line of a file of /proc/pressure.
std::optional<std::uint64_t> pressure(const char* path) {
    return numberAfter(readFile(here, path).value_or(""), "total=");
}

/// Microseconds for which a group around this process was out of CPU quota.
std::optional<std::uint64_t> throttledTime(const std::vector<std::string>& folders) {
    std::optional<std::uint64_t> sum;
    for (const std::string& folder : folders) {
        const std::string text = readFile(here, folder + "/cpu.stat").value_or("");
        if (const auto time = numberAfter(text, "throttled_usec "))
            sum = sum.value_or(0) + *time;
        else if (const auto nanoseconds = numberAfter(text, "throttled_time "))
            sum = sum.value_or(0) + *nanoseconds / 1000;
    }
    return sum;
}

template <class Key>
std::optional<double> largestGrowth(const std::map<Key, std::uint64_t>& before,
                                    const std::map<Key, std::uint64_t>& after) {
    std::optional<double> largest;
    for (const auto& [key, value] : after)
        if (const auto old = before.find(key); old != before.end() && value >= old->second)
            largest = std::max(largest.value_or(0), static_cast<double>(value - old->second));
    return largest;
}

std::optional<double> growth(std::optional<std::uint64_t> before,
                             std::optional<std::uint64_t> after) {
    if (!before || !after || *after < *before)
        return std::nullopt;
    return static_cast<double>(*after - *before);
}

void put(Evidence& evidence, const char* key, std::optional<double> value, double scale = 1) {
    if (value)
        evidence[key] = *value * scale;
}

}  // namespace

EvidenceSpan::EvidenceSpan(const machine::Facts& facts, Watched given)
    : watched(std::move(given)), groups(machine::cpuGroupFolders(here)) {
    for (const unsigned cpu : watched.cpus)
        if (const machine::Cpu* const found = facts.topology.find(cpu))
            for (const unsigned sibling : found->coreCpus)
                if (std::ranges::find(watched.cpus, sibling) == watched.cpus.end())
                    siblings.push_back(sibling);
    // The threads last here and first at the end: where every CPU is measured, this reading is
    // itself what they wait for.
    readMachine(before);
    readThreads(before);
}

void EvidenceSpan::readThread(long thread, Reading& reading) {
    const std::string schedule = readFile(here, taskFile(thread, "schedstat")).value_or("");
    std::string_view rest = schedule;  // nanoseconds run, waited; slices
    takeUntil(rest, ' ');
    if (const auto waited = parseNumber(takeUntil(rest, ' ')))
        reading.waited[thread] = *waited;
    const std::string status = readFile(here, taskFile(thread, "status")).value_or("");
    if (const auto switches = numberAfter(status, "nonvoluntary_ctxt_switches:\t"))
        reading.switches[thread] = *switches;
    const std::string stat = readFile(here, taskFile(thread, "stat")).value_or("");
    // The name in parentheses may hold blanks. Behind it stand state, …, minflt, cminflt, majflt.
    const auto fields = machine::words(stat.substr(std::min(stat.rfind(')') + 1, stat.size())));
    constexpr std::size_t minor = 7, major = 9;
    if (fields.size() > major)
        reading.faults[thread] =
            parseNumber(fields[minor]).value_or(0) + parseNumber(fields[major]).value_or(0);
}

void EvidenceSpan::readThreads(Reading& reading) const {
    for (const long thread : watched.threads)
        readThread(thread, reading);
}

void EvidenceSpan::readMachine(Reading& reading) const {
    reading.nanoseconds = tern_system_time();
    reading.cpus = cpuTimes();
    reading.throttled = throttledTime(groups);
    reading.cpuPressure = pressure("/proc/pressure/cpu");
    reading.memoryPressure = pressure("/proc/pressure/memory");
    for (const unsigned cpu : watched.cpus)
        if (const auto throttles =
                machine::readNumber(here, "/sys/devices/system/cpu/cpu" + std::to_string(cpu) +
                                              "/thermal_throttle/core_throttle_count"))
            reading.heatThrottles = reading.heatThrottles.value_or(0) + *throttles;
}

Evidence EvidenceSpan::end() const {
    Reading after;
    readThreads(after);
    readMachine(after);
    const auto elapsed = static_cast<double>(after.nanoseconds - before.nanoseconds);
    const double tick = 1e9 / static_cast<double>(sysconf(_SC_CLK_TCK));
    const auto microseconds = 1000 / elapsed;
    Evidence evidence;
    put(evidence, "run_queue_wait_share", largestGrowth(before.waited, after.waited), 1 / elapsed);
    put(evidence, "involuntary_switches", largestGrowth(before.switches, after.switches));
    put(evidence, "page_faults", largestGrowth(before.faults, after.faults));
    put(evidence, "throttled_share", growth(before.throttled, after.throttled), microseconds);
    put(evidence, "cpu_pressure_share", growth(before.cpuPressure, after.cpuPressure),
        microseconds);
    put(evidence, "memory_pressure_share", growth(before.memoryPressure, after.memoryPressure),
        microseconds);
    put(evidence, "heat_throttles", growth(before.heatThrottles, after.heatThrottles));
    addCpuTimes(after, tick / elapsed, evidence);
    const std::string loads = readFile(here, "/proc/loadavg").value_or("");
    if (!loads.empty())
        evidence["load_average"] = std::strtod(loads.c_str(), nullptr);
    return evidence;
}

void EvidenceSpan::addCpuTimes(const Reading& after, double sharePerTick,
                               Evidence& evidence) const {
    const auto is = [](const std::vector<unsigned>& list, unsigned cpu) {
        return std::ranges::find(list, cpu) != list.end();
    };
    if (after.cpus.empty())
        return;
    std::optional<double> stolen;
    double sibling = 0, others = 0;
    for (const auto& [cpu, time] : after.cpus) {
        const auto old = before.cpus.find(cpu);
        if (old == before.cpus.end())
            continue;
        // A counter can step back, as when a virtual machine moves to another host: not known.
        if (is(watched.cpus, cpu)) {
            stolen = std::max(stolen, growth(old->second.stolen, time.stolen));
        } else if (!is(watched.busyOnPurpose, cpu)) {
            const double busy = growth(old->second.busy, time.busy).value_or(0) * sharePerTick;
            others += busy;
            if (is(siblings, cpu))
                sibling = std::max(sibling, busy);
        }
    }
    put(evidence, "steal_share", stolen, sharePerTick);
    evidence["machine_busy_cpus"] = others;
    if (!siblings.empty())
        evidence["sibling_busy_share"] = sibling;
}

}  // namespace survey
