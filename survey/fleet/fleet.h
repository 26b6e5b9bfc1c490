/// Many hosts' figures beside one another, and which of them stand out.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "survey/record.h"

namespace survey {

/// So many other hosts must have a point with a figure to be trusted.
inline constexpr std::size_t fewestPeers = 5;
/// A figure stands out where it is so many deviations and such a share away from its peers' median.
/// Of healthy figures whose logarithm is normal, one in ten million is as many deviations away.
inline constexpr double outlyingDeviations = 5.3, outlyingShare = 0.05;

/// What is kept of a host: its last session that is complete, or else the last.
struct FleetHost {
    std::string file, name, processor, plan, session;
    bool complete = false;
    struct Figure {
        std::size_t point;  ///< place in the fleet's points
        double value;       ///< 0 where there is none
        Verdict verdict;
        std::string cause;  ///< the first one
    };
    std::vector<Figure> figures;

    [[nodiscard]] std::size_t trusted() const;
    /// Fewer than half of its figures can be trusted.
    [[nodiscard]] bool noisy() const;
};

struct Fleet {
    std::vector<FleetHost> hosts;
    std::vector<Parameters> points;  ///< that any of them has

    void add(const std::string& file, const Survey& survey);

  private:
    std::map<Parameters, std::size_t> places;
};

/// A host's figure that stands out.
struct Outlier {
    std::size_t host = 0, point = 0;  ///< places in the fleet
    double value = 0, usual = 0;      ///< the peers' median, both in the point's unit
    double difference = 0;            ///< value / usual - 1
    double z = 0;                     ///< the difference in deviations, without its sign
    std::size_t peers = 0;
    Verdict verdict = Verdict::ok;
    std::string cause;

    [[nodiscard]] bool isWorse(Unit unit) const {
        return (difference < 0) == textOf(unit).higherIsBetter;
    }
};

/// Hosts of one processor model.
struct FleetGroup {
    std::string processor;
    std::vector<std::size_t> hosts, ofAnotherPlan;  ///< places in the fleet
    std::size_t points = 0;                         ///< that any of them has a figure of
    std::size_t compared = 0;                       ///< of these, for at least one host
    std::vector<Outlier> outliers;                  ///< the most deviations first
};

/// In the order of their first hosts. A host counts as of another plan where it has fewer than half
/// of the points that most of its group have.
std::vector<FleetGroup> compareHosts(const Fleet& fleet);

}  // namespace survey
