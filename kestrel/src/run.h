/// A whole run: from the settings to the report.
#pragma once

#include "settings.h"

namespace Kestrel {

/// Runs the benchmark and prints its lines, or one error line. Returns 0, or -1 after an error;
/// no thread and no mapping is left behind either way. Throws std::bad_alloc only.
int runBenchmark(const BenchmarkSettings& settings);

}  // namespace Kestrel
