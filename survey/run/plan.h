/// Which points a survey measures.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "machine/facts.h"
#include "survey/point.h"

namespace survey {

/// What the command line asked for besides a plan's name. Empty: nothing was said.
struct Choices {
    std::vector<std::string> patterns;  ///< of points of one's own, as are the next three
    std::vector<std::uint64_t> sizes;
    std::vector<std::uint32_t> words, strides;
    std::vector<Kestrel::PageKind> pages;
    std::vector<std::vector<unsigned>> cpus;  ///< each a set that works together
    std::vector<machine::NumberList> nodes;   ///< each a set over which memory is interleaved
    bool allPairs = false;                    ///< of CPUs, not one of each class

    [[nodiscard]] bool hasPoints() const {
        return !patterns.empty() || !sizes.empty() || !words.empty() || !strides.empty();
    }
};

/// A point to be measured, and the plan that it belongs to.
struct PlannedPoint {
    std::string plan;
    Parameters parameters;
};

/// What plans are made from: the machine as far as this process may use it.
struct Ground {
    machine::Facts facts;
    std::vector<unsigned> cpus;  ///< that this process may run on, none twice
    std::uint64_t pageBytes = 0;
    std::optional<std::uint64_t> lastLevelBytes;
    std::optional<std::uint64_t> freeBytes;  ///< what is available, or less that is allowed
    std::uint64_t largestArray = 0;          ///< bytes: a quarter of what is free, 2 GiB at most
};
/// Throws std::runtime_error where the process may run nowhere.
Ground groundOf(machine::Facts facts);

struct Plan {
    std::string_view name;
    std::string_view text;  ///< what it measures
    std::vector<Parameters> (*points)(const Ground& ground, const Choices& choices);
};
std::span<const Plan> allPlans();
const Plan* findPlan(std::string_view name);

/// Why these choices make no sense for a plan; empty where they do.
std::string whyNotWith(std::string_view plan, const Choices& choices);

/// The points of a plan ("all" has those of every plan), or of one's own where the choices have
/// any, equal ones merged, in the plan's order.
std::vector<PlannedPoint> pointsOf(std::string_view plan, const Ground& ground,
                                   const Choices& choices);

/// Why kestrel or this machine cannot measure a point, where that can be said before it is tried.
std::string whyUnsupported(const Parameters& parameters, const Ground& ground);

/// Sizes of the grid that every host measures, 2^k and 3·2^(k-1), or 2^k alone.
std::vector<std::uint64_t> gridSizes(const Ground& ground, unsigned perOctave);

/// A size for "memory": beyond the last cache, where the machine has room for it.
std::uint64_t memorySize(const Ground& ground, std::size_t arrays);

}  // namespace survey
