/// The CPUs of this machine: how many, of which architecture and signature, how they group into
/// packages, cores and hardware threads, and a visit to each.
/// Except where stated, any thread may call any of these at any time.
#pragma once

#include <cstdint>

#include "tern/allocator.h"

extern "C" {

/// Architecture of the running kernel, which may be wider than the program.
enum tern_arch_t {
    tern_arch_unknown = 0,
    tern_arch_ia32 = 1,
    tern_arch_ia64 = 2,
    tern_arch_x86_64 = 3,
};

/// Processor signature: the low 8 bits of the decimal numbers in /proc/cpuinfo. Here and below, a
/// number there that does not fit 32 bits counts as the nearest that does.
struct tern_cpu_signature {
    std::uint8_t family;
    std::uint8_t model;
    std::uint8_t stepping;
};

/// Place of one CPU.
struct tern_cpu_topology {
    std::uint8_t reserved;  ///< 0
    std::uint8_t package;   ///< physical package; 0 to k-1 where k >= 2 of them are reported,
                            ///< otherwise the low 8 bits of the reported id
    std::uint8_t core;      ///< low 8 bits of the reported core id: unique in its package only
    std::uint8_t thread;    ///< number among the CPUs of the same package and core, counted modulo
                            ///< 256; 0 for all of them where the kernel reports no "siblings"
};

/// What tern_traverse_cpus calls on each CPU: the initial APIC id of the CPU it now runs on, the
/// number of CPUs visited before, and the caller's context. Its result is ignored.
using tern_cpu_visitor = int (*)(std::uint32_t apic_id, std::uint32_t ordinal, void* context);

/// Fills the process-wide caches that tern_get_cpu_count and tern_get_page_size use from then on.
/// Call it before other threads use the layer, or not at all: without it both ask the system.
void tern_init_system_info();

/// Returns the number of online CPUs: the cached one, else the system's (sysconf
/// _SC_NPROCESSORS_ONLN), which is -1 where it cannot tell.
std::int32_t tern_get_cpu_count();

/// Returns the architecture that uname reports, tern_arch_unknown where it reports another one.
tern_arch_t tern_get_cpu_arch();

/// Reads /proc/cpuinfo. Stores first the CPU count and an array of that many entries from
/// `allocator`'s allocate_block, in the order of the file's processor entries; the caller owns the
/// array whatever the result is. `address_width` is 32 or 64 bits, `highest_address` 0xBFFFFFFF or
/// 0xFFFFFFFF. The signature is that of the last processor listed.
/// Entries of CPUs that the file does not list stay zero.
/// Returns 1; 0 when the file cannot be opened, begins with another line than a processor's, or
/// lists more processors than are online; then what was read so far stands. 0 as well where the
/// number of CPUs cannot be told; then the count is 0 and the array null.
/// An allocator that gives null, and an architecture other than IA-32 and x86-64, end the process
/// with a report.
int tern_get_cpu_info(tern_cpu_signature* signature, std::uint32_t* highest_address,
                      std::uint8_t* address_width, std::uint32_t* cpu_count,
                      tern_cpu_topology** topology, tern_allocator* allocator);

/// Moves the calling thread to every CPU from 0 to count-1 in turn, skipping those it may not run
/// on, calls `visitor` on each, and restores the thread's affinity. The count is that of the CPUs
/// online: where one of lower number is offline, the last ones are not reached.
/// Returns the number of CPUs visited, 0 when the affinity cannot be read or restored or the CPUs
/// cannot be counted. Ends the process with a report when 1024 or more CPUs are online.
/// Nothing else may set the calling thread's affinity meanwhile.
std::uint32_t tern_traverse_cpus(tern_cpu_visitor visitor, void* context);

/// Returns the number of distinct physical package ids below 1024 in
/// /sys/devices/system/cpu/cpu*/topology, read from CPU 0 up to the first CPU without such a file
/// (one that is offline has none); so 0 means that the kernel does not tell. An id beyond 32 bits
/// counts as the largest of 32 bits, and so does not count here.
std::uint32_t tern_get_package_count();

}  // extern "C"
