#include "survey/statistics.h"

#include <algorithm>
#include <boost/math/distributions/binomial.hpp>
#include <cmath>
#include <numeric>

namespace survey {
namespace {

/// How many samples at each end lie outside the interval.
std::size_t leftOut(std::size_t count) {
    constexpr double coverage = 0.93;
    const boost::math::binomial_distribution<double> below(static_cast<double>(count), 0.5);
    std::size_t outside = 0;
    // The median is below the sample at place k (from 0) where at most k samples are below it.
    while (2 * (outside + 1) < count &&
           1 - 2 * boost::math::cdf(below, static_cast<double>(outside + 1)) >= coverage)
        ++outside;
    return outside;
}

double deviation(std::span<const double> values, double mean) {
    if (values.size() < 2)
        return 0;
    double squares = 0;
    for (const double value : values)
        squares += (value - mean) * (value - mean);
    return std::sqrt(squares / static_cast<double>(values.size() - 1));
}

}  // namespace

double median(std::vector<double> values) {
    if (values.empty())
        return 0;
    std::ranges::sort(values);
    return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
}

double quantile(std::vector<double> values, double share) {
    if (values.empty())
        return 0;
    std::ranges::sort(values);
    const double place = share * static_cast<double>(values.size() - 1);
    return values[static_cast<std::size_t>(std::lround(place))];
}

Summary summarise(std::span<const double> samples) {
    Summary summary{.count = samples.size()};
    if (samples.empty())
        return summary;
    std::vector<double> sorted(samples.begin(), samples.end());
    std::ranges::sort(sorted);
    const double mean =
        std::accumulate(sorted.begin(), sorted.end(), 0.0) / static_cast<double>(sorted.size());
    const std::size_t outside = leftOut(sorted.size());
    summary.median = summary.value = median(sorted);
    summary.min = sorted.front();
    summary.max = sorted.back();
    summary.cv = mean != 0 ? deviation(sorted, mean) / mean : 0;
    summary.low = sorted[outside];
    summary.high = sorted[sorted.size() - 1 - outside];
    return summary;
}

}  // namespace survey
