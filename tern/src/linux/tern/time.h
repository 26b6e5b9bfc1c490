/// The clocks behind tern_system_time and the sources behind tern_get_cpu_frequency, as parameters.
#pragma once

#include <ctime>

#include "tern/src/linux/processor/cpuid_leaf.h"
#include "tern/time.h"

namespace tern {

/// Seconds and nanoseconds as the kernel writes them for this build: words of its own width.
struct kernel_time {
    long seconds;
    long nanoseconds;
};

/// Reads a clock; 0, or -1.
using clock_reader = long (*)(clockid_t clock, kernel_time* time);

std::int64_t system_time(clock_reader read);
int select_system_clock(clock_reader read);

/// Who told a frequency: the brand text's last word, or the first "cpu MHz" line of /proc/cpuinfo,
/// which is the clock of the moment.
enum class frequency_source { nobody, brand_text, cpuinfo };

struct cpu_frequency {
    std::uint64_t hertz;  ///< 0 where nobody told
    frequency_source source;
};

/// What tern_get_cpu_frequency looks for, not cached.
cpu_frequency find_cpu_frequency(cpuid_instruction cpuid, const char* cpuinfo_path);
/// How it reports what it found.
std::uint64_t reported_frequency(std::uint64_t hertz);
int read_cpuinfo_frequency(const char* cpuinfo_path, std::uint64_t& hertz);

}  // namespace tern
