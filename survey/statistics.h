/// What a handful of samples tells. Functions of numbers alone.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace survey {

/// Of samples in any order; all of them positive.
struct Summary {
    double value = 0;  ///< the headline
    double median = 0, min = 0, max = 0;
    double cv = 0;             ///< coefficient of variation: standard deviation over mean
    double low = 0, high = 0;  ///< the headline's interval
    std::size_t count = 0;     ///< 0: there are no samples, and nothing else means anything

    /// Half of the interval's width, as a share of the headline.
    [[nodiscard]] double halfWidth() const { return value != 0 ? (high - low) / 2 / value : 0; }
};

/// The estimator of the headline, by the name that the file gives it.
inline constexpr const char* estimatorName = "median";

/// The interval lies between two of the samples, equally far from either end, as far inside as at
/// least 93 % of such intervals hold the true median, whatever the samples' distribution: the
/// smallest and the largest of up to eight samples, the second and the eighth of nine. Fewer than
/// five samples reach no 93 %; then it is all of them.
Summary summarise(std::span<const double> samples);

double median(std::vector<double> values);

/// The value that `share` (0 to 1) of the values do not exceed, of the values themselves.
double quantile(std::vector<double> values, double share);

}  // namespace survey
