/// Other benchmarks beside the same work, in turn.
#pragma once

#include <cstddef>
#include <span>

namespace bench {

/// Runs each peer that is installed and kestrel's own kernel one after the other, five times, on
/// CPU 0 over the same size, and prints the best and the median of either, their ratio, and what
/// each counts. A peer that is not installed is named and left out. `memory` is where kestrel's
/// kernels work; the calling thread is pinned to CPU 0.
void comparePeers(std::span<std::byte> memory, double ticksPerSecond);

}  // namespace bench
