/// Whether figures of two sides differ, and by how much. Functions of numbers alone.
///
/// The unit of evidence is the session: the samples of one session share whatever ailed it. What
/// counts is the logarithm of each session's headline, so that shares add.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace survey {

/// The chance that comparing equals calls any point at all different.
inline constexpr double errorChance = 0.01;
/// A difference below this is never called one.
inline constexpr double leastDifference = 0.02;
/// A difference that surely lies within this is called none.
inline constexpr double sameWithin = 0.03;
/// How often the true difference lies in its interval. Two one-sided tests of 2.5 % each are what
/// calls a point the same: its interval lies within `sameWithin`.
inline constexpr double intervalCoverage = 0.95;
/// How often the smallest difference that can be found is found.
inline constexpr double findingChance = 0.9;

/// What is known of one point.
struct TwoSides {
    std::vector<double> before, after;  ///< headlines, one a session; positive, none empty
    bool higherIsBetter = true;
    std::size_t kind = 0;          ///< points of one kind vary alike
    double publishedCv = 0;        ///< session-to-session variation of the kind
    double publishedDegrees = 19;  ///< of freedom that the published figure is worth
};

enum class Conclusion { worse, better, unclear, same };

struct Difference {
    double value = 0;          ///< after over before, less one
    double low = 0, high = 0;  ///< its interval
    double chance = 1;         ///< of such a difference between equals, this point alone
    double smallest = 0;       ///< to the worse, that would have been found
    Conclusion conclusion = Conclusion::unclear;
};

/// Zero where there is no value.
double geometricMean(const std::vector<double>& values);

/// The differences of all points of a comparison, in their order. A point's variance is the
/// published one of its kind, or that of the kind in these very figures where it is larger,
/// together with the point's own; Student's t; Holm's correction over all points.
std::vector<Difference> differencesOf(std::span<const TwoSides> points);

}  // namespace survey
