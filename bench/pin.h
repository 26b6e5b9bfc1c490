/// Pinning a thread to a CPU.
#pragma once

#include <sched.h>

#include <cstdint>

namespace bench {

/// Moves the calling thread to `cpu` for good. False where it may not run there, or there is none.
inline bool pinThread(std::uint32_t cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    return sched_setaffinity(/*the calling thread*/ 0, sizeof set, &set) == 0;
}

}  // namespace bench
