#include "survey/run/plan.h"

#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <set>
#include <stdexcept>

#include "kestrel/units.h"
#include "survey/run/sizes.h"

namespace survey {
namespace {

using Kestrel::gibibyte;
using Kestrel::kibibyte;
using Kestrel::mebibyte;
using machine::NumberList;

/// Bytes of the widest word, and of a line.
constexpr std::uint32_t wide = 64;
/// Bytes from one slot to the next that put them in different pairs of lines.
constexpr std::uint32_t linesApart = 128;

/// What all points of a plan have in common: where they run.
struct Place {
    std::vector<unsigned> cpus;
    std::optional<NumberList> nodes;
    std::optional<Kestrel::PageKind> pages;
};

NumberList ownNodes(const Ground& ground, const std::vector<unsigned>& cpus) {
    std::set<unsigned> nodes;
    for (const unsigned cpu : cpus)
        nodes.insert(machine::nodeOf(ground.facts, cpu).value_or(0));
    return {nodes.begin(), nodes.end()};
}

/// The combinations of the sets of CPUs, the sets of nodes and the page kinds that were asked for.
/// Without a word on CPUs those of `defaultCpus`, without one on nodes those that the CPUs belong
/// to.
std::vector<Place> placesOf(const Ground& ground, const Choices& choices,
                            const std::vector<std::vector<unsigned>>& defaultCpus) {
    std::vector<Place> places;
    const std::vector<Kestrel::PageKind> pages =
        choices.pages.empty() ? std::vector{Kestrel::pkSystem} : choices.pages;
    for (const auto& cpus : choices.cpus.empty() ? defaultCpus : choices.cpus) {
        std::vector<NumberList> nodes = choices.nodes;
        if (nodes.empty())
            nodes.push_back(ownNodes(ground, cpus));
        for (const NumberList& set : nodes)
            for (const Kestrel::PageKind kind : pages)
                places.push_back({cpus, set, kind});
    }
    return places;
}

std::vector<Place> onOneCpu(const Ground& ground, const Choices& choices) {
    return placesOf(ground, choices, {{ground.cpus.front()}});
}

std::vector<Place> onOneAndOnAll(const Ground& ground, const Choices& choices) {
    return placesOf(ground, choices, {{ground.cpus.front()}, ground.cpus});
}

Parameters pointAt(const Place& place, std::string pattern, std::optional<std::uint64_t> size = {},
                   std::optional<std::uint32_t> stride = {}) {
    return {.pattern = std::move(pattern),
            .sizeBytes = size,
            .wordBytes = wide,
            .strideBytes = stride,
            .cpus = place.cpus,
            .nodes = place.nodes,
            .pages = place.pages,
            .loadCpus = {}};
}

std::vector<Parameters> hierarchyPoints(const Ground& ground, const Choices& choices) {
    std::vector<Parameters> points;
    for (const Place& place : onOneCpu(ground, choices)) {
        for (const char* const pattern : {"a-l", "l-r"})
            for (const std::uint64_t size : gridSizes(ground, 2))
                points.push_back(pointAt(place, pattern, size));
        for (const char* const pattern : {"a-lls", "a-fastmem"})
            for (const std::uint64_t size : gridSizes(ground, 1))
                points.push_back(pointAt(place, pattern, size));
    }
    return points;
}

/// The processor has what a pattern without memory needs: a pass of it counts.
bool runsHere(const Kestrel::PatternRow& row) {
    const auto pattern = row.build({.wordCode = 1, .stride = 0, .repeat = 1, .size = 1});
    Kestrel::PatternState state{};
    auto* const steps = dynamic_cast<Kestrel::BenchmarkBasePattern*>(pattern.get());
    return steps != nullptr && steps->runPass(state) != 0;
}

/// A size of which each of these CPUs' arrays lie well inside a level of the first one's caches.
std::optional<std::uint64_t> sizeInside(const Ground& ground, const std::vector<unsigned>& cpus,
                                        unsigned level) {
    const auto* const cache = machine::dataCache(ground.facts.caches, cpus.front(), level);
    if (cache == nullptr || !cache->bytes)
        return std::nullopt;
    auto sharers = std::ranges::count_if(
        cpus, [&](unsigned cpu) { return machine::contains(cache->cpus, cpu); });
    if (cache->cpus.empty() && level == 3)  // not told: all of them may
        sharers = std::ssize(cpus);
    return std::bit_floor(*cache->bytes / 2 / std::max<std::uint64_t>(sharers, 1));
}

/// One inside each level, and one in memory.
std::vector<std::uint64_t> sizeOfEachLevel(const Ground& ground,
                                           const std::vector<unsigned>& cpus) {
    std::vector<std::uint64_t> sizes;
    for (unsigned level = 1; level <= 3; ++level)
        if (const auto size = sizeInside(ground, cpus, level);
            size && *size <= ground.largestArray / cpus.size())
            sizes.push_back(*size);
    sizes.push_back(memorySize(ground, cpus.size()));
    return sizes;
}

std::vector<Parameters> peakPoints(const Ground& ground, const Choices& choices) {
    std::vector<Parameters> points;
    for (const Place& place : onOneAndOnAll(ground, choices)) {
        for (const Kestrel::PatternRow& row : Kestrel::allPatterns())
            if (row.arrayUse == Kestrel::ArrayUse::none && runsHere(row))
                points.push_back(pointAt(place, std::string(row.name)));
        // What the roofline leans on.
        for (const std::uint64_t size : sizeOfEachLevel(ground, place.cpus))
            points.push_back(pointAt(place, "a-l", size));
    }
    return points;
}

/// The first 1, 2, 4, … and all of the CPUs.
std::vector<std::vector<unsigned>> growingSets(const std::vector<unsigned>& cpus) {
    std::vector<std::vector<unsigned>> sets;
    for (std::size_t count = 1; count < cpus.size(); count *= 2)
        sets.emplace_back(cpus.begin(), cpus.begin() + static_cast<std::ptrdiff_t>(count));
    sets.push_back(cpus);
    return sets;
}

std::vector<Parameters> scalingPoints(const Ground& ground, const Choices& choices) {
    std::vector<Parameters> points;
    const std::size_t most = ground.cpus.size();
    for (const Place& place : placesOf(ground, choices, growingSets(ground.cpus))) {
        const std::uint64_t memory = memorySize(ground, most);
        points.push_back(pointAt(place, "a-l", memory));
        points.push_back(pointAt(place, "a-fastmem", memory));
        // The same for each number of CPUs.
        if (const auto size = sizeInside(ground, ground.cpus, 2))
            points.push_back(pointAt(place, "a-l", *size));
    }
    return points;
}

/// One pair of CPUs of each class, or all of them.
std::vector<std::vector<unsigned>> pairsOf(const Ground& ground, bool all) {
    std::vector<std::vector<unsigned>> pairs;
    std::set<std::optional<machine::PairClass>> seen;
    for (std::size_t a = 0; a < ground.cpus.size(); ++a)
        for (std::size_t b = a + 1; b < ground.cpus.size(); ++b) {
            const auto kind = machine::pairClass(ground.facts, ground.cpus[a], ground.cpus[b]);
            if (all || seen.insert(kind).second)
                pairs.push_back({ground.cpus[a], ground.cpus[b]});
        }
    return pairs;
}

std::vector<Parameters> sharingPoints(const Ground& ground, const Choices& choices) {
    std::vector<Parameters> points;
    for (const Place& place : placesOf(ground, choices, pairsOf(ground, choices.allPairs))) {
        if (place.cpus.size() < 2)
            continue;  // nobody to share with
        points.push_back(pointAt(place, "s-lms", {}, 0));
        points.push_back(pointAt(place, "s-lms", {}, linesApart));
        points.push_back(pointAt(place, "s-lms-l", {}, 0));
    }
    return points;
}

/// The CPUs of each node that this process may use.
std::map<unsigned, std::vector<unsigned>> cpusByNode(const Ground& ground) {
    std::map<unsigned, std::vector<unsigned>> nodes;
    for (const unsigned cpu : ground.cpus)
        nodes[machine::nodeOf(ground.facts, cpu).value_or(0)].push_back(cpu);
    return nodes;
}

NumberList memoryNodes(const Ground& ground) {
    NumberList nodes;
    for (const machine::Node& node : ground.facts.nodes)
        if (node.memoryBytes.value_or(1) != 0 && node.number < Kestrel::nodeBitCount &&
            (!ground.facts.limits.nodes ||
             machine::contains(*ground.facts.limits.nodes, node.number)))
            nodes.push_back(node.number);
    return nodes.empty() ? NumberList{0} : nodes;
}

std::vector<Parameters> nodesPoints(const Ground& ground, const Choices& choices) {
    std::vector<Parameters> points;
    const auto pages = choices.pages.empty() ? std::vector{Kestrel::pkSystem} : choices.pages;
    for (const auto& [cpuNode, cpus] : cpusByNode(ground))
        for (const unsigned memoryNode : memoryNodes(ground))
            for (const Kestrel::PageKind kind : pages) {
                const NumberList nodes{memoryNode};
                points.push_back(
                    pointAt({cpus, nodes, kind}, "a-l", memorySize(ground, cpus.size())));
                points.push_back(
                    pointAt({{cpus.front()}, nodes, kind}, "l-r", memorySize(ground, 1)));
            }
    return points;
}

std::vector<Parameters> loadedPoints(const Ground& ground, const Choices& choices) {
    std::vector<Parameters> points;
    for (const Place& place : onOneCpu(ground, choices)) {
        std::vector<unsigned> others = ground.cpus;
        std::erase_if(others, [&](unsigned cpu) { return machine::contains(place.cpus, cpu); });
        std::vector<std::vector<unsigned>> loads{{}};
        if (!others.empty())
            std::ranges::copy(growingSets(others), std::back_inserter(loads));
        for (const auto& load : loads) {
            Parameters point = pointAt(place, "l-r", memorySize(ground, ground.cpus.size()));
            point.loadCpus = load;
            points.push_back(point);
        }
    }
    return points;
}

constexpr auto plans = std::to_array<Plan>({
    {"hierarchy",
     "reads, stores and random loads by array size on one CPU, and what each level gives",
     hierarchyPoints},
    {"peak", "every floating-point kernel on one CPU and on all, and the roofline", peakPoints},
    {"scaling", "memory and second-level cache with 1, 2, 4, … all CPUs", scalingPoints},
    {"sharing", "what it costs two CPUs to write to one line, and to lines apart", sharingPoints},
    {"nodes", "CPUs of each NUMA node against memory of each node", nodesPoints},
    {"loaded", "random loads while 0, 1, 2, 4, … other CPUs read from memory", loadedPoints},
    {"all", "all of these", nullptr},
});

/// The product of all lists, for points of one's own.
std::vector<Parameters> ownPoints(const Ground& ground, const Choices& choices) {
    const auto orDefault = [](auto list, auto value) {
        if (list.empty())
            list.push_back(value);
        return list;
    };
    std::vector<Parameters> points;
    for (const std::string& pattern : orDefault(choices.patterns, std::string("a-l")))
        for (const std::uint64_t size : orDefault(choices.sizes, std::uint64_t{16} * kibibyte))
            for (const std::uint32_t word : orDefault(choices.words, wide))
                for (const std::uint32_t stride : orDefault(choices.strides, std::uint32_t{0}))
                    for (const Place& place : onOneCpu(ground, choices)) {
                        Parameters point = pointAt(place, pattern, size, stride);
                        point.wordBytes = word;
                        points.push_back(point);
                    }
    return points;
}

/// Appends those that are not there yet.
void append(std::string_view plan, const std::vector<Parameters>& made,
            std::vector<PlannedPoint>& points) {
    for (const Parameters& each : made) {
        const Parameters parameters = normalised(each);
        if (std::ranges::find(points, parameters, &PlannedPoint::parameters) == points.end())
            points.push_back({std::string(plan), parameters});
    }
}

}  // namespace

Ground groundOf(machine::Facts facts) {
    Ground ground;
    for (const machine::Cpu& cpu : facts.topology.cpus)
        if (cpu.allowed.value_or(true))
            ground.cpus.push_back(cpu.number);
    if (ground.cpus.empty())
        throw std::runtime_error("there is no CPU that this process may run on");
    ground.pageBytes = facts.memory.pageBytes.value_or(4 * kibibyte);
    ground.lastLevelBytes = machine::lastLevelBytes(facts, ground.cpus.front());
    ground.freeBytes = facts.memory.availableBytes;
    if (facts.limits.memory && facts.limits.memory->bytes)
        ground.freeBytes =
            std::min(ground.freeBytes.value_or(UINT64_MAX), *facts.limits.memory->bytes);
    ground.largestArray =
        std::min<std::uint64_t>(ground.freeBytes.value_or(gibibyte) / 4, 2ull * gibibyte);
    ground.facts = std::move(facts);
    return ground;
}

std::span<const Plan> allPlans() {
    return plans;
}

const Plan* findPlan(std::string_view name) {
    const auto* const found = std::ranges::find(plans, name, &Plan::name);
    return found != plans.end() ? found : nullptr;
}

std::vector<std::uint64_t> gridSizes(const Ground& ground, unsigned perOctave) {
    // Where nobody tells the size of the caches, as far as most machines' memory begins.
    const std::uint64_t cache = ground.lastLevelBytes.value_or(std::uint64_t{64} * mebibyte);
    const std::uint64_t last = std::min(4 * cache, ground.largestArray);
    return sizesBetween(ground.pageBytes, std::max(last, ground.pageBytes), perOctave,
                        ground.pageBytes);
}

std::uint64_t memorySize(const Ground& ground, std::size_t arrays) {
    const std::uint64_t cache = ground.lastLevelBytes.value_or(64 * mebibyte);
    const std::uint64_t wanted = std::max(4 * cache / arrays, std::uint64_t{64} * mebibyte);
    return std::bit_floor(
        std::clamp<std::uint64_t>(ground.largestArray / arrays, mebibyte, wanted));
}

std::string whyNotWith(std::string_view plan, const Choices& choices) {
    const bool own = choices.hasPoints();
    if (choices.allPairs && (own || (plan != "sharing" && plan != "all")))
        return "--all: only the plans sharing and all have pairs of CPUs";
    if (choices.allPairs && !choices.cpus.empty())
        return "--all, --cpu: either all pairs of CPUs or those that are named";
    if (own)
        return {};
    if (plan == "nodes" && !(choices.cpus.empty() && choices.nodes.empty()))
        return "--cpu, --node: the plan nodes takes all CPUs and nodes";
    constexpr std::size_t pair = 2;
    if (plan == "sharing")
        for (const auto& cpus : choices.cpus)
            if (cpus.size() != pair)
                return "--cpu: the plan sharing takes two CPUs at a time";
    return {};
}

std::vector<PlannedPoint> pointsOf(std::string_view plan, const Ground& ground,
                                   const Choices& choices) {
    std::vector<PlannedPoint> points;
    if (choices.hasPoints()) {
        append("points", ownPoints(ground, choices), points);
        return points;
    }
    for (const Plan& each : plans)
        if (each.points != nullptr && (plan == each.name || plan == "all"))
            append(each.name, each.points(ground, choices), points);
    return points;
}

std::string whyUnsupported(const Parameters& parameters, const Ground& ground) {
    static const std::map<Kestrel::PageKind, std::uint64_t> pageBytes{
        {Kestrel::pk4K, 4 * kibibyte}, {Kestrel::pk2M, 2 * mebibyte}, {Kestrel::pk1G, gibibyte}};
    const auto kind = parameters.pages.value_or(Kestrel::pkSystem);
    const auto found = pageBytes.find(kind);
    const std::uint64_t page = found != pageBytes.end() ? found->second : ground.pageBytes;
    if (parameters.sizeBytes && *parameters.sizeBytes % page != 0)
        return "no whole number of " + sizeText(page) + " pages";
    return {};
}

}  // namespace survey
