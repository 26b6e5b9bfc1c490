/// What only a CPU itself can tell: found by running on it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "machine/number_list.h"

namespace machine {

/// The CPUs that the calling thread may run on and that are online; empty where the kernel does not
/// tell.
NumberList affinity();

struct Visit {
    /// APIC ids by CPU: all 32 bits where the processor tells them, else the initial id of 8 bits.
    std::map<unsigned, std::uint32_t> apicIds;
    /// Rate of the time-stamp counter on the first CPU visited, against the layer's time.
    std::optional<std::uint64_t> counterHz;
};

/// Moves the calling thread to each of these CPUs in turn and back. A CPU that it may not run on is
/// left out. Takes a twentieth of a second for the counter.
Visit visitCpus(const NumberList& cpus);

}  // namespace machine
