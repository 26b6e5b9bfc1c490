/// A whole run: from the settings to the report.
#pragma once

#include "settings.h"

namespace Kestrel {

/// Runs the benchmark and prints its lines, or one error line. Returns 0, or -1 after an error.
/// After an error it waits half a second for the workers' passes under way; where one takes longer,
/// it ends the process under the workers, with the status of an error, and does not return.
/// Otherwise no thread and no mapping is left behind. Throws std::bad_alloc before any worker
/// exists, and nothing else.
int runBenchmark(const BenchmarkSettings& settings);

}  // namespace Kestrel
