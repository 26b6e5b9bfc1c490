/// The charts of a report by subject. Each finds its points by what they measured, not by the plan
/// that they came from, as plans share points.
#pragma once

#include <vector>

#include "survey/report/chart.h"

namespace survey {

/// Bandwidth against size, then latency against size.
std::vector<Chart> sizeCharts(const std::vector<Entry>& entries);
/// Bandwidth against the number of CPUs.
std::vector<Chart> scalingCharts(const std::vector<Entry>& entries);
/// Latency against what other CPUs read meanwhile.
std::vector<Chart> loadedCharts(const std::vector<Entry>& entries);
/// Arithmetic and bandwidth of each set of CPUs.
std::vector<Chart> rooflines(const std::vector<Entry>& entries);
/// The floating-point kernels, a table without a drawing.
std::vector<Chart> kernelTables(const std::vector<Entry>& entries);
/// What it costs two CPUs to share lines, and CPUs of each node against memory of each; coloured.
std::vector<Table> sharingMatrices(const Entry& entry);
std::vector<Table> nodeMatrices(const Entry& entry);

}  // namespace survey
