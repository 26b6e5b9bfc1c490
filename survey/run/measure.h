/// One sample of a point.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>

#include "survey/record.h"
#include "survey/run/plan.h"

namespace survey {

/// How long a sample takes at least; a point whose passes are long takes as long as five of them.
struct SampleTimes {
    std::chrono::milliseconds warmUp{12}, measured{60}, coolDown{2};
};

struct Sample {
    double value = 0;  ///< in the point's unit
    std::uint64_t arrayBytes = 0;
    double highestClockHz = 0;  ///< of the cores, before and after; 0: not known
    Detail detail;              ///< less its round and order
};

/// Why there is no sample, in words.
struct NoSample {
    std::string reason;
};

/// Takes samples one after the other. Its thread runs on a CPU of its own where there is one.
class Meter {
  public:
    Meter(const Ground& ground, double counterHz, SampleTimes times);

    /// A sample on a crew of its own, with fresh memory. A sample of too few passes is taken
    /// again, for longer, twice at most. Its value is 0 where the CPUs were too busy for a pass to
    /// count. Once `stop` says so, no phase begins any more, and a signal ends the one under way:
    /// no sample then.
    std::variant<Sample, NoSample> take(const Parameters& parameters,
                                        const std::function<bool()>& stop);

    /// Seconds that a sample is going to take, by what former ones of the point took.
    [[nodiscard]] double expectedSeconds(const Parameters& parameters) const;

  private:
    struct Known {
        double passSeconds;   ///< of the slowest worker
        double otherSeconds;  ///< all but the phases: memory, threads, evidence
    };
    [[nodiscard]] Known expected(const Parameters& parameters) const;
    [[nodiscard]] std::chrono::milliseconds measuredFor(const Known& expected) const;
    std::variant<Sample, NoSample> takeOnce(const Parameters& parameters,
                                            const std::function<bool()>& stop);
    void learn(const Parameters& parameters, const std::vector<WorkerWork>& workers,
               double otherSeconds);
    void moveAwayFrom(const Parameters& parameters) const;

    const Ground& ground;
    double counterHz;
    SampleTimes times;
    std::map<Parameters, Known> known;
    /// What the largest array so far took, by the point less its size: it tells most of memory.
    struct Large {
        std::uint64_t bytes = 0;
        double secondsPerByte = 0;
    };
    std::map<Parameters, Large> largest;
};

/// Turns what workers did into a figure: what they obtained together; for times the mean of what
/// each of them waited. 0 where one of them counted nothing.
double valueOf(Unit unit, const std::vector<WorkerWork>& workers, double counterHz);

}  // namespace survey
