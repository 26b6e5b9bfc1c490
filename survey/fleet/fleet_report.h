/// What is to be said about a fleet, for people and for programs.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "survey/fleet/fleet.h"
#include "survey/fleet/telling_facts.h"

namespace survey {

/// A fact that a host has otherwise than most of its peers.
struct FactApart {
    std::string name, value, usual;
};
/// Those where more than half of the peers agree on another value.
std::vector<FactApart> factsApart(const std::vector<TellingFact>& own,
                                  const std::vector<std::vector<TellingFact>>& peers);

struct BrokenFile {
    std::string file, reason;
    bool sameName = false;  ///< it is sound, but its host has the name of one before
};

struct FleetReport {
    Fleet fleet;
    std::vector<FleetGroup> groups;
    std::vector<std::string> missing;  ///< names that were expected
    std::vector<BrokenFile> broken;
    std::map<std::size_t, std::vector<FactApart>> facts;  ///< of hosts that stand out

    /// Nothing stands out, and all hosts came whole.
    [[nodiscard]] bool allIsWell() const;
    /// Points with enough hosts to compare them, of all groups.
    [[nodiscard]] std::size_t compared() const;
};

std::string textOf(const FleetReport& report);
/// "kestrel-fleet/1".
Json toJson(const FleetReport& report);

}  // namespace survey
