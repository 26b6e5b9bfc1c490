/// Monotonic time and the processor's nominal frequency. Any thread may call any of these at any
/// time: the chosen clock and the known frequency are single atomic words, set once.
#pragma once

#include <cstdint>

extern "C" {

/// Returns the nanoseconds of the raw monotonic clock, which no time service slews, or of the
/// monotonic clock where the kernel lacks it. One system call a reading; never decreases. A clock
/// that cannot be read ends the process with a report.
std::int64_t tern_system_time();

/// Stores the rate of tern_system_time, 1,000,000,000 a second, and returns 1.
int tern_get_system_time_frequency(std::uint64_t* frequency);

/// Chooses the clock that tern_system_time reads, as that does by itself on its first call. Returns
/// the status of the probe: 0 when the raw monotonic clock answered.
int tern_select_system_clock();

/// Stores the processor's nominal frequency in hertz, from the last word of the brand text, else
/// from /proc/cpuinfo (which tells the present clock of the first CPU instead), and returns 1;
/// stores 0 and returns 0 where neither tells. The first answer found stays for the life of the
/// process.
/// Brand texts carry two digits after the point: 3.5GHz is read as 3.05. The word has to begin with
/// the amount and a point and go on with a unit: M or G before "Hz", any other letter counts as
/// hertz. A negative amount, or one beyond 32 bits of hundredths, is not taken for a frequency, and
/// /proc/cpuinfo is read instead. Exactly 1 GHz is reported as 1,000,000,001 Hz.
int tern_get_cpu_frequency(std::uint64_t* hertz);

/// Stores the frequency of the first "cpu MHz" line of /proc/cpuinfo in hertz, computed in single
/// precision, 0 if there is none. Returns -1 when the file cannot be opened, else the status of
/// closing it (0).
int tern_read_cpuinfo_frequency(std::uint64_t* hertz);

}  // extern "C"
