/// A survey in the formats that other programs read.
#pragma once

#include <string>

#include "survey/record.h"

namespace survey {

/// A row for each sample of every session, with a head; RFC 4180, but for lines that end in LF.
/// What is not known is an empty cell. Figures are in the point's unit.
std::string csvOf(const Survey& survey);

/// What google/benchmark writes with --benchmark_format=json: a repetition for each sample. An
/// iteration is a pass of the pattern, or one load or access where the figure is a time; what all
/// workers obtained together is a counter, such as bytes_per_second. Processor time is not measured
/// apart: cpu_time repeats real_time. Points without samples are left out, those neither ok nor
/// noisy marked as errors. Throws std::runtime_error for samples without their details.
std::string benchmarkOf(const Survey& survey);

/// Gauges in Prometheus' text format, in base units and without times, of the last session.
/// Figures neither ok nor noisy are left out.
std::string prometheusOf(const Survey& survey);

}  // namespace survey
