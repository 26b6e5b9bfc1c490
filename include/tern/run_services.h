/// The three services that a benchmark calls while it runs: giving up the processor in a spin
/// wait, reading the time-stamp counter, testing whether a path exists.
/// All may be called from any thread at any time; none keeps state.
#pragma once

#include <cstdint>

extern "C" {

/// Gives up the processor once (the sched_yield system call, issued by number).
/// Returns the call's status: 0.
long tern_yield();

/// Returns 1 when `path` exists (access with F_OK, so permissions do not matter), else 0.
int tern_file_exists(const char* path);

}  // extern "C"

/// Reads the time-stamp counter of the CPU that executes it (RDTSC: EDX holds the high half, EAX
/// the low half).
///
/// What it does not promise: the counter runs at its own constant rate, not at the core's clock;
/// the read is not ordered against the instructions around it (whoever needs that puts fences
/// there); and counters of different CPUs need not agree, so call it on a pinned thread.
inline std::uint64_t tern_read_tsc() {
    std::uint32_t low, high;
    asm volatile("rdtsc" : "=a"(low), "=d"(high));
    return (std::uint64_t{high} << 32) | low;
}
