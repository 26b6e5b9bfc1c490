/// A mean that outliers do not touch.
#pragma once

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace processor {

/// The mean of the middle half of the values, 0 without any. Like the median it ignores outliers;
/// unlike it, it averages out the steps of a time-stamp counter that counts dozens at a time.
inline double middleMean(std::vector<double> values) {
    if (values.empty())
        return 0;
    std::ranges::sort(values);
    const auto quarter = static_cast<std::ptrdiff_t>(values.size() / 4);
    return std::accumulate(values.begin() + quarter, values.end() - quarter, 0.0) /
           static_cast<double>(values.end() - values.begin() - 2 * quarter);
}

}  // namespace processor
