/// How busy CPUs have been, as the kernel counts it.
#pragma once

#include <cstdint>
#include <map>

namespace survey {

/// Clock ticks (sysconf's _SC_CLK_TCK a second) since boot.
struct CpuTime {
    std::uint64_t busy;    ///< with any work of this system
    std::uint64_t stolen;  ///< wanted to run while the hypervisor gave the CPU to others
};

/// By the CPU's number, from /proc/stat; empty where that cannot be read.
std::map<unsigned, CpuTime> cpuTimes();

}  // namespace survey
