/// A session's samples, round after round.
#pragma once

#include <functional>
#include <optional>

#include "survey/record.h"
#include "survey/run/measure.h"

namespace survey {

/// Rounds that a session takes at least, and samples of a point at most: those that are noisy after
/// the rounds get more.
inline constexpr unsigned usualRounds = 5;
inline constexpr std::size_t mostSamples = 9;
/// What all of them may take, of the time that the rounds take.
inline constexpr double mostTime = 1.15;

/// The last round that took a sample of the point; 0 before the first.
unsigned roundsDone(const Point& point);

/// Called beside the measurement; all of them may be empty.
struct Listener {
    /// Before each sample: the point, samples done and to be done, seconds left, and how many
    /// of the points that have samples enough for a verdict are noisy.
    std::function<void(const Point& point, std::size_t done, std::size_t all, double secondsLeft,
                       std::size_t noisy)>
        sampling;
    /// After each round, when the session is as good as it gets so far. May throw to end it.
    std::function<void(const Session&)> roundEnded;
    /// True: end now.
    std::function<bool()> stop;
};

/// What a budget leaves of a session.
struct Cut {
    unsigned rounds = 0;
    std::size_t points = 0;  ///< the first so many of them
};

/// Fewer rounds first, then fewer points: those at the end go first.
Cut cutTo(std::optional<double> budgetSeconds, unsigned rounds,
          const std::vector<double>& secondsOfPoints);

/// Seconds that each of the session's points takes a sample of.
std::vector<double> expectedSeconds(const Session& session, const Meter& meter);

/// Takes the samples that the session's points still lack, in rounds, each in a random order of its
/// own, which the session's seed decides; then those of points that are still noisy, within the
/// budget. Points that turn out to be unsupported say why. Returns whether it came to its end.
bool collect(Session& session, Meter& meter, std::optional<double> budgetSeconds,
             const Listener& listener);

}  // namespace survey
