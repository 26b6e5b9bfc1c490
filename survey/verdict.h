/// Whether to trust a figure, and why not. Functions of what a file holds, nothing else.
#pragma once

#include <string>
#include <vector>

#include "survey/evidence.h"
#include "survey/record.h"

namespace survey {

/// The texts that stand in the file and in tables.
std::string_view nameOf(Verdict verdict);
std::optional<Verdict> verdictNamed(std::string_view name);

/// Half of the headline's interval may be so much of it: beyond that a point is noisy.
inline constexpr double noisyHalfWidth = 0.015;
/// A sample of fewer passes is none.
inline constexpr std::uint64_t fewestPasses = 5;
/// Samples that an interval takes.
inline constexpr std::size_t fewestSamples = 5;
/// A figure above a known limit by more than this is invalid; it covers what the reading of the
/// core's clock may be off.
inline constexpr double limitTolerance = 0.05;

/// What a tenth of a session's samples reach, for the kinds of evidence that are judged by it.
EvidenceBest bestOf(const Session& session);

/// Fills in all that follows from the samples.
void judge(Point& point, const Session& session, const EvidenceBest& best);
/// The same for all points of a session.
void judge(Session& session);
/// The same for a point without its samples' details: verdict and causes stay the file's, but for a
/// point that it calls ok and whose samples are no longer narrow.
void judgeByFile(Point& point);

}  // namespace survey
