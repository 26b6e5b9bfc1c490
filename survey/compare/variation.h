/// How much a figure varies from session to session of one machine that nobody changed.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "survey/record.h"

namespace survey {

/// Points that vary alike.
struct Kind {
    std::string pattern;  ///< empty where the level says it all
    std::string level;    ///< "L1", "L2", "L3", "memory", "arithmetic", "sharing"

    bool operator==(const Kind&) const = default;
};
std::string textOf(const Kind& kind);  ///< "a-l, L1"

/// Arrays count for a level where all that share the cache fill three quarters of it at most, as
/// they share it with code and stacks. The caches are those of a session's facts.
Kind kindOf(const Parameters& parameters, const Json& facts);

/// The session-to-session variation of a kind.
struct Variation {
    Kind kind;
    double cv = 0;       ///< coefficient of variation of the headlines
    double degrees = 0;  ///< of freedom: what the figure is worth as evidence
};

/// As variation.json has it, measured by scripts/variation; docs/variation.md says how.
const std::vector<Variation>& publishedVariation();

/// The variation of that kind; where none is published, the largest of its level, or else of all.
/// Of the largest one, the evidence is the least that any of them has. `published` is not empty.
Variation variationOf(const Kind& kind, std::span<const Variation> published);

}  // namespace survey
