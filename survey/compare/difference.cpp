#include "survey/compare/difference.h"

#include <algorithm>
#include <boost/math/distributions/students_t.hpp>
#include <cmath>
#include <map>
#include <numeric>

namespace survey {
namespace {

using Student = boost::math::students_t_distribution<double>;

/// Sums of logarithms: what a side, or a kind, tells about its variance.
struct Spread {
    double squares = 0, degrees = 0;

    void add(const Spread& other) {
        squares += other.squares;
        degrees += other.degrees;
    }
};

double meanLog(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0,
                           [](double sum, double value) { return sum + std::log(value); }) /
           static_cast<double>(values.size());
}

Spread spreadOf(const std::vector<double>& values) {
    const double mean = meanLog(values);
    Spread spread{.degrees = static_cast<double>(values.size()) - 1};
    for (const double value : values)
        spread.squares += (std::log(value) - mean) * (std::log(value) - mean);
    return spread;
}

Spread spreadOf(const TwoSides& point) {
    Spread spread = spreadOf(point.before);
    spread.add(spreadOf(point.after));
    return spread;
}

/// How many standard errors an estimate takes with so many degrees of freedom. Computed once: many
/// points have the same.
struct Margins {
    double interval;  ///< either way
    double critical;  ///< for the first step of the correction over all points
    double finding;   ///< beyond that

    Margins(double degrees, std::size_t points) {
        const auto upper = [distribution = Student(degrees)](double share) {
            return boost::math::quantile(boost::math::complement(distribution, share));
        };
        interval = upper((1 - intervalCoverage) / 2);
        critical = upper(errorChance / 2 / static_cast<double>(points));
        finding = upper(1 - findingChance);
    }
};

/// What is needed of one point to test it.
struct Test {
    double difference;     ///< of the logarithms
    double standardError;  ///< of that
    double degrees;

    /// Of a difference as large as this, either way, between equals.
    [[nodiscard]] double chance() const {
        const double t = std::abs(difference) / standardError;
        return 2 * boost::math::cdf(boost::math::complement(Student(degrees), t));
    }
};

Test testOf(const TwoSides& point, const Spread& ofKind) {
    const Spread own = spreadOf(point);
    double prior = point.publishedCv * point.publishedCv;
    if (ofKind.degrees > 0)
        prior = std::max(prior, ofKind.squares / ofKind.degrees);
    const double degrees = point.publishedDegrees + own.degrees;
    const double variance = (point.publishedDegrees * prior + own.squares) / degrees;
    return {.difference = meanLog(point.after) - meanLog(point.before),
            .standardError = std::sqrt(variance * (1 / static_cast<double>(point.before.size()) +
                                                   1 / static_cast<double>(point.after.size()))),
            .degrees = degrees};
}

/// What clears the first step of the correction and `leastDifference` as often as `findingChance`
/// asks.
double smallestFound(const Test& test, const Margins& margins, bool higherIsBetter) {
    const double clear =
        std::max(margins.critical * test.standardError, std::log1p(leastDifference));
    const double found = clear + margins.finding * test.standardError;
    return higherIsBetter ? -std::expm1(-found) : std::expm1(found);
}

Difference differenceOf(const Test& test, const Margins& margins, bool higherIsBetter) {
    const double half = margins.interval * test.standardError;
    return {.value = std::expm1(test.difference),
            .low = std::expm1(test.difference - half),
            .high = std::expm1(test.difference + half),
            .chance = test.chance(),
            .smallest = smallestFound(test, margins, higherIsBetter)};
}

/// Holm: the least likely one must be below the chance over all points, the next one below that
/// over all but one, and so on until one is not.
std::vector<bool> significant(const std::vector<Difference>& differences) {
    std::vector<std::size_t> order(differences.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::sort(order, {}, [&](std::size_t i) { return differences[i].chance; });
    std::vector<bool> result(differences.size(), false);
    for (std::size_t done = 0; done < order.size(); ++done) {
        const auto left = static_cast<double>(order.size() - done);
        if (differences[order[done]].chance > errorChance / left)
            break;
        result[order[done]] = true;
    }
    return result;
}

Conclusion concluded(const Difference& it, bool isSignificant, bool higherIsBetter) {
    if (isSignificant && std::abs(it.value) >= leastDifference)
        return (it.value > 0) == higherIsBetter ? Conclusion::better : Conclusion::worse;
    const bool within = it.low >= -sameWithin && it.high <= sameWithin;
    return within ? Conclusion::same : Conclusion::unclear;
}

}  // namespace

double geometricMean(const std::vector<double>& values) {
    return values.empty() ? 0 : std::exp(meanLog(values));
}

std::vector<Difference> differencesOf(std::span<const TwoSides> points) {
    std::map<std::size_t, Spread> kinds;
    for (const TwoSides& point : points)
        kinds[point.kind].add(spreadOf(point));
    std::map<double, Margins> margins;  // by degrees of freedom
    std::vector<Difference> differences;
    differences.reserve(points.size());
    for (const TwoSides& point : points) {
        const Test test = testOf(point, kinds[point.kind]);
        const auto of = margins.try_emplace(test.degrees, test.degrees, points.size()).first;
        differences.push_back(differenceOf(test, of->second, point.higherIsBetter));
    }
    const std::vector<bool> clear = significant(differences);
    for (std::size_t i = 0; i < points.size(); ++i)
        differences[i].conclusion = concluded(differences[i], clear[i], points[i].higherIsBetter);
    return differences;
}

}  // namespace survey
