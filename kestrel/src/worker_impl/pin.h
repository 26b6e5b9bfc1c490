/// Binding a thread to a CPU.
#pragma once

#include <sched.h>

#include <cstdint>

namespace Kestrel {

/// Pins the calling thread to one CPU, by the kernel's number. False where that is not online or
/// not allowed to this process. The set holds CPUs 0 to 1023; a higher number leaves it empty,
/// which the kernel refuses like a CPU that does not exist.
inline bool pinThread(std::uint32_t cpu) {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (cpu < CPU_SETSIZE)
        CPU_SET(cpu, &set);
    return sched_setaffinity(/*the calling thread*/ 0, sizeof set, &set) == 0;
}

}  // namespace Kestrel
